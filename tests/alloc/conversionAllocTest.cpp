// Memory that runs out somewhere in a whole conversion.
#include "frontend/recover.h"
#include "tests/support/allocFailure.h"
#include "tests/support/conversions.h"

#include <gtest/gtest.h>

// A code says so and the old output stays, or the output is the good one: an image without the
// lines that there was no room for looks like any other. What was taken is given back, which the
// sanitizer build checks.
TEST(ConversionAllocation, EveryFailureEndsTheRunOrChangesNothing)
{
    for (const Conversion& conversion : conversions()) {
        const std::string& format = conversion.format;
        ConversionFolder folder(conversion, "-z");
        StderrCapture quiet;
        ASSERT_EQ(folder.run(), 0) << format;
        const Bytes good = folder.output();
        folder.reset();
        const long descriptors = openDescriptors();
        int failed = 0;
        int k = 1;
        for (bool more = true; more; ++k) {
            ASSERT_LT(k, 1000) << format;
            AllocFailure failure(k);
            const int code = folder.run();
            failure.stop();
            more = failure.fired();
            if (code == 0) {
                EXPECT_EQ(folder.output(), good) << format << ", allocation " << k;
                folder.reset();
                continue;
            }
            ++failed;
            EXPECT_TRUE(code == NB_RUN_NO_MEMORY || code == NB_RUN_INPUT || code == NB_RUN_FAILED)
                << format << ", allocation " << k << ": " << code;
            EXPECT_TRUE(folder.isAsBefore()) << format << ", allocation " << k;
        }
        EXPECT_GT(failed, 80) << format;
        EXPECT_TRUE(folder.isTidy()) << format;
        EXPECT_TRUE(folder.inputIsUntouched()) << format;
        EXPECT_EQ(openDescriptors(), descriptors) << format;
    }
}
