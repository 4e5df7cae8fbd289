// Memory that runs out somewhere in a whole conversion.
#include "frontend/recover.h"
#include "tests/support/allocFailure.h"
#include "tests/support/faultRuns.h"

#include <gtest/gtest.h>

TEST(ConversionAllocation, EveryFailureEndsTheRunOrChangesNothing)
{
    const std::set<int> told = {NB_RUN_NO_MEMORY, NB_RUN_INPUT, NB_RUN_FAILED};
    for (const Conversion& run : allRuns()) {
        const Sweep result = sweep(
            run, [](int k) { return AllocFailure(k); }, run.stride);
        EXPECT_GT(result.failed * run.stride, 80) << run.format;
        EXPECT_TRUE(std::ranges::includes(told, result.codes)) << run.format;
    }
}
