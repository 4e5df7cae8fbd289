#include "tests/drivers/nativeScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

using std::byte;

constexpr std::int16_t missing = -1;

// Toward zero, nearest end, not a number low: an index as the driver's positions give it.
int index(double value)
{
    if (std::isnan(value)) return -32768;
    return static_cast<int>(std::clamp(std::trunc(value), -32768.0, 32767.0));
}

TEST(NativeSamples, EveryChannelIsThatOfItsPackets)
{
    // One to three channels in each of the two orders that HRV makes, and sizes that fill no
    // group of four pixels.
    const std::vector<int> sets[] = {{0}, {11}, {0, 8, 11}, {2, 11}, {4, 5, 6}};
    const char* names[] = {"VIS", "VS2", "VS3", "IR4", "IR3", "IR5",
                           "IR6", "IR7", "IR1", "IR2", "IR8", "HRV"};
    for (const auto& channels : sets)
        for (const int columns : {30, 33}) {
            const SynthNative synth{
                .channels = channels, .columns = columns, .hrvColumns = 2 * columns + 1};
            NativeScene scene(synth);
            ASSERT_EQ(scene.code, 0);
            for (const int c : channels) {
                ASSERT_EQ(scene.select(names[c]), 10001);
                const int lines = c == 11 ? 60 : 20;
                std::vector<float> pixel, line;
                for (int l = 0; l < lines; ++l)
                    for (int p = 0; p < columns; ++p) {
                        pixel.push_back(static_cast<float>(p));
                        line.push_back(static_cast<float>(l));
                    }
                const auto out = scene.counts(pixel, line);
                EXPECT_EQ(scene.result, 0);
                for (std::size_t i = 0; i < out.size(); ++i) {
                    const int p = static_cast<int>(pixel[i]);
                    const int l = static_cast<int>(line[i]);
                    const bool edge = p == columns - 1 || l == lines - 1; // never reached
                    ASSERT_EQ(out[i], edge ? missing : SynthNative::defaultCount(c, p, l + 1))
                        << c << ' ' << p << ' ' << l;
                }
            }
        }
}

TEST(NativeSamples, PositionsAreTruncatedWithAHalfAndShiftedByWholeColumns)
{
    constexpr float inf = std::numeric_limits<float>::infinity();
    std::vector<float> special = {-9999.0F, inf, -inf, std::nanf(""), 1e30F, -1e30F, -0.0F, 1e-40F};
    for (const float border : {-1.5F, -0.5F, 0.5F, 17.5F, 18.5F, 27.5F, 28.5F, 29.5F})
        for (const float p : {border, std::nextafter(border, inf), std::nextafter(border, -inf)})
            special.push_back(p);
    std::vector<float> pixel, line;
    for (const float a : special)
        for (const float b : special) {
            pixel.push_back(a);
            line.push_back(b);
        }
    std::mt19937 random(1);
    std::uniform_real_distribution<float> anywhere(-4, 34);
    for (int i = 0; i < 1500; ++i) {
        pixel.push_back(anywhere(random));
        line.push_back(anywhere(random));
    }
    // User's shift and the columns it moves by: against its sign, halves away from zero.
    const struct {
        float shift;
        int columns;
    } shifts[] = {{0, 0},     {0.49F, 0}, {0.5F, -1},          {-0.5F, 1},
                  {-2.6F, 3}, {1.4F, -1}, {-1e30F, 2147483647}};
    for (const auto& s : shifts) {
        NativeScene scene(SynthNative{});
        ASSERT_EQ(scene.code, 0);
        scene.shift(s.shift, 3); // that of lines plays no part
        const auto out = scene.counts(pixel, line);
        for (std::size_t i = 0; i < out.size(); ++i) {
            const std::int64_t c =
                std::int64_t{index(static_cast<double>(pixel[i]) + 0.5)} + s.columns;
            const int n = index(static_cast<double>(line[i]) + 0.5);
            const bool marked = pixel[i] == -9999 || line[i] == -9999 || std::isnan(pixel[i]);
            const bool inside = !marked && c >= 0 && c < 29 && n >= 0 && n < 19;
            ASSERT_EQ(out[i],
                      inside ? SynthNative::defaultCount(0, static_cast<int>(c), n + 1) : missing)
                << pixel[i] << ' ' << line[i] << ' ' << s.shift;
        }
    }
}

