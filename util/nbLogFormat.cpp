#include "util/nbLogFormat.h"

#include "util/nbLog.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace {
constexpr std::size_t messageSize = 256; // with its NUL

bool isUtf8Continuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Where to cut `text` so that at most `limit` bytes and only whole characters remain. Bytes that
// are no UTF-8 are cut anywhere.
std::size_t wholeCharacters(const char* text, std::size_t limit)
{
    std::size_t end = limit;
    while (end > 0 && limit - end < 3 && isUtf8Continuation(text[end]))
        --end;
    return isUtf8Continuation(text[end]) ? limit : end;
}

void print(unsigned level, const char* format, std::va_list arguments)
{
    char text[messageSize + 1]; // one byte more than is kept, to see where a character starts
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    if (length < 0) return;
    if (static_cast<std::size_t>(length) >= messageSize) {
        const bool newline = std::string_view(format).ends_with('\n');
        std::size_t end = wholeCharacters(text, messageSize - 1 - (newline ? 1 : 0));
        if (newline) text[end++] = '\n';
        text[end] = '\0';
    }
    nbLogPrint(level, text);
}
} // namespace

void nbpLogDebug(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    print(1, format, arguments);
    va_end(arguments);
}

void nbpLogInfo(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    print(2, format, arguments);
    va_end(arguments);
}

void nbpLogWarn(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    print(3, format, arguments);
    va_end(arguments);
}

void nbpLogError(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    print(4, format, arguments);
    va_end(arguments);
}

void nbpLogFatal(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    print(5, format, arguments);
    va_end(arguments);
}
