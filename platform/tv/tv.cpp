#include "tv/tv.h"

namespace tv {

Tv& Tv::Get()
{
    static Tv tv;
    return tv;
}

Calls& TheCalls()
{
    return Tv::Get().calls();
}

}  // namespace tv
