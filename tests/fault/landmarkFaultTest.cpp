// A match with landmarks whose files fail: its shift is written whole and true, or not at all.
#include "frontend/recover.h"
#include "tests/support/faultRuns.h"
#include "tests/support/ioFailure.h"
#include "tests/support/landmarkRun.h"

TEST(LandmarkIo, EveryFailureEndsTheRunOrChangesNothing)
{
    const Conversion run = landmarkRun();
    std::set<int> codes;
    for (const IoCall call : {IoCall::Open, IoCall::Read, IoCall::Seek, IoCall::Write,
                              IoCall::Close, IoCall::Rename, IoCall::Stat}) {
        const bool isLong = call == IoCall::Read || call == IoCall::Seek;
        Sweep swept = sweep(
            run, [&](int k) { return IoFailure(call, IoFault::Error, k); },
            isLong ? run.stride : 1);
        // A shift that cannot be written is no input that could not be read.
        EXPECT_FALSE(call == IoCall::Write && swept.codes.contains(NB_RUN_INPUT));
        codes.merge(swept.codes);
    }
    const std::set<int> told = {NB_RUN_INPUT, NB_RUN_OUTPUT_OPEN, NB_RUN_CLOSE, NB_RUN_SHORT_WRITE,
                                NB_RUN_FAILED};
    EXPECT_EQ(codes, told);
}
