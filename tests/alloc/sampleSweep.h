#pragma once
/**
 * The way from a path to samples, with each allocation of it failing in turn: for formats whose
 * files hold "B13_T".
 */
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatSetLut.h"
#include "tests/support/allocFailure.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

inline constexpr std::size_t sweepRows = 5;
inline constexpr std::size_t sweepColumns = 12;

// Opens, selects, sets an interpolation and a level conversion, samples, zooms and closes; stops
// at the first step that fails. `out` is the caller's, so that nothing here allocates but the
// library.
inline int openAndSample(const char* path, std::int16_t* out)
{
    NbSatObject object{};
    if (const int code = nbSatOpenObject(&object, path); code != 0) return code;
    const int code = [&] {
        float pixel[sweepColumns * sweepRows];
        float line[sweepColumns * sweepRows];
        for (std::size_t i = 0; i < sweepColumns * sweepRows; ++i) {
            pixel[i] = static_cast<float>(i % sweepColumns) + 4.25F;
            line[i] = static_cast<float>(i / sweepColumns) + 9.5F;
        }
        constexpr int n = sweepColumns * sweepRows;
        if (nbSatSetElems(&object, "B13_T") < 1) return -2;
        if (nbSatSetLutByBiasScale(&object, 180, 0.5F, 256, 255) != 0) return -3;
        if (nbSatGetI2DataByPixLin(&object, pixel, line, out, n) < 0) return -4;
        out += n;
        if (nbSatSetIntp(&object, 1) != 0) return -5;
        if (object.intpTable == nullptr) return -6;         // only printed
        if (nbSatSetElems(&object, "B13_T") < 1) return -7; // without the conversion
        if (nbSatGetI2DataByPixLin(&object, pixel, line, out, n) < 0) return -8;
        out += n;
        const NbZoomRect rect{.startPixel = 3,
                              .startLine = 8,
                              .width = sweepColumns,
                              .height = sweepRows,
                              .outWidth = sweepColumns,
                              .outHeight = sweepRows};
        if (nbSatGetI2ZoomData(&object, &rect, out) < 0) return -9;
        return 0;
    }();
    nbSatCloseObject(&object);
    return code;
}

// Each allocation of the way from the path to samples fails once: either a code says so or the
// result is the good one, and what was taken is given back, which the sanitizer build checks.
inline void everyFailureComesBackAsACode(const std::string& path)
{
    std::vector<std::int16_t> good(3 * sweepColumns * sweepRows, -7);
    ASSERT_EQ(openAndSample(path.c_str(), good.data()), 0);
    const std::vector<std::int16_t> untouched(good.size(), -7);
    ASSERT_NE(good, untouched);

    int failed = 0;
    int k = 1;
    for (bool more = true; more; ++k) {
        ASSERT_LT(k, 2000);
        std::vector<std::int16_t> out = untouched;
        StderrCapture quiet;
        AllocFailure failure(k);
        const int code = openAndSample(path.c_str(), out.data());
        failure.stop();
        more = failure.fired();
        if (code != 0)
            ++failed;
        else
            EXPECT_EQ(out, good) << "allocation " << k;
    }
    // A line, the buffers and the record each: far more than a handful, and nearly all of them
    // are needed for the result.
    EXPECT_GT(failed, 20);
}
