#pragma once

#include <json/value.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "core/call_table.h"
#include "core/journal.h"
#include "core/values.h"
#include "services/content/content_json.h"
#include "services/tv/tv_service_json.h"
#include "zelumo-platform/export.h"

namespace tv {

/// An answer that stands in for a platform call.
struct Answer {
    std::optional<Json::Value> result;  ///< absent: the call's usual success
    Json::Value out;                    ///< array, or null: nothing is written
    std::chrono::milliseconds delay{0};
    int times = 0;  ///< calls that it still holds for; 0: until it is replaced or withdrawn
};

/// The one place that every platform call goes through: scripted answers are given here, and what was
/// called is written to the journal. All operations may be called on any thread.
class PLATFORM_API Calls {
  public:
    /// `journal` outlives this object.
    explicit Calls(Journal& journal) : journal_(journal) {}

    /// The row of the call table under that name, valid for the life of the process, or null.
    static const CallInfo* Find(const std::string& name);

    /// An answer without `times` replaces those that stood for the call; one with `times` queues up.
    /// The answer must fit the call (see Mistake).
    void SetAnswer(CallId id, Answer answer);
    /// The call works as usual again; a delay that is being waited out ends at once.
    void Restore(CallId id);
    void RestoreAll();
    /// While it lives, the delays of a call's answers, or of all calls', are not waited out; one that is
    /// being waited out ends at once. Any thread.
    class NoDelay;
    /// What stands scripted, as `answer` verbs without their "tv".
    Json::Value AnswersJson() const;

    /// Why `answer` does not fit the call, or nothing when it does.
    static std::optional<std::string> Mistake(const CallInfo& info, const Answer& answer);

    /// False while nobody listens and no answer stands: then a call is just made.
    static bool Watched() { return watchers_.load(std::memory_order_acquire) != 0; }

    // For Call below and the journal.
    /// Takes the answer that holds for the next call of `id`, having waited out its delay.
    std::optional<Answer> Take(CallId id);
    Journal& journal() { return journal_; }
    static void AddWatcher() { watchers_.fetch_add(1, std::memory_order_release); }
    static void RemoveWatcher() { watchers_.fetch_sub(1, std::memory_order_release); }

  private:
    struct Scripted {
        std::deque<Answer> answers;
        unsigned epoch = 0;    ///< counts restores, so that a delay knows it was withdrawn
        unsigned hurried = 0;  ///< how many NoDelay there are for it
    };
    void Clear(CallId id);
    void Hurry(std::optional<CallId> id, bool begins);

    static std::atomic<int> watchers_;
    Journal& journal_;  // outlives this object
    mutable std::mutex mutex_;
    std::condition_variable restored_;
    std::array<Scripted, kCallCount> scripted_;  // guarded by mutex_
};

class PLATFORM_API Calls::NoDelay {
  public:
    /// Without an id: of all calls.
    NoDelay(Calls& calls, std::optional<CallId> id) : calls_(calls), id_(id) { calls_.Hurry(id_, true); }
    ~NoDelay() { calls_.Hurry(id_, false); }
    NoDelay(const NoDelay&) = delete;
    NoDelay& operator=(const NoDelay&) = delete;

  private:
    Calls& calls_;  // outlives this object
    const std::optional<CallId> id_;
};

/// The Calls of the TV, valid for the life of the process.
PLATFORM_API Calls& TheCalls();

/// An out argument: where it goes and whether it was written.
template <typename T>
class Out {
  public:
    /// `target` may be null: then what is set is dropped.
    explicit Out(T* target) : target_(target) {}

    void Set(T value)
    {
        if (target_ != nullptr)
            *target_ = std::move(value);
        written_ = true;
    }
    Json::Value Json() const { return written_ && target_ != nullptr ? ToJson(*target_) : Json::Value(); }
    void Take(const Json::Value& json)
    {
        T value{};
        if (!json.isNull() && FromJson(json, value))
            Set(std::move(value));
    }

  private:
    T* target_;
    bool written_ = false;
};

/// An out argument that is an interface pointer: there is one interface, and it is written or not.
template <typename I>
class OutInterface {
  public:
    OutInterface(I** target, I* usual) : target_(target), usual_(usual) {}

    void Set()
    {
        if (target_ != nullptr)
            *target_ = usual_;
        written_ = true;
    }
    Json::Value Json() const { return written_ ? Json::Value(true) : Json::Value(); }
    void Take(const Json::Value& json)
    {
        if (json.isBool() && json.asBool())
            Set();
    }

  private:
    I** target_;
    I* usual_;
    bool written_ = false;
};

/// One platform call: `args` are what the journal shows (const references or values), `body` does the
/// work and writes the out arguments, which it shares with `outs`. A scripted answer replaces the body.
template <typename Result, typename... Args, typename Body, typename... Outs>
Result Call(CallId id, const std::tuple<Args...>& args, Body&& body, Outs&... outs)
{
    if (!Calls::Watched())
        return body();

    Calls& calls = TheCalls();
    const CallInfo& info = InfoOf(id);
    const std::optional<Answer> answer = calls.Take(id);
    if (answer) {
        Json::ArrayIndex index = 0;
        (outs.Take(answer->out.get(index++, Json::Value::nullSingleton())), ...);
    }
    const auto record = [&](Json::Value result) {
        if (!calls.journal().calls_heard())
            return;
        CallRecord call{info.name, Json::Value(Json::arrayValue), std::move(result), Json::Value()};
        std::apply([&](const auto&... arg) { (call.args.append(ToJson(arg)), ...); }, args);
        if constexpr (sizeof...(Outs) > 0)
            (call.out.append(outs.Json()), ...);
        calls.journal().Write(call);
    };
    if constexpr (std::is_void_v<Result>) {
        if (!answer)
            body();
        record(Json::Value());
    } else {
        Result result{};
        if (answer)
            FromJson(answer->result ? *answer->result : info.success, result);
        else
            result = body();
        record(ToJson(result));
        return result;
    }
}

/// Whether a call gives its interface: written as true, or null.
struct Availability {
    bool available = false;
};
inline Json::Value ToJson(Availability value)
{
    return value.available ? Json::Value(true) : Json::Value();
}
inline bool FromJson(const Json::Value& json, Availability& value)
{
    value.available = json.isBool() && json.asBool();
    return true;
}

/// One platform call that gives an interface: the usual one, or null when `body` gives false.
template <typename I, typename Body>
I* CallForInterface(CallId id, I* usual, Body&& body)
{
    return Call<Availability>(id, std::tuple<>(), [&] { return Availability{body()}; }).available ? usual
                                                                                                  : nullptr;
}

}  // namespace tv
