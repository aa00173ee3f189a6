#include "services/content/content_json.h"

#include "core/values.h"

namespace tv {

Json::Value ToJson(const ExtractedServiceInfomations& info)
{
    Json::Value json;
    json["serviceId"] = ToJson(DecimalId{info.serviceId});
    json["isForDirectTune"] = info.isForDirectTune;
    json["channelType"] = info.channelType;
    json["channelNumber"] = info.channelNumber;
    json["serviceProfile"] = info.serviceProfile;
    json["major"] = info.major;
    json["minor"] = info.minor;
    json["programNumber"] = info.programNumber;
    return json;
}

bool FromJson(const Json::Value& json, ExtractedServiceInfomations& info)
{
    DecimalId id;
    if (!json.isObject() || !FromJson(json["serviceId"], id) || !json["isForDirectTune"].isBool() ||
        !IsInt32(json["channelType"]) || !IsUint16(json["channelNumber"]) ||
        !IsInt32(json["serviceProfile"]) || !IsUint16(json["major"]) || !IsUint16(json["minor"]) ||
        !IsUint16(json["programNumber"]))
        return false;
    info.serviceId = id.value;
    info.isForDirectTune = json["isForDirectTune"].asBool();
    info.channelType = json["channelType"].asInt();
    info.channelNumber = static_cast<unsigned short>(json["channelNumber"].asInt());
    info.serviceProfile = json["serviceProfile"].asInt();
    info.major = static_cast<unsigned short>(json["major"].asInt());
    info.minor = static_cast<unsigned short>(json["minor"].asInt());
    info.programNumber = static_cast<unsigned short>(json["programNumber"].asInt());
    return true;
}

}  // namespace tv
