#include "frontend/recover.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

void recover(int code, int exitFlag)
{
    if (code < 0 || code > 200) return;
    const char* const word = code == 0 ? "complete" : code < 64 ? "warning" : "error";
    std::fprintf(stderr, "%s : %d\n", word, code);
    if (exitFlag != 0) std::exit(code);
}

void complain(const char* format, ...)
{
    std::fputs("nimbex : ", stderr);
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
}
