#include "util/nbLog.h"

#include "tests/support/support.h"
#include "util/nbGuard.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

using ::testing::ExitedWithCode;

namespace {
std::string contents(std::FILE* f)
{
    char block[1024];
    std::rewind(f);
    return std::string(block, std::fread(block, 1, sizeof block, f));
}

// What the log does at the first message of a run needs a process of its own.
class LogAtStart : public ::testing::Test {
protected:
    LogAtStart() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};
} // namespace

TEST_F(LogAtStart, FirstDebugMessageIsDroppedAndStreamsSetBeforeItStay)
{
    const auto run = [] {
        std::FILE* warnings = std::tmpfile();
        nbLogSetStream(3, warnings);
        nbLogPrintDebug("debug\n");
        nbLogPrintWarn("warning\n");
        nbLogPrintError("error\n");
        std::exit(contents(warnings) == "NB_Warn: warning\n" ? 0 : 1);
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "^NB_Error: error\n$");
}

TEST_F(LogAtStart, InfoAsFirstMessageGoesToStandardOutput)
{
    const auto run = [] {
        StdoutCapture out;
        nbLogPrintInfo("hello\n");
        std::exit(out.get() == "NB_Info: hello\n" ? 0 : 1);
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "^$");
}

TEST(LogPrint, EachLevelHasItsPrefixAndStreamAndTheTextIsNoFormat)
{
    StdoutCapture out;
    StderrCapture err;
    for (const unsigned level : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 0xFFFFFFFFU})
        nbLogPrint(level, "100%s\n");
    EXPECT_EQ(out.get(), "NB_Info: 100%s\n");
    EXPECT_EQ(err.get(), "NB_Warn: 100%s\nNB_Error: 100%s\nNB_Fatal: 100%s\n");
}

TEST(LogSetStream, LevelsThatDoNotExistAreIgnored)
{
    for (const int level : {-1, 0, 6, 1 << 30})
        nbLogSetStream(level, nullptr);
    StderrCapture err;
    nbLogPrintFatal("still there\n");
    EXPECT_EQ(err.get(), "NB_Fatal: still there\n");
}

TEST(LogFormat, LongTextIsCutAtAWholeCharacterAndKeepsItsNewline)
{
    const auto repeated = [](const char* s, int n) {
        std::string text;
        while (n-- > 0)
            text += s;
        return text;
    };
    // 255 bytes of text: 85 characters of three bytes; with the newline 84 and two bytes unused.
    const std::string wide = repeated("あ", 200);
    StderrCapture err;
    nbpLogWarn("%s\n", wide.c_str());
    nbpLogError("%s", wide.c_str());
    nbpLogError("\n%s\n", std::string(254, 'x').c_str());
    nbpLogFatal("%s\n", std::string(300, '\x80').c_str()); // no UTF-8 at all
    EXPECT_EQ(err.get(), "NB_Warn: " + repeated("あ", 84) + "\nNB_Error: " + repeated("あ", 85) +
                             "NB_Error: \n" + std::string(253, 'x') +
                             "\nNB_Fatal: " + std::string(254, '\x80') + "\n");
}

TEST(Guard, ExceptionsEndThereAndGiveTheFailureResult)
{
    StderrCapture err;
    EXPECT_EQ(nbpGuard("nbXxx()", -1, [] { return 7; }), 7);
    EXPECT_EQ(nbpGuard("nbXxx()", -1, []() -> int { throw std::bad_alloc(); }), -1);
    EXPECT_EQ(nbpGuard("nbXxx()", -1, []() -> int { throw std::out_of_range("row 9"); }), -1);
    EXPECT_EQ(err.get(), "NB_Fatal: nbXxx() : row 9\n");
}
