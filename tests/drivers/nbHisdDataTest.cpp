#include "tests/drivers/hisdScene.h"
#include "util/nbNumber.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>

namespace {

// A sample by the plain road, one point, every step as it is told: in float where positions are
// float, truncation of the sum with a half. The raster is the default pattern.
struct PlainRoad {
    SynthHisd synth;
    float shiftPixel = 0, shiftLine = 0;

    float comp(int i, bool column) const
    {
        const auto& e = synth.corrections;
        if (e.size() < 2 || i < 1) return 0; // the first entry's line has no shift
        const float a = column ? e[0].column : e[0].lineShift;
        const float b = column ? e[1].column : e[1].lineShift;
        return a + (b - a) / static_cast<float>(e[1].line - e[0].line) * static_cast<float>(i);
    }
    int sample(float pixel, float line) const
    {
        const SynthHisd s = synth.resolved();
        float l = line + 1;
        const bool table = s.corrections.size() >= 2;
        const int start = table ? s.corrections[0].line : s.firstLine;
        const int count = table ? s.corrections[1].line - start + 1 : s.lines;
        const double nearest = static_cast<double>(l) + 0.5;
        int i = nearest > 40000 ? 40000 : nearest > -40000 ? static_cast<int>(nearest) : -40000;
        i = std::clamp(i - start, 0, count - 1);
        if (std::isnan(line)) i = 0;
        float c = pixel + 1 - (shiftPixel + comp(i, true));
        l = l - (shiftLine + comp(i, false));
        if (s.rotationMicrorad != 0) {
            const auto r =
                static_cast<double>(static_cast<float>(s.rotationMicrorad / 1000 / 1000));
            const double x = static_cast<double>(c - s.rotationColumn);
            const double y = static_cast<double>(l - s.rotationLine);
            c = static_cast<float>(std::cos(r) * x - std::sin(r) * y +
                                   static_cast<double>(s.rotationColumn));
            l = static_cast<float>(std::sin(r) * x + std::cos(r) * y +
                                   static_cast<double>(s.rotationLine));
        }
        const double last = s.firstLine + s.lines - 1;
        if (!(c >= 0.5 && c < s.columns + 0.5 && l >= s.firstLine - 0.5 && l < last + 0.5))
            return -1;
        const int column = static_cast<int>(static_cast<double>(c) + 0.5);
        const int diskLine = static_cast<int>(static_cast<double>(l) - 0.5) + 1;
        const int v = s.defaultCount(column, diskLine);
        return v < 1 << s.validBits ? v : -1;
    }
};

TEST(HisdSamples, AreThoseOfThePlainRoadAtEveryPosition)
{
    const SynthHisd disk{};
    SynthHisd segment{.firstLine = 41, .lines = 30};
    SynthHisd shifted = segment;
    shifted.corrections = {{41, 2.5F, -1.25F}, {70, -3.0F, 1.75F}};
    SynthHisd wide = disk; // entries of the file's lines and 20 lines more
    wide.corrections = {{1, 0.25F, 0.5F}, {130, 4.0F, 2.0F}};
    SynthHisd turned = shifted;
    turned.rotationMicrorad = 40000;
    SynthHisd barely = disk;
    barely.rotationMicrorad = 3;
    const PlainRoad roads[] = {{disk, 0, 0},       {disk, 0.3F, -0.7F}, {segment, -1.5F, 0.5F},
                               {shifted, 0.1F, 0}, {turned, 0, 0.2F},   {barely, 0, 0}};
    constexpr float inf = std::numeric_limits<float>::infinity();
    std::vector<float> special = {-9999.0F, inf,      -inf,      std::nanf(""), 1e30F, -1e30F,
                                  0x1p31F,  32767.5F, -32769.0F, 0.49999997F,   -0.0F, 1e-40F};
    for (const float border : {-0.5F, 0.5F, 39.5F, 54.5F, 69.5F, 109.5F})
        for (const float p : {border, std::nextafter(border, inf), std::nextafter(border, -inf)})
            special.push_back(p);

    std::vector<float> pixel, line;
    for (const float a : special)
        for (const float b : special) {
            pixel.push_back(a);
            line.push_back(b);
        }
    for (const float a : special) {
        pixel.insert(pixel.end(), {a, 30.2F});
        line.insert(line.end(), {50.7F, a});
    }
    std::mt19937 random(1);
    std::uniform_real_distribution<float> anywhere(-5, 115);
    while (pixel.size() < 3333) { // no whole number of blocks
        pixel.push_back(anywhere(random));
        line.push_back(anywhere(random));
    }
    for (const PlainRoad& road : roads) {
        const HisdScene scene(road.synth);
        ASSERT_EQ(scene.code, 0);
        scene.shift(road.shiftPixel, road.shiftLine);
        const auto all = scene.counts(pixel, line);
        EXPECT_EQ(scene.result, 0);
        int good = 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
            ASSERT_EQ(all[i], road.sample(pixel[i], line[i]))
                << pixel[i] << ' ' << line[i] << " file " << (&road - roads);
            good += all[i] >= 0;
        }
        EXPECT_GT(good, 200);
    }
}

