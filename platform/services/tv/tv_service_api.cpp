// SPDX-License-Identifier: Apache-2.0
#include "core/calls.h"
#include "core/form.h"
#include "services/tv/signal_service.h"
#include "services/tv/tv_calls.h"
#include "services/tv/tv_service.h"
#include "tv-service/TVServiceAPI.h"

namespace {

const tv::TvCalls& Calls()
{
    return tv::TheTable<tv::TvCalls>();
}

template <typename Interface>
int Create(const tv::TvCalls::Create<Interface>& call, EProfile profile, int second, Interface** target,
           Interface* usual)
{
    return call(profile, second, tv::OutInterface(target, usual), [&](tv::OutInterface<Interface>& out) {
        if (profile != EPROFILE_TV)
            return 0;
        out.Set();
        return 1;
    });
}

}  // namespace

int TVServiceAPI::CreateServiceNavigation(EProfile profile, int second, IServiceNavigation** navigation)
{
    return Create(Calls().create_service_navigation, profile, second, navigation,
                  tv::TvService::Get().navigation());
}

int TVServiceAPI::CreateSourceControl(EProfile profile, int second, ISourceControl** sourceControl)
{
    return Create(Calls().create_source_control, profile, second, sourceControl,
                  tv::TvService::Get().source_control());
}

int TVServiceAPI::CreateSignalSubscriber(TVSignalCallback callback, ISignalSubscriber** subscriber)
{
    return Calls().create_signal_subscriber(
        tv::OutInterface(subscriber, tv::SignalService::Get().SubscriberFor(callback)), [&](auto& out) {
            out.Set();
            return 1;
        });
}

bool TCNavigationModeHelper::GetNavigationCriteria(ENavigationMode mode, TCCriteriaHelper& criteria,
                                                   ESortMode sort)
{
    return Calls().get_navigation_criteria(mode, tv::SortOrValue{sort}, [&] {
        if (mode != ENAVIGATION_MODE_ALL)
            return false;
        tv::ServiceRecord::SetMode(criteria, mode, sort);
        return true;
    });
}

bool TCNavigationModeHelper::GetNavigationCriteria(ENavigationMode mode, unsigned long long value,
                                                   TCCriteriaHelper& criteria)
{
    return Calls().get_navigation_criteria(mode, tv::SortOrValue{tv::DecimalId{value}}, [&] {
        if (mode != ENAVIGATION_MODE_ZELUMO)
            return false;
        tv::ServiceRecord::SetMode(criteria, mode, value);
        return true;
    });
}
