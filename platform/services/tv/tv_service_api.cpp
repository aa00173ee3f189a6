#include "core/calls.h"
#include "tv-service/TVServiceAPI.h"
#include "tv/tv.h"

namespace {

template <typename Interface>
int Create(tv::CallId id, EProfile profile, int second, Interface** target, Interface* usual)
{
    tv::OutInterface<Interface> out(target, usual);
    return tv::Call<int>(
        id, std::make_tuple(static_cast<int>(profile), second),
        [&] {
            if (profile != EPROFILE_TV)
                return 0;
            out.Set();
            return 1;
        },
        out);
}

}  // namespace

int TVServiceAPI::CreateServiceNavigation(EProfile profile, int second, IServiceNavigation** navigation)
{
    return Create(tv::CallId::CreateServiceNavigation, profile, second, navigation,
                  tv::Tv::Get().tv_service().navigation());
}

int TVServiceAPI::CreateSourceControl(EProfile profile, int second, ISourceControl** sourceControl)
{
    return Create(tv::CallId::CreateSourceControl, profile, second, sourceControl,
                  tv::Tv::Get().tv_service().source_control());
}

bool TCNavigationModeHelper::GetNavigationCriteria(ENavigationMode mode, TCCriteriaHelper& criteria,
                                                   ESortMode sort)
{
    return tv::Call<bool>(tv::CallId::GetNavigationCriteria,
                          std::make_tuple(static_cast<int>(mode), static_cast<int>(sort)), [&] {
                              if (mode != ENAVIGATION_MODE_ALL)
                                  return false;
                              criteria.SetMode(mode, sort);
                              return true;
                          });
}

bool TCNavigationModeHelper::GetNavigationCriteria(ENavigationMode mode, unsigned long long value,
                                                   TCCriteriaHelper& criteria)
{
    return tv::Call<bool>(tv::CallId::GetNavigationCriteria,
                          std::make_tuple(static_cast<int>(mode), tv::DecimalId{value}), [&] {
                              if (mode != ENAVIGATION_MODE_ZELUMO)
                                  return false;
                              criteria.SetMode(mode, value);
                              return true;
                          });
}
