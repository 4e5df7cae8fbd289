#include "tests/alloc/sampleSweep.h"
#include "tests/synth/synthHisd.h"

TEST(HisdAllocation, EveryFailureComesBackAsACode)
{
    const TempFile file(SynthHisd{.columns = 40, .diskLines = 40}.bytes());
    everyFailureComesBackAsACode(file.path());
}

TEST(HisdAllocation, ZoomWithoutRoomForItsPositionsSaysSo)
{
    const TempFile file(SynthHisd{.columns = 40, .diskLines = 40}.bytes());
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0);
    ASSERT_EQ(nbSatSetElems(&object, "B13"), 10001);
    const NbZoomRectF rect{
        .startPixel = 3, .startLine = 8, .width = 6, .height = 6, .outWidth = 6, .outHeight = 6};
    std::int16_t out[36];
    for (const int k : {1, 2}) {
        StderrCapture text;
        AllocFailure failure(k);
        EXPECT_EQ(nbSatGetI2ZoomDataIntp(&object, &rect, out), -1);
        failure.stop();
        EXPECT_NE(text.get().find("NB_Error: nbSatGetI2ZoomDataIntp() : "
                                  "メモリ確保に失敗しました (pix/lin)\n"),
                  std::string::npos);
    }
    nbSatCloseObject(&object);
}
