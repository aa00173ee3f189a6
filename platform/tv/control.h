#pragma once

#include <json/value.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "zelumo-platform/export.h"

namespace tv {

/// A verb that could not be carried out; what() says why. Nothing was done.
class PLATFORM_API VerbError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What a verb gives back, in the order in which it is to be written.
using VerbResults = std::vector<std::pair<std::string, Json::Value>>;

/// Does what `{"tv": VERB, …}` asks for: what somebody at the TV does, or one of its services. Delivery
/// verbs return when the callbacks have returned. Verbs that concern the page's instance ("close", "open")
/// are the host's. One thread at a time, and not inside a callback. Throws VerbError.
PLATFORM_API VerbResults CarryOut(const Json::Value& verb);

/// Reads the fields of a verb and complains, by VerbError, about what is missing, of a wrong type or not
/// known.
class PLATFORM_API VerbFields {
  public:
    /// `verb` is an object, and outlives this one.
    explicit VerbFields(const Json::Value& verb);

    int Int(const char* name);
    int IntOr(const char* name, int otherwise);
    std::string Text(const char* name);
    bool Has(const char* name) const;
    /// The raw value, or null when it is absent.
    const Json::Value& Raw(const char* name);
    /// True for `"user": null`; any other value is an error.
    bool NullUser();
    /// To be called when all fields were read: complains about any other.
    void End() const;
    [[noreturn]] void Fail(const std::string& why) const;

  private:
    const Json::Value& verb_;
    std::vector<std::string> read_;
};

}  // namespace tv