TEST(HisdSamples, NearestIndexInFloatIsTheOneInDouble)
{
    for (int whole = 0; whole < 32768; ++whole) {
        const float half = static_cast<float>(whole) + 0.5F;
        float value = half;
        for (int i = 0; i < 4; ++i)
            value = std::nextafter(value, 0.0F);
        for (int i = 0; i < 9; ++i, value = std::nextafter(value, 1e9F))
            ASSERT_EQ(nbpNearestInside(value), nbpNearest32(static_cast<double>(value))) << value;
    }
}

TEST(HisdSamples, PhysicalValuesNeedAPhysicalElement)
{
    HisdScene scene({.band = 13});
    StderrCapture err;
    for (const char* name : {"none", "B13"}) {
        scene.select(name);
        scene.values({50}, {50});
        EXPECT_EQ(scene.result, -1) << name;
        scene.zoomValues({0, 0, 0, 0, 2, 2});
        EXPECT_EQ(scene.result, -1) << name;
    }
    EXPECT_EQ(err.get(), "");
    ASSERT_EQ(scene.select("B13_R"), 20001);
    const auto out = scene.values({50, 0, 50}, {50, 0, 500});
    EXPECT_EQ(scene.result, 0);
    // Count 3 * 51 + 7 * 51 = 510 in the default pattern; space; outside the image.
    EXPECT_FLOAT_EQ(out[0], 15.20F - 0.0037F * 510);
    EXPECT_EQ(out[1], -1.0F);
    EXPECT_EQ(out[2], -1.0F);
}

TEST(HisdSamples, AShortFileIsZeroFromItsEndOn)
{
    for (const bool big : {false, true}) {
        SynthHisd synth{.bigEndian = big};
        synth.cutAt = synth.blockOffset(12) + 50 * 220 + 2 * 40; // 50 lines and 40 columns
        HisdScene scene(synth);
        ASSERT_EQ(scene.code, 0);
        scene.object.SetStopGap(scene.p(), 5); // nothing to fill among zeros
        EXPECT_EQ(scene.counts({39, 40, 50, 39, 50, 50}, {50, 50, 49, 51, 51, 109}),
                  (std::vector<std::int16_t>{477, 0, 503, 0, 0, 0}));
        EXPECT_EQ(scene.result, 0);
    }
}

TEST(HisdSamples, OneLineIsReadOnce)
{
    const HisdScene scene({.firstLine = 41, .lines = 30});
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), 3.49F), 0);
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), 3.0F), 1);
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), -1e30F), 0); // the first line
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), 0), 1);
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), 29.7F), 0); // beyond the last line: the last
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), 29.0F), 1);
}

TEST(HisdCorrection, HostileTablesLeaveNoMoreThanTheirLinesWithoutPosition)
{
    const auto at = [](std::vector<SynthHisd::Correction> table, float line) {
        return HisdScene({.corrections = std::move(table)}).count(50, line);
    };
    // Column 51 of line 61: 3 * 51 + 7 * 61.
    EXPECT_EQ(at({{1, 9, 9}}, 60), 580);                        // one entry is none
    EXPECT_EQ(at({{65535, 9, 9}, {1, 9, 9}}, 60), 580);         // backward: no shift
    EXPECT_EQ(at({{1, 2, 0}, {65535, 2, 0}}, 60), 580 - 6);     // 2 columns
    EXPECT_EQ(at({{1, 2, 0}, {61, 2, 0}, {61, 2, 0}}, 60), -1); // 0 / 0 at its end
    EXPECT_EQ(at({{1, 2, 0}, {61, 2, 0}, {61, 2, 0}}, 59), 573 - 6);
    EXPECT_EQ(at({{1, 2, 0}, {61, 2, 0}, {61, 2, 0}, {80, 2, 0}}, 60), 580 - 6);
    EXPECT_EQ(at({{1, 2, 0}, {90, 2, 0}, {5, 2, 0}, {70, 2, 0}}, 60), 580 - 6);
}

