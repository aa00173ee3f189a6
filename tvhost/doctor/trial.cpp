// SPDX-License-Identifier: Apache-2.0
#include "tvhost/doctor/trial.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string_view>

#include "core/journal.h"
#include "services/web-runtime/json_var.h"
#include "services/web-runtime/web_runtime.h"
#include "tv/tv.h"
#include "tvhost/child.h"
#include "tvhost/findings.h"
#include "tvhost/interrupt.h"
#include "tvhost/json_text.h"
#include "tvhost/plugin.h"

namespace host {
namespace {

// What the process that tries the plug-in tells, a line each: the sign, then the text.
constexpr char kFine = '+';
constexpr char kFault = '-';
constexpr char kStep = '@';  ///< begins; the text goes on from "while"
constexpr char kDone = '!';  ///< the last line

constexpr std::size_t kMaxTold = 65536;

class Teller {
  public:
    explicit Teller(int descriptor) : descriptor_(descriptor) {}

    void Tell(char sign, std::string text) const
    {
        std::replace(text.begin(), text.end(), '\n', ' ');
        const std::string line = sign + text + '\n';
        // Whoever listens has gone only where it has ended, and this process with it.
        [[maybe_unused]] const ssize_t written = write(descriptor_, line.data(), line.size());
    }

  private:
    const int descriptor_;
};

/// How often the tracing library's two entry points are called while it lives.
class TracingCalls {
  public:
    int registered = 0;
    int deregistered = 0;

  private:
    std::unique_ptr<tv::Journal::Listening> listening_ =
        tv::TheJournal().ListenToCalls([this](const tv::SharedCall& call) {
            registered += call->name == std::string_view("ht_register_library") ? 1 : 0;
            deregistered += call->name == std::string_view("ht_deregister_library") ? 1 : 0;
        });
};

/// One life of the plug-in, from its loading to its unloading. Tells of each fault, and the first time of
/// what is in order.
class Life {
  public:
    Life(std::filesystem::path plugin, bool traced, bool again, const Teller& teller)
        : plugin_(std::move(plugin)), traced_(traced), again_(again), teller_(teller)
    {}

