// SPDX-License-Identifier: Apache-2.0
#include "tvhost/scenario.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <limits>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <system_error>

#include "tv/control.h"
#include "tvhost/interrupt.h"
#include "tvhost/json_text.h"
#include "tvhost/line_reader.h"

namespace host {
namespace {

/// A verb may hold a message's worth of JSON.
constexpr std::size_t kMaxLineBytes = 4 * kMaxMessageBytes;
constexpr char kTimes[] =
    "\"at\" must be a playing time: milliseconds, \"mm:ss\" or \"hh:mm:ss\", below 24 days";

class LineMistake : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Milliseconds, or -1 where the text is no time.
double ReadTime(const std::string& text)
{
    static const std::regex form(R"((?:(\d{1,3}):)?(\d{1,3}):(\d{2})(?:\.(\d{1,3}))?)");
    std::smatch parts;
    if (!std::regex_match(text, parts, form))
        return -1;
    const auto number = [&parts](std::size_t part) {
        return parts[part].matched ? std::stod(parts[part].str()) : 0;
    };
    const double fraction = parts[4].matched ? std::stod("0." + parts[4].str()) : 0;
    if (number(3) >= 60 || (parts[1].matched && number(2) >= 60))
        return -1;
    return std::round((((number(1) * 60 + number(2)) * 60 + number(3)) + fraction) * 1000);
}

/// The scenario's line as an `at` verb.
Json::Value ReadLine(const InputLine& line)
{
    if (line.too_long)
        throw LineMistake("too long");
    Json::Value verb;
    try {
        verb = ParseJson(line.text, kMaxMessageDepth);
    } catch (const JsonError& error) {
        throw LineMistake(error.what());
    }
    if (!verb.isObject() || !verb.isMember("tv"))
        throw LineMistake("expected {\"at\": …, \"tv\": VERB, …}");
    const Json::Value at = verb["at"];
    verb.removeMember("at");
    const double ms = at.isString() ? ReadTime(at.asString()) : at.isNumeric() ? at.asDouble() : -1;
    if (!(ms >= 0 && ms <= std::numeric_limits<int>::max()) || ms != std::floor(ms))
        throw LineMistake(kTimes);
    Json::Value put_off;
    put_off["tv"] = "at";
    put_off["ms"] = static_cast<int>(ms);
    put_off["do"] = verb;
    try {
        tv::ReadVerb(verb);
        tv::ReadVerb(put_off);
    } catch (const tv::VerbError& error) {
        throw LineMistake(error.what());
    }
    return put_off;
}

/// Closes what it is given.
struct Descriptor {
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor() { ::close(number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    const int number;
};

}  // namespace

std::vector<Json::Value> ReadScenario(const std::filesystem::path& file)
{
    const auto fail = [&file](const std::string& why) {
        throw std::runtime_error("scenario " + file.string() + ": " + why);
    };
    const int number = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (number < 0)
        fail(std::generic_category().message(errno));
    const Descriptor descriptor(number);
    LineReader reader(descriptor.number, kMaxLineBytes, InterruptDescriptor());
    std::vector<Json::Value> verbs;
    try {
        while (const std::optional<InputLine> line = reader.Next()) {
            if (line->text.find_first_not_of(" \t") == std::string::npos || line->text.front() == '#')
                continue;
            try {
                verbs.push_back(ReadLine(*line));
            } catch (const LineMistake& mistake) {
                fail("line " + std::to_string(line->number) + ": " + mistake.what());
            }
        }
    } catch (const std::system_error& error) {
        fail(error.code().message());
    }
    if (IsInterrupted())
        throw Interrupted();
    return verbs;
}

}  // namespace host
