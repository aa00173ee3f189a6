#include "tv/tv.h"

#include "tv/tv_file.h"

namespace tv {

Tv::Tv()
{
    Load(SampleTv());
}

Tv& Tv::Get()
{
    // Never destroyed: a plug-in that is still loaded at exit withdraws from it after all destructors.
    static Tv& tv = *new Tv;
    return tv;
}

void Tv::Load(const TvConfig& config)
{
    const auto shared = std::make_shared<const TvConfig>(config);
    clock_.SetDate(config.date);
    tv_service_.Load(shared);
    content_.Load(shared);
    settings_.Load(config.settings);
    player_.SetStreams(config.streams);
    ExtensionConfig told;
    told.embedder = config.extension.embedder_name;
    told.extension_info = config.extension.extension_info;
    for (const std::string& privilege : config.extension.privileges)
        told.privileges[privilege] = true;
    told.window_id = config.extension.window_id;
    extension_.Configure(std::move(told));
}

std::size_t Tv::CountRegistrations() const
{
    return power_.CountSubscriptions() + event_proxy_.Events().size() + signals_.Signals().size() +
           settings_.Watches().size() + player_.CountRegistrations();
}

std::size_t Tv::DropLeftovers()
{
    const std::size_t left = power_.DropAll() + event_proxy_.DropAll() + signals_.DropAll() +
                             settings_.DropAll() + player_.DropAll();
    leftovers_ += left;
    return left;
}

Calls& TheCalls()
{
    return Tv::Get().calls();
}

}  // namespace tv
