#include "tvhost/web/journal.h"

#include <algorithm>
#include <utility>

namespace host {
namespace {

/// A value of more parts than that takes less as text.
constexpr int kManyParts = 32;

int CountParts(const Json::Value& value, int counted = 0)
{
    ++counted;
    if (value.isArray() || value.isObject()) {
        for (auto part = value.begin(); part != value.end() && counted <= kManyParts; ++part)
            counted = CountParts(*part, counted);
    } else if (value.isString()) {
        const char* begin = nullptr;
        const char* end = nullptr;
        value.getString(&begin, &end);
        counted += end - begin > 256 ? kManyParts : 0;
    }
    return counted;
}

bool TakesLessAsText(const LineOut& line)
{
    return line.call && CountParts(line.call->args,
                                   CountParts(line.call->out, CountParts(line.call->result))) > kManyParts;
}

Channel::Text Shared(std::string text)
{
    return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

void WebJournal::Keep(Kept kept)
{
    kept.bytes += sizeof(Kept);
    bytes_ += kept.bytes;
    while (first_ != next_ && (next_ - first_ == kLines || bytes_ > kBytes)) {
        bytes_ -= At(first_).bytes;
        At(first_++) = {};
    }
    At(next_++) = std::move(kept);
}

void WebJournal::Add(std::string line)
{
    const std::size_t bytes = line.size();
    Channel::Text text = Shared(std::move(line));
    const tv::MutexLock lock(mutex_);
    if (heard_)
        channel_->Send(text, next_);
    Keep({std::move(text), bytes});
}

void WebJournal::Add(LineOut line, std::string text)
{
    const tv::MutexLock lock(mutex_);
    if (!text.empty() || heard_ || TakesLessAsText(line)) {
        Channel::Text shared = Shared(text.empty() ? line.Whole() : std::move(text));
        const std::size_t bytes = shared->size();
        if (heard_)
            channel_->Send(shared, next_);
        return Keep({std::move(shared), bytes});
    }
    // A call that is kept as values takes some hundred bytes for each of its few parts.
    const std::size_t bytes = line.call ? std::size_t{8} * 1024 : line.text.size();
    Keep({std::move(line), bytes});
}

unsigned long long WebJournal::First(unsigned long long since) const
{
    return std::clamp(since, first_, next_);
}

Channel::Text WebJournal::TextOf(unsigned long long number)
{
    Kept& kept = At(number);
    if (const LineOut* line = std::get_if<LineOut>(&kept.line))
        kept.line = Shared(line->Whole());
    return std::get<Channel::Text>(kept.line);
}

std::string WebJournal::Since(unsigned long long since)
{
    const tv::MutexLock lock(mutex_);
    const unsigned long long first = First(since);
    std::string text =
        R"({"first":)" + std::to_string(first) + R"(,"next":)" + std::to_string(next_) + R"(,"lines":[)";
    for (unsigned long long number = first; number != next_; ++number) {
        if (number != first)
            text += ',';
        text += *TextOf(number);
    }
    return text + "]}";
}

Subscription WebJournal::Subscribe(unsigned long long since)
{
    const tv::MutexLock lock(mutex_);
    Subscription subscription{channel_, {}, next_};
    for (unsigned long long number = since == 0 ? next_ : First(since); number != next_; ++number)
        subscription.first.push_back(TextOf(number));
    heard_ = true;
    return subscription;
}

void WebJournal::SetHeard(bool heard)
{
    const tv::MutexLock lock(mutex_);
    heard_ = heard;
}

}  // namespace host
