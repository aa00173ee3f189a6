// SPDX-License-Identifier: Apache-2.0
#include "scope-tracing/ht_library.h"

#include "core/calls.h"
#include "services/scope-tracing/scope_tracer.h"
#include "services/scope-tracing/trace_libraries.h"

namespace tv {
namespace {

struct HtCalls : CallTable {
    Call<void()> register_library{*this, "ht_register_library"};
    Call<void()> deregister_library{*this, "ht_deregister_library"};
};

}  // namespace

const CallTable* ScopeTracer::calls() const
{
    return &TheTable<HtCalls>();
}

}  // namespace tv

void ht_register_library(ht_enabled_flag* enabled)
{
    tv::TheTable<tv::HtCalls>().register_library([&] { tv::TraceLibraries::Get().Register(enabled); });
}

void ht_deregister_library(ht_enabled_flag* enabled)
{
    tv::TheTable<tv::HtCalls>().deregister_library([&] { tv::TraceLibraries::Get().Deregister(enabled); });
}