// Lines of counts as they stand in the file; X is an error pixel, S the outside of the scan.
constexpr std::uint16_t X = 0xFFFF, S = 0xFFFE;
using Lines = std::vector<std::vector<std::uint16_t>>;

SynthHisd raster(const Lines& lines)
{
    SynthHisd synth{.columns = static_cast<int>(lines[0].size()),
                    .diskLines = static_cast<int>(lines.size())};
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (const auto n = std::count(lines[i].begin(), lines[i].end(), X); n > 0)
            synth.errorLines.push_back({static_cast<int>(i) + 1, static_cast<int>(n)});
    synth.fill = [lines](int line, std::span<std::uint16_t> counts) {
        std::ranges::copy(lines[static_cast<std::size_t>(line) - 1], counts.begin());
    };
    return synth;
}

TEST(HisdRepair, GapsAlongALineAreBridgedUpToTheStopGap)
{
    //                    bridged             too wide             never the last pixel
    const Lines lines = {{10, 20, X, X, 51, 60, X, X, X, 100, 90, X}};
    HisdScene scene(raster(lines));
    EXPECT_EQ(scene.row(0, 12), (Row{10, 20, -1, -1, 51, 60, -1, -1, -1, 100, 90, -1}));
    scene.object.SetStopGap(scene.p(), 2); // also for lines read before
    EXPECT_EQ(scene.row(0, 12), (Row{10, 20, 30, 40, 51, 60, -1, -1, -1, 100, 90, -1}));
    scene.object.SetStopGap(scene.p(), 0x7FFFFFFF);
    HisdScene widest(raster(lines));
    widest.object.SetStopGap(widest.p(), 0x7FFFFFFF);
    EXPECT_EQ(widest.row(0, 12), (Row{10, 20, 30, 40, 51, 60, 70, 80, 90, 100, 90, -1}));
    // A falling slope is cut toward zero as well: 50 - 10/3 and 50 - 20/3.
    HisdScene falling(raster({{X, 50, X, X, 40, S, X, 7}}));
    falling.object.SetStopGap(falling.p(), 2);
    EXPECT_EQ(falling.row(0, 8), (Row{-1, 50, 46, 43, 40, -1, -1, 7}));
}

TEST(HisdRepair, GapsAcrossLinesAreBridgedFromBothSides)
{
    const Lines lines = {
        {100, 203, 5, S},
        {X, X, X, X}, // all of it: only across
        {X, X, X, X},
        {400, 200, S, 9},
    };
    HisdScene narrow(raster(lines));
    narrow.object.SetStopGap(narrow.p(), 1);
    EXPECT_EQ(narrow.row(1, 4), (Row{-1, -1, -1, -1}));
    HisdScene scene(raster(lines));
    scene.object.SetStopGap(scene.p(), 2);
    // The outside has no count; column 2 has one above only and beyond it no line.
    EXPECT_EQ(scene.row(1, 4), (Row{200, 202, -1, -1}));
    EXPECT_EQ(scene.row(2, 4), (Row{300, 201, -1, -1})); // filled on the way
    EXPECT_EQ(nbpHisdReadOneLine(scene.p(), 3), 1);
}

TEST(HisdRepair, WhatALineLeavesIsTakenFromTheLinesAround)
{
    const Lines lines = {
        {10, 20, 30, 40, 50, 60},
        {10, X, 30, X, X, X}, // bridged at column 1, too wide from 3 on
        {10, 20, 30, 45, 40, 90},
    };
    HisdScene scene(raster(lines));
    scene.object.SetStopGap(scene.p(), 1);
    EXPECT_EQ(scene.row(1, 6), (Row{10, 20, 30, 42, 45, 75}));
}

TEST(HisdRepair, ALineThatTheFileListsWithoutErrorsIsLeft)
{
    SynthHisd synth = raster({{10, X, 30}, {40, 50, 60}});
    synth.errorLines = {{2, 3}, {0, 9}, {3, 9}, {65535, 9}}; // the others are no lines
    HisdScene scene(synth);
    ASSERT_EQ(scene.code, 0);
    scene.object.SetStopGap(scene.p(), 3);
    EXPECT_EQ(scene.row(0, 3), (Row{10, -1, 30}));
    EXPECT_EQ(scene.row(1, 3), (Row{40, 50, 60}));
}

TEST(HisdRepair, AtTheEdgeOfTheFileNothingIsAcross)
{
    HisdScene scene(raster({{X, X}, {7, 8}}));
    scene.object.SetStopGap(scene.p(), 3);
    EXPECT_EQ(scene.row(0, 2), (Row{-1, -1}));
}

