// SPDX-License-Identifier: Apache-2.0
#include "services/content/service_description.h"

namespace tv {

Json::Value Form<ExtractedServiceInfomations>::Write(const ExtractedServiceInfomations& info)
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

bool Form<ExtractedServiceInfomations>::Read(const Json::Value& json, ExtractedServiceInfomations& info)
{
    DecimalId id;
    ExtractedServiceInfomations read;
    if (!json.isObject() || !FromJson(json["serviceId"], id) ||
        !FromJson(json["isForDirectTune"], read.isForDirectTune) ||
        !FromJson(json["channelType"], read.channelType) ||
        !FromJson(json["channelNumber"], read.channelNumber) ||
        !FromJson(json["serviceProfile"], read.serviceProfile) || !FromJson(json["major"], read.major) ||
        !FromJson(json["minor"], read.minor) || !FromJson(json["programNumber"], read.programNumber))
        return false;
    read.serviceId = id.value;
    info = read;
    return true;
}

}  // namespace tv
