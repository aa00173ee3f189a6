// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <list>
#include <string>
#include <variant>

#include "core/calls.h"
#include "core/form.h"
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

/// What a navigation mode is asked with: a sort mode, or a value of its own.
struct SortOrValue {
    std::variant<int, DecimalId> argument;
};
template <>
struct Form<SortOrValue> {
    static Json::Value Write(const SortOrValue& value)
    {
        return std::visit([](auto alternative) { return ToJson(alternative); }, value.argument);
    }
};

/// The calls of the TV service's library.
struct TvCalls : CallTable {
    template <typename Interface>
    using Create = Call<int(int, int), OutInterface<Interface>>;
    using Subscribe = Call<int(int, int, int, int)>;
    using Step = Call<int(TCCriteriaHelper)>;
    using Read = Call<int(), Out<int>>;

    Create<IServiceNavigation> create_service_navigation{*this, "TVServiceAPI::CreateServiceNavigation", 1};
    Create<ISourceControl> create_source_control{*this, "TVServiceAPI::CreateSourceControl", 1};
    Call<int(), OutInterface<ISignalSubscriber>> create_signal_subscriber{
        *this, "TVServiceAPI::CreateSignalSubscriber", 1};
    Subscribe subscribe_signal{*this, "ISignalSubscriber::Subscribe", 1};
    Subscribe unsubscribe_signal{*this, "ISignalSubscriber::Unsubscribe", 1};
    Call<bool(int, SortOrValue)> get_navigation_criteria{
        *this, "TCNavigationModeHelper::GetNavigationCriteria", true};
    Call<int(DecimalId, int, int, std::string)> navigation_tune_service{*this,
                                                                        "IServiceNavigation::TuneService", 1};
    Call<int(), Out<TSTvMode>> get_tv_mode{*this, "IServiceNavigation::GetTvMode", 1};
    Call<int(TSTvMode, TCCriteriaHelper), Out<TCServiceData>> get_current_service{
        *this, "IServiceNavigation::GetCurrentService", 1};
    Step set_next_service{*this, "IServiceNavigation::SetNextService", 1};
    Step set_previous_service{*this, "IServiceNavigation::SetPreviousService", 1};
    Call<int(TCCriteriaHelper, TSTvMode, int, int), OutServices> get_service_list{
        *this, "IServiceNavigation::GetServiceList", 0};
    Call<int(int, DecimalId, std::string)> source_tune_service{*this, "ISourceControl::TuneService", 1};
    Read get_source_flag{*this, "ISourceControl::GetSourceFlag", 1};
    Read get_source_value{*this, "ISourceControl::GetSourceValue", 1};
};

}  // namespace tv
