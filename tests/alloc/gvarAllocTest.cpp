#include "drivers/gvar/nbGvar.h"
#include "tests/support/allocFailure.h"
#include "tests/support/support.h"
#include "tests/synth/synthGvar.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr int width = 40;
constexpr int height = 8;

// Opens, selects a channel with tables, fills a gap and reads; stops at the first step that fails.
int run(const char* path, float* out)
{
    NbSatObject object{};
    if (const int code = nbGvarLinkSat(&object, path); code != 0) return code;
    void* p = object.privateData;
    const int code = [&] {
        int n[3];
        float error = 0;
        if (object.SetElements(p, "IR1_T", &n[0], &n[1], &n[2], &error) != 20001) return -2;
        object.SetStopGap(p, 2);
        const NbZoomRect rect{0, 0, width, height, width, height};
        return object.GetR4ZoomData(p, &rect, out);
    }();
    object.CloseFile(p);
    return code;
}

} // namespace

// A code says that memory ran out, or the lines that could not be had are missing: never a crash
// or, as the sanitizer build checks, a leak.
TEST(GvarAllocation, EveryFailureComesBackAsACodeOrMissingLines)
{
    SynthGvar s{};
    s.damage = {{.scan = 1, .block = 1, .invalid = true}};
    const TempFile file(s.bytes());
    const std::string path = file.path();
    std::vector<float> good(width * height);
    ASSERT_EQ(run(path.c_str(), good.data()), 2);
    int failed = 0;
    for (int k = 1;; ++k) {
        std::vector<float> out(width * height, -7);
        StderrCapture quiet;
        AllocFailure failure(k);
        const int code = run(path.c_str(), out.data());
        const bool fired = failure.fired();
        failure.stop();
        if (!fired) break;
        if (code != 2 || out != good) ++failed;
        if (code < 0 || code == 1) continue;
        for (std::size_t i = 0; i < out.size(); ++i)
            EXPECT_TRUE(out[i] == good[i] || out[i] == -1.0F) << "allocation " << k;
    }
    EXPECT_GT(failed, 15);
}
