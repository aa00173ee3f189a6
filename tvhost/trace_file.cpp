// SPDX-License-Identifier: Apache-2.0
#include "tvhost/trace_file.h"

#include <unistd.h>

#include <system_error>
#include <variant>

#include "tv/tv.h"

namespace host {
namespace {

Json::Value ToJson(const std::variant<int, bool, std::string>& value)
{
    return std::visit([](const auto& alternative) { return Json::Value(alternative); }, value);
}

/// The format counts in microseconds.
double Microseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::micro>(time).count();
}

}  // namespace

TraceFile::TraceFile(const std::filesystem::path& file) : file_("trace file", file)
{
    tv::ScopeTracer::Get().Start([this](const tv::TracedScope& scope) { Write(scope); });
}

TraceFile::~TraceFile()
{
    End();
}

void TraceFile::Begin()
{
    const tv::MutexLock lock(mutex_);
    file_.Empty();
    begun_ = true;
    Put(std::exchange(waiting_, {}));
}

void TraceFile::Finish()
{
    End();
    const tv::MutexLock lock(mutex_);
    if (error_ != 0)
        throw FileError("trace file " + file_.path().string() + ": " +
                        std::generic_category().message(error_));
}

void TraceFile::End()
{
    {
        const tv::MutexLock lock(mutex_);
        if (std::exchange(ended_, true))
            return;
    }
    // Not under the lock: the sink takes it.
    tv::ScopeTracer::Get().Stop();
    const tv::MutexLock lock(mutex_);
    if (begun_)
        Put("\n]\n");
}

void TraceFile::Put(std::string_view text)
{
    if (!begun_)
        waiting_ += text;
    else if (error_ == 0)
        error_ = file_.Write(text);
}

void TraceFile::WriteEvent(const OrderedObject& event)
{
    Put((std::exchange(empty_, false) ? "\n" : ",\n") + WriteJson(event));
}

void TraceFile::Write(const tv::TracedScope& scope)
{
    const tv::MutexLock lock(mutex_);
    if (named_threads_.emplace(scope.thread, scope.thread_name).second) {
        Json::Value name;
        name["name"] = scope.thread_name;
        WriteEvent(
            {{"name", "thread_name"}, {"ph", "M"}, {"pid", getpid()}, {"tid", scope.thread}, {"args", name}});
    }
    Json::Value args(Json::objectValue);
    for (std::size_t i = 0; i < scope.values.size(); ++i)
        args["value" + std::to_string(i + 1)] = ToJson(scope.values[i].value);
    args["source"] = std::filesystem::path(scope.file).filename().string() + ":" + std::to_string(scope.line);
    WriteEvent({{"name", scope.signature},
                {"cat", "scope"},
                {"ph", "X"},
                {"ts", Microseconds(scope.start)},
                {"dur", Microseconds(scope.duration)},
                {"pid", getpid()},
                {"tid", scope.thread},
                {"args", args}});
}

}  // namespace host
