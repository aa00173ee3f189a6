#include "tv/tv.h"

namespace tv {

Tv& Tv::Get()
{
    // Never destroyed: a plug-in that is still loaded at exit withdraws from it after all destructors.
    static Tv& tv = *new Tv;
    return tv;
}

std::size_t Tv::CountRegistrations() const
{
    return power_.CountSubscriptions() + event_proxy_.Events().size() + signals_.Signals().size() +
           settings_.Watches().size();
}

std::size_t Tv::DropLeftovers()
{
    return power_.DropAll() + event_proxy_.DropAll() + signals_.DropAll() + settings_.DropAll();
}

Calls& TheCalls()
{
    return Tv::Get().calls();
}

}  // namespace tv
