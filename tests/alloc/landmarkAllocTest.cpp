// Memory that runs out in a match with landmarks.
#include "frontend/recover.h"
#include "tests/support/allocFailure.h"
#include "tests/support/faultRuns.h"
#include "tests/support/landmarkRun.h"

TEST(LandmarkAllocation, EveryFailureEndsTheRunOrChangesNothing)
{
    const Conversion run = landmarkRun();
    const Sweep result = sweep(
        run, [](int k) { return AllocFailure(k); }, run.stride);
    const std::set<int> told = {NB_RUN_NO_MEMORY, NB_RUN_INPUT, NB_RUN_FAILED};
    EXPECT_EQ(result.codes, told);
    EXPECT_GT(result.failed, 40);
}
