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

Pages::Pages(MakeMessages make_messages, CarryOut carry_out)
    : make_messages_(std::move(make_messages)),
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
            // The channel first: the plug-in may have something to say at once.
            const tv::MutexLock lock(mutex_);
            messages_ = make_messages_();
        }
        carry_out_("open");
    } catch (...) {
        const tv::MutexLock lock(mutex_);
        opening_ = false;
        messages_.reset();
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
    const auto close_messages = [&] {
        const tv::MutexLock lock(mutex_);
        messages_->Close(reason);
        messages_.reset();
    };
    try {
        carry_out_("close");
    } catch (...) {
        close_messages();
        throw;
    }
    close_messages();
}

std::shared_ptr<Channel> Pages::MessagesOf(long long page) const
{
    const tv::MutexLock lock(mutex_);
    if (page < first_ || page > last_)
        throw Refused(404, "there never was a page " + std::to_string(page));
    if (page != last_ || !open_)
        throw Refused(410, "page " + std::to_string(page) + " was closed or replaced");
    return messages_;
}

void Pages::Tell(std::string message) const
{
    const tv::MutexLock lock(mutex_);
    if (messages_)
        messages_->Send(std::move(message));
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
