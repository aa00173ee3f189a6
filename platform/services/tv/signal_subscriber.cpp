#include "core/calls.h"
#include "tv-service/TVServiceAPI.h"
#include "tv/tv.h"

int TVServiceAPI::CreateSignalSubscriber(TVSignalCallback callback, ISignalSubscriber** subscriber)
{
    tv::OutInterface<ISignalSubscriber> out(subscriber, tv::Tv::Get().signals().SubscriberFor(callback));
    return tv::Call<int>(
        tv::CallId::CreateSignalSubscriber, std::tuple<>(),
        [&] {
            out.Set();
            return 1;
        },
        out);
}
