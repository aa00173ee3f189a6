// SPDX-License-Identifier: Apache-2.0
#include "scope-tracing/ht.h"

#include <cxxabi.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <variant>

#include "services/scope-tracing/scope_tracer.h"

namespace {

std::int64_t SteadyNow()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string ThreadName()
{
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return name.data();
}

std::uint32_t PointNumber(ht_point_id& id)
{
    std::uint32_t number = id.load();
    if (number != 0)
        return number;
    const std::uint32_t made = tv::ScopeTracer::Get().NewPoint();
    // Another thread may reach the point for the first time as well: the first number stays.
    return id.compare_exchange_strong(number, made) ? made : number;
}

/// `fixed`: the bytes are a value's in memory, not a text's.
std::variant<int, bool, std::string> Decode(bool fixed, const std::string& bytes)
{
    if (fixed && bytes.size() == sizeof(bool))
        return bytes[0] != 0;
    if (fixed && bytes.size() == sizeof(int)) {
        int number = 0;
        std::memcpy(&number, bytes.data(), sizeof number);
        return number;
    }
    return bytes;
}

}  // namespace

void ht::TSCallItemHelper::StoreFixed(const void* address, std::size_t size)
{
    items_.push_back({true, std::string(static_cast<const char*>(address), size)});
}

void ht::TSCallItemHelper::Store(const char* characters, std::size_t length)
{
    items_.push_back({false, std::string(characters, length)});
}

std::string ht::TSDemangler::Demangle(const char* name)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 ? text.get() : name;
}

TCScopeContainer::TCScopeContainer(const TSCodeLocation& location)
    : m_Location(location),
      m_Start(SteadyNow()),
      m_Handler(new TCScopeHandler(location.m_Enabled->load() != 0 && tv::ScopeTracer::Get().is_on(),
                                   tv::ScopeTracer::Get().capture()))
{}

TCScopeContainer::~TCScopeContainer()
{
    if (!m_Handler->IsCollecting())
        return;
    const std::int64_t end = SteadyNow();
    const std::vector<ht::TSCallItemHelper::Item>& items = m_Handler->m_CallItem.items_;
    const std::size_t immediate = items.size();
    for (const auto& store : m_Handler->m_Deferred)
        store(m_Handler->m_CallItem);

    tv::TracedScope scope;
    scope.point = PointNumber(*m_Location.m_Id);
    scope.file = m_Location.m_File;
    scope.line = m_Location.m_Line;
    scope.signature = m_Location.m_Signature;
    scope.start = std::chrono::nanoseconds(m_Start);
    scope.duration = std::chrono::nanoseconds(end - m_Start);
    scope.thread = static_cast<int>(syscall(SYS_gettid));
    scope.thread_name = ThreadName();
    for (std::size_t i = 0; i < items.size(); ++i)
        scope.values.push_back({Decode(items[i].fixed, items[i].bytes), i >= immediate});
    auto settings = m_Handler->m_TypeSettings.begin();
    auto size = m_Handler->m_TypeSizes.begin();
    for (const std::string& name : m_Handler->m_TypeNames)
        scope.types.push_back({name, *settings++, *size++});
    tv::ScopeTracer::Get().Close(std::move(scope));
}

std::shared_ptr<TCScopeHandler> TCScopeHandler::Instance(TCScopeContainer& container)
{
    return container.m_Handler;
}
