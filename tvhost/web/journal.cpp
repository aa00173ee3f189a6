// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/journal.h"

#include <utility>

namespace host {
namespace {

Channel::Text Shared(std::string text)
{
    return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

void WebJournal::Add(const std::string& line)
{
    const tv::MutexLock lock(mutex_);
    if (heard_)
        channel_->Send(Shared(line), kept_.next());
    kept_.Add(line);
}

void WebJournal::Add(const LineOut& line)
{
    const tv::MutexLock lock(mutex_);
    if (heard_)
        channel_->Send(Shared(line.Whole()), kept_.next());
    kept_.Add(line);
}

std::string WebJournal::Since(unsigned long long since) const
{
    const tv::MutexLock lock(mutex_);
    const unsigned long long first = kept_.First(since);
    std::string text = R"({"first":)" + std::to_string(first) + R"(,"next":)" + std::to_string(kept_.next()) +
                       R"(,"lines":[)";
    const char* separator = "";
    kept_.Read(first,
               [&](const std::string& line) { text.append(std::exchange(separator, ",")).append(line); });
    return text + "]}";
}

Subscription WebJournal::Subscribe(unsigned long long since)
{
    const tv::MutexLock lock(mutex_);
    Subscription subscription{channel_, {}, kept_.next()};
    if (since != 0)
        kept_.Read(kept_.First(since),
                   [&](std::string line) { subscription.first.push_back(Shared(std::move(line))); });
    heard_ = true;
    return subscription;
}

void WebJournal::SetHeard(bool heard)
{
    const tv::MutexLock lock(mutex_);
    heard_ = heard;
}

}  // namespace host
