// SPDX-License-Identifier: Apache-2.0
#include "tvhost/web/lines.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "tvhost/json_text.h"

namespace host {
namespace {

/// Deeper than any line is that was taken.
constexpr int kMaxDepth = kMaxMessageDepth + 1;

/// The JSON text as a line can hold it.
std::string TextInLine(const std::string& json)
{
    std::string line = json;
    // They stand between tokens only: inside of strings no JSON has any.
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    return line;
}

std::string LineOf(tv::EmbeddedInstance::Kind kind, const std::string& message)
{
    const bool blocking = kind == tv::EmbeddedInstance::Kind::Blocking;
    return (blocking ? R"({"await":)" : R"({"post":)") + TextInLine(message) + '}';
}

std::string WhyRefused(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const Refused& refused) {
        return refused.what();
    } catch (...) {
        return "the message was not handled";
    }
}

}  // namespace

Json::Value ParseRequest(const std::string& text, int max_depth)
{
    try {
        return ParseJson(text, max_depth);
    } catch (const JsonError& error) {
        throw Refused(400, error.what());
    }
}

void Lines::TakeVerb(Json::Value line, const std::string& text, WebAnswer& taken,
                     std::shared_ptr<tv::Calls::NoDelay> no_delay, std::function<void()> check)
{
    // What has to wait stays text here, too.
    std::optional<Json::Value> at_once;
    if (turns_.is_free())
        at_once = std::move(line);
    const bool brings_on = no_delay != nullptr;
    Turns::Work work = [this, at_once = std::move(at_once), line_in = TextInLine(text),
                        no_delay = std::move(no_delay)](WebAnswer& done) {
        CarryOut(at_once ? *at_once : ParseRequest(line_in, kMaxDepth), line_in, done);
    };
    turns_.Take(
        [this, work = std::move(work), check = std::move(check)](WebAnswer& answer,
                                                                 Turns::Turn turn) mutable {
            if (check)
                check();
            turns_.OnPluginThread(std::move(work), std::move(answer), std::move(turn));
        },
        taken, text.size(), brings_on);
}

void Lines::Begin(const std::string& text, WebAnswer& answer)
{
    // A real TV says something between the lines, too: that came with the time that has passed.
    if (std::vector<std::string> before = End().lines_out; !before.empty()) {
        before.push_back(counterpart_->PassTime({}, {}).did);
        recording_->Advance(0, before);
    }
    const tv::MutexLock lock(mutex_);
    journal_.Add(text);
    answer_ = std::move(answer);
}

Lines::Caused Lines::End()
{
    const tv::MutexLock lock(mutex_);
    return {std::exchange(lines_out_, {}), std::move(answer_)};
}

void Lines::Fail(const char* why)
{
    journal_.Add(WriteJson(OrderedObject{{"error", why}}));
}

void Lines::CarryOut(const Json::Value& line, const std::string& text, WebAnswer& answer)
{
    if (tick_ && (line["tv"] == "speed" || line["tv"] == "advance"))
        tick_();
    Begin(text, answer);
    try {
        counterpart_->CarryOut(line);
    } catch (const std::exception& error) {
        answer = End().answer;
        Fail(error.what());
        throw;
    } catch (...) {
        answer = End().answer;
        throw;
    }
    const Caused caused = End();
    if (recording_ != nullptr)
        recording_->Write(text, caused.lines_out);
}

void Lines::CarryOut(const Json::Value& line)
{
    WebAnswer nobody;
    CarryOut(line, WriteJson(line), nobody);
}

std::chrono::milliseconds Lines::Tick(std::chrono::milliseconds by,
                                      std::chrono::steady_clock::time_point until)
{
    Counterpart::Passed passed;
    try {
        passed = counterpart_->PassTime(by, until);
    } catch (...) {
        End();
        throw;
    }
    if (recording_ != nullptr) {
        std::vector<std::string> lines_out = End().lines_out;
        lines_out.push_back(std::move(passed.did));
        recording_->Advance(passed.by.count(), lines_out);
    }
    return passed.by;
}

void Lines::Send(Message message, WebAnswer& answer, Turns::Turn turn)
{
    message_ = LineOf(message.kind, message.text);
    Begin(message_, answer);
    turn_ = std::move(turn);
    try {
        counterpart_->Send(std::move(message),
                           [this](const std::exception_ptr& failure) { OnHandled(failure); });
    } catch (...) {
        answer = End().answer;
        const Turns::Turn ended = std::move(turn_);
        throw;
    }
}

void Lines::OnHandled(const std::exception_ptr& failure)
{
    if (failure) {
        Caused caused = End();
        Answering(caused.answer, [&] { std::rethrow_exception(failure); });
        Fail(WhyRefused(failure).c_str());
    }
    if (!counterpart_->has_deliveries())
        return EndMessage();
    // They may wait for one another, and for the worker thread.
    turns_.OnPluginThread(
        [this](WebAnswer&) {
            counterpart_->Deliver();
            EndMessage();
        },
        {}, std::move(turn_));
}

void Lines::EndMessage()
{
    const Turns::Turn ended = std::move(turn_);
    const Caused caused = End();
    if (recording_ != nullptr)
        recording_->Write(message_, caused.lines_out);
}

void Lines::OnLineOut(LineOut line)
{
    using Kind = LineOut::Kind;
    if (line.kind == Kind::Call || line.kind == Kind::Log)
        return journal_.Add(line);
    WebAnswer answer;
    {
        const tv::MutexLock lock(mutex_);
        if (recording_ != nullptr)
            lines_out_.push_back(line.Whole());
        journal_.Add(line);
        if (line.kind == Kind::Reply || line.kind == Kind::Did)
            answer = std::move(answer_);
    }
    if (line.kind == Kind::Message) {
        pages_.Tell(std::move(line.text));
    } else if (answer) {
        WebResponse response;
        response.body = std::move(line.text);
        answer(std::move(response));
    }
}

}  // namespace host
