// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/calls.h"
#include "core/mutex.h"
#include "tvhost/counterpart.h"
#include "tvhost/session.h"
#include "tvhost/web/journal.h"
#include "tvhost/web/pages.h"
#include "tvhost/web/recording.h"
#include "tvhost/web/turns.h"

namespace host {

/// The JSON that somebody sent. Throws Refused, with 400.
Json::Value ParseRequest(const std::string& text, int max_depth);

/// Carries out the lines of the turns, and passes on what they cause: to the page, to the journal, to the
/// recording, and to whoever asked.
class Lines {
  public:
    /// `recording` may be null. All of them outlive this object.
    Lines(Turns& turns, Pages& pages, WebJournal& journal, Recording* recording)
        : turns_(turns), pages_(pages), journal_(journal), recording_(recording)
    {}
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    // Before the first turn begins.
    /// Whom the lines reach; it lives until the last turn has ended.
    void SetCounterpart(Counterpart& counterpart) { counterpart_ = &counterpart; }
    /// `tick` lets the time pass that has passed until now, in a turn, on the plug-in's thread: before a line
    /// that is about how time goes on.
    void SetTick(std::function<void()> tick) { tick_ = std::move(tick); }

    // The server's thread.
    /// A turn for a verb, given as JSON and as it was sent. `no_delay` lasts until the turn is over. `check`
    /// is asked when the turn begins, and throws where nothing is to be done; may be empty. Throws as
    /// Turns::Take.
    void TakeVerb(Json::Value line, const std::string& text, WebAnswer& taken,
                  std::shared_ptr<tv::Calls::NoDelay> no_delay, std::function<void()> check = nullptr)
        EXCLUDES(mutex_);

    // In a turn, on the plug-in's thread.
    /// `text` is the line as it was sent. `answer` gets what was done, and is left to the caller where this
    /// throws, as it does what Counterpart::CarryOut throws.
    void CarryOut(const Json::Value& line, const std::string& text, WebAnswer& answer) EXCLUDES(mutex_);
    /// The same for a line that nobody sent.
    void CarryOut(const Json::Value& line) EXCLUDES(mutex_);
    /// Playing time passes by itself, as Counterpart::PassTime has it. Returns how far it came.
    std::chrono::milliseconds Tick(std::chrono::milliseconds by, std::chrono::steady_clock::time_point until)
        EXCLUDES(mutex_);

    // In a turn, on the server's thread.
    using Message = Counterpart::Message;
    /// Sends a page's message, and ends the turn once it is handled and what it set off is delivered.
    /// `answer` gets the reply; it is left to the caller where this throws, as Counterpart::Send does.
    void Send(Message message, WebAnswer& answer, Turns::Turn turn) EXCLUDES(mutex_);

    // Any thread.
    /// For the counterpart.
    void OnLineOut(LineOut line) EXCLUDES(mutex_);

  private:
    struct Caused {
        std::vector<std::string> lines_out;
        WebAnswer answer;  ///< if it was not given
    };
    void Begin(const std::string& text, WebAnswer& answer) EXCLUDES(mutex_);
    /// What the line caused.
    Caused End() EXCLUDES(mutex_);
    void Fail(const char* why);
    void OnHandled(const std::exception_ptr& failure);
    void EndMessage() EXCLUDES(mutex_);

    Turns& turns_;
    Pages& pages_;
    WebJournal& journal_;
    Recording* const recording_;
    Counterpart* counterpart_ = nullptr;
    std::function<void()> tick_;

    // Whoever has the turn, while a message is on its way.
    std::string message_;  ///< its line in
    Turns::Turn turn_;

    tv::Mutex mutex_{tv::LockLevel::Lines};
    std::vector<std::string> lines_out_ GUARDED_BY(mutex_);  ///< only while something is recorded
    WebAnswer answer_ GUARDED_BY(mutex_);  ///< gets the reply or what was done; empty: nobody waits
};

}  // namespace host
