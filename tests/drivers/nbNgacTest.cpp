#include "drivers/ngac/nbNgac.h"
#include "geo/nbDate.h"
#include "sat/nbSatElem.h"
#include "tests/drivers/noaaScene.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

std::vector<std::byte> bytesOf(std::string_view text)
{
    const auto raw = std::as_bytes(std::span(text));
    return {raw.begin(), raw.end()};
}

TEST(NgacOpen, HeaderFillsTheObject)
{
    SynthNgac synth;
    synth.lines = 121;
    const NoaaScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    const NbSatObject& o = scene.object;
    EXPECT_EQ(o.fileFormatId, 4);
    EXPECT_STREQ(o.satName, "NOAA-15");
    EXPECT_EQ(o.pixelNum, 409);
    EXPECT_EQ(o.lineNum, 121);
    // Day 187 of 2002 is 6 July; the last line is 120 half seconds later.
    EXPECT_EQ(std::vector<int>(o.startTime, o.startTime + 6),
              (std::vector<int>{2002, 7, 6, 19, 4, 0}));
    EXPECT_EQ(std::vector<int>(o.endTime, o.endTime + 6), (std::vector<int>{2002, 7, 6, 19, 5, 0}));

    EXPECT_EQ(o.GetChNum(scene.p()), 6);
    const auto info = scene.info(5);
    EXPECT_EQ(info.text, "AVHRR3A,VIS3,3A/_A/1.6");
    EXPECT_EQ(info.pixels * 1000 + info.lines, 409121);
    EXPECT_EQ(info.levels, 1024);
    EXPECT_EQ(scene.info(6).result, -1);
    // MJD 52461 is 6 July 2002 by the table of the Astronomical Almanac.
    EXPECT_EQ(nbNgacDateToMjd(2002, 187, 43200000), 52461.5);
}

TEST(NgacOpen, NamesSatellitesByTheirLetters)
{
    // The letters of NOAA-15 to 19; O is left out. MetOp-B, A and C were launched as 1, 2 and 3.
    const std::pair<const char*, const char*> names[] = {
        {"NK", "NOAA-15"}, {"NM", "NOAA-17"}, {"NN", "NOAA-18"}, {"NP", "NOAA-19"},
        {"M1", "MetOp-B"}, {"M2", "MetOp-A"}, {"M3", "MetOp-C"},
    };
    for (const auto& [letters, name] : names) {
        SynthNgac synth;
        synth.lines = 2;
        synth.name.replace(9, 2, letters);
        EXPECT_STREQ(NoaaScene(synth).object.satName, name);
    }
    SynthNgac synth;
    synth.name.replace(9, 2, "M0");
    StderrCapture text;
    const NoaaScene scene(synth);
    EXPECT_EQ(scene.code, 0);
    EXPECT_EQ(text.get(), "NB_Error: nbNgacOpenFile(): 対応していないMETOPの機体番号[0]です。\n");
}

