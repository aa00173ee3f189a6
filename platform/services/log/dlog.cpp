#include "log/dlog.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

#include "core/journal.h"

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...)
{
    tv::Journal& journal = tv::TheJournal();
    if (!journal.log_heard())
        return 0;
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    // Nearly every line fits; a longer one is formatted a second time.
    std::array<char, 512> line{};
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
    std::string long_line;
    if (size >= line.size()) {
        long_line.resize(size);
        std::vsnprintf(long_line.data(), size + 1, format, again);
    }
    va_end(again);
    const std::string_view text = long_line.empty() ? std::string_view(line.data(), size) : long_line;
    journal.Write(tv::LogRecord{text, buffer, priority, tag});
    return length;
}
