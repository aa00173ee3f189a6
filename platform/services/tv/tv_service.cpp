#include "services/tv/tv_service.h"

#include <algorithm>

#include "core/calls.h"

IServiceNavigation::~IServiceNavigation() = default;
ISourceControl::~ISourceControl() = default;

namespace tv {
namespace {

constexpr int kChannelLoad = 90019;
constexpr int kChannelEnter = 90020;
constexpr int kChannelLeave = 90023;

TCServiceData Fetched(const TCServiceData& service, const std::vector<int>& fetch)
{
    TCServiceData read;
    read.Reserve(fetch.size());
    for (const int field : fetch) {
        if (const TCServiceData::Value* const value = service.Find(field))
            read.Set(field, *value);
    }
    return read;
}

/// An out argument that is a list of records for the caller to own.
class OutServices {
  public:
    explicit OutServices(std::list<TCServiceData*>& target) : target_(target) {}

    void Set(ServiceList services)
    {
        for (std::unique_ptr<TCServiceData>& service : services) {
            target_.push_back(service.get());
            static_cast<void>(service.release());
        }
        written_ = true;
    }
    Json::Value Json() const
    {
        if (!written_)
            return {};
        Json::Value json(Json::arrayValue);
        for (const TCServiceData* service : target_)
            json.append(ToJson(*service));
        return json;
    }
    void Take(const Json::Value& json)
    {
        ServiceList services;
        if (!json.isNull() && FromJson(json, services))
            Set(std::move(services));
    }

  private:
    std::list<TCServiceData*>& target_;
    bool written_ = false;
};

}  // namespace

class TvService::Navigation : public IServiceNavigation {
  public:
    explicit Navigation(TvService& service) : service_(service) {}

    int TuneService(const unsigned long long& serviceId, int first, int second,
                    const std::string& appId) override
    {
        return Call<int>(
            CallId::NavigationTuneService,
            std::tuple<DecimalId, int, int, const std::string&>({serviceId}, first, second, appId),
            [&] { return service_.Tune(serviceId) ? 1 : 0; });
    }
    int GetTvMode(TSTvMode& mode) override
    {
        Out<TSTvMode> out(&mode);
        return Call<int>(
            CallId::GetTvMode, std::tuple<>(),
            [&] {
                out.Set(service_.mode());
                return 1;
            },
            out);
    }
    int GetCurrentService(TSTvMode mode, TCCriteriaHelper& criteria, TCServiceData& service) override
    {
        Out<TCServiceData> out(&service);
        return Call<int>(
            CallId::GetCurrentService, std::tie(mode, criteria),
            [&] {
                TCServiceData current;
                if (!service_.ReadCurrent(criteria.fetch(), current))
                    return 0;
                out.Set(std::move(current));
                return 1;
            },
            out);
    }
    int SetNextService(TCCriteriaHelper& criteria) override
    {
        return Call<int>(CallId::SetNextService, std::tie(criteria),
                         [&] { return service_.Step(+1) ? 1 : 0; });
    }
    int SetPreviousService(TCCriteriaHelper& criteria) override
    {
        return Call<int>(CallId::SetPreviousService, std::tie(criteria),
                         [&] { return service_.Step(-1) ? 1 : 0; });
    }
    int GetServiceList(TCCriteriaHelper& criteria, std::list<TCServiceData*>& services, TSTvMode mode,
                       int first, int second) override
    {
        OutServices out(services);
        return Call<int>(
            CallId::GetServiceList, std::tie(criteria, mode, first, second),
            [&] {
                // The streaming service's channels are the whole line-up: every mode lists it.
                out.Set(service_.ReadAll(criteria.fetch()));
                return 0;
            },
            out);
    }

  private:
    TvService& service_;  // owns this object
};

class TvService::SourceControl : public ISourceControl {
  public:
    explicit SourceControl(TvService& service) : service_(service) {}

    int TuneService(int first, unsigned long long serviceId, const std::string& appId) override
    {
        return Call<int>(CallId::SourceTuneService,
                         std::tuple<int, DecimalId, const std::string&>(first, {serviceId}, appId),
                         [&] { return service_.Tune(serviceId) ? 1 : 0; });
    }
    int GetSourceFlag(int& flag) override
    {
        return Read(CallId::GetSourceFlag, flag, service_.source().flag);
    }
    int GetSourceValue(int& value) override
    {
        return Read(CallId::GetSourceValue, value, service_.source().value);
    }

  private:
    static int Read(CallId id, int& target, int value)
    {
        Out<int> out(&target);
        return Call<int>(
            id, std::tuple<>(),
            [&] {
                out.Set(value);
                return 1;
            },
            out);
    }

    TvService& service_;  // owns this object
};

TvService::TvService(EventProxyService& events)
    : events_(events),
      navigation_(std::make_unique<Navigation>(*this)),
      source_control_(std::make_unique<SourceControl>(*this)),
      config_(std::make_shared<const TvConfig>())
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

void TvService::Load(std::shared_ptr<const TvConfig> config)
{
    const std::lock_guard lock(mutex_);
    config_ = std::move(config);
    const auto first =
        std::find_if(config_->channels.begin(), config_->channels.end(),
                     [&](const ChannelConfig& channel) { return channel.id == config_->current; });
    current_ = first == config_->channels.end()
                   ? 0
                   : static_cast<std::size_t>(std::distance(config_->channels.begin(), first));
}

std::shared_ptr<const TvConfig> TvService::config() const
{
    const std::lock_guard lock(mutex_);
    return config_;
}

bool TvService::Tune(unsigned long long service_id)
{
    {
        const std::lock_guard lock(mutex_);
        const auto channel = std::find_if(config_->channels.begin(), config_->channels.end(),
                                          [&](const ChannelConfig& one) { return one.id == service_id; });
        if (channel == config_->channels.end())
            return false;
        current_ = static_cast<std::size_t>(std::distance(config_->channels.begin(), channel));
    }
    OnTuned();
    return true;
}

bool TvService::Step(int by)
{
    {
        const std::lock_guard lock(mutex_);
        const auto count = static_cast<long long>(config_->channels.size());
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

bool TvService::ReadCurrent(const std::vector<int>& fetch, TCServiceData& service) const
{
    const std::lock_guard lock(mutex_);
    if (config_->channels.empty())
        return false;
    service = Fetched(config_->channels[current_].service, fetch);
    return true;
}

ServiceList TvService::ReadAll(const std::vector<int>& fetch) const
{
    ServiceList services;
    for (const ChannelConfig& channel : config()->channels)
        services.push_back(std::make_unique<TCServiceData>(Fetched(channel.service, fetch)));
    return services;
}

Json::Value TvService::CurrentJson() const
{
    const std::lock_guard lock(mutex_);
    if (config_->channels.empty())
        return {};
    const ChannelConfig& channel = config_->channels[current_];
    unsigned short number = 0;
    Json::Value json;
    json["serviceId"] = ToJson(DecimalId{channel.id});
    json["name"] = channel.name;
    json["major"] = channel.service.Get(ESERVICE_FIELD_MAJOR, number) ? Json::Value(number) : Json::Value();
    json["minor"] = channel.service.Get(ESERVICE_FIELD_MINOR, number) ? Json::Value(number) : Json::Value();
    return json;
}

}  // namespace tv
