#include "util/nbLog.h"

#include "util/nbLogFormat.h"

#include <cstdio>

namespace {
constexpr unsigned infoLevel = 2;
constexpr unsigned topLevel = 5;

// By level; entry 0 is no level. The text is the only argument.
constexpr const char* prefixes[topLevel + 1] = {
    "", "NB_Debug: ", "NB_Info: ", "NB_Warn: ", "NB_Error: ", "NB_Fatal: "};

unsigned shownLevel = 0; // lowest level shown; 0 until the first message
std::FILE* streams[topLevel + 1] = {};

// Streams that were set before the first message stay.
void initialise()
{
    for (unsigned level = 1; level <= topLevel; ++level)
        if (streams[level] == nullptr) streams[level] = level == infoLevel ? stdout : stderr;
    shownLevel = infoLevel;
}
} // namespace

void nbLogPrint(unsigned level, const char* text)
{
    if (level < shownLevel || level > topLevel) return;
    if (shownLevel == 0) {
        initialise();
        if (level < shownLevel) return;
    }
    if (text == nullptr || streams[level] == nullptr) return;
    std::fprintf(streams[level], "%s%s", prefixes[level], text);
}

void nbLogPrintDebug(const char* text)
{
    nbLogPrint(1, text);
}

void nbLogPrintInfo(const char* text)
{
    nbLogPrint(2, text);
}

void nbLogPrintWarn(const char* text)
{
    nbLogPrint(3, text);
}

void nbLogPrintError(const char* text)
{
    nbLogPrint(4, text);
}

void nbLogPrintFatal(const char* text)
{
    nbLogPrint(5, text);
}

void nbLogSetStream(int level, std::FILE* stream)
{
    if (level < 1 || level > static_cast<int>(topLevel)) return;
    streams[level] = stream;
}

unsigned nbpLogLevel()
{
    return shownLevel;
}