TEST(NativeSamples, GridsOfOneLineOrColumnHaveNone)
{
    for (const auto& [columns, lines] : {std::pair{1, 20}, std::pair{30, 1}}) {
        NativeScene scene(SynthNative{.channels = {8}, .columns = columns, .lines = lines});
        ASSERT_EQ(scene.code, 0);
        EXPECT_EQ(scene.counts({-1, 0, 0.4F}, {-1, 0, 0.4F}), (Row{missing, missing, missing}));
    }
}

TEST(NativeSamples, PhysicalValuesFollowTheElement)
{
    NativeScene scene(SynthNative{});
    const NbZoomRect all{0, 0, 0, 0, 30, 20};
    StderrCapture err;
    EXPECT_EQ(scene.value(10, 9), -1.0F);
    EXPECT_EQ(scene.result, 0);
    scene.zoomValues(all);
    EXPECT_EQ(scene.result, -1);
    EXPECT_EQ(err.get(), "NB_Fatal: nbpNativeLevelToPhys() : INTERNAL ERROR ( physics = 0 ).\n");
    ASSERT_EQ(scene.select("IR1_R"), 20001);
    // Count 3 * 10 + 7 * 10 + 808 = 908; slope 9 * 0.02, offset 9 * -1.
    EXPECT_FLOAT_EQ(scene.value(10, 9), 154.44F);
    EXPECT_EQ(scene.value(29, 9), -1.0F); // the last column
    const auto zoomed = scene.zoomValues(all);
    EXPECT_EQ(scene.result, 0);
    EXPECT_EQ(zoomed[8 * 30], -1.0F);
    EXPECT_FLOAT_EQ(zoomed[8 * 30 + 11], 154.44F); // one line and one column on
}

TEST(NativeZoom, BeginsALineLateAndAColumnEarlyWhereverTheRectangleStands)
{
    NativeScene scene(SynthNative{});
    ASSERT_EQ(scene.select("VIS"), 10001);
    Row out = scene.zoom({3, 12, 20, 10, 10, 10});
    EXPECT_EQ(scene.result, 0);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) {
            const int column = 2 * x - 1;
            const int line = 13 + y + 1; // from 1; the file has 20
            EXPECT_EQ(out[static_cast<std::size_t>(10 * y + x)],
                      column < 0 || line > 20 ? missing
                                              : SynthNative::defaultCount(0, column, line));
        }
    // Past the right edge: of 20 columns from 15 on the image has 15, which fill 7 of 10.
    out = scene.zoom({15, 0, 20, 10, 10, 1});
    EXPECT_EQ(scene.result, 0);
    for (int x = 0; x < 10; ++x) {
        const int column = 15 * x / 7 - 1;
        EXPECT_EQ(out[static_cast<std::size_t>(x)],
                  column < 0 || x > 6 ? missing : SynthNative::defaultCount(0, column, 2));
    }
}

TEST(NativeLines, StayUntilAnotherChannelIsSelected)
{
    const SynthNative first;
    SynthNative second;
    second.count = [](int, int, int) { return 1000; };
    NativeScene scene(first);
    ASSERT_EQ(scene.select("IR1"), 10001);
    const int old = SynthNative::defaultCount(8, 4, 6);
    EXPECT_EQ(scene.count(4, 5), old);
    writeFile(scene.path(), second.bytes());
    ASSERT_EQ(scene.select("IR1_T"), 20001);
    EXPECT_EQ(scene.count(4, 5), old);
    EXPECT_EQ(nbpNativeReadOneLine(scene.p(), 5), 0);
    ASSERT_EQ(scene.select("HRV"), 10001);
    ASSERT_EQ(scene.select("IR1"), 10001);
    EXPECT_EQ(scene.count(4, 5), 1000);
}

