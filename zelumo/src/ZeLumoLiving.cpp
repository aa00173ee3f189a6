// SPDX-License-Identifier: Apache-2.0
#include "ZeLumoLiving.h"

#include <dlfcn.h>

namespace zelumo {
namespace {

// Never destroyed: services may call while the process ends.
Mutex lists;
Living* living ZELUMO_GUARDED_BY(lists) = nullptr;
Living::Visit* visits ZELUMO_GUARDED_BY(lists) = nullptr;

}  // namespace

Living::Living(const void* object) : m_object(object)
{
    const MutexLock lock(lists);
    m_next = living;
    living = this;
}

void Living::End()
{
    const MutexLock lock(lists);
    if (!m_listed)
        return;
    m_listed = false;
    Living** link = &living;
    while (*link != this)
        link = &(*link)->m_next;
    *link = m_next;
    const auto isVisited = [this]() ZELUMO_REQUIRES(lists) {
        for (const Visit* visit = visits; visit != nullptr; visit = visit->m_next) {
            if (visit->m_host == this && visit->m_thread != std::this_thread::get_id())
                return true;
        }
        return false;
    };
    while (isVisited())
        m_left.Wait(lists);
    for (Visit* visit = visits; visit != nullptr; visit = visit->m_next) {
        if (visit->m_host == this)
            visit->m_host = nullptr;
    }
}

Living::Visit::Visit(const void* object) : m_thread(std::this_thread::get_id())
{
    const MutexLock lock(lists);
    m_host = living;
    while (m_host != nullptr && m_host->m_object != object)
        m_host = m_host->m_next;
    m_next = visits;
    visits = this;
}

Living::Visit::~Visit()
{
    const MutexLock lock(lists);
    Visit** link = &visits;
    while (*link != this)
        link = &(*link)->m_next;
    *link = m_next;
    if (m_host != nullptr)
        m_host->m_left.NotifyAll();
}

void StayLoaded()
{
    Dl_info self;
    if (dladdr(reinterpret_cast<const void*>(&StayLoaded), &self) == 0)
        return;
    if (void* const library = dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE))
        dlclose(library);
}

}  // namespace zelumo
