// Files that fail somewhere in a whole conversion, and a run that is killed there.
#include "frontend/recover.h"
#include "tests/support/conversions.h"
#include "tests/support/ioFailure.h"

#include <csignal>
#include <gtest/gtest.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Fault {
    const char* name;
    IoCall call;
    IoFault fault;
    std::set<int> codes; // of all formats together, but for 0
};

const Fault faults[] = {
    {"open", IoCall::Open, IoFault::Error, {NB_RUN_INPUT, NB_RUN_OUTPUT_OPEN}},
    {"read", IoCall::Read, IoFault::Error, {NB_RUN_INPUT, NB_RUN_NO_COVERAGE, NB_RUN_SHORT_READ}},
    {"seek", IoCall::Seek, IoFault::Error, {NB_RUN_INPUT, NB_RUN_NO_COVERAGE}},
    {"write",
     IoCall::Write,
     IoFault::Error,
     {NB_RUN_SHORT_WRITE, NB_RUN_FAILED, NB_RUN_OUTPUT_OPEN}},
    {"short write",
     IoCall::Write,
     IoFault::Short,
     {NB_RUN_SHORT_WRITE, NB_RUN_FAILED, NB_RUN_OUTPUT_OPEN}},
    {"close", IoCall::Close, IoFault::Error, {NB_RUN_CLOSE}},
    {"rename", IoCall::Rename, IoFault::Error, {NB_RUN_OUTPUT_OPEN}},
    // A name that cannot be taken, but written: the file itself takes the bytes.
    {"refused rename", IoCall::Rename, IoFault::Refuse, {}},
};

// Runs a conversion of each format again and again, `makeFault(k)` in force, until a run has fewer
// calls than k; hands each code, and the output's bytes where it was written, to `check`.
template <class MakeFault, class Check>
void sweep(MakeFault makeFault, Check check)
{
    for (const Conversion& conversion : conversions()) {
        StderrCapture quiet;
        ConversionFolder folder(conversion, "-z");
        ASSERT_EQ(folder.run(), 0) << conversion.format;
        const Bytes good = folder.output();
        const long descriptors = openDescriptors();
        int k = 1;
        for (bool more = true; more; ++k) {
            folder.reset();
            int code = -1;
            {
                auto failure = makeFault(folder, k);
                code = folder.run();
                more = failure.fired();
            }
            const std::string where = conversion.format + ", call " + std::to_string(k);
            check(code, folder.output() == good, where);
            EXPECT_TRUE(code == 0 || folder.isAsBefore()) << where;
            EXPECT_TRUE(folder.isTidy()) << where;
        }
        EXPECT_GT(k, 2) << conversion.format;
        EXPECT_TRUE(folder.inputIsUntouched()) << conversion.format;
        EXPECT_EQ(openDescriptors(), descriptors) << conversion.format;
    }
}

} // namespace

// Either a code says so and the old output stays, or the output is the good one.
TEST(ConversionIo, EveryFailureEndsTheRunOrChangesNothing)
{
    for (const Fault& fault : faults) {
        std::set<int> codes;
        sweep([&](auto&, int k) { return IoFailure(fault.call, fault.fault, k); },
              [&](int code, bool isGood, const std::string& where) {
                  if (code != 0) codes.insert(code);
                  EXPECT_TRUE(code != 0 || isGood) << fault.name << ", " << where;
              });
        EXPECT_EQ(codes, fault.codes) << fault.name;
    }
}

