// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tvhost/output_file.h"

namespace host {

/// Writes what happens as a script that `script --check` replays. A block, a line in with the lines out
/// that it caused, is appended in one go once it is whole, so that a recording that was cut off can still be
/// replayed as far as it goes. One thread at a time.
class Recording {
  public:
    /// What OutputFile throws.
    Recording(const std::filesystem::path& file, OutputFile::Existing existing)
        : file_("recording", file, existing)
    {}

    /// Before all that follows. Throws FileError.
    void Begin() { file_.Empty(); }
    /// Lines that begin with #.
    void Comment(const std::string& text);
    /// A block. The playing time that passed before it is written first.
    void Write(const std::string& line_in, const std::vector<std::string>& lines_out);
    /// Playing time passed, and that caused these lines out; the last one is the verb's own. Time that
    /// caused nothing else adds up.
    void Advance(long long ms, const std::vector<std::string>& lines_out);
    /// Writes the playing time that passed last.
    void Flush();

  private:
    void Append(const std::string& block);

    OutputFile file_;
    bool failed_ = false;  ///< nothing more is written
    long long advanced_ms_ = 0;
    std::vector<std::string> advanced_out_;  // empty: no time has passed
};

}  // namespace host
