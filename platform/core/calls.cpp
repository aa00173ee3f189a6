#include "core/calls.h"

#include <algorithm>

namespace tv {

AnyCall::AnyCall(CallTable& table, const char* name, Slot result, std::vector<Slot> outs)
    : name_(name), result_(result), outs_(std::move(outs))
{
    table.calls_.push_back(this);
}

std::optional<std::string> AnyCall::Mistake(const Answer& answer) const
{
    if (answer.result && !result_.fits(*answer.result))
        return std::string("\"result\" of ") + name_ + " must be " + result_.what;
    if (answer.out.size() > outs_.size())
        return std::string(name_) + " has " + std::to_string(outs_.size()) +
               " out arguments, \"out\" gives " + std::to_string(answer.out.size());
    for (Json::ArrayIndex i = 0; i < answer.out.size(); ++i) {
        if (!answer.out[i].isNull() && !outs_[i].fits(answer.out[i]))
            return "\"out\"[" + std::to_string(i) + "] of " + name_ + " must be null or " + outs_[i].what;
    }
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

void Calls::SetAnswer(const AnyCall& call, Answer answer)
{
    const MutexLock lock(mutex_);
    Scripted& scripted = scripted_[&call];
    if (answer.times == 0)
        Clear(scripted);
    scripted.answers.push_back(std::move(answer));
    AddWatcher();
}

void Calls::Clear(Scripted& scripted)
{
    for (std::size_t i = scripted.answers.size(); i > 0; --i)
        RemoveWatcher();
    scripted.answers.clear();
}

void Calls::Restore(const AnyCall& call)
{
    {
        const MutexLock lock(mutex_);
        Scripted& scripted = scripted_[&call];
        Clear(scripted);
        ++scripted.epoch;
    }
    restored_.NotifyAll();
}

void Calls::RestoreAll()
{
    {
        const MutexLock lock(mutex_);
        for (auto& [call, scripted] : scripted_) {
            Clear(scripted);
            ++scripted.epoch;
        }
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

std::optional<Answer> Calls::Take(const AnyCall& call)
{
    const MutexLock lock(mutex_);
    Scripted& scripted = scripted_[&call];
    if (scripted.answers.empty())
        return std::nullopt;
    Answer answer = scripted.answers.front();
    if (scripted.answers.front().times > 0 && --scripted.answers.front().times == 0) {
        scripted.answers.pop_front();
        RemoveWatcher();
    }
    const auto end = std::chrono::steady_clock::now() + answer.delay;
    const unsigned epoch = scripted.epoch;
    bool waits = answer.delay.count() > 0;
    while (waits && scripted.epoch == epoch && scripted.hurried == 0)
        waits = restored_.WaitUntil(mutex_, end);
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
            if (answer.delay.count() > 0)
                one["delay"] = static_cast<Json::Int64>(answer.delay.count());
            if (answer.times > 0)
                one["times"] = answer.times;
            list.append(one);
        }
    }
    return list;
}

}  // namespace tv
