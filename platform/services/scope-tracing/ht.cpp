#include "scope-tracing/ht.h"

#include <cxxabi.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>

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

tv::TracedScope::Value Decode(const ht::TSCallItemHelper::Item& item, bool deferred)
{
    if (item.fixed && item.bytes.size() == sizeof(bool))
        return {item.bytes[0] != 0, deferred};
    if (item.fixed && item.bytes.size() == sizeof(int)) {
        int number = 0;
        std::memcpy(&number, item.bytes.data(), sizeof number);
        return {number, deferred};
    }
    return {item.bytes, deferred};
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
    ht::TSCallItemHelper& item = m_Handler->m_CallItem;
    const std::size_t immediate = item.items().size();
    for (const auto& store : m_Handler->m_Deferred)
        store(item);

    tv::TracedScope scope;
    scope.point = PointNumber(*m_Location.m_Id);
    scope.file = m_Location.m_File;
    scope.line = m_Location.m_Line;
    scope.signature = m_Location.m_Signature;
    scope.start = std::chrono::nanoseconds(m_Start);
    scope.duration = std::chrono::nanoseconds(end - m_Start);
    scope.thread = static_cast<int>(syscall(SYS_gettid));
    scope.thread_name = ThreadName();
    for (std::size_t i = 0; i < item.items().size(); ++i)
        scope.values.push_back(Decode(item.items()[i], i >= immediate));
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
