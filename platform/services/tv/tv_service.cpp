// SPDX-License-Identifier: Apache-2.0
#include "services/tv/tv_service.h"

#include "core/form.h"
#include "services/tv/tv_calls.h"

IServiceNavigation::~IServiceNavigation() = default;
ISourceControl::~ISourceControl() = default;

namespace tv {
namespace {

constexpr int kChannelLoad = 90019;
constexpr int kChannelEnter = 90020;
constexpr int kChannelLeave = 90023;

const TvCalls& LibraryCalls()
{
    return TheTable<TvCalls>();
}

}  // namespace

void OutServices::Set(ServiceList services)
{
    for (std::unique_ptr<TCServiceData>& service : services) {
        target_->push_back(service.get());
        static_cast<void>(service.release());
    }
    written_ = true;
}

Json::Value OutServices::Json() const
{
    if (!written_)
        return {};
    Json::Value json(Json::arrayValue);
    for (const TCServiceData* service : *target_)
        json.append(ToJson(*service));
    return json;
}

void OutServices::Take(const Json::Value& json)
{
    ServiceList services;
    if (!json.isNull() && FromJson(json, services))
        Set(std::move(services));
}

class TvService::Navigation : public IServiceNavigation {
  public:
    explicit Navigation(TvService& service) : service_(service) {}

    int TuneService(const unsigned long long& serviceId, int first, int second,
                    const std::string& appId) override
    {
        return LibraryCalls().navigation_tune_service(DecimalId{serviceId}, first, second, appId,
                                                      [&] { return service_.Tune(serviceId) ? 1 : 0; });
    }
    int GetTvMode(TSTvMode& mode) override
    {
        return LibraryCalls().get_tv_mode(Out(&mode), [&](Out<TSTvMode>& out) {
            out.Set(service_.line_up()->tv_mode);
            return 1;
        });
    }
    int GetCurrentService(TSTvMode mode, TCCriteriaHelper& criteria, TCServiceData& service) override
    {
        return LibraryCalls().get_current_service(mode, criteria, Out(&service),
                                                  [&](Out<TCServiceData>& out) {
                                                      TCServiceData current;
                                                      if (!service_.ReadCurrent(criteria, current))
                                                          return 0;
                                                      out.Set(std::move(current));
                                                      return 1;
                                                  });
    }
    int SetNextService(TCCriteriaHelper& criteria) override
    {
        return LibraryCalls().set_next_service(criteria, [&] { return service_.Step(+1) ? 1 : 0; });
    }
    int SetPreviousService(TCCriteriaHelper& criteria) override
    {
        return LibraryCalls().set_previous_service(criteria, [&] { return service_.Step(-1) ? 1 : 0; });
    }
    int GetServiceList(TCCriteriaHelper& criteria, std::list<TCServiceData*>& services, TSTvMode mode,
                       int first, int second) override
    {
        return LibraryCalls().get_service_list(criteria, mode, first, second, OutServices(services),
                                               [&](OutServices& out) {
                                                   // The streaming service's channels are the whole line-up:
                                                   // every mode lists it.
                                                   out.Set(service_.ReadAll(criteria));
                                                   return 0;
                                               });
    }

  private:
    TvService& service_;  // owns this object
};

class TvService::SourceControl : public ISourceControl {
  public:
    explicit SourceControl(TvService& service) : service_(service) {}

    int TuneService(int first, unsigned long long serviceId, const std::string& appId) override
    {
        return LibraryCalls().source_tune_service(first, DecimalId{serviceId}, appId,
                                                  [&] { return service_.Tune(serviceId) ? 1 : 0; });
    }
    int GetSourceFlag(int& flag) override
    {
        return Read(LibraryCalls().get_source_flag, flag, service_.line_up()->source.flag);
    }
    int GetSourceValue(int& value) override
    {
        return Read(LibraryCalls().get_source_value, value, service_.line_up()->source.value);
    }

  private:
    static int Read(const TvCalls::Read& call, int& target, int value)
    {
        return call(Out(&target), [&](Out<int>& out) {
            out.Set(value);
            return 1;
        });
    }

    TvService& service_;  // owns this object
};

TvService& TvService::Get()
{
    static TvService& service = *new TvService(EventProxyService::Get());
    return service;
}

TvService::TvService(EventProxyService& events)
    : events_(events),
      navigation_(std::make_unique<Navigation>(*this)),
      source_control_(std::make_unique<SourceControl>(*this)),
      line_up_(std::make_shared<const LineUp>())
{}

TvService::~TvService() = default;

IServiceNavigation* TvService::navigation()
{
    return navigation_.get();
}

ISourceControl* TvService::source_control()
{
    return source_control_.get();
}

const CallTable* TvService::calls() const
{
    return &LibraryCalls();
}

void TvService::AddState(Json::Value& state) const
{
    state["channel"] = CurrentJson();
}

void TvService::Load(const LineUp& line_up)
{
    auto shared = std::make_shared<const LineUp>(line_up);
    const std::size_t first = line_up.current ? line_up.PlaceOf(*line_up.current).value_or(0) : 0;
    const MutexLock lock(mutex_);
    line_up_ = std::move(shared);
    current_ = first;
}

std::shared_ptr<const LineUp> TvService::line_up() const
{
    const MutexLock lock(mutex_);
    return line_up_;
}

bool TvService::Tune(unsigned long long service_id)
{
    {
        const MutexLock lock(mutex_);
        const std::optional<std::size_t> place = line_up_->PlaceOf(service_id);
        if (!place)
            return false;
        current_ = *place;
    }
    OnTuned();
    return true;
}

bool TvService::Step(int by)
{
    {
        const MutexLock lock(mutex_);
        const auto count = static_cast<long long>(line_up_->channels.size());
        if (count == 0)
            return false;
        const long long place = (static_cast<long long>(current_) + by) % count;
        current_ = static_cast<std::size_t>(place < 0 ? place + count : place);
    }
    OnTuned();
    return true;
}

void TvService::OnTuned()
{
    for (const int event : {kChannelLeave, kChannelLoad, kChannelEnter})
        events_.Raise(event);
}

bool TvService::ReadCurrent(const TCCriteriaHelper& criteria, TCServiceData& service) const
{
    const MutexLock lock(mutex_);
    if (line_up_->channels.empty())
        return false;
    service = ServiceRecord::Fetched(line_up_->channels[current_].service, criteria);
    return true;
}

ServiceList TvService::ReadAll(const TCCriteriaHelper& criteria) const
{
    ServiceList services;
    const std::shared_ptr<const LineUp> whole = line_up();
    for (const ChannelConfig& channel : whole->channels)
        services.push_back(
            std::make_unique<TCServiceData>(ServiceRecord::Fetched(channel.service, criteria)));
    return services;
}

Json::Value TvService::CurrentJson() const
{
    const MutexLock lock(mutex_);
    if (line_up_->channels.empty())
        return {};
    const ChannelConfig& channel = line_up_->channels[current_];
    unsigned short number = 0;
    Json::Value json;
    json["serviceId"] = ToJson(DecimalId{channel.id});
    json["name"] = channel.name;
    json["major"] = channel.service.Get(ESERVICE_FIELD_MAJOR, number) ? Json::Value(number) : Json::Value();
    json["minor"] = channel.service.Get(ESERVICE_FIELD_MINOR, number) ? Json::Value(number) : Json::Value();
    return json;
}

}  // namespace tv
