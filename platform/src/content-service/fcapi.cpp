#include "content-service/FCAPI.h"

#include "tv/calls.h"
#include "tv/tv.h"

FIVirtualChannelsAPI* FCAPI::GetVirtualChannelsAPI()
{
    return tv::Call<FIVirtualChannelsAPI*>(
        tv::CallId::GetVirtualChannelsApi, std::tuple<>(), []() -> FIVirtualChannelsAPI* {
            tv::ContentService& content = tv::Tv::Get().content();
            return content.available() ? content.virtual_channels() : nullptr;
        });
}

FIZELumoAPI* FCAPI::GetZELumoAPI()
{
    return tv::Call<FIZELumoAPI*>(tv::CallId::GetZelumoApi, std::tuple<>(), []() -> FIZELumoAPI* {
        tv::ContentService& content = tv::Tv::Get().content();
        return content.available() ? content.zelumo() : nullptr;
    });
}
