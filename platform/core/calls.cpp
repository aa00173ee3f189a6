// SPDX-License-Identifier: Apache-2.0
#include "core/calls.h"

#include <algorithm>

namespace tv {
namespace {

/// A whole number is the same however it is written.
bool IsSame(const Json::Value& asked, const Json::Value& given)
{
    return asked.isInt() && given.isInt() ? asked.asInt() == given.asInt() : asked == given;
}

/// Whether each argument that is asked for is the one that was given.
bool Fits(const Json::Value& asked, const Json::Value& given)
{
    for (Json::ArrayIndex i = 0; i < asked.size(); ++i) {
        if (!asked[i].isNull() && !IsSame(asked[i], given[i]))
            return false;
    }
    return true;
}

}  // namespace

AnyCall::AnyCall(CallTable& table, const char* name, std::size_t args, Slot result, std::vector<Slot> outs)
    : name_(name), args_(args), result_(result), outs_(std::move(outs))
{
    table.calls_.push_back(this);
}

std::optional<std::string> AnyCall::Mistake(const Answer& answer) const
{
    if (answer.works && (answer.result || !answer.out.isNull()))
        return std::string("\"works\" goes with neither \"result\" nor \"out\"");
    if (answer.result && !result_.fits(*answer.result))
        return std::string("\"result\" of ") + name_ + " must be " + result_.what;
    if (answer.out.size() > outs_.size())
        return std::string(name_) + " has " + std::to_string(outs_.size()) +
               " out arguments, \"out\" gives " + std::to_string(answer.out.size());
    for (Json::ArrayIndex i = 0; i < answer.out.size(); ++i) {
        if (!answer.out[i].isNull() && !outs_[i].fits(answer.out[i]))
            return "\"out\"[" + std::to_string(i) + "] of " + name_ + " must be null or " + outs_[i].what;
    }
    if (answer.args.size() > args_)
        return std::string(name_) + " has " + std::to_string(args_) + " arguments, \"args\" gives " +
               std::to_string(answer.args.size());
    return std::nullopt;
}

std::atomic<int> Calls::watchers_{0};

Calls& TheCalls()
{
    static Calls& calls = *new Calls;
    return calls;
}

void Calls::Add(const CallTable& table)
{
    const MutexLock lock(mutex_);
    for (const AnyCall* const call : table.calls()) {
        calls_.push_back(call);
        scripted_[call];
    }
}

const AnyCall* Calls::Find(const std::string& name) const
{
    const MutexLock lock(mutex_);
    const auto found =
        std::find_if(calls_.begin(), calls_.end(), [&](const AnyCall* call) { return call->name() == name; });
    return found == calls_.end() ? nullptr : *found;
}

std::vector<std::string> Calls::Names() const
{
    const MutexLock lock(mutex_);
    std::vector<std::string> names;
    for (const AnyCall* const call : calls_)
        names.emplace_back(call->name());
    return names;
}

void Calls::SetAnswer(const AnyCall& call, Answer answer)
{
    const MutexLock lock(mutex_);
    Scripted& scripted = scripted_[&call];
    if (answer.times == 0)
        Erase(scripted, [&](const Answer& other) { return other.args == answer.args; });
    scripted.answers.push_back(std::move(answer));
    AddWatcher();
}

template <typename Covers>
void Calls::Erase(Scripted& scripted, Covers covers)
{
    for (auto answer = scripted.answers.begin(); answer != scripted.answers.end();) {
        if (covers(*answer)) {
            answer = scripted.answers.erase(answer);
            RemoveWatcher();
        } else {
            ++answer;
        }
    }
}

void Calls::Clear(Scripted& scripted)
{
    Erase(scripted, [](const Answer&) { return true; });
    ++scripted.epoch;
}

void Calls::Restore(const AnyCall& call)
{
    {
        const MutexLock lock(mutex_);
        Clear(scripted_[&call]);
    }
    restored_.NotifyAll();
}

void Calls::RestoreAll()
{
    {
        const MutexLock lock(mutex_);
        for (auto& [call, scripted] : scripted_)
            Clear(scripted);
    }
    restored_.NotifyAll();
}

void Calls::Hurry(const AnyCall* call, bool begins)
{
    {
        const MutexLock lock(mutex_);
        for (auto& [one, scripted] : scripted_) {
            if (call == nullptr || call == one)
                scripted.hurried += begins ? 1U : -1U;
        }
    }
    restored_.NotifyAll();
}

std::optional<Answer> Calls::Take(const AnyCall& call, const std::function<Json::Value()>& args)
{
    const MutexLock lock(mutex_);
    Scripted& scripted = scripted_[&call];
    std::deque<Answer>& answers = scripted.answers;
    const auto for_some = [](const Answer& answer) { return !answer.args.isNull(); };
    auto holds = answers.end();
    if (std::any_of(answers.begin(), answers.end(), for_some)) {
        const Json::Value given = args();
        holds = std::find_if(answers.begin(), answers.end(), [&](const Answer& answer) {
            return for_some(answer) && Fits(answer.args, given);
        });
    }
    if (holds == answers.end())
        holds = std::find_if_not(answers.begin(), answers.end(), for_some);
    if (holds == answers.end())
        return std::nullopt;
    Answer answer = *holds;
    if (holds->times > 0 && --holds->times == 0) {
        answers.erase(holds);
        RemoveWatcher();
    }
    const auto end = std::chrono::steady_clock::now() + answer.delay;
    const unsigned epoch = scripted.epoch;
    bool waits = answer.delay.count() > 0;
    while (waits && scripted.epoch == epoch && scripted.hurried == 0)
        waits = restored_.WaitUntil(mutex_, end);
    if (answer.works)
        return std::nullopt;
    return answer;
}

Json::Value Calls::AnswersJson() const
{
    const MutexLock lock(mutex_);
    Json::Value list(Json::arrayValue);
    for (const AnyCall* const call : calls_) {
        for (const Answer& answer : scripted_.at(call).answers) {
            Json::Value one;
            one["call"] = call->name();
            if (answer.result)
                one["result"] = *answer.result;
            if (!answer.out.isNull())
                one["out"] = answer.out;
            if (!answer.args.isNull())
                one["args"] = answer.args;
            if (answer.delay.count() > 0)
                one["delay"] = static_cast<Json::Int64>(answer.delay.count());
            if (answer.times > 0)
                one["times"] = answer.times;
            if (answer.works)
                one["works"] = true;
            list.append(one);
        }
    }
    return list;
}

}  // namespace tv
