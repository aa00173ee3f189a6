// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "core/journal.h"
#include "core/mutex.h"
#include "core/verb.h"
#include "services/web-runtime/web_runtime.h"
#include "tvhost/counterpart.h"
#include "tvhost/json_text.h"
#include "tvhost/plugin.h"

namespace host {

/// A line in that can't be carried out; what() says why. Nothing was done.
class LineError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A line out.
struct LineOut {
    /// Due and Error: what became of a verb that was put off, in the midst of the line that moved the clock.
    enum class Kind { Reply, Message, Call, Log, Did, Due, Error };

    Kind kind;
    /// Of a reply or a message its value alone, as the page gets it; of an error what is wrong;
    /// of what was done the whole line.
    std::string text = {};
    // Valid while the line is told. They are written out by Whole, so that a line that nobody reads costs
    // little.
    const tv::SharedCall* call = nullptr;
    const tv::LogRecord* log = nullptr;

    std::string Whole() const;
};

/// One plug-in with its page and its TV: carries out lines in, one at a time, and tells of everything that
/// they cause, in the order in which it happens. What the TV wants to deliver by itself waits until the
/// line that set it off has had its answer.
class Session : public Counterpart {
  public:
    /// Receives every line out. Called on the thread on which it came up, one call at a time; it must not
    /// call the session.
    using Output = std::function<void(LineOut)>;
    /// Which of calls and log lines are told.
    struct Heard {
        bool calls = false;
        bool log = false;
    };

    /// Loads the plug-in. Throws PluginError. This thread is the plug-in's: all but Send is called
    /// on it, the destructor included.
    Session(const std::filesystem::path& plugin, Output output, Heard heard);
    /// Closes the page, if it is open, and unloads the plug-in. Verbs that still wait for their time are
    /// dropped.
    ~Session() override;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The page's instance is created or destroyed. Throws LineError when it is open or closed already.
    void Open();
    void Close();
    bool is_open() const { return instance_ != nullptr; }

    /// One line in: {"await": M}, {"post": M} or {"tv": VERB, …}. Throws LineError.
    void CarryOut(const Json::Value& line) override;
    /// The page sends a message, and nobody waits: `handled` is called once, after the reply was told, on the
    /// plug-in's worker thread, or on this one when nobody takes the message. The line has not ended then:
    /// what it set off is delivered by Deliver. Throws LineError. Any thread, between lines.
    void Send(Message message, Handled handled) override;
    void Send(tv::EmbeddedInstance::Kind kind, pp::Var message, Handled handled);
    /// Playing time passes without a line in, `by` at most: it stops at the alarms' next moment after
    /// `until`, and where the clock's speed has changed. Between lines.
    Passed PassTime(std::chrono::milliseconds by, std::chrono::steady_clock::time_point until) override;
    /// What the last line set off is delivered; nothing need be done where nothing waits.
    void Deliver() override;
    bool has_deliveries() const override;

  private:
    /// Destroys the instance, which is open.
    void End();
    void SendAndWait(tv::EmbeddedInstance::Kind kind, const Json::Value& message);
    void DoVerb(const Json::Value& verb);
    void DoDue(const Json::Value& verb, const tv::VerbAction& carry_out);
    tv::EmbeddedInstance& OpenInstance();
    void Tell(LineOut line) EXCLUDES(output_mutex_);

    const Output output_;
    tv::Mutex output_mutex_{tv::LockLevel::Output};  ///< held while output_ runs
    std::unique_ptr<tv::Journal::Listening> calls_;
    std::unique_ptr<tv::Journal::Listening> log_;
    std::unique_ptr<Plugin> plugin_;
    std::unique_ptr<tv::EmbeddedInstance> instance_;
};

}  // namespace host
