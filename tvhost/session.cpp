#include "tvhost/session.h"

#include <cstdio>
#include <string_view>

#include "services/web-runtime/json_var.h"
#include "tv/control.h"
#include "tv/tv.h"

namespace host {
namespace {

OrderedObject CallLine(const tv::CallRecord& call)
{
    OrderedObject line{{"call", call.name}, {"args", call.args}, {"result", call.result}};
    if (!call.out.isNull())
        line.emplace_back("out", call.out);
    return line;
}

Json::Value Text(std::string_view text)
{
    return Json::Value(text.data(), text.data() + text.size());
}

OrderedObject LogLine(const tv::LogRecord& log)
{
    return {
        {"log", Text(log.text)}, {"buffer", log.buffer}, {"priority", log.priority}, {"tag", Text(log.tag)}};
}

}  // namespace

Session::Session(const std::filesystem::path& plugin, Output output, Heard heard) : output_(std::move(output))
{
    Hear(heard);
    tv::TheDeliveries().Hold();
    plugin_ = std::make_unique<Plugin>(plugin);
}

Session::~Session()
{
    if (instance_)
        End();
    plugin_.reset();
    tv::TheCalls().RestoreAll();
    tv::TheDeliveries().Resume();
}

void Session::Hear(Heard heard)
{
    tv::Journal& journal = tv::TheJournal();
    const tv::MutexLock lock(heard_mutex_);
    if (!heard.calls)
        calls_.reset();
    else if (!calls_)
        calls_ = journal.ListenToCalls([this](const tv::CallRecord& call) { Tell(CallLine(call)); });
    if (!heard.log)
        log_.reset();
    else if (!log_)
        log_ = journal.ListenToLog([this](const tv::LogRecord& log) { Tell(LogLine(log)); });
}

void Session::Tell(const OrderedObject& line)
{
    const tv::MutexLock lock(output_mutex_);
    output_(line);
}

void Session::Open()
{
    if (instance_)
        throw LineError("an instance is open already");
    instance_ = std::make_unique<tv::EmbeddedInstance>(plugin_->module(), [this](const pp::Var& message) {
        Tell({{"message", tv::ToJson(message)}});
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
        Await(line["await"]);
    else if (line.isObject() && line.size() == 1 && line.isMember("post"))
        Post(line["post"]);
    else
        throw LineError("expected {\"await\": …}, {\"post\": …} or {\"tv\": …}");
}

void Session::Await(const Json::Value& message)
{
    OpenInstance().Await(tv::ToVar(message), {[this](const pp::Var& reply) {
                                                  Tell({{"reply", tv::ToJson(reply)}});
                                              },
                                              pp::Var()});
    tv::TheDeliveries().Release();
}

void Session::Post(const Json::Value& message)
{
    OpenInstance().Post(tv::ToVar(message));
    tv::TheDeliveries().Release();
}

void Session::DoVerb(const Json::Value& verb)
{
    OrderedObject did{{"did", verb["tv"]}};
    try {
        if (verb["tv"] == "close" || verb["tv"] == "open") {
            tv::RefuseFields(verb);
            verb["tv"] == "open" ? Open() : Close();
        } else {
            const tv::VerbResults results = tv::CarryOut(verb);
            did.insert(did.end(), results.begin(), results.end());
        }
    } catch (const tv::VerbError& error) {
        throw LineError(error.what());
    }
    Tell(did);
    tv::TheDeliveries().Release();
}

}  // namespace host
