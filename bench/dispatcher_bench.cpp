// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <json/json.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ZeLumoPluginHandler.h"
#include "core/calls.h"
#include "core/journal.h"
#include "ppapi/cpp/var_array.h"
#include "ppapi/cpp/var_dictionary.h"
#include "services/web-runtime/json_var.h"
#include "services/web-runtime/var_objects.h"
#include "tests/support/host_process.h"
#include "tests/support/page.h"
#include "tv/tv.h"
#include "tv/tv_file.h"

namespace {

/// A new var with the same content, made the way a reply is.
pp::Var Build(const pp::Var& model)
{
    if (model.is_string())
        return tv::TextOf(model);
    if (!model.is_dictionary())
        return model;
    pp::VarDictionary dictionary;
    for (const auto& [key, value] : tv::EntriesOf(model))
        dictionary.Set(key, Build(value));
    return std::move(dictionary);
}

/// The plug-in's dispatcher without runtime and worker thread, asked one command again and again. What the
/// platform answered the first time is scripted, and the log is read by a listener that throws it away.
class Dispatcher {
  public:
    explicit Dispatcher(const Json::Value& request) : request_(tv::ToVar(request))
    {
        tv::LoadTv(tv::SampleTv());
        tv::TheDeliveries().Hold();
        // A player to command, something to unregister.
        Ask(R"({"command":"Init","url":"film","timeOffset":0})");
        Ask(R"({"command":"RegisterEvent","event":90019})");
        Ask();
        {
            const auto calls = tv::TheJournal().ListenToCalls([this](const tv::SharedCall& call) {
                calls_.push_back(tv::TheCalls().Find(call->name));
                answers_.push_back({call->result, call->out, std::chrono::milliseconds(0), 0});
            });
            const auto log = tv::TheJournal().ListenToLog(
                [this](const tv::LogRecord& line) { log_.emplace_back(line.text); });
            reply_ = Ask();
        }
        // The plug-in itself writes the channels' texts.
        if (request["command"] == "GetCurrentChannelInfo" || request["command"] == "GetZELumoServices")
            record_ = test::J(tv::ToJson(reply_)["data"].asString());
        std::set<const tv::AnyCall*> scripted;
        for (std::size_t i = 0; i < calls_.size(); ++i) {
            if (scripted.insert(calls_[i]).second)
                tv::TheCalls().SetAnswer(*calls_[i], answers_[i]);
        }
        unread_ = tv::TheJournal().ListenToLog([](const tv::LogRecord&) {});
    }
    ~Dispatcher()
    {
        unread_.reset();
        tv::TheCalls().RestoreAll();
        handler_.reset();
        tv::DropLeftovers();
        tv::TheDeliveries().Resume();
    }
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    pp::Var Ask() { return handler_->HandleBlockingMessage(pp::InstanceHandle(PP_Instance{1}), request_); }
    bool Answers() { return tv::ToJson(Ask()) == tv::ToJson(reply_); }
    /// What can't be done without: the scripted platform calls, the lines of the log, the reply.
    pp::Var Floor()
    {
        for (const tv::AnyCall* const call : calls_) {
            const std::optional<tv::Answer> answer = tv::TheCalls().Take(*call, [] { return Json::Value(); });
            // Turns result and out arguments into what the platform gives.
            benchmark::DoNotOptimize(call->Mistake(*answer));
        }
        for (const std::string& line : log_) {
            std::snprintf(discarded_, sizeof discarded_, "%s: %s(%d) > %s", "File.cpp", "Function", 100,
                          line.c_str());
            benchmark::DoNotOptimize(discarded_);
        }
        if (record_.isNull())
            return Build(reply_);
        pp::VarDictionary reply;
        reply.Set("code", 0);
        reply.Set("data", Json::StyledWriter().write(Json::Value(record_)));
        return std::move(reply);
    }

  private:
    void Ask(const char* json)
    {
        handler_->HandleBlockingMessage(pp::InstanceHandle(PP_Instance{1}), tv::ToVar(test::J(json)));
    }

    pp::Instance instance_{PP_Instance{1}};
    std::unique_ptr<CZeLumoPluginHandler> handler_ = std::make_unique<CZeLumoPluginHandler>(&instance_);
    const pp::Var request_;
    pp::Var reply_;
    Json::Value record_;  ///< what the reply's text says, when the plug-in wrote it
    std::vector<const tv::AnyCall*> calls_;
    std::vector<tv::Answer> answers_;
    std::vector<std::string> log_;
    std::unique_ptr<tv::Journal::Listening> unread_;
    char discarded_[4096] = {};
};

/// One benchmark and its floor for each command of the page's interface.
[[maybe_unused]] const bool kRegistered = [] {
    const Json::Value commands =
        test::J(test::ReadFile(std::filesystem::path(ZELUMO_WEB) / "page-api.json"))["commands"];
    for (const Json::Value& command : commands) {
        const Json::Value& request = command["example"];
        const std::string name = command["name"].asString();
        benchmark::RegisterBenchmark(("Dispatch/" + name).c_str(), [request](benchmark::State& state) {
            Dispatcher dispatcher(request);
            if (!dispatcher.Answers())
                state.SkipWithError("the scripted platform leads to another reply");
            for ([[maybe_unused]] auto _ : state)
                benchmark::DoNotOptimize(dispatcher.Ask());
        })->MinTime(0.02);
        benchmark::RegisterBenchmark(("DispatchFloor/" + name).c_str(), [request](benchmark::State& state) {
            Dispatcher dispatcher(request);
            for ([[maybe_unused]] auto _ : state)
                benchmark::DoNotOptimize(dispatcher.Floor());
        })->MinTime(0.02);
    }
    return true;
}();

}  // namespace
