// SPDX-License-Identifier: Apache-2.0
#include <iconv.h>
#include <json/json.h>

#include <algorithm>
#include <array>
#include <boost/locale/encoding_utf.hpp>
#include <cerrno>
#include <memory>
#include <sstream>
#include <vector>

#include "ZeLumoPluginHandler.h"
#include "ZeLumoPluginLog.h"

namespace {

constexpr std::size_t kNameUnits = 257;
constexpr std::size_t kNameBytes = kNameUnits * 2;
constexpr ENavigationMode kNavigationModeSurf = ENAVIGATION_MODE_ALL;
constexpr ENavigationMode kNavigationModeZelumo = ENAVIGATION_MODE_ZELUMO;

template <typename T>
T Read(const TCServiceData& data, int field, T absent)
{
    data.Get(field, absent);
    return absent;
}

std::string ServiceIdText(const TCServiceData& data)
{
    return std::to_string(Read(data, ESERVICE_FIELD_SERVICE_ID, ~0ULL));
}

/// A 16-bit field as a JSON integer; 65535 when it is absent.
Json::Value Short(const TCServiceData& data, int field)
{
    return static_cast<int>(Read<unsigned short>(data, field, 0xFFFF));
}

Json::Value Int(const TCServiceData& data, int field)
{
    return Read(data, field, -1);
}

/// Converts big-endian 16-bit units to UTF-8. What was converted before a failure stays in `out`.
void ucs2utf8(char* in, std::size_t inLength, char* out, std::size_t outSize)
{
    const iconv_t converter = iconv_open("UTF-8", "UCS-2BE");
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv tells a failure
    if (converter == reinterpret_cast<iconv_t>(-1)) {
        LOG_DEBUG("Iconv open failed");
        return;
    }
    if (iconv(converter, &in, &inLength, &out, &outSize) == static_cast<std::size_t>(-1))
        LOG_DEBUG("iconv failed: %d", errno);
    iconv_close(converter);
}

std::string ChannelName(const TCServiceData& data)
{
    const std::size_t length = data.GetLength(ESERVICE_FIELD_NAME);
    if (length == 0)
        return std::string();
    // The copy takes no size: it needs room for the whole name, of which only the beginning is used.
    std::vector<unsigned short> units(length);
    data.Get(ESERVICE_FIELD_NAME, units.data());
    const std::size_t bytes = std::min(length, kNameUnits) * 2;
    std::array<char, kNameBytes> in{};
    std::copy_n(reinterpret_cast<const char*>(units.data()), bytes, in.begin());
    // One byte less than there is, so that the text always ends in a zero.
    std::array<char, kNameBytes> out{};
    ucs2utf8(in.data(), bytes, out.data(), out.size() - 1);
    return out.data();
}

/// The JSON text of the extra members, which ends at its first zero; empty when there is none.
std::string ExtraText(const TCServiceData& data)
{
    std::u16string units;
    data.Get(ESERVICE_FIELD_EXTRA, units);
    for (char16_t& unit : units)
        unit = static_cast<char16_t>(unit << 8 | unit >> 8);
    std::string text = boost::locale::conv::utf_to_utf<char>(units, boost::locale::conv::skip);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

/// Adds the members of the JSON object in `text`; a member of the same name is replaced. Text that is not
/// JSON adds nothing; JSON that is no object throws.
void Merge(const std::string& text, Json::Value& record)
{
    if (text.empty())
        return;
    Json::Value extra;
    if (!Json::Reader().parse(text, extra))
        return;
    for (const std::string& name : extra.getMemberNames())
        record[name] = extra[name];
}

IServiceNavigation* GetNavigation()
{
    IServiceNavigation* navigation = nullptr;
    TVServiceAPI::CreateServiceNavigation(EPROFILE_TV, 0, &navigation);
    return navigation;
}

ISourceControl* GetSourceControl()
{
    ISourceControl* sourceControl = nullptr;
    TVServiceAPI::CreateSourceControl(EPROFILE_TV, 0, &sourceControl);
    return sourceControl;
}

/// The services of a query, which the caller of the query owns.
struct ServiceList {
    ServiceList() = default;
    ServiceList(const ServiceList&) = delete;
    ServiceList& operator=(const ServiceList&) = delete;
    ~ServiceList()
    {
        for (TCServiceData* service : services)
            delete service;
    }
    std::unique_ptr<TCServiceData> TakeFirst()
    {
        std::unique_ptr<TCServiceData> first(services.front());
        services.pop_front();
        return first;
    }

    std::list<TCServiceData*> services;
};

}  // namespace

std::string CZeLumoPluginHandler::t_GetChannelInfo(TCServiceData* data)
{
    if (data == nullptr)
        return std::string();
    try {
        const Json::Value serviceId = ServiceIdText(*data);
        Json::Value record;
        record["serviceid"] = serviceId;
        record["type"] = Int(*data, ESERVICE_FIELD_TYPE);
        record["serviceId"] = serviceId;
        record["major"] = Short(*data, ESERVICE_FIELD_MAJOR);
        record["minor"] = Short(*data, ESERVICE_FIELD_MINOR);
        record["ptc"] = Short(*data, ESERVICE_FIELD_PTC);
        record["lock"] = Short(*data, ESERVICE_FIELD_LOCK);
        record["programNumber"] = Short(*data, ESERVICE_FIELD_PROGRAM_NUMBER);
        record["sourceId"] = Short(*data, ESERVICE_FIELD_SOURCE_ID);
        record["originalNetworkId"] = Short(*data, ESERVICE_FIELD_ORIGINAL_NETWORK_ID);
        record["transportStreamId"] = Short(*data, ESERVICE_FIELD_TRANSPORT_STREAM_ID);
        record["channelName"] = ChannelName(*data);
        record["frequency"] = Int(*data, ESERVICE_FIELD_FREQUENCY);
        record["tuneMode"] = Int(*data, ESERVICE_FIELD_TUNE_MODE);
        Merge(ExtraText(*data), record);
        return Json::StyledWriter().write(record);
    } catch (const Json::Exception& exception) {
        LOG_ERROR("Exception Handled by %s %s", __func__, exception.what());
        return std::string();
    }
}

std::string CZeLumoPluginHandler::UIntToString(const unsigned int& value)
{
    std::ostringstream text;
    text << value;
    return text.str();
}

bool CZeLumoPluginHandler::GetZELumoServices(std::string& out)
{
    LOG_ERROR("%s begins", __func__);
    IServiceNavigation* const navigation = GetNavigation();
    if (navigation == nullptr)
        return false;
    TSTvMode mode{-1, -1};
    if (navigation->GetTvMode(mode) <= 0)
        return false;
    TCCriteriaHelper criteria;
    if (!TCNavigationModeHelper::GetNavigationCriteria(kNavigationModeZelumo, 0ULL, criteria)) {
        LOG_ERROR("Get navigation criteria failed");
        return false;
    }
    for (const int field : {ESERVICE_FIELD_SERVICE_ID, ESERVICE_FIELD_MAJOR, ESERVICE_FIELD_MINOR})
        criteria.Fetch(field);
    LOG_ERROR("nTCTVMode.antennaMode = %d, nTCTVMode.serviceMode = %d !", mode.antennaMode, mode.serviceMode);

    ServiceList list;
    const int result = navigation->GetServiceList(criteria, list.services, mode, 0, 0);
    LOG_ERROR("GetServiceList svc_list.size = %d, ", static_cast<int>(list.services.size()));
    if (result < 0)
        return false;
    try {
        Json::Value services;
        while (!list.services.empty()) {
            const std::unique_ptr<TCServiceData> service = list.TakeFirst();
            if (!service)
                continue;
            Json::Value element;
            element["id"] = static_cast<Json::UInt64>(Read(*service, ESERVICE_FIELD_SERVICE_ID, ~0ULL));
            element["major"] = Short(*service, ESERVICE_FIELD_MAJOR);
            element["minor"] = Short(*service, ESERVICE_FIELD_MINOR);
            services.append(std::move(element));
        }
        Json::Value document;
        document["ListName"] = "ZELumoServices";
        document["TCServiceData"] = std::move(services);
        out = Json::StyledWriter().write(document);
        return true;
    } catch (const Json::Exception& exception) {
        LOG_ERROR("Exception Handled by %s %s", __func__, exception.what());
        return false;
    }
}

bool CZeLumoPluginHandler::SetNextService()
{
    IServiceNavigation* const navigation = GetNavigation();
    if (navigation == nullptr)
        return false;
    TCCriteriaHelper criteria;
    TCNavigationModeHelper::GetNavigationCriteria(kNavigationModeSurf, criteria, ESORT_MODE_CHANNEL_NUMBER);
    if (navigation->SetNextService(criteria) <= 0) {
        LOG_ERROR("SetNextService Failed");
        return false;
    }
    LOG_DEBUG("SetNextService success");
    return true;
}

bool CZeLumoPluginHandler::SetPrevService()
{
    IServiceNavigation* const navigation = GetNavigation();
    if (navigation == nullptr)
        return false;
    TCCriteriaHelper criteria;
    TCNavigationModeHelper::GetNavigationCriteria(kNavigationModeSurf, criteria, ESORT_MODE_CHANNEL_NUMBER);
    if (navigation->SetPreviousService(criteria) <= 0) {
        LOG_ERROR("SetPreviousService Failed");
        return false;
    }
    LOG_DEBUG("SetPreviousService success");
    return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
bool CZeLumoPluginHandler::SetServiceByServiceid(unsigned long long serviceId, std::string appId)
{
    LOG_ERROR("%s begins", __func__);
    ISourceControl* const sourceControl = GetSourceControl();
    IServiceNavigation* const navigation = GetNavigation();
    if (sourceControl == nullptr || navigation == nullptr)
        return false;
    int value = -1;
    int flag = -1;
    sourceControl->GetSourceValue(value);
    sourceControl->GetSourceFlag(flag);
    if (value != -1 && flag == 0)
        return navigation->TuneService(serviceId, 0, 0, appId) > 0;
    return sourceControl->TuneService(0, serviceId, appId) > 0;
}

bool CZeLumoPluginHandler::t_GetCurrentChannel(TCServiceData& data)
{
    IServiceNavigation* const navigation = GetNavigation();
    if (navigation == nullptr)
        return false;
    TCCriteriaHelper criteria;
    for (const int field :
         {ESERVICE_FIELD_SERVICE_ID, ESERVICE_FIELD_NAME, ESERVICE_FIELD_ORIGINAL_NETWORK_ID,
          ESERVICE_FIELD_PROGRAM_NUMBER, ESERVICE_FIELD_TRANSPORT_STREAM_ID, ESERVICE_FIELD_TYPE,
          ESERVICE_FIELD_PTC, ESERVICE_FIELD_TUNE_MODE, ESERVICE_FIELD_SOURCE_ID, ESERVICE_FIELD_FREQUENCY,
          ESERVICE_FIELD_MAJOR, ESERVICE_FIELD_MINOR, ESERVICE_FIELD_LOCK, ESERVICE_FIELD_EXTRA})
        criteria.Fetch(field);
    TSTvMode mode{-1, -1};
    if (navigation->GetTvMode(mode) <= 0)
        return false;
    if (navigation->GetCurrentService(mode, criteria, data) <= 0) {
        LOG_ERROR("Fail to get current service data\n");
        return false;
    }
    LOG_DEBUG("SERVICE_ID = %llu", Read(data, ESERVICE_FIELD_SERVICE_ID, ~0ULL));
    LOG_DEBUG("MAJOR = %d", Read<unsigned short>(data, ESERVICE_FIELD_MAJOR, 0xFFFF));
    return true;
}

bool CZeLumoPluginHandler::t_GetCurrentChannelInfoWithJsonString(std::string& out)
{
    TCServiceData data;
    if (!t_GetCurrentChannel(data))
        return false;
    out = t_GetChannelInfo(&data);
    return true;
}
