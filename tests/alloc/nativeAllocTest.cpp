#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "tests/support/allocFailure.h"
#include "tests/support/support.h"
#include "tests/synth/synthNative.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr int samples = 40;
constexpr NbZoomRect rect{
    .startPixel = 0, .startLine = 2, .width = 8, .height = 5, .outWidth = 8, .outHeight = 5};

// Opens, selects two grids, samples, zooms and closes; stops at the first step that fails. `out`
// is the caller's, so that nothing here allocates but the library.
int run(const char* path, float* out)
{
    NbSatObject object{};
    if (const int code = nbSatOpenObject(&object, path); code != 0) return code;
    const int code = [&] {
        float pixel[samples];
        float line[samples];
        for (int i = 0; i < samples; ++i) {
            pixel[i] = static_cast<float>(i % 8);
            line[i] = static_cast<float>(i / 8) + 9.4F;
        }
        for (const char* name : {"HRV_A", "IR1_T"}) {
            if (nbSatSetElems(&object, name) != 20001) return -2;
            if (nbSatGetR4DataByPixLin(&object, pixel, line, out, samples) != 0) return -3;
            out += samples;
            if (nbSatGetR4ZoomData(&object, &rect, out) != 0) return -4;
            out += samples;
        }
        return 0;
    }();
    nbSatCloseObject(&object);
    return code;
}

} // namespace

// Each allocation of the way from the path to samples fails once: either a code says so or the
// result is the good one, and what was taken is given back, which the sanitizer build checks.
TEST(NativeAllocation, EveryFailureComesBackAsACode)
{
    const TempFile file(SynthNative{}.bytes());
    const std::string path = file.path();
    std::vector<float> good(4 * samples, -7);
    ASSERT_EQ(run(path.c_str(), good.data()), 0);
    const std::vector<float> untouched(good.size(), -7);
    ASSERT_NE(good, untouched);

    int failed = 0;
    int k = 1;
    for (bool more = true; more; ++k) {
        ASSERT_LT(k, 2000);
        std::vector<float> out = untouched;
        StderrCapture quiet;
        AllocFailure failure(k);
        const int code = run(path.c_str(), out.data());
        failure.stop();
        more = failure.fired();
        if (code != 0)
            ++failed;
        else
            EXPECT_EQ(out, good) << "allocation " << k;
    }
    // Record, tables and ten lines of each grid.
    EXPECT_GT(failed, 30);
}