    /// Throws what the plug-in throws.
    void Live()
    {
        Step("it was loaded, which runs its constructors and load hooks");
        void* const library = dlopen(plugin_.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            const char* const why = dlerror();
            return Fault(std::string("it can't be loaded: ") + (why == nullptr ? "nobody says why" : why));
        }
        CheckOnce(calls_.registered, "registers", "loaded", "load hooks are missing", "ht_register_library");
        if (const auto factory = reinterpret_cast<PluginFactory>(dlsym(library, kFactorySymbol)))
            LiveAsModule(factory);
        Step("it was unloaded, which runs its unload hooks and destructors");
        dlclose(library);
        if (void* const left = dlopen(plugin_.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
            dlclose(left);
            return Fault(
                "stays in memory when it is unloaded: a symbol that is to be unique in the process, a "
                "thread-local destructor or -z nodelete keeps it, or it could not end a subscription");
        }
        if (calls_.registered != 0)
            CheckOnce(calls_.deregistered, "deregisters", "unloaded", "unload hooks are missing",
                      "ht_deregister_library");
        Fine("is loaded and unloaded");
    }

  private:
    void LiveAsModule(PluginFactory factory)
    {
        Step("pp::CreateModule made its module");
        const std::unique_ptr<pp::Module> module(factory());
        if (!module)
            return Fault("pp::CreateModule makes no module");
        tv::SetModule(module.get());
        Step("its module was initialised");
        if (!module->Init())
            Fault("its module does not initialise: Init() says false");
        else
            LiveAsInstance(*module);
        Step("its module was destroyed");
        tv::SetModule(nullptr);
    }

    void LiveAsInstance(pp::Module& module)
    {
        Step("its module made an instance");
        auto instance = std::make_unique<tv::EmbeddedInstance>(module, [](const pp::Var&) {});
        Fine("makes a module and an instance");
        Step("it answered GetVersion");
        const Json::Value reply =
            tv::ToJson(instance->Await(tv::ToVar(ParseJson(R"({"command":"GetVersion"})", 8))));
        if (reply.isNull())
            Fault("does not answer the page: it registers no message handler, or that gives nothing back");
        else if (!reply.isObject() || reply["code"] != 0 || !reply["data"].isString())
            Fault("answers GetVersion with " + WriteJson(reply) + ", not with code 0 and its version");
        else
            Fine("answers GetVersion: " + reply["data"].asString());
        Step("its instance was destroyed");
        instance.reset();
        if (const std::size_t left = tv::DropLeftovers(); left != 0)
            Fault("leaves " + Counted(left, "subscription") +
                  " with the TV when its instance is destroyed, which would call into what is gone");
    }

    void CheckOnce(int count, const char* does, const char* when, const char* missing, const char* function)
    {
        if (!traced_)
            return;
        if (count == 1)
            Fine(std::string(does) + " with the tracing library when it is " + when);
        else if (count == 0)
            Fault(std::string("calls ") + function + " never when it is " + when + ": its " + missing);
        else
            Fault(std::string("calls ") + function + ' ' + std::to_string(count) + " times when it is " +
                  when + ", which has to be once");
    }

    void Step(const std::string& text) const
    {
        teller_.Tell(kStep, text + (again_ ? ", the second time" : ""));
    }
    void Fine(const std::string& text) const
    {
        if (!again_)
            teller_.Tell(kFine, text);
    }
    void Fault(const std::string& text)
    {
        teller_.Tell(kFault, (again_ ? "loaded once more, " : "") + text);
        faulty_ = true;
    }

  public:
    bool faulty() const { return faulty_; }

  private:
    const std::filesystem::path plugin_;
    const bool traced_;
    const bool again_;
    const Teller& teller_;
    const TracingCalls calls_;
    bool faulty_ = false;
};

int LiveTwice(const std::filesystem::path& plugin, bool traced, int descriptor)
{
    // What it prints does not belong among the findings.
    dup2(STDERR_FILENO, STDOUT_FILENO);
    const Teller teller(descriptor);
    try {
        for (const bool again : {false, true}) {
            Life life(plugin, traced, again, teller);
            life.Live();
            if (life.faulty())
                break;
            if (again)
                teller.Tell(kFine, "can be loaded again");
        }
        teller.Tell(kDone, "");
        return 0;
    } catch (const std::exception& error) {
        teller.Tell(kFault, std::string("throws: ") + error.what());
    } catch (...) {
        teller.Tell(kFault, "throws what is no std::exception");
    }
    return 1;
}

/// What became of a process that came to no good end.
std::string EndOf(const ChildEnd& end, std::chrono::milliseconds limit)
{
    switch (end.how) {
        case ChildEnd::How::Signalled:
            return "crashes with " + SignalName(end.status);
        case ChildEnd::How::TimedOut:
            return "hangs: no end within " + std::to_string(limit.count() / 1000) + " s";
        case ChildEnd::How::Exited:
        case ChildEnd::How::Interrupted:
            break;
    }
    return "ends the process, with status " + std::to_string(end.status);
}

}  // namespace

Trial TryPlugin(const std::filesystem::path& plugin, bool traced, std::chrono::milliseconds limit)
{
    const std::filesystem::path path = std::filesystem::absolute(plugin);
    const ChildEnd end =
        RunChild([&](int descriptor) { return LiveTwice(path, traced, descriptor); }, limit, kMaxTold);
    if (end.how == ChildEnd::How::Interrupted)
        throw Interrupted();
    Trial trial;
    std::string step;
    bool done = false;
    bool threw = false;
    std::istringstream lines(end.out);
    for (std::string line; std::getline(lines, line);) {
        const std::string text = line.substr(std::min<std::size_t>(1, line.size()));
        if (line[0] == kFine) {
            trial.fine.push_back(text);
        } else if (line[0] == kFault) {
            trial.faults.push_back(text);
            threw = text.rfind("throws", 0) == 0;
        } else if (line[0] == kStep) {
            step = text;
        } else {
            done = done || line[0] == kDone;
        }
    }
    if (threw)
        trial.faults.back() += ", while " + step;
    else if (!done)
        trial.faults.push_back(EndOf(end, limit) + ", while " + step);
    return trial;
}

}  // namespace host
