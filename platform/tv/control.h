#pragma once

#include <json/value.h>

#include <stdexcept>

#include "core/verb.h"
#include "zelumo-platform/export.h"

namespace tv {

/// A verb that could not be carried out; what() says why. Nothing was done.
class PLATFORM_API VerbError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Does what `{"tv": VERB, …}` asks for: what somebody at the TV does, or one of its services. Delivery
/// verbs return when the callbacks have returned. Verbs that concern the page's instance ("close", "open")
/// are the host's. One thread at a time, and not inside a callback. Throws VerbError.
PLATFORM_API VerbResults CarryOut(const Json::Value& verb);

/// For verbs of the host's own, which have no fields: throws VerbError when `verb` has any.
PLATFORM_API void RefuseFields(const Json::Value& verb);

}  // namespace tv