TEST(NgacOpen, SaysWhatIsWrong)
{
    const auto message = [](const SynthNgac& synth, int code) {
        const TempFile file(synth.bytes());
        NbSatObject object{};
        StderrCapture text;
        EXPECT_EQ(nbNgacLinkSat(&object, file.path().c_str()), code);
        if (code == 0) nbNgacCloseFile(object.privateData);
        std::string said = text.get();
        if (const auto at = said.find(file.path()); at != std::string::npos)
            said.replace(at, file.path().size(), "FILE");
        return said;
    };
    SynthNgac synth;
    synth.lines = 3;
    synth.name = "NSS.LHRR.NK.D02187";
    EXPECT_EQ(message(synth, 1).substr(0, 67),
              "NB_Error: nbNgacOpenFile(): Bad Data Set Name 'NSS.LHRR.NK.D02187  ");
    synth.name = "NSS.GHRR.XK.D02187";
    EXPECT_NE(message(synth, 1).find("Bad Data Set Name 'NSS.GHRR.XK"), std::string::npos);
    synth.name = SynthNgac().name;
    synth.format = "NOAA level 1b v2";
    EXPECT_EQ(message(synth, 1), "NB_Error: nbNgacOpenFile(): Bad Format. 'FILE'\n");
    synth.format = "NOAA Level 1b v5";
    synth.channels = "YYNYY";
    EXPECT_EQ(
        message(synth, 0),
        "NB_Error: nbNgacOpenFile(): すみません現在のプログラムは 5チャンネル全部がそろっている "
        "10 bit データにしか対応していません. 'FILE'\n");
    synth.channels = "YYYYY";
    synth.patches = {
        {187, bytesOf("     1")}}; // records counted so that data begin before the file
    EXPECT_NE(message(synth, 1).find("FILE: record 1 is told"), std::string::npos);
    synth.patches = {{181, bytesOf("  3991")}};
    EXPECT_NE(message(synth, 1).find("FILE: records of 3991 bytes"), std::string::npos);
    synth.patches = {{640, Bytes(4, std::byte{0xFF})}};
    EXPECT_NE(message(synth, 1).find("FILE: 65535 lines"), std::string::npos);

    NbSatObject object{};
    StderrCapture text;
    EXPECT_EQ(nbNgacLinkSat(&object, "/nowhere/x"), 2);
    EXPECT_EQ(text.get(), "NB_Error: nbNgacOpenFile(): Can not open '/nowhere/x'.\n");
}

TEST(NgacOpen, TakesTheOtherLineCountWhenThereIsNone)
{
    SynthNgac synth;
    synth.lines = 7;
    synth.lineCount642 = 0;
    EXPECT_EQ(NoaaScene(synth).object.lineNum, 7);
}

TEST(NgacElements, NamesOfAListAreWholeWords)
{
    NoaaScene scene{SynthNgac()};
    StderrCapture text;
    EXPECT_EQ(scene.select("AVHRR4"), 10001);
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), 3);
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 1), 1);
    EXPECT_EQ(scene.select("3A_A"), 20001);
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), -2);
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 1), -1);
    EXPECT_EQ(scene.select("VIS,IR1_T"), 20002);
    EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), 0);
    EXPECT_EQ(scene.select("IR1_T,VIS,IR2"), 10003); // the last one decides
    EXPECT_EQ(text.get(), "");
    for (const char* bad : {"AVHRR", "VIS_T", "IR1_", "IR1_TT", "VIS1,XX", "_T"}) {
        EXPECT_EQ(scene.select(bad), -1) << bad;
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), -1) << bad;
    }
    EXPECT_EQ(scene.select(""), -1);
}

TEST(NgacElements, RefusedNameIsReported)
{
    NoaaScene scene{SynthNgac()};
    StderrCapture text;
    EXPECT_EQ(scene.select("VIS1,XX"), -1);
    EXPECT_EQ(text.get(), "NB_Warn: nbNgacSetElements() : bad element name 'XX'\n");
}

TEST(NgacCalibration, FollowsTheUsersGuide)
{
    // KLM User's Guide, 7.1.1 and 7.1.2.4, worked by hand from the coefficients of the file:
    // -2.0 + 100 x 0.0505 = 3.05 percent; from 501 on -52.0 + 0.151 n.
    SynthNgac synth;
    const NoaaScene scene(synth);
    const auto value = [&](int count, int channel, int physics) {
        return nbNgacGetPhysicalValue(scene.p(), 0, count, channel, physics);
    };
    EXPECT_NEAR(value(100, 0, 1), 0.0305, 1e-12);
    EXPECT_NEAR(value(500, 0, 1), 0.2325, 1e-12);
    EXPECT_NEAR(value(501, 0, 1), 0.23651, 1e-12);
    EXPECT_NEAR(value(600, -2, 1), 0.33, 1e-12); // 3A has the third place: -81 + 0.19 n
    // 180 - 0.19 x 400 + 12e-6 x 160000; then T = 0.45 + 0.9985 x 1.4387752 v / ln(...), computed
    // apart.
    EXPECT_NEAR(value(400, 3, 2), 105.92, 1e-10);
    EXPECT_NEAR(value(400, 3, 3), 296.11194077015693, 1e-9);
    EXPECT_NEAR(value(400, 2, 3), 320.81918051471797, 1e-9); // v is 266750 / 100
    EXPECT_EQ(value(1000, 2, 3), -9999.0);                   // a radiance of -0.1
    StderrCapture text;
    EXPECT_EQ(value(1024, 3, 2), -1.0);
    EXPECT_EQ(value(4, 3, 9), -1.0);
    EXPECT_EQ(text.get(),
              "NB_Error: nbNgacGetPhysicalValue() : level=1024 > 1023. channel=3 physics=2\n"
              "NB_Fatal: nbNgacGetPhysicalValue() : INTERNAL ERROR ( physics = 9 ).\n");

    synth.version = 3; // a2 of channels 4 and 5 has a digit more
    EXPECT_NEAR(nbNgacGetPhysicalValue(NoaaScene(synth).p(), 0, 400, 3, 2), 104.192, 1e-10);
}

