// SPDX-License-Identifier: Apache-2.0
#include "tvhost/script_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "tvhost/log_text.h"
#include "tvhost/recording_marks.h"
#include "tvhost/session.h"

namespace host {
namespace {

/// How many bytes the value takes in an object of one member, which is JSON, blanks around it aside.
std::size_t ValueBytes(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t";
    const std::size_t begin = line.find_first_not_of(kBlanks, line.find(':') + 1);
    const std::size_t end = line.find_last_not_of(kBlanks, line.rfind('}') - 1);
    return end + 1 - begin;
}

}  // namespace

InputFile::InputFile(const std::string& name)
    : descriptor_(name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
{
    struct stat status {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0)
        throw std::system_error(errno, std::generic_category());
    if (S_ISDIR(status.st_mode))
        throw std::system_error(EISDIR, std::generic_category());
}

InputFile::~InputFile()
{
    if (descriptor_ > STDIN_FILENO)
        ::close(descriptor_);
}

bool IsPassedOver(const InputLine& line)
{
    return line.text.find_first_not_of(" \t") == std::string::npos || line.text.front() == '#';
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

bool IsLineOut(const Json::Value& line)
{
    if (!line.isObject() || line.isMember("tv"))
        return false;
    constexpr const char* kKinds[] = {"reply", "message", "call", "log", "did", "error"};
    return std::any_of(std::begin(kKinds), std::end(kKinds),
                       [&](const char* kind) { return line.isMember(kind); });
}

std::string ErrorText(int number, const std::string& what)
{
    return "line " + std::to_string(number) + ": " + what;
}

std::string ErrorLine(int number, const std::string& what)
{
    return WriteJson(OrderedObject{{"error", ErrorText(number, what)}});
}

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

ScriptFile ReadScriptFile(LineReader& reader)
{
    ScriptFile script;
    std::vector<Block>& blocks = script.blocks;
    blocks.resize(1);
    bool has_end = false;
    while (std::optional<InputLine> line = reader.Next()) {
        if (line->number == 1)
            script.is_recording = line->text.rfind(std::string("# ") + kRecordingBegins, 0) == 0;
        has_end = line->text == std::string("# ") + kRecordingEnds;
        if (blocks.size() == 1 && line->text.rfind("# ", 0) == 0)
            script.comments.push_back(line->text.substr(2));
        if (IsPassedOver(*line))
            continue;
        try {
            const Json::Value parsed = ParseLine(*line);
            if (IsLineOut(parsed)) {
                script.calls = script.calls || parsed.isMember("call");
                script.log = script.log || parsed.isMember("log");
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
    if (script.is_recording && !has_end)
        blocks.back().cut_off = true;
    return script;
}

}  // namespace host
