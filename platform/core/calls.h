// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/form.h"
#include "core/journal.h"
#include "core/mutex.h"
#include "zelumo-platform/export.h"

/// Every platform call goes through here: what was called is written to the journal, and a scripted answer
/// takes the call's place when one is set. A call is declared once, beside its shim, as a member of the
/// CallTable of its room:
///
///     struct BmsCalls : CallTable {
///         Call<int(BmsPlayerId), Out<std::int32_t>> get_play_time{*this, "BmsGetPlayTime"};
///
/// and made by that member:
///
///     return TheTable<BmsCalls>().get_play_time(id, Out(position), [&](Out<std::int32_t>& out) { … });
namespace tv {

/// An answer that stands in for a platform call.
struct Answer {
    std::optional<Json::Value> result;  ///< absent: the call's usual result
    Json::Value out;                    ///< array, or null: nothing is written
    std::chrono::milliseconds delay{0};
    int times = 0;       ///< calls that it still holds for; 0: until it is replaced or withdrawn
    Json::Value args{};  ///< array, or null: holds for any; an element that is not null must be the call's
    bool works = false;  ///< there is neither result nor out: after the delay the call works as usual
};

class AnyCall;

/// The calls of one room, in the order of their declaration.
class ZELUMO_PLATFORM_API CallTable {
  public:
    CallTable() = default;
    CallTable(const CallTable&) = delete;
    CallTable& operator=(const CallTable&) = delete;

    const std::vector<const AnyCall*>& calls() const { return calls_; }

  private:
    friend class AnyCall;
    std::vector<const AnyCall*> calls_;
};

/// The one table of a room, never destroyed: a plug-in that is still loaded at exit makes calls after all
/// destructors.
template <typename Table>
const Table& TheTable()
{
    static const Table& table = *new Table;
    return table;
}

/// A declared call, whatever its types. Not changed once it was made; lives as long as its table.
class ZELUMO_PLATFORM_API AnyCall {
  public:
    AnyCall(const AnyCall&) = delete;
    AnyCall& operator=(const AnyCall&) = delete;

    /// As the journal and the verb `answer` write it.
    const char* name() const { return name_; }
    /// Why `answer` does not fit the call, or nothing when it does.
    std::optional<std::string> Mistake(const Answer& answer) const;
    /// The result of a scripted answer that gives none, as the journal writes it.
    virtual Json::Value UsualResult() const = 0;

  protected:
    /// What a result or an out argument takes.
    struct Slot {
        bool (*fits)(const Json::Value& json);
        const char* what;
    };
    template <typename T>
    static Slot SlotFor()
    {
        if constexpr (std::is_void_v<T>)
            return {[](const Json::Value& json) { return json.isNull(); }, "null"};
        else
            return {[](const Json::Value& json) {
                        T value{};
                        return FromJson(json, value);
                    },
                    Form<T>::kWhat};
    }
    AnyCall(CallTable& table, const char* name, std::size_t args, Slot result, std::vector<Slot> outs);
    virtual ~AnyCall() = default;

  private:
    const char* const name_;
    const std::size_t args_;
    const Slot result_;
    const std::vector<Slot> outs_;
};

/// The scripted answers. Any thread.
class ZELUMO_PLATFORM_API Calls {
  public:
    Calls() = default;
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    /// Makes the calls of a table known. The table lives as long as the process.
    void Add(const CallTable& table) EXCLUDES(mutex_);
    /// The call of that name, or null.
    const AnyCall* Find(const std::string& name) const EXCLUDES(mutex_);
    /// Those of all calls, in the order of the tables.
    std::vector<std::string> Names() const EXCLUDES(mutex_);

    /// An answer without `times` replaces those that stood for the call and the same `args`; one with `times`
    /// queues up. Those with `args` are asked first, in the order of setting. The answer must fit the call
    /// (see Mistake).
    void SetAnswer(const AnyCall& call, Answer answer) EXCLUDES(mutex_);
    /// The call works as usual again; a delay that is being waited out ends at once.
    void Restore(const AnyCall& call) EXCLUDES(mutex_);
    void RestoreAll() EXCLUDES(mutex_);
    /// While it lives, the delays of a call's answers, or of all calls', are not waited out; one that is
    /// being waited out ends at once. Any thread.
    class NoDelay;
    /// What stands scripted, as `answer` verbs without their "tv", in the order of the tables.
    Json::Value AnswersJson() const EXCLUDES(mutex_);

    /// False while nobody listens and no answer stands: then a call is just made.
    static bool Watched() { return watchers_.load(std::memory_order_acquire) != 0; }

    // For Call and the journal.
    /// Takes the answer that holds for a call with these arguments, having waited out its delay; nothing
    /// where the call works as usual. `args` writes them, and takes no locks.
    std::optional<Answer> Take(const AnyCall& call, const std::function<Json::Value()>& args)
        EXCLUDES(mutex_);
    static void AddWatcher() { watchers_.fetch_add(1, std::memory_order_release); }
    static void RemoveWatcher() { watchers_.fetch_sub(1, std::memory_order_release); }

