// SPDX-License-Identifier: Apache-2.0
#include "tests/support/page.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "services/web-runtime/json_var.h"
#include "tv/control.h"
#include "tv/tv.h"
#include "tvhost/json_text.h"
#include "tvhost/log_text.h"

namespace test {
namespace {

void Abort(const std::string& what)
{
    std::fprintf(stderr, "test support: %s\n", what.c_str());
    std::abort();
}

MisuseHandler misused = Abort;

}  // namespace

void OnMisuse(MisuseHandler handler)
{
    misused = handler;
}

std::filesystem::path PluginPath()
{
    return ZELUMO_PLUGIN;
}

Json::Value J(const std::string& text)
{
    return host::ParseJson(text, 200);
}

std::string Text(const Json::Value& value)
{
    return host::WriteJson(value);
}

Page::Page(Deliveries deliveries, const std::filesystem::path& plugin) : deliveries_(deliveries)
{
    if (deliveries_ == Deliveries::Stepped)
        tv::TheDeliveries().Hold();
    plugin_ = std::make_unique<host::Plugin>(plugin);
    Open();
}

Page::~Page()
{
    if (instance_)
        Close();
    plugin_.reset();
    tv::TheCalls().RestoreAll();
    tv::TheDeliveries().Resume();
    std::string left;
    for (const Json::Value& message : messages_)
        left += "\n  " + Text(message);
    if (!left.empty())
        misused("messages that the test did not expect:" + left);
}

void Page::Open()
{
    instance_ = std::make_unique<tv::EmbeddedInstance>(
        plugin_->module(), [this](const pp::Var& message) { OnMessage(message); });
    Settle();
}

void Page::Close()
{
    instance_.reset();
    const std::size_t left = tv::DropLeftovers();
    Settle();
    if (left != 0)
        misused(std::to_string(left) + " subscriptions outlive the instance");
}

void Page::Settle()
{
    if (deliveries_ == Deliveries::Stepped)
        tv::TheDeliveries().Release();
}

Json::Value Page::AwaitValue(const Json::Value& message)
{
    const Json::Value reply = tv::ToJson(instance_->Await(tv::ToVar(message)));
    Settle();
    return reply;
}

void Page::Post(const Json::Value& message)
{
    instance_->Post(tv::ToVar(message));
    Settle();
}

Json::Value Page::Do(const std::string& json)
{
    Json::Value results(Json::objectValue);
    for (const auto& [name, value] : tv::CarryOut(J(json)))
        results[name] = value;
    Settle();
    return results;
}

void Page::OnMessage(const pp::Var& message)
{
    const Json::Value json = tv::ToJson(message);
    std::function<void(const Json::Value&)> observer;
    {
        const tv::MutexLock lock(mutex_);
        observer = observer_;
        if (!observer)
            messages_.push_back(json);
    }
    posted_.NotifyAll();
    if (observer)
        observer(json);
}

std::vector<Json::Value> Page::TakeMessages()
{
    const tv::MutexLock lock(mutex_);
    return std::exchange(messages_, {});
}

Lines Page::TakeTexts()
{
    Lines texts;
    for (const Json::Value& message : TakeMessages())
        texts.push_back(Text(message));
    return texts;
}

std::vector<Json::Value> Page::TakeMessages(std::size_t count)
{
    const tv::MutexLock lock(mutex_);
    while (messages_.size() < count)
        posted_.Wait(mutex_);
    return std::exchange(messages_, {});
}

void Page::Observe(std::function<void(const Json::Value&)> observer)
{
    const tv::MutexLock lock(mutex_);
    observer_ = std::move(observer);
}

Lines Collected::Take()
{
    const tv::MutexLock lock(mutex_);
    return std::exchange(lines_, {});
}

Lines Collected::TakeHolding(const std::vector<std::string>& texts)
{
    Lines held;
    for (const std::string& line : Take()) {
        const auto holds = [&](const std::string& text) { return line.find(text) != std::string::npos; };
        if (std::any_of(texts.begin(), texts.end(), holds))
            held.push_back(line);
    }
    return held;
}

void Collected::Add(const std::string& line)
{
    const tv::MutexLock lock(mutex_);
    lines_.push_back(line);
}

Calls::Calls()
{
    listening_ = tv::TheJournal().ListenToCalls([this](const tv::SharedCall& call) {
        const std::string out = call->out.isNull() ? "" : " out " + Text(call->out);
        Add(std::string(call->name) + ' ' + Text(call->args) + " -> " + Text(call->result) + out);
    });
}

Lines Calls::TakeNames()
{
    Lines names;
    for (const std::string& line : Take())
        names.push_back(line.substr(0, line.find(' ')));
    return names;
}

Log::Log()
{
    listening_ = tv::TheJournal().ListenToLog([this](const tv::LogRecord& log) {
        // "file: Function() > text" becomes "Function: text".
        std::string text = host::WithoutSourceLine(std::string(log.text));
        text.erase(0, text.find(": ") + 2);
        text.replace(text.find("() > "), 5, ": ");
        Add(std::to_string(log.buffer) + '/' + std::to_string(log.priority) + ' ' + std::string(log.tag) +
            ' ' + text);
    });
}

}  // namespace test