TEST(NgacCalibration, TableTakesTheFirstLineOfItsChannel3)
{
    SynthNgac synth;
    synth.lines = 20;
    synth.selection = [](int line) { return line < 15 ? 0 : 1; };
    // Line 15 has no slope for 3A, line 16 has it: -1.2 + 0.03 n.
    synth.patches = {
        {SynthNgac::firstLine + 15 * SynthNgac::recordLength + 168, std::vector<std::byte>(4)},
        {SynthNgac::firstLine + 168, std::vector<std::byte>(4)}};
    NoaaScene scene(synth);
    EXPECT_NEAR(scene.table("3A_A").at(100), 0.018, 1e-7);
    // 3B: radiances end at 961; temperatures behind repeat the last one.
    const auto table = scene.table("3B_T");
    ASSERT_EQ(table.size(), 1024U);
    EXPECT_NEAR(table[400], 320.81918, 1e-4);
    EXPECT_EQ(table[1023], table[962]);
    EXPECT_GT(table[1023], 0);

    synth.selection = {};
    NoaaScene without(synth);
    int n = 0;
    EXPECT_EQ(nbSatGetCalTable(&without.object, "3A_A", nullptr, &n), -1);
    EXPECT_EQ(n, 1024);
}

TEST(NgacSamples, AreThoseOfTheWordsAndNearest)
{
    // The formula of the synthesiser; pygac 1.7.1 reads 349 450 551 652 753 at line 7, pixel 100.
    SynthNgac synth;
    NoaaScene scene(synth);
    ASSERT_EQ(scene.select("1,2,3B,4,5"), 10005);
    EXPECT_EQ(scene.counts({100.0F}, {7.0F}, 5), (Row{349, 450, 551, 652, 753}));
    ASSERT_EQ(scene.select("4"), 10001);
    std::vector<float> pixel, line;
    Row expected;
    for (int i = 0; i < 409; ++i) {
        pixel.push_back(static_cast<float>(i) + 0.49F);
        line.push_back(static_cast<float>(i % 120) - 0.5F);
        expected.push_back(static_cast<std::int16_t>(synth.count(i % 120, i, 3)));
    }
    EXPECT_EQ(scene.counts(pixel, line), expected);
    EXPECT_EQ(scene.result, 0);

    ASSERT_EQ(scene.select("1_A"), 20001);
    EXPECT_NEAR(scene.values({100.0F}, {7.0F})[0], (-2 + 349 * 0.0505) / 100, 1e-7);
    // Zoomed by two: columns 0, 1, 2 ... of the source width 3 over 2 outputs are its ends.
    ASSERT_EQ(scene.select("4"), 10001);
    const auto count = [&](int l, int x) {
        return static_cast<std::int16_t>(synth.count(l, x, 3));
    };
    EXPECT_EQ(scene.zoom({10, 4, 3, 3, 2, 2}),
              (Row{count(4, 10), count(4, 12), count(6, 10), count(6, 12)}));
    EXPECT_EQ(scene.result, 0);
}

