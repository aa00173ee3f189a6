#include "log/dlog.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "tv/tv.h"

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...)
{
    tv::Journal& journal = tv::Tv::Get().journal();
    if (!journal.log_heard())
        return 0;
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    journal.Write(tv::LogRecord{text, buffer, priority, tag});
    return length;
}
