#include "content-service/FCAPI.h"

FIVirtualChannelsAPI::~FIVirtualChannelsAPI() = default;
FIZELumoAPI::~FIZELumoAPI() = default;

FIVirtualChannelsAPI* FCAPI::GetVirtualChannelsAPI()
{
    return nullptr;
}

FIZELumoAPI* FCAPI::GetZELumoAPI()
{
    return nullptr;
}
