#include "content-service/FCAPI.h"

#include "core/calls.h"
#include "tv/tv.h"

FIVirtualChannelsAPI* FCAPI::GetVirtualChannelsAPI()
{
    tv::ContentService& content = tv::Tv::Get().content();
    return tv::CallForInterface(tv::CallId::GetVirtualChannelsApi, content.virtual_channels(),
                                [&] { return content.available(); });
}

FIZELumoAPI* FCAPI::GetZELumoAPI()
{
    tv::ContentService& content = tv::Tv::Get().content();
    return tv::CallForInterface(tv::CallId::GetZelumoApi, content.zelumo(),
                                [&] { return content.available(); });
}
