// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "scope-tracing/ht_library.h"
#include "zelumo-platform/export.h"

/// Scopes of a traced library: a container opens one and its destruction closes it; the handler of the open
/// scope takes the values that are recorded with it. A scope belongs to the thread that opened it: it is used
/// and closed there.

/// The tracing library's number of a trace point, 0 until the point is reached for the first time.
using ht_point_id = std::atomic<std::uint32_t>;

/// Where a trace point stands; lives as long as its library.
struct TSCodeLocation {
    const char* m_File;
    int m_Line;
    const char* m_Signature;  ///< of the enclosing operation, whole
    ht_point_id* m_Id;
    ht_enabled_flag* m_Enabled;
};

/// How a value is to be handed to a scope's handler; any combination.
enum : unsigned {
    HT_CAPTURE_IMMEDIATE = 1,  ///< store it at once
    HT_CAPTURE_DEFERRED = 2,   ///< queue a callback that stores it
    HT_RECORD_TYPES = 4,       ///< append its type, these settings and its size to the lists
};

class TCScopeContainer;
class TCScopeHandler;

namespace ht {

/// The size of a text in the type lists, which is the most that is kept of one where room is fixed.
constexpr std::size_t kTextSize = 16383;

/// The stored values of one scope.
class ZELUMO_PLATFORM_API TSCallItemHelper {
  public:
    /// A number (4 bytes) or a bool (1 byte), in memory order.
    void StoreFixed(const void* address, std::size_t size);
    /// A text. Both copy.
    void Store(const char* characters, std::size_t length);

  private:
    friend class ::TCScopeContainer;  // hands them on when the scope closes
    struct Item {
        bool fixed;
        std::string bytes;
    };
    std::vector<Item> items_;
};

struct ZELUMO_PLATFORM_API TSDemangler {
    /// The type's name as it is written in source code, or `name` itself when it is not a mangled name.
    static std::string Demangle(const char* name);
};

}  // namespace ht

/// One scope, open as long as it lives. When it closes, queued callbacks are run first.
class ZELUMO_PLATFORM_API TCScopeContainer {
  public:
    /// `location` outlives this object.
    explicit TCScopeContainer(const TSCodeLocation& location);
    ~TCScopeContainer();
    TCScopeContainer(const TCScopeContainer&) = delete;
    TCScopeContainer& operator=(const TCScopeContainer&) = delete;

    /// Stores a value; bound to its value it is what deferred capture queues.
    template <typename Value>
    static void m_VoidToType(ht::TSCallItemHelper& item, const Value& value)
    {
        if constexpr (std::is_same_v<Value, std::string>)
            item.Store(value.data(), value.size());
        else
            item.StoreFixed(&value, sizeof value);
    }

  private:
    friend class TCScopeHandler;
    const TSCodeLocation& m_Location;
    const std::int64_t m_Start;  // steady clock, nanoseconds
    std::shared_ptr<TCScopeHandler> m_Handler;
};

/// Takes the values of one open scope.
class ZELUMO_PLATFORM_API TCScopeHandler {
  public:
    /// To be released before the scope closes.
    static std::shared_ptr<TCScopeHandler> Instance(TCScopeContainer& container);

    /// Whether values are wanted.
    bool IsCollecting() const { return m_Collecting; }

    unsigned m_CaptureSettings;  ///< HT_…, for the next value
    ht::TSCallItemHelper m_CallItem;
    std::list<std::function<void(ht::TSCallItemHelper&)>> m_Deferred;
    // One element for each recorded type.
    std::list<std::string> m_TypeNames;
    std::list<unsigned> m_TypeSettings;
    std::list<std::size_t> m_TypeSizes;

  private:
    friend class TCScopeContainer;
    TCScopeHandler(bool collecting, unsigned settings) : m_CaptureSettings(settings), m_Collecting(collecting)
    {}
    const bool m_Collecting;
};
