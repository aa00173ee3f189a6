// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <string>

#include "ppapi/cpp/var.h"
#include "services/web-runtime/web_runtime.h"

namespace host {

/// Whom the lines of web mode reach: the plug-in among the stand-ins of a TV, or a real TV behind a relay.
/// What a line causes is told as lines out, in the order in which it happens.
class Counterpart {
  public:
    /// A page's message.
    struct Message {
        tv::EmbeddedInstance::Kind kind;
        std::optional<pp::Var> value;  ///< read from the text when it is needed
        std::string text;              ///< JSON, as it was sent
    };
    /// What became of a message: nothing, or what went wrong.
    using Handled = std::function<void(std::exception_ptr)>;
    struct Passed {
        std::chrono::milliseconds by{0};  ///< how far it came
        std::string did;                  ///< the line out that ends such a line, which was not told
    };

    Counterpart() = default;
    virtual ~Counterpart() = default;
    Counterpart(const Counterpart&) = delete;
    Counterpart& operator=(const Counterpart&) = delete;

    /// One line in, on the plug-in's thread. Throws LineError, or Refused with another status than 400.
    virtual void CarryOut(const Json::Value& line) = 0;
    /// The page sends a message, and nobody waits: `handled` is called once, after the reply was told, on
    /// whatever thread, or on this one before Send returns. The line has not ended then: what it set off is
    /// delivered by Deliver. Throws as CarryOut; `handled` is not called then. Any thread, between lines.
    virtual void Send(Message message, Handled handled) = 0;
    /// Playing time passes without a line in, `by` at most; it may stop after `until`. Between lines, on the
    /// plug-in's thread.
    virtual Passed PassTime(std::chrono::milliseconds by, std::chrono::steady_clock::time_point until) = 0;
    /// What the last line set off is delivered, on the plug-in's thread; nothing need be done where nothing
    /// waits.
    virtual void Deliver() = 0;
    virtual bool has_deliveries() const = 0;
};

}  // namespace host
