// SPDX-License-Identifier: Apache-2.0
#include "tvhost/session.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "services/web-runtime/json_var.h"
#include "tv/control.h"
#include "tv/schedule.h"
#include "tv/tv.h"

namespace host {
namespace {

std::string CallLine(const tv::CallRecord& call)
{
    OrderedObject line{{"call", call.name}, {"args", call.args}, {"result", call.result}};
    if (!call.out.isNull())
        line.emplace_back("out", call.out);
    return WriteJson(line);
}

std::string DidLine(const Json::Value& verb, const tv::VerbResults& results)
{
    OrderedObject did{{"did", verb}};
    did.insert(did.end(), results.begin(), results.end());
    return WriteJson(did);
}

Json::Value Text(std::string_view text)
{
    return Json::Value(text.data(), text.data() + text.size());
}

}  // namespace

std::string LineOut::Whole() const
{
    switch (kind) {
        case Kind::Reply:
            return R"({"reply":)" + text + '}';
        case Kind::Message:
            return R"({"message":)" + text + '}';
        case Kind::Error:
            return WriteJson(OrderedObject{{"error", text}});
        case Kind::Call:
            return CallLine(**call);
        case Kind::Log:
            return WriteJson(OrderedObject{{"log", Text(log->text)},
                                           {"buffer", log->buffer},
                                           {"priority", log->priority},
                                           {"tag", Text(log->tag)}});
        case Kind::Did:
        case Kind::Due:
            break;
    }
    return text;
}

Session::Session(const std::filesystem::path& plugin, Output output, Heard heard) : output_(std::move(output))
{
    tv::Journal& journal = tv::TheJournal();
    if (heard.calls)
        calls_ = journal.ListenToCalls([this](const tv::SharedCall& call) {
            Tell({LineOut::Kind::Call, {}, &call});
        });
    if (heard.log)
        log_ = journal.ListenToLog([this](const tv::LogRecord& log) {
            Tell({LineOut::Kind::Log, {}, nullptr, &log});
        });
    tv::TheDeliveries().Hold();
    plugin_ = std::make_unique<Plugin>(plugin);
    tv::TheSchedule().SetTaker(
        [this](const Json::Value& verb, const tv::VerbAction& carry_out) { DoDue(verb, carry_out); });
}

Session::~Session()
{
    if (instance_)
        End();
    tv::TheSchedule().Clear();
    tv::TheSchedule().SetTaker(nullptr);
    plugin_.reset();
    tv::TheCalls().RestoreAll();
    tv::TheDeliveries().Resume();
}

void Session::Tell(LineOut line)
{
    const tv::MutexLock lock(output_mutex_);
    output_(std::move(line));
}

void Session::Open()
{
    if (instance_)
        throw LineError("an instance is open already");
    instance_ = std::make_unique<tv::EmbeddedInstance>(plugin_->module(), [this](const pp::Var& message) {
        Tell({LineOut::Kind::Message, tv::ToJsonText(message)});
    });
    tv::TheDeliveries().Release();
}

void Session::Close()
{
    OpenInstance();
    End();
}

void Session::End()
{
    instance_.reset();
    // Before anything more is delivered: what is left would call into the instance that is gone.
    if (const std::size_t left = tv::DropLeftovers(); left != 0)
        std::fprintf(stderr, "zelumo-tv: %zu subscriptions outlived the instance and were dropped\n", left);
    tv::TheDeliveries().Release();
}

tv::EmbeddedInstance& Session::OpenInstance()
{
    if (!instance_)
        throw LineError("no instance is open");
    return *instance_;
}

void Session::CarryOut(const Json::Value& line)
{
    if (line.isObject() && line.isMember("tv"))
        DoVerb(line);
    else if (line.isObject() && line.size() == 1 && line.isMember("await"))
        SendAndWait(tv::EmbeddedInstance::Kind::Blocking, line["await"]);
    else if (line.isObject() && line.size() == 1 && line.isMember("post"))
        SendAndWait(tv::EmbeddedInstance::Kind::NonBlocking, line["post"]);
    else
        throw LineError("expected {\"await\": …}, {\"post\": …} or {\"tv\": …}");
}

void Session::SendAndWait(tv::EmbeddedInstance::Kind kind, const Json::Value& message)
{
    struct Handling {
        tv::Mutex mutex{tv::LockLevel::Leaf};
        tv::CondVar changed;
        bool ended GUARDED_BY(mutex) = false;
        std::exception_ptr failure GUARDED_BY(mutex);
    };
    // Shared, since the worker thread may not be through with it when this one goes on.
    const auto handling = std::make_shared<Handling>();
    tv::Mutex::CheckNoneHeld();
    Send(kind, tv::ToVar(message), [handling](const std::exception_ptr& failure) {
        {
            const tv::MutexLock lock(handling->mutex);
            handling->ended = true;
            handling->failure = failure;
        }
        handling->changed.NotifyOne();
    });
    std::exception_ptr failure;
    {
        const tv::MutexLock lock(handling->mutex);
        while (!handling->ended)
            handling->changed.Wait(handling->mutex);
        failure = handling->failure;
    }
    if (failure)
        std::rethrow_exception(failure);
    Deliver();
}

void Session::Send(Message message, Handled handled)
{
    pp::Var value =
        message.value ? std::move(*message.value) : tv::ToVar(ParseJson(message.text, kMaxMessageDepth + 1));
    Send(message.kind, std::move(value), std::move(handled));
}

void Session::Send(tv::EmbeddedInstance::Kind kind, pp::Var message, Handled handled)
{
    OpenInstance().Send(
        kind, std::move(message),
        [this, kind, handled = std::move(handled)](const tv::EmbeddedInstance::Outcome& outcome) {
            if (kind == tv::EmbeddedInstance::Kind::Blocking && !outcome.failure)
                Tell({LineOut::Kind::Reply, tv::ToJsonText(outcome.reply)});
            handled(outcome.failure);
        });
}

void Session::Deliver()
{
    tv::TheDeliveries().Release();
}

bool Session::has_deliveries() const
{
    return tv::TheDeliveries().waits();
}

void Session::DoVerb(const Json::Value& verb)
{
    tv::VerbResults results;
    try {
        if (verb["tv"] == "close" || verb["tv"] == "open") {
            tv::RefuseFields(verb);
            verb["tv"] == "open" ? Open() : Close();
        } else {
            results = tv::CarryOut(verb);
        }
    } catch (const tv::VerbError& error) {
        throw LineError(error.what());
    }
    Tell({LineOut::Kind::Did, DidLine(verb["tv"], results)});
    tv::TheDeliveries().Release();
}

void Session::DoDue(const Json::Value& verb, const tv::VerbAction& carry_out)
{
    const auto fail = [this](const char* why) {
        Tell({LineOut::Kind::Error,
              "at playing time " + std::to_string(tv::TheClock().Now().count()) + ": " + why});
    };
    try {
        const tv::VerbResults results = carry_out();
        Tell({LineOut::Kind::Due, DidLine(verb["tv"], results)});
    } catch (const std::exception& error) {
        fail(error.what());
    } catch (...) {
        fail("it does not say why");
    }
    tv::TheDeliveries().Release();
}

Session::Passed Session::PassTime(std::chrono::milliseconds by, std::chrono::steady_clock::time_point until)
{
    const double speed = tv::TheClock().speed();
    const std::chrono::milliseconds passed = tv::PassTime(
        by, [&] { return tv::TheClock().speed() == speed && std::chrono::steady_clock::now() < until; });
    return {passed, DidLine("advance", tv::TimePassed())};
}

}  // namespace host
