// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <vector>

#include "tvhost/json_text.h"
#include "tvhost/line_reader.h"

namespace host {

/// A line in holds one message: the message's limit, and room for blanks and the rest of the line.
constexpr std::size_t kMaxLineBytes = 4 * kMaxMessageBytes;
/// The object around the message is one level.
constexpr int kMaxLineDepth = kMaxMessageDepth + 1;
/// What comes out may hold what went in, some levels deeper.
constexpr int kMaxOutputDepth = kMaxLineDepth + 64;

/// A file that is read, or standard input ("-"). A pipe that nobody writes to yet is opened all the same: it
/// is the reader that waits, and Ctrl-C ends that.
class InputFile {
  public:
    /// Throws std::system_error.
    explicit InputFile(const std::string& name);
    /// Closes it, unless it is standard input.
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    int descriptor() const { return descriptor_; }

  private:
    const int descriptor_;
};

/// Blank lines and comments.
bool IsPassedOver(const InputLine& line);

/// The value of a line. Throws LineError for what is no JSON, or not within the limits of a message.
Json::Value ParseLine(const InputLine& line);

/// Whether a line of a script is one that is expected to come out, and none that goes in.
bool IsLineOut(const Json::Value& line);

/// "line 7: what".
std::string ErrorText(int number, const std::string& what);
/// The line out that tells of a line in that is in error.
std::string ErrorLine(int number, const std::string& what);

/// The line as it is compared: log lines without the number of their source line, error lines without that
/// of the script, which is another where lines out stand between the lines in.
Json::Value Comparable(Json::Value line);

/// What a script file holds: a line in, and the lines out that are expected after it. The first block has
/// no line in: its expectations are those of the page's opening.
struct Block {
    int number = 0;
    std::optional<InputLine> line;
    struct Expected {
        int number;
        Json::Value line;
    };
    std::vector<Expected> expected;
    bool cut_off = false;  ///< the file ends in the middle: there may be more lines out than it holds
};

struct ScriptFile {
    std::vector<Block> blocks;          ///< at least the first one
    std::vector<std::string> comments;  ///< those before the first line in, without what marks them
    bool is_recording = false;
    // Whether any line out is one of these.
    bool calls = false;
    bool log = false;
};

/// Reads a script to its end. A line that can't be read is a line in, unless a recording was cut off in it.
/// Throws std::system_error.
ScriptFile ReadScriptFile(LineReader& reader);

}  // namespace host
