// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/kept_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace host {
namespace {

constexpr std::size_t kChunk = std::size_t{64} * 1024;
/// What a call that is kept as values takes at most, about.
constexpr std::size_t kCallBytes = std::size_t{8} * 1024;
/// A call whose values have more parts than that takes less as text.
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

bool TakesLessAsText(const tv::CallRecord& call)
{
    return CountParts(call.args, CountParts(call.out, CountParts(call.result))) > kManyParts;
}

constexpr char kWhole = 'w';
constexpr char kReply = 'r';
constexpr char kMessage = 'm';
constexpr char kLog = 'l';
constexpr char kCall = 'c';

}  // namespace

/// Stands before each line.
struct KeptLines::Head {
    std::uint32_t text;  ///< the size of the text, which follows the tag
    std::uint32_t tag;
    std::int32_t buffer;
    std::int32_t priority;
    char kind;
};

void KeptLines::DropFirst()
{
    Chunk& chunk = chunks_.front();
    bytes_ -= chunk.bytes.size() + chunk.calls * kCallBytes;
    calls_.erase(calls_.begin(), calls_.begin() + static_cast<std::ptrdiff_t>(chunk.calls));
    if (chunk.bytes.capacity() < 2 * kChunk)
        spare_ = std::move(chunk.bytes);
    chunks_.pop_front();
}

KeptLines::Chunk& KeptLines::ChunkFor(std::size_t bytes)
{
    while (!chunks_.empty() && bytes_ + bytes > kBytes)
        DropFirst();
    if (!chunks_.empty() && chunks_.back().bytes.size() + bytes <= kChunk)
        return chunks_.back();
    while (chunks_.size() > 1 && next_ - chunks_[1].first >= kLines)
        DropFirst();
    spare_.clear();
    spare_.reserve(kChunk);
    chunks_.push_back({next_, std::exchange(spare_, {}), 0});
    return chunks_.back();
}

void KeptLines::Put(char kind, std::string_view text, int buffer, int priority, std::string_view tag)
{
    Head head{static_cast<std::uint32_t>(text.size()), static_cast<std::uint32_t>(tag.size()), buffer,
              priority, kind};
    const std::size_t bytes = sizeof head + tag.size() + text.size();
    Chunk& chunk = ChunkFor(bytes);
    chunk.bytes.append(reinterpret_cast<const char*>(&head), sizeof head).append(tag).append(text);
    bytes_ += bytes;
    ++next_;
}

void KeptLines::Add(std::string_view whole)
{
    Put(kWhole, whole);
}

void KeptLines::Add(const LineOut& line)
{
    switch (line.kind) {
        case LineOut::Kind::Reply:
            return Put(kReply, line.text);
        case LineOut::Kind::Message:
            return Put(kMessage, line.text);
        case LineOut::Kind::Log:
            return Put(kLog, line.log->text, line.log->buffer, line.log->priority, line.log->tag);
        case LineOut::Kind::Call:
            if (TakesLessAsText(**line.call))
                return Put(kWhole, line.Whole());
            Put(kCall, {});
            calls_.push_back(*line.call);
            ++chunks_.back().calls;
            bytes_ += kCallBytes;
            return;
        case LineOut::Kind::Error:
            return Put(kWhole, line.Whole());
        case LineOut::Kind::Did:
        case LineOut::Kind::Due:
            return Put(kWhole, line.text);
    }
}

unsigned long long KeptLines::First(unsigned long long since) const
{
    return chunks_.empty() ? next_ : std::clamp(since, chunks_.front().first, next_);
}

void KeptLines::Read(unsigned long long first, const std::function<void(std::string)>& read) const
{
    auto call = calls_.begin();
    for (const Chunk& chunk : chunks_) {
        unsigned long long number = chunk.first;
        for (const char* at = chunk.bytes.data(); at != chunk.bytes.data() + chunk.bytes.size(); ++number) {
            Head head{};
            std::memcpy(&head, at, sizeof head);
            const std::string_view tag(at + sizeof head, head.tag);
            const std::string_view text(tag.data() + tag.size(), head.text);
            at = text.data() + text.size();
            const tv::SharedCall* const made = head.kind == kCall ? &*call++ : nullptr;
            if (number < first)
                continue;
            const tv::LogRecord log{text, head.buffer, head.priority, tag};
            switch (head.kind) {
                case kReply:
                    read(LineOut{LineOut::Kind::Reply, std::string(text)}.Whole());
                    break;
                case kMessage:
                    read(LineOut{LineOut::Kind::Message, std::string(text)}.Whole());
                    break;
                case kLog:
                    read(LineOut{LineOut::Kind::Log, {}, nullptr, &log}.Whole());
                    break;
                case kCall:
                    read(LineOut{LineOut::Kind::Call, {}, made, nullptr}.Whole());
                    break;
                default:
                    read(std::string(text));
            }
        }
    }
}

}  // namespace host