TEST(NativeLines, BehindTheEndOfTheFileAreMissing)
{
    const SynthNative synth;
    NativeScene scene(synth);
    ASSERT_EQ(scene.select("IR1"), 10001);
    // Line 9 is cut within its counts, line 10 within its side information.
    for (const std::size_t at :
         {synth.packetOffset(8, 9) + 38 + 27 + 5, synth.packetOffset(8, 10) + 38 + 26}) {
        std::vector<byte> bytes = synth.bytes();
        bytes.resize(at);
        writeFile(scene.path(), bytes);
        ASSERT_EQ(scene.select("VIS"), 10001); // forgets the lines
        ASSERT_EQ(scene.select("IR1"), 10001);
        const float last = at > synth.packetOffset(8, 10) ? 8 : 7; // from 0
        StderrCapture err;
        const auto out = scene.counts({4, 4, 4}, {last, last + 1, 15});
        EXPECT_EQ(scene.result, 1);
        EXPECT_EQ(out[0], SynthNative::defaultCount(8, 4, static_cast<int>(last) + 1));
        EXPECT_EQ(out[1], missing);
        EXPECT_EQ(out[2], missing);
        EXPECT_EQ(nbpNativeReadOneLine(scene.p(), 15), 1);
        EXPECT_EQ(nbpNativeReadOneLine(scene.p(), -1), 1);
        EXPECT_EQ(nbpNativeReadOneLine(scene.p(), 20), 1);
        EXPECT_EQ(err.get(), "");
    }
}

// After an error that ends the use of the file, no call has a value and none reaches freed memory.
void expectLost(NativeScene& scene)
{
    StderrCapture err;
    const NbSatObject& o = scene.object;
    EXPECT_EQ(scene.count(4, 5), missing);
    EXPECT_EQ(scene.result, -1);
    EXPECT_EQ(scene.value(4, 5), -1.0F);
    EXPECT_EQ(scene.result, -1);
    EXPECT_EQ(scene.zoom({0, 0, 0, 0, 1, 1}), Row{missing});
    EXPECT_EQ(scene.result, -1);
    EXPECT_EQ(scene.select("IR1"), -1);
    EXPECT_EQ(o.GetChNum(scene.p()), -1);
    EXPECT_EQ(o.GetChannel(scene.p(), 0), -1);
    EXPECT_EQ(scene.info(0).result, -1);
    EXPECT_TRUE(scene.table("IR1_T").empty());
    EXPECT_EQ(scene.toImage(0, 0).bits, -1);
    EXPECT_EQ(scene.toImage(0, 0).pixel, -9999.0F);
    EXPECT_EQ(scene.toEarth(4, 5).bits, -1);
    EXPECT_EQ(scene.toEarth(4, 5).lat, -9999.0);
    double lon = 0, lat = 0, position[3];
    EXPECT_EQ(o.GetSatPosEf(scene.p(), 0, position), -1);
    EXPECT_EQ(nbpNativeSetChParam(scene.p(), 8), 1);
    EXPECT_EQ(nbpNativeReadOneLine(scene.p(), 5), 1);
    float pixel = 0, line = 0, limb = 0;
    nbpNativeRawNav.position(scene.p(), &lon, &lat, &pixel, &line, &limb, 1);
    EXPECT_TRUE(std::isnan(limb));
    EXPECT_EQ(err.get(), "");
}

TEST(NativeLines, AnotherLinesNumberEndsTheUseOfTheFile)
{
    SynthNative synth;
    synth.patches = {{synth.packetOffset(8, 6) + 38 + 16, {byte{7}}}}; // line 6 says 7
    NativeScene scene(synth);
    ASSERT_EQ(scene.select("IR1"), 10001);
    StderrCapture err;
    const auto out = scene.counts({4, 4, 4, 4}, {4, 5, 6, 4});
    EXPECT_EQ(err.get(), "NB_Error: nbpNativeReadOneLine(): Line number errore\n");
    EXPECT_EQ(scene.result, 1);
    EXPECT_EQ(out, (Row{static_cast<std::int16_t>(SynthNative::defaultCount(8, 4, 5)), missing,
                        missing, missing}));
    expectLost(scene);
}

TEST(NativeLines, TheGridMustBeThatOfTheChannel)
{
    NativeScene scene(SynthNative{});
    ASSERT_EQ(scene.select("IR1"), 10001);
    EXPECT_EQ(nbpNativeSetChParam(scene.p(), 12), 1);
    EXPECT_EQ(nbpNativeSetChParam(scene.p(), -1), 1);
    EXPECT_EQ(scene.count(4, 5), SynthNative::defaultCount(8, 4, 6));
    EXPECT_EQ(nbpNativeSetChParam(scene.p(), 11), 0);
    StderrCapture err;
    EXPECT_EQ(nbpNativeReadOneLine(scene.p(), 5), 1);
    EXPECT_EQ(err.get(), "Lin/Pix Number is not compatible!");
    expectLost(scene);
}

} // namespace
