#include "tv/tv.h"

namespace tv {

Tv& Tv::Get()
{
    static Tv tv;
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