TEST(NgacSamples, OutsideIsMissingAndSaidTenTimes)
{
    NoaaScene scene{SynthNgac()};
    ASSERT_EQ(scene.select("1"), 10001);
    StderrCapture text;
    const std::vector<float> pixel(12, 409.0F);
    EXPECT_EQ(scene.counts(pixel, std::vector<float>(12, 3.0F)), Row(12, -1));
    EXPECT_EQ(scene.counts({-9999.0F}, {-9999.0F})[0], -1); // an empty cell of a map: silent
    std::string expected;
    for (int i = 0; i < 10; ++i)
        expected += "NB_Error: nbNgacGetI2DataByPixLin() : bad value. Line=3, Pixel=409\n";
    EXPECT_EQ(text.get(), expected);
}

TEST(NgacSamples, Channel3IsWhatTheLineSays)
{
    SynthNgac synth;
    synth.selection = [](int line) { return line % 3; }; // 2: in between
    NoaaScene scene(synth);
    const std::vector<float> pixel(3, 50.0F), line = {0.0F, 1.0F, 2.0F};
    const auto count = [&](int l) { return static_cast<std::int16_t>(synth.count(l, 50, 2)); };
    ASSERT_EQ(scene.select("3B"), 10001);
    EXPECT_EQ(scene.counts(pixel, line), (Row{count(0), -1, -1}));
    ASSERT_EQ(scene.select("3A_A"), 20001);
    const auto values = scene.values(pixel, line);
    EXPECT_EQ(values[0], -1.0F);
    EXPECT_NEAR(values[1], (-1.2 + 0.03 * count(1)) / 100, 1e-7); // a count below 500
    EXPECT_EQ(values[2], -1.0F);
}

TEST(NgacSamples, LinesThatTheFileLacksAreMissingAndCounted)
{
    SynthNgac synth;
    synth.cutAt = SynthNgac::firstLine + 5 * SynthNgac::recordLength + 2000; // in line 5's samples
    NoaaScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    ASSERT_EQ(scene.select("1"), 10001);
    EXPECT_EQ(scene.counts({1, 1, 1, 1}, {4, 5, 5, 6}), (Row{31, -1, -1, -1})); // 7 x 4 + 3
    EXPECT_EQ(scene.result, 2);
    ASSERT_EQ(scene.select("3_T"), 20001); // no radiance: a count of 7 x 119 + 3 x 60
    EXPECT_EQ(NoaaScene(SynthNgac()).code, 0);
    NoaaScene whole{SynthNgac()};
    ASSERT_EQ(whole.select("3_T"), 20001);
    EXPECT_EQ(whole.values({10.0F}, {110.0F})[0], -1.0F); // count 1002: the mark is not let out
}

TEST(NgacDamage, AnyBytesGiveCodes)
{
    SynthNgac later;
    SynthNgacv1 earlier;
    later.lines = earlier.lines = 40;
    std::mt19937 random(7);
    for (const Bytes& good : {later.bytes(), earlier.bytes()}) {
        for (int round = 0; round < 60; ++round) {
            Bytes bad = good;
            const bool isLater = good.size() == later.bytes().size();
            // Headers, then records; single bytes, then whole runs of the largest number.
            const std::size_t span = round % 2 == 0 ? 1200 : bad.size();
            for (int k = 0; k < 20; ++k)
                bad[random() % span] = static_cast<std::byte>(random());
            const std::size_t at = random() % bad.size();
            if (round % 3 == 0)
                std::fill_n(bad.begin() + static_cast<std::ptrdiff_t>(at),
                            std::min<std::size_t>(bad.size() - at, 3000), std::byte{0xFF});
            if (round % 5 == 0) bad.resize(random() % bad.size());
            StderrCapture quiet;
            NoaaScene scene(std::span<const std::byte>(bad),
                            isLater ? "?type=ngac" : "?type=ngacv1");
            if (scene.code == 0)
                useAll(scene, {"1,3A,3B,4,5", "1_A", "3A_A", "3B_T", "4_T", "5_R"});
        }
    }
}

} // namespace
