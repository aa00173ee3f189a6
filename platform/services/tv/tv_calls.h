#pragma once

#include "core/calls.h"
#include "services/tv/service_record.h"

namespace tv {

/// An out argument that is a list of records for the caller to own.
class OutServices {
  public:
    using Written = ServiceList;

    explicit OutServices(std::list<TCServiceData*>& target) : target_(&target) {}

    void Set(ServiceList services);
    Json::Value Json() const;
    void Take(const Json::Value& json);

  private:
    std::list<TCServiceData*>* target_;
    bool written_ = false;
};

/// The calls of the TV service's library.
struct TvCalls : CallTable {
    Call<int, OutInterface<IServiceNavigation>> create_service_navigation{
        *this, "TVServiceAPI::CreateServiceNavigation", 1};
    Call<int, OutInterface<ISourceControl>> create_source_control{*this, "TVServiceAPI::CreateSourceControl",
                                                                  1};
    Call<int, OutInterface<ISignalSubscriber>> create_signal_subscriber{
        *this, "TVServiceAPI::CreateSignalSubscriber", 1};
    Call<int> subscribe_signal{*this, "ISignalSubscriber::Subscribe", 1};
    Call<int> unsubscribe_signal{*this, "ISignalSubscriber::Unsubscribe", 1};
    Call<bool> get_navigation_criteria{*this, "TCNavigationModeHelper::GetNavigationCriteria", true};
    Call<int> navigation_tune_service{*this, "IServiceNavigation::TuneService", 1};
    Call<int, Out<TSTvMode>> get_tv_mode{*this, "IServiceNavigation::GetTvMode", 1};
    Call<int, Out<TCServiceData>> get_current_service{*this, "IServiceNavigation::GetCurrentService", 1};
    Call<int> set_next_service{*this, "IServiceNavigation::SetNextService", 1};
    Call<int> set_previous_service{*this, "IServiceNavigation::SetPreviousService", 1};
    Call<int, OutServices> get_service_list{*this, "IServiceNavigation::GetServiceList", 0};
    Call<int> source_tune_service{*this, "ISourceControl::TuneService", 1};
    Call<int, Out<int>> get_source_flag{*this, "ISourceControl::GetSourceFlag", 1};
    Call<int, Out<int>> get_source_value{*this, "ISourceControl::GetSourceValue", 1};
};

}  // namespace tv
