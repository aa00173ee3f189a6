// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "core/form.h"
#include "core/json_text.h"
#include "zelumo-platform/export.h"

/// Reading of JSON that a person wrote: what is there is read as what is asked for, or the mistake is told
/// with its place.
namespace tv {

/// What is wrong, with its place, in one line: `channels[3].major: must be a whole number of 32 bits`.
class ZELUMO_PLATFORM_API JsonMistake : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// How places are written in mistakes.
enum class JsonPlaces {
    Path,  ///< `channels[3].major: must be …`; the whole is `the file`
    Name,  ///< `"major" must be …`, for objects without objects inside; the whole has no name
};

/// A value and where it stands.
class ZELUMO_PLATFORM_API JsonNode {
  public:
    /// The whole. `value` outlives this object and those made from it.
    JsonNode(const Json::Value& value, JsonPlaces places) : value_(&value), places_(places) {}

    const Json::Value& json() const { return *value_; }
    /// Throws a JsonMistake.
    [[noreturn]] void Fail(const std::string& why) const;

    /// A member of an object; null where there is none.
    JsonNode operator[](const std::string& key) const;
    /// An element of an array; null where there is none.
    JsonNode Element(std::size_t index) const;
    std::vector<JsonNode> Elements() const;

    /// Texts must be whole characters.
    template <typename T>
    T As() const
    {
        T value{};
        if (!FromJson(*value_, value))
            Fail(std::string("must be ") + Form<T>::kWhat);
        if constexpr (std::is_same_v<T, std::string>) {
            if (!IsUtf8(value))
                Fail("must be whole characters");
        }
        return value;
    }
    std::int64_t Whole(std::int64_t least, std::int64_t most) const;
    /// A whole number of 32 bits, `least` or more.
    int AtLeast(int least) const;

  private:
    JsonNode(const Json::Value& value, JsonPlaces places, std::string place)
        : value_(&value), places_(places), place_(std::move(place))
    {}

    const Json::Value* value_;
    JsonPlaces places_;
    std::string place_;
};

/// An object: members that are asked for are known, any other is a mistake.
class ZELUMO_PLATFORM_API JsonObject {
  public:
    explicit JsonObject(JsonNode node);

    const JsonNode& node() const { return node_; }

    /// The member of that name, if there is one.
    std::optional<JsonNode> Find(const std::string& key);
    /// The same, which has to be there.
    JsonNode Get(const std::string& key);

    /// Reads the member into `target`, which stays as it is where there is none.
    template <typename T>
    void Read(const std::string& key, T& target)
    {
        if (const auto member = Find(key))
            target = member->As<T>();
    }
    /// The same for a number of milliseconds, 0 or more.
    void Read(const std::string& key, std::chrono::milliseconds& target);
    /// The same for what may be absent.
    template <typename T>
    void Read(const std::string& key, std::optional<T>& target)
    {
        if (Find(key))
            Read(key, target.emplace());
    }
    /// Reads the member, an object, by `read(JsonObject&)`, which asks for all of its members.
    template <typename ReadMembers>
    void ReadObject(const std::string& key, ReadMembers read)
    {
        if (const auto member = Find(key)) {
            JsonObject object(*member);
            read(object);
            object.End();
        }
    }

    /// To be called when all members were asked for.
    void End() const;

  private:
    JsonNode node_;
    std::vector<std::string> known_;
};

}  // namespace tv
