#include "tv-service/TVServiceAPI.h"

IServiceNavigation::~IServiceNavigation() = default;
ISourceControl::~ISourceControl() = default;

int TVServiceAPI::CreateServiceNavigation(EProfile, int, IServiceNavigation**)
{
    return 0;
}

int TVServiceAPI::CreateSourceControl(EProfile, int, ISourceControl**)
{
    return 0;
}

bool TCNavigationModeHelper::GetNavigationCriteria(ENavigationMode, TCCriteriaHelper&, ESortMode)
{
    return false;
}

bool TCNavigationModeHelper::GetNavigationCriteria(ENavigationMode, unsigned long long, TCCriteriaHelper&)
{
    return false;
}
