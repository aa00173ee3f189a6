#include "tvhost/trace_file.h"

#include <unistd.h>

#include <cerrno>
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

std::string Reason(const std::filesystem::path& path, int error)
{
    return "trace file " + path.string() + ": " + std::generic_category().message(error);
}

}  // namespace

TraceFile::TraceFile(const std::filesystem::path& file) : path_(file), file_(std::fopen(file.c_str(), "we"))
{
    if (!file_)
        throw TraceError(Reason(path_, errno));
    Put("[");
    tv::ScopeTracer::Get().Start([this](const tv::TracedScope& scope) { Write(scope); });
}

TraceFile::~TraceFile()
{
    End();
}

void TraceFile::Finish()
{
    End();
    if (error_ != 0)
        throw TraceError(Reason(path_, error_));
}

void TraceFile::End()
{
    if (!file_)
        return;
    tv::ScopeTracer::Get().Stop();
    Put("\n]\n");
    file_.reset();
}

void TraceFile::Put(const std::string& text)
{
    if (error_ != 0)
        return;
    if (std::fputs(text.c_str(), file_.get()) < 0 || std::fflush(file_.get()) != 0)
        error_ = errno;
}

void TraceFile::WriteEvent(const OrderedObject& event)
{
    Put((std::exchange(empty_, false) ? "\n" : ",\n") + WriteJson(event));
}

void TraceFile::Write(const tv::TracedScope& scope)
{
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
