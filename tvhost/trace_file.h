// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <utility>

#include "core/mutex.h"
#include "tv/tv.h"
#include "tvhost/json_text.h"
#include "tvhost/output_file.h"

namespace host {

/// Scope tracing into a file in the Trace Event format: switched on as long as this object lives. Once it has
/// begun, each scope is in the file as soon as it has closed; when tracing ends the file is whole JSON. One
/// at a time in a process; made, begun and ended on one thread.
class TraceFile {
  public:
    /// Switches tracing on. What OutputFile throws.
    explicit TraceFile(const std::filesystem::path& file);
    /// Ends tracing, if Finish did not.
    ~TraceFile();
    TraceFile(const TraceFile&) = delete;
    TraceFile& operator=(const TraceFile&) = delete;

    /// Empties the file, and writes what was traced before. Without it the file stays as it was. Throws
    /// FileError.
    void Begin() EXCLUDES(mutex_);
    /// Ends tracing. Throws FileError when the file does not hold everything.
    void Finish() EXCLUDES(mutex_);

  private:
    void Write(const tv::TracedScope& scope) EXCLUDES(mutex_);
    void WriteEvent(const OrderedObject& event) REQUIRES(mutex_);
    void Put(std::string_view text) REQUIRES(mutex_);
    void End() EXCLUDES(mutex_);

    tv::Mutex mutex_{tv::LockLevel::Output};  // under the tracer's
    OutputFile file_ GUARDED_BY(mutex_);
    bool begun_ GUARDED_BY(mutex_) = false;
    bool ended_ GUARDED_BY(mutex_) = false;
    std::string waiting_ GUARDED_BY(mutex_) = "[";  ///< until it has begun
    int error_ GUARDED_BY(mutex_) = 0;  ///< of the first write that failed; nothing is written after it
    std::set<std::pair<int, std::string>> named_threads_ GUARDED_BY(mutex_);
    bool empty_ GUARDED_BY(mutex_) = true;
};

}  // namespace host
