// SPDX-License-Identifier: Apache-2.0
#include "tvhost/script.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "core/calls.h"
#include "core/mutex.h"
#include "tvhost/interrupt.h"
#include "tvhost/json_text.h"
#include "tvhost/line_reader.h"
#include "tvhost/log_text.h"
#include "tvhost/recording_marks.h"
#include "tvhost/session.h"

namespace host {
namespace {

/// A line in holds one message: the message's limit, and room for blanks and the rest of the line.
constexpr std::size_t kMaxLineBytes = 4 * kMaxMessageBytes;
/// The object around the message is one level.
constexpr int kMaxLineDepth = kMaxMessageDepth + 1;
/// What comes out may hold what went in, some levels deeper.
constexpr int kMaxOutputDepth = kMaxLineDepth + 64;

/// Closes a file unless it is standard input. A pipe that nobody writes to yet is opened all the same: it is
/// the reader that waits, and Ctrl-C ends that.
class InputFile {
  public:
    explicit InputFile(const std::string& name)
        : descriptor_(name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
    {
        struct stat status {};
        if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0)
            throw std::system_error(errno, std::generic_category());
        if (S_ISDIR(status.st_mode))
            throw std::system_error(EISDIR, std::generic_category());
    }
    ~InputFile()
    {
        if (descriptor_ > STDIN_FILENO)
            ::close(descriptor_);
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    int descriptor() const { return descriptor_; }

  private:
    const int descriptor_;
};

class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

bool IsPassedOver(const InputLine& line)
{
    return line.text.find_first_not_of(" \t") == std::string::npos || line.text.front() == '#';
}

/// How many bytes the value takes in an object of one member, which is JSON, blanks around it aside.
std::size_t ValueBytes(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t";
    const std::size_t begin = line.find_first_not_of(kBlanks, line.find(':') + 1);
    const std::size_t end = line.find_last_not_of(kBlanks, line.rfind('}') - 1);
    return end + 1 - begin;
}

Json::Value ParseLine(const InputLine& line)
{
    if (line.too_long)
        throw LineError("too long");
    try {
        Json::Value value = ParseJson(line.text, kMaxLineDepth);
        if (line.text.size() > kMaxMessageBytes && value.isObject()) {
            for (const char* kind : {"await", "post"}) {
                // As it stands, which is what a recording was allowed to hold, or at its shortest.
                if (value.isMember(kind) && ValueBytes(line.text) > kMaxMessageBytes &&
                    WriteJson(value[kind]).size() > kMaxMessageBytes)
                    throw LineError("the message is larger than 1 MiB");
            }
        }
        return value;
    } catch (const JsonError& error) {
        throw LineError(error.what());
    }
}

std::string ErrorText(int number, const std::string& what)
{
    return "line " + std::to_string(number) + ": " + what;
}

std::string ErrorLine(int number, const std::string& what)
{
    return WriteJson(OrderedObject{{"error", ErrorText(number, what)}});
}

/// Prints lines on standard output. Lines may come up on any thread, one at a time. After a failure nothing
/// more is written; the failure shows at the next Check.
class Printer {
  public:
    void Print(const std::string& line) EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        if (error_ != 0)
            return;
        const std::string whole = line + '\n';
        if (std::fwrite(whole.data(), 1, whole.size(), stdout) != whole.size() || std::fflush(stdout) != 0)
            error_ = errno;
    }
    void Check() const EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        if (error_ != 0)
            throw OutputError(std::string("can't write to standard output: ") +
                              std::generic_category().message(error_));
    }

  private:
    mutable tv::Mutex mutex_{tv::LockLevel::Leaf};
    int error_ GUARDED_BY(mutex_) = 0;
};

/// Lines out that wait to be compared. They may come up on any thread.
class LinesOut {
  public:
    void Add(std::string line) EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        lines_.push_back(std::move(line));
    }
    std::vector<std::string> Take() EXCLUDES(mutex_)
    {
        const tv::MutexLock lock(mutex_);
        return std::exchange(lines_, {});
    }

  private:
    tv::Mutex mutex_{tv::LockLevel::Leaf};
    std::vector<std::string> lines_ GUARDED_BY(mutex_);
};

/// From an interrupt on nobody waits out scripted delays any more.
class DelaysEndAtInterrupt {
  private:
    std::optional<tv::Calls::NoDelay> no_delay_;
    OnInterrupt on_interrupt_{[this] { no_delay_.emplace(tv::TheCalls(), nullptr); }};
};

int PlayScript(const ScriptOptions& options, LineReader& reader)
{
    const DelaysEndAtInterrupt delays_end;
    Printer printer;
    std::atomic<bool> failed{false};
    std::atomic<int> number{0};  // of the line in
    Session session(options.plugin,
                    [&](const LineOut& line) {
                        if (line.kind == LineOut::Kind::Error) {
                            failed = true;
                            printer.Print(ErrorLine(number, line.text));
                        } else {
                            printer.Print(line.Whole());
                        }
                    },
                    {options.calls, options.log});
    options.loaded();
    session.Open();
    while (const std::optional<InputLine> line = IsInterrupted() ? std::nullopt : reader.Next()) {
        printer.Check();
        if (IsPassedOver(*line))
            continue;
        if (options.echo && !line->too_long)
            printer.Print(line->text);
        number = line->number;
        try {
            session.CarryOut(ParseLine(*line));
        } catch (const LineError& error) {
            failed = true;
            printer.Print(ErrorLine(line->number, error.what()));
        }
    }
    printer.Check();
    return failed || IsInterrupted() ? 1 : 0;
}

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

