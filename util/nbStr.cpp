#include "util/nbStr.h"

#include "util/nbChar.h"
#include "util/nbUtlMalloc.h"

#include <cctype>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace {
std::size_t length(int n)
{
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

void convert(char* s, int n, int (*code)(int))
{
    for (std::size_t i = 0; i < length(n); ++i) {
        s[i] = static_cast<char>(code(s[i]));
        if (s[i] == '\0') return;
    }
}

char* convertCase(char* s, int (*code)(int))
{
    for (char* p = s; *p != '\0'; ++p)
        *p = static_cast<char>(code(static_cast<unsigned char>(*p)));
    return s;
}
} // namespace

void nbStrEbcdicToAscii(char* s, int n)
{
    convert(s, n, nbCharEbcdicToAscii);
}

void nbStrAsciiToEbcdic(char* s, int n)
{
    convert(s, n, nbCharAsciiToEbcdic);
}

char* nbStrncpy(char* dst, const char* src, int n)
{
    const std::size_t copied = strnlen(src, length(n));
    std::memcpy(dst, src, copied);
    dst[copied] = '\0';
    return dst;
}

char* nbStrFortranToC(const char* s, int n)
{
    const std::string_view field(s, length(n));
    const std::size_t kept = field.find_last_not_of(' ') + 1; // npos + 1 is 0
    auto* text = static_cast<char*>(nbUtlMalloc(kept + 1, "nbStrFortranToC()"));
    if (text == nullptr) return nullptr;
    field.copy(text, kept); // an empty field may be a null pointer, which memcpy forbids
    text[kept] = '\0';
    return text;
}

char* nbStrCToFortran(char* s, int n)
{
    const std::size_t size = length(n);
    if (size == 0) return s;
    const std::size_t end = strnlen(s, size);
    // Deliberate: the blanks begin behind the NUL. Readers in C rely on the field's old length;
    // with a blank in its place they would run on to the next NUL in memory.
    if (end < size) std::memset(s + end + 1, ' ', size - end - 1);
    return s;
}

char* nbStrToUpper(char* s)
{
    return convertCase(s, std::toupper);
}

char* nbStrToLower(char* s)
{
    return convertCase(s, std::tolower);
}

char* nbStrSubStr(const char* src, int start, int len, char* dst)
{
    const std::size_t size = length(len);
    const std::size_t copied = strnlen(src + start, size);
    std::memcpy(dst, src + start, copied);
    std::memset(dst + copied, 0, size - copied + 1);
    return dst;
}
