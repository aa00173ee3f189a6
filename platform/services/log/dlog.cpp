// SPDX-License-Identifier: Apache-2.0
#include "log/dlog.h"

#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "core/journal.h"

namespace {

using Line = std::array<char, 512>;

/// Writes the line where it fits and where %s and %d are all that its format asks for: nearly every line
/// does, and the printf family takes several times as long. The size of the text, or nothing.
std::optional<std::size_t> WritePlain(Line& line, const char* format, std::va_list arguments)
{
    std::size_t size = 0;
    const auto append = [&](std::string_view text) {
        if (text.size() > line.size() - size)
            return false;
        std::memcpy(line.data() + size, text.data(), text.size());
        size += text.size();
        return true;
    };
    while (*format != '\0') {
        const std::size_t literal = std::strcspn(format, "%");
        if (!append({format, literal}))
            return std::nullopt;
        format += literal;
        if (*format == '\0')
            break;
        if (format[1] == 's') {
            const char* const text = va_arg(arguments, const char*);
            if (text == nullptr || !append(text))
                return std::nullopt;
        } else if (format[1] == 'd') {
            const std::to_chars_result number =
                std::to_chars(line.data() + size, line.data() + line.size(), va_arg(arguments, int));
            if (number.ec != std::errc())
                return std::nullopt;
            size = static_cast<std::size_t>(number.ptr - line.data());
        } else {
            return std::nullopt;
        }
        format += 2;
    }
    return size;
}

/// The same for any line.
[[gnu::format(printf, 1, 0)]] std::string Write(const char* format, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string line(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(line.data(), line.size() + 1, format, arguments);
    return line;
}

}  // namespace

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...)
{
    tv::Journal& journal = tv::TheJournal();
    if (!journal.log_heard())
        return 0;
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    Line line{};
    const std::optional<std::size_t> plain = WritePlain(line, format, again);
    va_end(again);
    const std::string any = plain ? std::string() : Write(format, arguments);
    va_end(arguments);
    const std::string_view text = plain ? std::string_view(line.data(), *plain) : any;
    journal.Write(tv::LogRecord{text, buffer, priority, tag});
    return static_cast<int>(text.size());
}
