#include "drivers/ngacv1/nbNgacv1.h"
#include "drivers/ngac/nbNgac.h"
#include "tests/drivers/noaaScene.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(Ngacv1Open, HeaderFillsTheObjectWithAndWithoutALeadingBlock)
{
    for (const bool leading : {false, true}) {
        SynthNgacv1 synth;
        synth.lines = 121;
        synth.leading = leading;
        NoaaScene scene(synth);
        ASSERT_EQ(scene.code, 0);
        const NbSatObject& o = scene.object;
        EXPECT_EQ(o.fileFormatId, 11);
        EXPECT_STREQ(o.satName, "NOAA-14");
        EXPECT_EQ(o.lineNum, 121);
        // Day 187 of 1996, a leap year, is 5 July; pygac 1.7.1 reads 1996-07-05T19:04:00.
        EXPECT_EQ(std::vector<int>(o.startTime, o.startTime + 6),
                  (std::vector<int>{1996, 7, 5, 19, 4, 0}));
        EXPECT_EQ(std::vector<int>(o.endTime, o.endTime + 6),
                  (std::vector<int>{1996, 7, 5, 19, 5, 0}));
        EXPECT_EQ(o.GetChNum(scene.p()), 5);
        EXPECT_EQ(scene.info(4).text, "AVHRR5,IR2,5/_T,_R/11.5-12.5");
        EXPECT_EQ(scene.info(5).result, -1); // no 3A

        ASSERT_EQ(scene.select("1,2,3,4,5"), 10005);
        EXPECT_EQ(scene.counts({100.0F}, {7.0F}, 5), (Row{349, 450, 551, 652, 753}));
        // Anchors of line 120 in 1/128 degree.
        const SynthPlace truth = synth.orbit.place(204, 120);
        const auto place = scene.toEarth(204, 120);
        EXPECT_NEAR(place.lon, truth.lon, 1.0 / 256);
        EXPECT_NEAR(place.lat, truth.lat, 1.0 / 256);
        NbPointInfo info{};
        scene.toEarth(204, 60, &info);
        EXPECT_NEAR(info.sunZenith, (120 - 25) / 2.0, 1e-9);
        EXPECT_NEAR(info.satZenith, 0, 0.3);
    }
}

TEST(Ngacv1Open, NamesSatellitesByTheirId)
{
    SynthNgacv1 synth;
    synth.lines = 2;
    const int numbers[] = {11, 13, 14, 7, 12, 8, 9, 10};
    for (synth.satellite = 1; synth.satellite <= 8; ++synth.satellite)
        EXPECT_EQ(NoaaScene(synth).object.satName,
                  "NOAA-" + std::to_string(numbers[synth.satellite - 1]));
    synth.satellite = 9;
    StderrCapture text;
    EXPECT_EQ(NoaaScene(synth).code, 0);
    EXPECT_EQ(text.get(), "NB_Error: nbNgacv1OpenFile(): 対応していないNOAAの機体番号[9]です。\n");
}

TEST(Ngacv1Open, TimeCodeHoldsTwoDigitsOfAYear)
{
    // Year in the top 7 bits, day in the next 9, five bits of something else, milliseconds in 27.
    const auto mjd = [](unsigned year, unsigned day, std::uint32_t ms) {
        const unsigned date = year << 9 | day;
        const unsigned char code[6] = {
            static_cast<unsigned char>(date >> 8),       static_cast<unsigned char>(date),
            static_cast<unsigned char>(ms >> 24 | 0xF8), static_cast<unsigned char>(ms >> 16),
            static_cast<unsigned char>(ms >> 8),         static_cast<unsigned char>(ms)};
        return nbNgacv1TcodeToMjd(code);
    };
    EXPECT_EQ(mjd(96, 187, 43200000), 50269.5); // 5 July 1996
    EXPECT_EQ(mjd(51, 1, 0), 33647);            // 1 January 1951
    EXPECT_EQ(mjd(0, 1, 0), 51544);             // 1 January 2000
    EXPECT_EQ(mjd(49, 1, 0), 69442);            // 1 January 2049
    EXPECT_EQ(mjd(50, 1, 0), 0);
    EXPECT_EQ(mjd(100, 1, 0), 0);
}

TEST(Ngacv1Calibration, RangesOfTemperatureSettle)
{
    // Computed apart from the formulas and tables of the Polar Orbiter Data User's Guide.
    const SynthNgacv1 synth;
    const NoaaScene scene(synth);
    const auto value = [&](int count, int channel, int physics) {
        return nbNgacv1GetPhysicalValue(scene.p(), 0, count, channel, physics);
    };
    EXPECT_NEAR(value(400, 0, 1), 0.38787723740000004, 1e-12);
    EXPECT_NEAR(value(400, 3, 2), 104.53527274582814, 1e-9);
    EXPECT_NEAR(value(400, 3, 3), 295.3944121281954, 1e-9);  // range 2 at once
    EXPECT_NEAR(value(800, 3, 3), 242.74225019192332, 1e-9); // range 1
    EXPECT_NEAR(value(960, 3, 3), 203.98118645950132, 1e-9); // range 0
    EXPECT_NEAR(value(100, 3, 3), 323.6528459464817, 1e-9);  // range 3
    EXPECT_NEAR(value(300, 4, 3), 303.71116222340737, 1e-9);
    EXPECT_NEAR(value(400, 2, 3), 310.4169380434133, 1e-9);
    SynthNgacv1 dark;
    dark.intercept[2] = 0; // the slope is below zero, and so is the radiance
    EXPECT_EQ(nbNgacv1GetPhysicalValue(NoaaScene(dark).p(), 0, 9, 2, 3), -9999.0);
    StderrCapture text;
    EXPECT_EQ(value(1024, 3, 2), -1.0);
    EXPECT_EQ(value(4, 3, 0), -1.0);
    EXPECT_EQ(text.get(),
              "NB_Error: nbNgacv1GetPhysicalValue() : level=1024 > 1023. channel=3 physics=2\n"
              "NB_Fatal: nbNgacv1GetPhysicalValue() : INTERNAL ERROR ( physics = 0 ).\n");
}

TEST(Ngacv1Calibration, OtherSatellitesHaveNoTemperatures)
{
    SynthNgacv1 synth;
    synth.satellite = 1; // NOAA-11
    NoaaScene scene(synth);
    EXPECT_NEAR(nbNgacv1GetPhysicalValue(scene.p(), 0, 400, 3, 2), 104.6061504, 1e-9); // plain
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    StderrCapture text;
    EXPECT_EQ(scene.values({1, 2, 3}, {1, 1, 1}), std::vector<float>(3, -1.0F));
    EXPECT_EQ(text.get(),
              "NB_Fatal: Sorry, TBB output is supported only for NOAA-14 and successor.");
    const auto table = scene.table("IR1_R");
    ASSERT_EQ(table.size(), 1024U);
    EXPECT_NEAR(table[400], 104.6061504, 1e-4);
}

TEST(Ngacv1Open, FileWithoutLinesIsRefused)
{
    SynthNgacv1 synth;
    synth.cutAt = 6440 + 447;
    const TempFile file(synth.bytes());
    NbSatObject object{};
    StderrCapture quiet;
    EXPECT_EQ(nbNgacv1LinkSat(&object, file.path().c_str()), 1);
    EXPECT_EQ(nbNgacv1LinkSat(&object, "/nowhere/x"), 2);
}

} // namespace
