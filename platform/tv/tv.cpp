#include "tv/tv.h"

namespace tv {

Tv& Tv::Get()
{
    static Tv tv;
    return tv;
}

std::size_t Tv::CountRegistrations() const
{
    return power_.CountSubscriptions();
}

std::size_t Tv::DropLeftovers()
{
    return power_.DropAll();
}

Calls& TheCalls()
{
    return Tv::Get().calls();
}

}  // namespace tv
