#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatNav.h"
#include "tests/support/allocFailure.h"
#include "tests/support/support.h"
#include "tests/synth/synthNoaa.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr std::size_t points = 24;
constexpr int n = points;

// Opens, selects two elements, reads a table, samples, zooms and navigates both ways.
int run(const char* path, float* out)
{
    NbSatObject object{};
    if (const int code = nbSatOpenObject(&object, path); code != 0) return code;
    const int code = [&] {
        float pixel[points], line[points];
        double lon[points], lat[points];
        for (std::size_t i = 0; i < points; ++i) {
            pixel[i] = static_cast<float>(i * 17);
            line[i] = static_cast<float>(i);
        }
        float table[1024];
        int levels = 1024;
        if (nbSatGetCalTable(&object, "4_T", table, &levels) < 0) return -2;
        if (nbSatSetElems(&object, "4_R,5_R") < 1) return -3;
        if (nbSatGetR4DataByPixLin(&object, pixel, line, out, n) < 0) return -4;
        const NbZoomRect rect{.startPixel = 3,
                              .startLine = 8,
                              .width = 4,
                              .height = 3,
                              .outWidth = 4,
                              .outHeight = 3};
        if (nbSatGetR4ZoomData(&object, &rect, out + 2 * points) < 0) return -5;
        if (nbSatPixLinToLonLat(&object, pixel, line, lon, lat, n) != 0) return -6;
        if (nbSatLonLatToPixLin(&object, lon, lat, pixel, line, n) != 0) return -7;
        std::copy_n(pixel, points, out + 3 * points);
        return 0;
    }();
    nbSatCloseObject(&object);
    return code;
}

template <class Synth>
void failEach(const char* option)
{
    Synth synth;
    synth.lines = 30;
    const TempFile file(synth.bytes());
    const std::string path = file.path(option);
    std::vector<float> good(4 * points, -7);
    ASSERT_EQ(run(path.c_str(), good.data()), 0);
    int failed = 0;
    int k = 1;
    for (bool more = true; more; ++k) {
        ASSERT_LT(k, 2000);
        std::vector<float> out(good.size(), -7);
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
    EXPECT_GT(failed, 20); // each line, the lists and the record
}

TEST(NoaaAllocation, EveryFailureComesBackAsACode)
{
    failEach<SynthNgac>("?type=ngac");
    failEach<SynthNgacv1>("?type=ngacv1");
}

} // namespace