// What is lost looks like a file that ends early, from which what is there is converted.
TEST(ConversionIo, AnInputThatEndsEarlyOrVanishesBeforeAnyCallHasACode)
{
    const std::set<int> told = {NB_RUN_COMPLETE, NB_RUN_INPUT, NB_RUN_NO_COVERAGE,
                                NB_RUN_SHORT_READ};
    sweep([](auto&, int k) { return IoFailure(IoCall::Read, IoFault::Short, k); },
          [&](int code, bool, const std::string& where) {
              EXPECT_TRUE(told.contains(code)) << where << ": " << code;
          });
    for (const Conversion& conversion : conversions()) {
        for (const off_t size : {-1, 0, 5000}) { // -1: the name goes
            StderrCapture quiet;
            ConversionFolder folder(conversion);
            const std::string input = folder.dir / "in";
            // Every call of the header; of the lines, and where the file is large, some.
            const auto step = [&](int k) {
                return conversion.bytes.size() > 1000000 ? 17 : k > 20 ? 7 : 1;
            };
            for (int k = 1;; k += step(k)) {
                folder.reset();
                folder.restoreInput();
                IoFailure failure(
                    IoCall::Any,
                    [&] {
                        return size < 0 ? unlink(input.c_str()) : truncate(input.c_str(), size);
                    },
                    k);
                const int code = folder.run();
                if (!failure.fired()) break;
                failure.stop();
                EXPECT_TRUE(told.contains(code)) << conversion.format << ' ' << k << ' ' << code;
                EXPECT_TRUE(code == 0 || folder.isAsBefore()) << conversion.format << ' ' << k;
            }
        }
    }
}

// At any moment the name leads to the old file or to the new one, whole. Only a kill that cannot
// be caught leaves something lying there.
TEST(ConversionIo, AKilledRunLeavesTheOldOutputOrTheWholeNewOne)
{
    const Conversion hisd = conversions().front();
    for (const int signal : {SIGTERM, SIGKILL}) {
        ConversionFolder folder(hisd, "-z");
        StderrCapture quiet;
        ASSERT_EQ(folder.run(), 0);
        const Bytes good = folder.output();
        folder.reset();
        for (int k = 1;; ++k) {
            const pid_t child = fork();
            if (child == 0) {
                IoFailure failure(
                    IoCall::Any, [&] { raise(signal); }, k);
                _exit(folder.run());
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            if (WIFEXITED(status)) break; // fewer than k calls
            ASSERT_EQ(WTERMSIG(status), signal) << k;
            EXPECT_TRUE(folder.isAsBefore()) << "call " << k;
            const std::string leftover = folder.dir / (".nimbex-" + std::to_string(child));
            if (signal == SIGKILL) unlink(leftover.c_str());
            EXPECT_TRUE(folder.isTidy()) << "signal " << signal << ", call " << k;
        }
        EXPECT_EQ(folder.output(), good);
        EXPECT_TRUE(folder.inputIsUntouched());
    }
}

TEST(ConversionIo, AnUnreadableInputIsRefused)
{
    for (const Conversion& conversion : conversions()) {
        ConversionFolder folder(conversion);
        ASSERT_EQ(chmod((folder.dir / "in").c_str(), 0), 0);
        ASSERT_EQ(chmod(folder.dir.path().c_str(), 0777), 0);
        StderrCapture quiet;
        const bool isRoot = getuid() == 0; // for whom nothing is unreadable
        ASSERT_TRUE(!isRoot || seteuid(65534) == 0);
        EXPECT_EQ(folder.run(), NB_RUN_INPUT) << conversion.format;
        ASSERT_TRUE(!isRoot || seteuid(0) == 0);
        EXPECT_TRUE(folder.isAsBefore()) << conversion.format;
    }
}

// With nowhere to speak, a run must not speak into the files it opens.
TEST(ConversionIo, ClosedOrFullStandardStreamsChangeNothing)
{
    ConversionFolder folder(conversions().front(), "-z");
    {
        StderrCapture quiet;
        ASSERT_EQ(folder.run(), 0);
    }
    const Bytes good = folder.output();
    for (const char* const streams : {"0<&- 1>&- 2>&-", "2>&-", "1>&-", "2>/dev/full", "2<&1"}) {
        folder.reset();
        const ProgramResult result = runProgram(
            "/bin/sh", {"-c", std::string("exec \"$@\" ") + streams, "sh", NIMBEX_PROGRAM, "-v",
                        "-b", "-z", folder.dir / "in", folder.dir / "out", folder.dir / "map"});
        EXPECT_EQ(result.status, 0) << streams;
        EXPECT_EQ(folder.output(), good) << streams;
        EXPECT_TRUE(folder.inputIsUntouched()) << streams;
    }
}
