#include "core/calls.h"

#include <map>
#include <string>

namespace tv {

std::atomic<int> Calls::watchers_{0};

const CallInfo* Calls::Find(const std::string& name)
{
    static const std::map<std::string, const CallInfo*> by_name = [] {
        std::map<std::string, const CallInfo*> names;
        for (std::size_t i = 0; i < kCallCount; ++i) {
            const CallInfo& info = InfoOf(static_cast<CallId>(i));
            names.emplace(info.name, &info);
        }
        return names;
    }();
    const auto found = by_name.find(name);
    return found == by_name.end() ? nullptr : found->second;
}

std::optional<std::string> Calls::Mistake(const CallInfo& info, const Answer& answer)
{
    if (answer.result && !Fits(info.result, *answer.result))
        return std::string("\"result\" of ") + info.name + " must be " + Describe(info.result);
    if (answer.out.size() > info.out.size())
        return std::string(info.name) + " has " + std::to_string(info.out.size()) +
               " out arguments, \"out\" gives " + std::to_string(answer.out.size());
    for (Json::ArrayIndex i = 0; i < answer.out.size(); ++i) {
        if (!answer.out[i].isNull() && !Fits(info.out[i], answer.out[i]))
            return "\"out\"[" + std::to_string(i) + "] of " + info.name + " must be null or " +
                   Describe(info.out[i]);
    }
    return std::nullopt;
}

void Calls::SetAnswer(CallId id, Answer answer)
{
    const std::lock_guard lock(mutex_);
    Scripted& scripted = scripted_[static_cast<std::size_t>(id)];
    if (answer.times == 0) {
        for (std::size_t i = scripted.answers.size(); i > 0; --i)
            RemoveWatcher();
        scripted.answers.clear();
    }
    scripted.answers.push_back(std::move(answer));
    AddWatcher();
}

void Calls::Clear(CallId id)
{
    Scripted& scripted = scripted_[static_cast<std::size_t>(id)];
    for (std::size_t i = scripted.answers.size(); i > 0; --i)
        RemoveWatcher();
    scripted.answers.clear();
    ++scripted.epoch;
}

void Calls::Restore(CallId id)
{
    {
        const std::lock_guard lock(mutex_);
        Clear(id);
    }
    restored_.notify_all();
}

void Calls::RestoreAll()
{
    {
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < kCallCount; ++i)
            Clear(static_cast<CallId>(i));
    }
    restored_.notify_all();
}

void Calls::Hurry(std::optional<CallId> id, bool begins)
{
    {
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < kCallCount; ++i) {
            if (!id || *id == static_cast<CallId>(i))
                scripted_[i].hurried += begins ? 1U : -1U;
        }
    }
    restored_.notify_all();
}

std::optional<Answer> Calls::Take(CallId id)
{
    std::unique_lock lock(mutex_);
    Scripted& scripted = scripted_[static_cast<std::size_t>(id)];
    if (scripted.answers.empty())
        return std::nullopt;
    Answer answer = scripted.answers.front();
    if (scripted.answers.front().times > 0 && --scripted.answers.front().times == 0) {
        scripted.answers.pop_front();
        RemoveWatcher();
    }
    if (answer.delay.count() > 0) {
        const unsigned epoch = scripted.epoch;
        restored_.wait_for(lock, answer.delay,
                           [&] { return scripted.epoch != epoch || scripted.hurried != 0; });
    }
    return answer;
}

Json::Value Calls::AnswersJson() const
{
    const std::lock_guard lock(mutex_);
    Json::Value list(Json::arrayValue);
    for (std::size_t i = 0; i < kCallCount; ++i) {
        for (const Answer& answer : scripted_[i].answers) {
            Json::Value one;
            one["call"] = InfoOf(static_cast<CallId>(i)).name;
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
