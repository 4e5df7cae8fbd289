// Files that fail somewhere in a whole conversion, and a run that is killed there.
#include "frontend/recover.h"
#include "tests/support/faultRuns.h"
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

const std::set<int> readCodes = {NB_RUN_INPUT, NB_RUN_NO_COVERAGE, NB_RUN_SHORT_READ};
const std::set<int> writeCodes = {NB_RUN_INPUT, NB_RUN_OUTPUT_OPEN, NB_RUN_SHORT_WRITE,
                                  NB_RUN_FAILED};
const Fault faults[] = {
    {"open", IoCall::Open, IoFault::Error, {NB_RUN_INPUT, NB_RUN_OUTPUT_OPEN}},
    {"read", IoCall::Read, IoFault::Error, readCodes},
    {"lost device", IoCall::Read, IoFault::Lasting, readCodes},
    {"seek", IoCall::Seek, IoFault::Error, {NB_RUN_INPUT, NB_RUN_NO_COVERAGE}},
    // 73: an input that cannot be handed to its decoder.
    {"write", IoCall::Write, IoFault::Error, writeCodes},
    {"short write", IoCall::Write, IoFault::Short, writeCodes},
    {"full disk", IoCall::Write, IoFault::Lasting, writeCodes},
    {"close", IoCall::Close, IoFault::Error, {NB_RUN_CLOSE}},
    {"rename", IoCall::Rename, IoFault::Error, {NB_RUN_OUTPUT_OPEN}},
    // A name that cannot be taken, but written: the file itself takes the bytes.
    {"refused rename", IoCall::Rename, IoFault::Refuse, {}},
    {"stat", IoCall::Stat, IoFault::Error, {NB_RUN_INPUT, NB_RUN_OUTPUT_OPEN}},
    {"no stat",
     IoCall::Stat,
     IoFault::Lasting,
     {NB_RUN_INPUT, NB_RUN_OUTPUT_OPEN}}, // there is no decoder either
    {"mkdtemp", IoCall::Folder, IoFault::Error, {NB_RUN_INPUT}},
    {"fork", IoCall::Fork, IoFault::Error, {NB_RUN_INPUT}},
    {"exec", IoCall::Exec, IoFault::Error, {NB_RUN_INPUT}},
    {"interrupted wait", IoCall::Wait, IoFault::Error, {}},
};

} // namespace

TEST(ConversionIo, EveryFailureEndsTheRunOrChangesNothing)
{
    const auto runs = allRuns();
    for (const Fault& fault : faults) {
        std::set<int> codes;
        const bool isLong = fault.call == IoCall::Read || fault.call == IoCall::Stat ||
                            fault.fault != IoFault::Error;
        const auto fail = [&](int k) { return IoFailure(fault.call, fault.fault, k); };
        for (const Conversion& run : runs)
            codes.merge(sweep(run, fail, isLong ? run.stride : 1).codes);
        EXPECT_EQ(codes, fault.codes) << fault.name;
    }
}

// What is lost looks like a file that ends early, from which what is there is converted.
TEST(ConversionIo, AnInputThatEndsEarlyOrVanishesBeforeAnyCallHasACode)
{
    const std::set<int> told = {NB_RUN_COMPLETE, NB_RUN_INPUT, NB_RUN_NO_COVERAGE,
                                NB_RUN_SHORT_READ};
    for (const Conversion& conversion : allRuns()) {
        const Sweep cut = sweep(
            conversion, [](int k) { return IoFailure(IoCall::Read, IoFault::Short, k); },
            conversion.stride, true);
        EXPECT_TRUE(std::ranges::includes(told, cut.codes)) << conversion.format;
    }
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
    const Conversion decoded = furtherRuns().back();
    for (const auto& [run, signal] :
         {std::pair(hisd, SIGTERM), {hisd, SIGKILL}, {decoded, SIGTERM}}) {
        ConversionFolder folder(run, "-z");
        const DecoderScene decoder(folder.dir.path(), DecoderScene::copies);
        StderrCapture quiet;
        ASSERT_EQ(folder.run(), 0);
        const Bytes good = folder.output();
        folder.reset();
        for (int k = 1;; k += run.stride) {
            const pid_t child = fork();
            if (child == 0) {
                std::signal(signal, SIG_DFL); // as a new process has it
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

TEST(ConversionIo, WhateverTheDecoderDoesTheRunEndsAsItShould)
{
    const std::string copies = std::string("cp \"$2.jpg\" \"$2.jpg.0\"; ");
    const struct {
        std::string script;
        int code;
    } cases[] = {
        {copies, NB_RUN_COMPLETE},
        {copies + "head -c 9999 /dev/zero >> \"$2.jpg.0\"", NB_RUN_COMPLETE}, // more than needed
        {copies + "mkdir -p \"$2.more/a\"; touch \"$2.more/a/b\"", NB_RUN_COMPLETE},
        {"head -c 3199 \"$2.jpg\" > \"$2.jpg.0\"", NB_RUN_INPUT}, // of 40 x 40 x 2
        {copies + "kill -SEGV $$", NB_RUN_INPUT},
        {"exec <&- >&- 2>&-", NB_RUN_INPUT},
        {"exec cat /dev/zero > \"$2.jpg.0\"", NB_RUN_INPUT}, // without end
        {copies + "rm \"$2.jpg\" \"$2.jpg.0\"; rmdir \"${2%/*}\"", NB_RUN_INPUT},
    };
    ConversionFolder folder(furtherRuns().back());
    StderrCapture quiet;
    Bytes good;
    for (const auto& [script, code] : cases) {
        folder.reset();
        const DecoderScene decoder(folder.dir.path(), script);
        EXPECT_EQ(folder.run(), code) << script;
        if (good.empty()) good = folder.output();
        EXPECT_TRUE(code == 0 ? folder.output() == good : folder.isAsBefore()) << script;
        EXPECT_TRUE(folder.isTidy()) << script;
        EXPECT_TRUE(folder.inputIsUntouched()) << script;
    }
    folder.reset();
    const DecoderScene decoder(folder.dir.path(), DecoderScene::copies);
    {
        // Somebody else in the process takes the decoder's status.
        IoFailure taken(
            IoCall::Wait, [] { waitpid(-1, nullptr, 0); }, 1);
        EXPECT_EQ(folder.run(), NB_RUN_INPUT);
        EXPECT_TRUE(taken.fired() && folder.isAsBefore() && folder.isTidy());
    }
    // A parent that does not care for its own children hands that on.
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(folder.run(), NB_RUN_COMPLETE);
    std::signal(SIGCHLD, before);
    EXPECT_EQ(folder.output(), good);
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
