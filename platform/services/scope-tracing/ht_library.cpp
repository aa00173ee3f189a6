#include "scope-tracing/ht_library.h"

#include "core/calls.h"
#include "services/scope-tracing/trace_libraries.h"
#include "tv/tv.h"

void ht_register_library(ht_enabled_flag* enabled)
{
    tv::Call<void>(tv::CallId::HtRegisterLibrary, std::tuple<>(),
                   [&] { tv::Tv::Get().trace_libraries().Register(enabled); });
}

void ht_deregister_library(ht_enabled_flag* enabled)
{
    tv::Call<void>(tv::CallId::HtDeregisterLibrary, std::tuple<>(),
                   [&] { tv::Tv::Get().trace_libraries().Deregister(enabled); });
}
