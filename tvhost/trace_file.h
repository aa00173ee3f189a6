#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "tv/tv.h"
#include "tvhost/json_text.h"

namespace host {

/// A trace file that can't be written; what() says why in one line.
class TraceError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Scope tracing into a file in the Trace Event format: switched on as long as this object lives. Each
/// scope is in the file as soon as it has closed; when tracing ends the file is whole JSON. One at a time in
/// a process; made and ended on one thread.
class TraceFile {
  public:
    /// Replaces the file. Throws TraceError.
    explicit TraceFile(const std::filesystem::path& file);
    /// Ends tracing, if Finish did not.
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    /// Ends tracing. Throws TraceError when the file does not hold everything.
    void Finish();

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void Write(const tv::TracedScope& scope);
    void WriteEvent(const OrderedObject& event);
    void Put(const std::string& text);
    void End();

    const std::filesystem::path path_;
    // Used by the tracer's sink, one call at a time, until tracing is off.
    std::unique_ptr<std::FILE, Close> file_;
    int error_ = 0;  ///< of the first write that failed; nothing is written after it
    std::set<std::pair<int, std::string>> named_threads_;
    bool empty_ = true;
};

}  // namespace host
