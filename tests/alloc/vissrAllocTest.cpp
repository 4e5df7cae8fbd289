#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "tests/support/allocFailure.h"
#include "tests/support/support.h"
#include "tests/synth/synthVissr.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr int columns = 12;

// Opens, selects, fills a missing line, zooms and closes; stops at the first step that fails.
// Nothing here allocates but the library.
int run(const char* path, std::int16_t* out)
{
    NbSatObject object{};
    if (const int code = nbSatOpenObject(&object, path); code != 0) return code;
    const int code = [&] {
        float pixel[columns];
        float line[columns];
        for (int i = 0; i < columns; ++i) {
            pixel[i] = static_cast<float>(i);
            line[i] = 4;
        }
        if (nbSatSetElems(&object, "VIS_A") < 1) return -2;
        nbSatSetStopGap(&object, 2);
        if (nbSatGetI2DataByPixLin(&object, pixel, line, out, columns) < 0) return -3;
        const NbZoomRect rect{0, 0, columns, columns, columns, columns};
        return nbSatGetI2ZoomData(&object, &rect, out + columns) < 0 ? -4 : 0;
    }();
    nbSatCloseObject(&object);
    return code;
}

} // namespace

TEST(VissrAllocation, EveryFailureComesBackAsACode)
{
    for (const int variant : {0, 1}) {
        SynthVissr scene{.variant = variant, .channel = 0};
        scene.columns = columns;
        scene.lines = columns;
        scene.missing = {5};
        const TempFile file(scene.bytes());
        const std::string path = file.path();
        std::vector<std::int16_t> good(columns * (columns + 1), -7);
        ASSERT_EQ(run(path.c_str(), good.data()), 0);

        int failed = 0;
        int k = 1;
        for (bool more = true; more; ++k) {
            ASSERT_LT(k, 2000);
            std::vector<std::int16_t> out(good.size(), -7);
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
        EXPECT_GT(failed, 20); // the record, the blocks, the tables and the lines
    }
}