const Lines numbered = {{11, 12, 13, 14}, {21, 22, 23, 24}, {31, 32, 33, 34}, {41, 42, 43, 44}};

TEST(HisdZoom, RowsAndColumnsByDivision)
{
    const HisdScene scene(raster(numbered));
    // Whole image to half its size, and a corner enlarged: columns 2 x k / 3, lines in float.
    EXPECT_EQ(scene.zoom({0, 0, 0, 0, 2, 2}), (Row{11, 13, 31, 33}));
    EXPECT_EQ(scene.zoom({1, 2, 2, 2, 3, 2}), (Row{32, 32, 33, 42, 42, 43}));
    // 4 columns from column 2: 2 remain, which fill 2 of 4; 4 lines from line 2: 2 remain.
    EXPECT_EQ(scene.zoom({2, 2, 4, 4, 4, 4}),
              (Row{33, 34, -1, -1, 43, 44, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}));
    EXPECT_EQ(scene.zoom({9, 0, 2, 2, 2, 1}), (Row{-1, -1}));
    EXPECT_EQ(scene.zoom({-1, -1, 2, 2, 2, 2}), (Row{-1, 11, -1, 11})); // line -1 is line 0
    EXPECT_EQ(scene.zoom({-32768, -32768, 0x7FFFFFFF, 0x7FFFFFFF, 1, 1}), (Row{-1}));
    EXPECT_EQ(scene.zoom({0, 0, 0, 0, 0, 5}), Row{});
    HisdScene moved(raster(numbered));
    moved.shift(-1, 1); // the picture lies one column left and one line down
    EXPECT_EQ(moved.zoom({0, 0, 0, 0, 4, 2}), (Row{12, 13, 14, -1, 22, 23, 24, -1}));
}

TEST(HisdZoom, CountsFrom0x8000OnPassAsSigned)
{
    HisdScene scene(raster({{5, S, X, 0x8001, 4095, 4096}}));
    EXPECT_EQ(scene.zoom({0, 0, 0, 0, 6, 1}), (Row{5, -2, -1, -32767, 4095, -1}));
    EXPECT_EQ(scene.row(0, 6), (Row{5, -1, -1, -1, 4095, -1}));
    ASSERT_EQ(scene.select("B13_R"), 20001);
    const auto out = scene.zoomValues({0, 0, 0, 0, 6, 1});
    ASSERT_EQ(scene.result, 0);
    EXPECT_FLOAT_EQ(out[0], 15.20F - 0.0037F * 5);
    for (const std::size_t k : {1U, 2U, 3U, 5U})
        EXPECT_EQ(out[k], -1.0F) << k;
}

TEST(HisdZoom, CompensationBeyondTheFilesLinesServesTheZoomOnly)
{
    // Lines 3 and 4 of the disk in a table that starts at line 1: index 2 and 3 lie past the
    // file's two lines.
    SynthHisd synth = raster(numbered);
    synth.firstLine = 3;
    synth.lines = 2;
    synth.corrections = {{1, 1, 0}, {4, 1, 0}};
    const HisdScene scene(synth);
    EXPECT_EQ(scene.zoom({1, 2, 1, 1, 1, 1}), (Row{31}));
    EXPECT_EQ(scene.count(1, 2), 32);
}

TEST(HisdZoom, RotationsAboveNineMicroradiansTurn)
{
    // About a centre 100000 columns away, 9 and 10 microradians move a line by 0.9 and 1.
    SynthHisd synth = raster(numbered);
    synth.rotationColumn = -100000;
    synth.rotationLine = 2.5F;
    synth.rotationMicrorad = 9.5;
    const NbZoomRect rect{0, 1, 0, 1, 4, 1};
    HisdScene nine(synth);
    EXPECT_EQ(nine.zoom(rect), (Row{21, 22, 23, 24})); // left out
    EXPECT_EQ(nine.row(1, 4), (Row{31, 32, 33, 34}));  // and not for samples
    synth.rotationMicrorad = 10;
    HisdScene ten(synth);
    EXPECT_EQ(ten.zoom(rect), (Row{31, 32, 33, 34}));
    EXPECT_EQ(ten.zoom({2, 1, 4, 1, 4, 1}), (Row{33, 34, -1, -1}));
    ASSERT_EQ(ten.select("B13_R"), 20001);
    EXPECT_FLOAT_EQ(ten.zoomValues(rect)[1], 15.20F - 0.0037F * 32);
}

} // namespace