std::vector<Block> ReadBlocks(LineReader& reader, bool& calls, bool& log)
{
    std::vector<Block> blocks(1);
    bool is_recording = false;
    bool has_end = false;
    while (std::optional<InputLine> line = reader.Next()) {
        if (line->number == 1)
            is_recording = line->text.rfind(std::string("# ") + kRecordingBegins, 0) == 0;
        has_end = line->text == std::string("# ") + kRecordingEnds;
        if (IsPassedOver(*line))
            continue;
        try {
            const Json::Value parsed = ParseLine(*line);
            if (IsLineOut(parsed)) {
                calls = calls || parsed.isMember("call");
                log = log || parsed.isMember("log");
                blocks.back().expected.push_back({line->number, parsed});
                continue;
            }
        } catch (const LineError&) {
            // Not readable as an expectation: it is a line in, whose error comes up when it is carried out.
            // But where a recording was cut off nobody knows what the line was.
            if (!line->ended && line->text.front() == '{') {
                blocks.back().cut_off = true;
                continue;
            }
        }
        const int number = line->number;
        blocks.push_back({number, std::move(line), {}});
    }
    // Its last block may be cut off at the end of any of its lines.
    if (is_recording && !has_end)
        blocks.back().cut_off = true;
    return blocks;
}

/// The line as it is compared: log lines without the number of their source line, error lines without that
/// of the script, which is another where lines out stand between the lines in.
Json::Value Comparable(Json::Value line)
{
    if (line.isMember("log") && line["log"].isString())
        line["log"] = WithoutSourceLine(line["log"].asString());
    if (line.isMember("error") && line["error"].isString()) {
        const std::string text = line["error"].asString();
        const std::size_t end = std::min(text.find_first_not_of("0123456789", 5), text.size());
        if (text.rfind("line ", 0) == 0 && text.compare(end, 2, ": ") == 0)
            line["error"] = text.substr(end + 2);
    }
    return line;
}

int CheckScript(const ScriptOptions& options, LineReader& reader)
{
    bool calls = false;
    bool log = false;
    const std::vector<Block> blocks = ReadBlocks(reader, calls, log);
    const DelaysEndAtInterrupt delays_end;
    Printer printer;
    bool differs = false;
    LinesOut lines_out;
    const auto compare = [&](const Block& block) {
        std::vector<std::string> got = lines_out.Take();
        if (block.cut_off && got.size() > block.expected.size())
            got.resize(block.expected.size());
        for (std::size_t i = 0; i < std::max(block.expected.size(), got.size()); ++i) {
            const bool is_expected = i < block.expected.size();
            const bool is_got = i < got.size();
            // Both sides of the comparison are read from text.
            if (is_expected && is_got &&
                Comparable(block.expected[i].line) == Comparable(ParseJson(got[i], kMaxOutputDepth)))
                continue;
            differs = true;
            const int number = is_expected ? block.expected[i].number : block.number;
            printer.Print(ErrorText(number, "expected ") +
                          (is_expected ? WriteJson(block.expected[i].line) : "nothing"));
            printer.Print(ErrorText(number, "got ") + (is_got ? got[i] : "nothing"));
        }
        printer.Check();
    };
    {
        Session session(options.plugin, [&](const LineOut& line) { lines_out.Add(line.Whole()); },
                        {calls, log});
        options.loaded();
        session.Open();
        for (const Block& block : blocks) {
            if (IsInterrupted())
                return 1;
            if (block.line) {
                try {
                    session.CarryOut(ParseLine(*block.line));
                } catch (const LineError& error) {
                    lines_out.Add(ErrorLine(block.number, error.what()));
                }
            }
            if (&block != &blocks.back())
                compare(block);
        }
    }
    // The end of input, with the teardown that it brings, belongs to the last line.
    compare(blocks.back());
    return differs ? 1 : 0;
}

}  // namespace

bool IsLineOut(const Json::Value& line)
{
    if (!line.isObject() || line.isMember("tv"))
        return false;
    constexpr const char* kKinds[] = {"reply", "message", "call", "log", "did", "error"};
    return std::any_of(std::begin(kKinds), std::end(kKinds),
                       [&](const char* kind) { return line.isMember(kind); });
}

int RunScript(const ScriptOptions& options)
{
    try {
        const InputFile file(options.file);
        LineReader reader(file.descriptor(), kMaxLineBytes, InterruptDescriptor());
        return options.check ? CheckScript(options, reader) : PlayScript(options, reader);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "zelumo-tv: %s: %s\n",
                     options.file == "-" ? "standard input" : options.file.c_str(),
                     error.code().message().c_str());
        return 2;
    } catch (const OutputError& error) {
        std::fprintf(stderr, "zelumo-tv: %s\n", error.what());
        return 1;
    }
}

}  // namespace host
