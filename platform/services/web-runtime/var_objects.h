// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ppapi/cpp/var.h"
#include "zelumo-platform/export.h"

namespace tv {

/// What the counted vars (strings, arrays, dictionaries) refer to; PP_Var::value.as_id holds its address.
/// Counts may be changed on any thread; contents are changed by one thread at a time.
struct VarObject {
    std::atomic<int> references{1};
};

struct StringObject : VarObject {
    explicit StringObject(std::string value) : text(std::move(value)) {}
    const std::string text;
};

struct ArrayObject : VarObject {
    std::vector<pp::Var> elements;
};

struct DictionaryObject : VarObject {
    DictionaryObject() { entries.reserve(5); }  // messages and replies have up to five members
    /// Sorted by key.
    std::vector<std::pair<std::string, pp::Var>> entries;
};

/// The object of a var of that type, or null for a var of another type.
StringObject* AsStringObject(const PP_Var& var);
ArrayObject* AsArrayObject(const PP_Var& var);
DictionaryObject* AsDictionaryObject(const PP_Var& var);

// Nothing happens to vars that are not counted. The last release destroys the object.
ZELUMO_PLATFORM_API void AddReference(const PP_Var& var);
ZELUMO_PLATFORM_API void ReleaseReference(const PP_Var& var);

/// How many references there are to a counted var; 0 for any other.
ZELUMO_PLATFORM_API int CountReferences(const PP_Var& var);
/// A string var's text without a copy, valid while the var lives; empty for another type.
ZELUMO_PLATFORM_API const std::string& TextOf(const pp::Var& var);
/// The entries of a dictionary, sorted by key, and the elements of an array, without a copy, valid while the
/// var lives and nobody changes it; empty for another type.
ZELUMO_PLATFORM_API const std::vector<std::pair<std::string, pp::Var>>& EntriesOf(const pp::Var& dictionary);
ZELUMO_PLATFORM_API const std::vector<pp::Var>& ElementsOf(const pp::Var& array);

}  // namespace tv