  private:
    struct Scripted {
        std::deque<Answer> answers;
        unsigned epoch = 0;    ///< counts restores, so that a delay knows it was withdrawn
        unsigned hurried = 0;  ///< how many NoDelay there are for it
    };
    template <typename Covers>
    static void Erase(Scripted& scripted, Covers covers);
    static void Clear(Scripted& scripted);
    /// Null: every call.
    void Hurry(const AnyCall* call, bool begins) EXCLUDES(mutex_);

    static std::atomic<int> watchers_;
    mutable Mutex mutex_{LockLevel::Calls};
    CondVar restored_;
    std::vector<const AnyCall*> calls_ GUARDED_BY(mutex_);
    std::map<const AnyCall*, Scripted> scripted_ GUARDED_BY(mutex_);  ///< one for each of calls_
};

class ZELUMO_PLATFORM_API Calls::NoDelay {
  public:
    /// Without a call: of all calls. `calls` outlives this object.
    NoDelay(Calls& calls, const AnyCall* call) : calls_(calls), call_(call) { calls_.Hurry(call_, true); }
    ~NoDelay() { calls_.Hurry(call_, false); }
    NoDelay(const NoDelay&) = delete;
    NoDelay& operator=(const NoDelay&) = delete;

  private:
    Calls& calls_;
    const AnyCall* const call_;
};

/// Those of the TV, valid for the life of the process.
ZELUMO_PLATFORM_API Calls& TheCalls();

/// An out argument: where it goes and whether it was written.
template <typename T>
class Out {
  public:
    using Written = T;

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
    using Written = Availability;

    OutInterface(I** target, I* usual) : target_(target), usual_(usual) {}

    void Set()
    {
        if (target_ != nullptr)
            *target_ = usual_;
        written_ = true;
    }
    Json::Value Json() const { return ToJson(Availability{written_}); }
    void Take(const Json::Value& json)
    {
        if (Availability given; FromJson(json, given) && given.available)
            Set();
    }

  private:
    I** target_;
    I* usual_;
    bool written_ = false;
};

/// A call with its types: what it returns and is given, as a function type, and its out arguments (Out,
/// OutInterface, or the like).
template <typename Signature, typename... Outs>
class Call;

template <typename Result, typename... Args, typename... Outs>
class Call<Result(Args...), Outs...> : public AnyCall {
  public:
    using Usual = std::conditional_t<std::is_void_v<Result>, Json::Value, Result>;

    /// `usual`: the result of a scripted call that is given none.
    Call(CallTable& table, const char* name, Usual usual = {})
        : AnyCall(table, name, sizeof...(Args), SlotFor<Result>(), {SlotFor<typename Outs::Written>()...}),
          usual_(std::move(usual))
    {}

    Json::Value UsualResult() const override { return ToJson(usual_); }

    /// Makes the call. `args` are what the journal shows; `body(outs…)` does the work and writes the out
    /// arguments, unless a scripted answer takes its place.
    template <typename Body>
    Result operator()(const Args&... args, Outs... outs, Body&& body) const
    {
        if (!Calls::Watched())
            return body(outs...);
        return MakeWatched(args..., outs..., body);
    }

  private:
    /// Apart, so that an unwatched call is small enough to become part of its shim.
    template <typename Body>
    [[gnu::noinline, gnu::cold]] Result MakeWatched(const Args&... args, Outs&... outs, Body& body) const
    {
        const std::optional<Answer> answer = TheCalls().Take(*this, [&] { return Written(args...); });
        if (answer) {
            Json::ArrayIndex index = 0;
            (outs.Take(answer->out.get(index++, Json::Value::nullSingleton())), ...);
        }
        if constexpr (std::is_void_v<Result>) {
            if (!answer)
                body(outs...);
            Record(args..., Json::Value(), outs...);
        } else {
            Result result = usual_;
            if (!answer)
                result = body(outs...);
            else if (answer->result)
                FromJson(*answer->result, result);
            Record(args..., ToJson(result), outs...);
            return result;
        }
    }
    static Json::Value Written(const Args&... args)
    {
        Json::Value list(Json::arrayValue);
        (list.append(ToJson(args)), ...);
        return list;
    }
    void Record(const Args&... args, Json::Value result, const Outs&... outs) const
    {
        if (!TheJournal().calls_heard())
            return;
        CallRecord record{name(), Written(args...), std::move(result), Json::Value()};
        if constexpr (sizeof...(Outs) > 0)
            (record.out.append(outs.Json()), ...);
        TheJournal().Write(std::move(record));
    }

    const Usual usual_;
};

/// A call that gives an interface: the usual one, or null when `body` gives false.
template <typename I, typename Body>
I* CallForInterface(const Call<Availability()>& call, I* usual, Body&& body)
{
    return call([&] { return Availability{body()}; }).available ? usual : nullptr;
}

}  // namespace tv
