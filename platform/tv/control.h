// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <functional>
#include <stdexcept>

#include "core/clock.h"
#include "core/verb.h"
#include "zelumo-platform/export.h"

namespace tv {

/// A verb that can't be carried out; what() says why. Nothing was done.
class ZELUMO_PLATFORM_API VerbError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Does what `{"tv": VERB, …}` asks for: what somebody at the TV does, or one of its services. Delivery
/// verbs return when the callbacks have returned. Verbs that concern the page's instance ("close", "open")
/// are the host's. One thread at a time, and not inside a callback. Throws VerbError.
ZELUMO_PLATFORM_API VerbResults CarryOut(const Json::Value& verb);

/// The first half of it: reads `verb` and checks its fields. What it gives does the rest, once, and throws
/// VerbError for what can only be known then. Any thread. Throws VerbError.
ZELUMO_PLATFORM_API VerbAction ReadVerb(const Json::Value& verb);

/// Playing time passes; what an alarm sets off is delivered before the next one, so that the order is that of
/// playing time. As Clock::Advance with `goes_on`, which is asked after each alarm; null: it always does.
ZELUMO_PLATFORM_API Clock::Time PassTime(Clock::Time by, const std::function<bool()>& goes_on = nullptr);
/// What the verb `advance` gives back: the playing time as it is.
ZELUMO_PLATFORM_API VerbResults TimePassed();

/// For verbs of the host's own, which have no fields: throws VerbError when `verb` has any.
ZELUMO_PLATFORM_API void RefuseFields(const Json::Value& verb);

}  // namespace tv
