// SPDX-License-Identifier: Apache-2.0
#include "tvhost/script.h"

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
#include "tvhost/lines_out.h"
#include "tvhost/script_file.h"
#include "tvhost/session.h"

namespace host {
namespace {

class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

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

int CheckScript(const ScriptOptions& options, LineReader& reader)
{
    const ScriptFile script = ReadScriptFile(reader);
    const std::vector<Block>& blocks = script.blocks;
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
                        {script.calls, script.log});
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
