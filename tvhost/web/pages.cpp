// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/pages.h"

#include <chrono>
#include <utility>

#include "tvhost/web/request.h"

namespace host {
namespace {

constexpr char kReplaced[] = "another page has the TV now";

long long MillisecondsSinceEpoch()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

Pages::Pages(MakeChannels make_channels, CarryOut carry_out)
    : make_channels_(std::move(make_channels)),
      carry_out_(std::move(carry_out)),
      // A page of an earlier run is never taken for one of this run.
      first_(MillisecondsSinceEpoch()),
      last_(first_ - 1)
{}

long long Pages::Open()
{
    {
        const tv::MutexLock lock(mutex_);
        opening_ = true;
    }
    try {
        Close(kReplaced);
        {
            // The channels first: the plug-in may have something to say at once.
            const tv::MutexLock lock(mutex_);
            channels_ = make_channels_(last_ + 1);
        }
        carry_out_("open");
    } catch (...) {
        const tv::MutexLock lock(mutex_);
        opening_ = false;
        channels_ = {};
        throw;
    }
    const tv::MutexLock lock(mutex_);
    open_ = true;
    opening_ = false;
    return ++last_;
}

void Pages::Close(const std::string& reason)
{
    {
        const tv::MutexLock lock(mutex_);
        if (!open_)
            return;
        open_ = false;
    }
    const auto close_channels = [&] {
        const tv::MutexLock lock(mutex_);
        channels_.messages->Close(reason);
        channels_.runtime->Close(reason);
        channels_ = {};
    };
    try {
        carry_out_("close");
    } catch (...) {
        close_channels();
        throw;
    }
    close_channels();
}

Pages::Channels Pages::ChannelsOf(long long page) const
{
    const tv::MutexLock lock(mutex_);
    if (page < first_ || page > last_)
        throw Refused(404, "there never was a page " + std::to_string(page));
    if (page != last_ || !open_)
        throw Refused(410, "page " + std::to_string(page) + " was closed or replaced");
    return channels_;
}

void Pages::Tell(std::string message) const
{
    const tv::MutexLock lock(mutex_);
    if (channels_.messages)
        channels_.messages->Send(std::make_shared<const std::string>(std::move(message)));
}

void Pages::TellByRuntime(std::string text, std::optional<long long> page) const
{
    const tv::MutexLock lock(mutex_);
    if (page && (!open_ || *page != last_))
        return;
    if (channels_.runtime)
        channels_.runtime->Send(std::make_shared<const std::string>(std::move(text)));
}

Json::Value Pages::CurrentJson() const
{
    const tv::MutexLock lock(mutex_);
    // While a page opens the TV is its own already: the page that is replaced must not find it free.
    if (open_ || opening_)
        return static_cast<Json::Int64>(open_ ? last_ : last_ + 1);
    return {};
}

}  // namespace host
