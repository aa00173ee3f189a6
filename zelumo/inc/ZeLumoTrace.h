// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/bind/bind.hpp>
#include <boost/function.hpp>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "HtLib.h"
#include "scope-tracing/ht.h"

/// A trace point: while tracing is on it opens a scope that lasts to the end of the enclosing block and
/// records `...`, one or more values of type int, bool or std::string, in their order. While tracing is off
/// the values are not evaluated, and the point costs a load and a branch; the end of the block tests a null
/// pointer.
#define ZELUMO_TRACE(...) ZELUMO_TRACE_NUMBERED(__LINE__, __VA_ARGS__)
#define ZELUMO_TRACE_NUMBERED(line, ...) ZELUMO_TRACE_SCOPE(line, __VA_ARGS__)
#define ZELUMO_TRACE_SCOPE(line, ...)                                                            \
    std::unique_ptr<TCScopeContainer> zelumoTraceScope##line;                                    \
    if (HtLibEnabled()->load(std::memory_order_relaxed) != 0) {                                  \
        static ht_point_id zelumoTracePoint{0};                                                  \
        static const TSCodeLocation zelumoTraceLocation{__FILE__, __LINE__, __PRETTY_FUNCTION__, \
                                                        &zelumoTracePoint, HtLibEnabled()};      \
        zelumoTraceScope##line = ::zelumo::OpenScope(zelumoTraceLocation, __VA_ARGS__);          \
    }

namespace zelumo {

/// Hands one value to the scope's handler, as the handler asks for it.
template <typename Value>
void RecordValue(TCScopeHandler& handler, const Value& value)
{
    constexpr bool isText = std::is_same_v<Value, std::string>;
    static_assert(isText || std::is_same_v<Value, int> || std::is_same_v<Value, bool>);
    const unsigned settings = handler.m_CaptureSettings;
    if ((settings & HT_CAPTURE_IMMEDIATE) != 0) {
        if constexpr (isText)
            handler.m_CallItem.Store(value.data(), value.size());
        else
            handler.m_CallItem.StoreFixed(&value, sizeof value);
    }
    if ((settings & HT_CAPTURE_DEFERRED) != 0) {
        const boost::function<void(ht::TSCallItemHelper&)> store =
            boost::bind(&TCScopeContainer::m_VoidToType<Value>, boost::placeholders::_1, value);
        handler.m_Deferred.emplace_back(store);
    }
    if ((settings & HT_RECORD_TYPES) != 0) {
        handler.m_TypeNames.push_back(ht::TSDemangler::Demangle(typeid(Value).name()));
        handler.m_TypeSettings.push_back(settings);
        handler.m_TypeSizes.push_back(isText ? ht::kTextSize : sizeof value);
    }
    handler.m_CaptureSettings = HT_CAPTURE_IMMEDIATE;
}

/// Opens a scope and records its values; closed by the pointer's end, on the same thread. Values come by
/// value, so that the traced function's own need no memory while tracing is off.
template <typename... Values>
[[gnu::cold, gnu::noinline]] std::unique_ptr<TCScopeContainer> OpenScope(const TSCodeLocation& location,
                                                                         Values... values)
{
    auto scope = std::make_unique<TCScopeContainer>(location);
    const std::shared_ptr<TCScopeHandler> handler = TCScopeHandler::Instance(*scope);
    if (handler->IsCollecting())
        (RecordValue(*handler, values), ...);
    return scope;
}

}  // namespace zelumo
