// Landmark matching on images whose displacement is known.
#include "sat/nbLm.h"

#include "sat/nbLmPlaces.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatNav.h"
#include "tests/support/landmarkScene.h"
#include "tests/support/support.h"
#include "tests/synth/synthGvar.h"
#include "tests/synth/synthHisd.h"
#include "tests/synth/synthHrit.h"
#include "tests/synth/synthNative.h"
#include "tests/synth/synthNoaa.h"
#include "tests/synth/synthRdat.h"
#include "tests/synth/synthVissr.h"
#include "tools/map/shoreTiles.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using Format = LandmarkScene::Format;

#ifdef __SANITIZE_ADDRESS__
constexpr int randomScenes = 50; // each takes ten times as long
#else
constexpr int randomScenes = 200;
#endif

struct Found {
    int matches = 0;
    float dPixel = 9;
    float dLine = 9;
};

class Landmarks {
public:
    // `option`: behind the path. `start`: the shift to search from.
    Found find(const LandmarkScene& scene, const char* option = "", Found start = {0, 0, 0})
    {
        channel_ = scene.write(path_);
        return findAgain(option, start);
    }
    Found findAgain(const char* option = "", Found start = {0, 0, 0}) const
    {
        const std::string path = path_ + option;
        std::int16_t params[4];
        EXPECT_EQ(nbLmSetParam(path.c_str(), channel_, params), 0);
        for (std::int16_t& param : params)
            param = static_cast<std::int16_t>(halved ? param / 2 : param);
        Found found;
        found.matches = nbLmLandmark(params, path.c_str(), channel_, start.dPixel, start.dLine,
                                     map_.path().c_str(), lonBox.data(), latBox.data(),
                                     &found.dPixel, &found.dLine, 0);
        return found;
    }
    const std::string& path() const { return path_; }

    std::array<double, 2> lonBox = {-9999, -9999};
    std::array<double, 2> latBox = {-9999, -9999};
    bool halved = false; // all parameters

private:
    TempDir dir_;
    std::string path_ = dir_ / "scene.dat";
    LandmarkMap map_;
    int channel_ = -1;
};

// Eighteen scenes of one format: what is found, and what is left when the search starts from it.
void recoverAll(Format format)
{
    Landmarks landmarks;
    constexpr double displacements[][2] = {{-5.5, 5.5}, {5.5, 5.5},    {0.5, -5.5},
                                           {2.3, -1.7}, {-0.25, 0.75}, {-5.5, -4.1}};
    int i = 0;
    for (const bool night : {false, true}) {
        for (const double cloud : {0.0, 0.3, 0.6}) {
            LandmarkScene scene{.format = format, .night = night};
            scene.cloud = cloud;
            scene.noise = 1;
            scene.seed = static_cast<std::uint32_t>(10 + i);
            scene.dx = displacements[i][0];
            scene.dy = displacements[i][1];
            ++i;
            const Found found = landmarks.find(scene);
            EXPECT_GE(found.matches, 6);
            // The shift of these formats is taken off positions.
            EXPECT_NEAR(-found.dPixel, scene.dx, 0.2) << night << ' ' << cloud;
            EXPECT_NEAR(-found.dLine, scene.dy, 0.2) << night << ' ' << cloud;
            const Found rest = landmarks.findAgain("", found);
            EXPECT_GE(rest.matches, 6);
            EXPECT_NEAR(rest.dPixel, 0, 0.1) << night << ' ' << cloud;
            EXPECT_NEAR(rest.dLine, 0, 0.1) << night << ' ' << cloud;
        }
    }
}

TEST(Landmark, DisplacementsOfHisdImagesAreFound)
{
    recoverAll(Format::Hisd);
}
TEST(Landmark, DisplacementsOfHritImagesAreFound)
{
    recoverAll(Format::Hrit);
}
TEST(Landmark, DisplacementsOfVissrImagesAreFound)
{
    recoverAll(Format::Vissr);
}

TEST(Landmark, OfRandomCloudyImagesNoneIsMatchedWrongly)
{
    Landmarks landmarks;
    std::uint32_t random = 20200801;
    const auto uniform = [&] { return nextRandom(random) / 4294967296.0; };
    int matched = 0;
    for (int i = 0; i < randomScenes; ++i) {
        LandmarkScene scene;
        scene.format = static_cast<Format>(i % 3);
        scene.night = uniform() < 0.5;
        scene.size = 150;
        scene.seed = static_cast<std::uint32_t>(1000 + i);
        scene.offPixel = -230 + 160 * uniform();
        scene.offLine = -180 + 240 * uniform();
        scene.cloud = 0.2 + 0.75 * uniform();
        scene.contrast = 0.3 + 0.9 * uniform();
        scene.noise = 2 * uniform();
        scene.dx = 11 * uniform() - 5.5;
        scene.dy = 11 * uniform() - 5.5;
        const Found found = landmarks.find(scene);
        ASSERT_GE(found.matches, 0);
        if (found.matches == 0) {
            EXPECT_EQ(found.dPixel, 0);
            EXPECT_EQ(found.dLine, 0);
            continue;
        }
        ++matched;
        EXPECT_NEAR(-found.dPixel, scene.dx, 0.5) << i;
        EXPECT_NEAR(-found.dLine, scene.dy, 0.5) << i;
    }
    EXPECT_GE(matched, randomScenes / 4);
}

TEST(Landmark, WithoutALandmarkInReachNothingIsFound)
{
    Landmarks landmarks;
    const auto expectNothing = [&](const LandmarkScene& scene, const char* what) {
        const Found found = landmarks.find(scene);
        EXPECT_EQ(found.matches, 0) << what;
        EXPECT_EQ(found.dPixel, 0) << what;
        EXPECT_EQ(found.dLine, 0) << what;
    };
    LandmarkScene sea;
    sea.offPixel = 330; // the Pacific at 170 E
    sea.offLine = -160;
    expectNothing(sea, "no land");
    LandmarkScene overcast;
    overcast.cloud = 1;
    expectNothing(overcast, "all cloud");
    for (const double beyond : {-12.0, 25.0}) {
        LandmarkScene far{.dx = beyond, .dy = 3};
        expectNothing(far, "beyond the window");
    }
    landmarks.lonBox = {150, 170}; // the image ends at 150 E
    landmarks.latBox = {-20, 60};
    expectNothing(LandmarkScene{}, "another region");
    landmarks.latBox = {-9999, 90};
    landmarks.lonBox = {-9999, 180};
    EXPECT_GT(landmarks.findAgain().matches, 100);
}

TEST(Landmark, OptionWordsAndBoxesOverTheDateLineAreTaken)
{
    Landmarks landmarks;
    landmarks.lonBox = {100, -100};
    landmarks.latBox = {60, -60}; // in either order
    const Found found = landmarks.find({.dx = 2.4}, "?type=hisd");
    EXPECT_GT(found.matches, 100);
    EXPECT_NEAR(found.dPixel, -2.4, 0.2);
}

// The wider a template, the wider the peak of its correlation.
TEST(Landmark, ImagesOfFinePixelsAreMatchedWithWholeAndHalvedParameters)
{
    LandmarkScene scene{.size = 1200, .km = 0.5, .offPixel = -3400, .offLine = -1500};
    scene.dx = 9;
    scene.dy = -12.5;
    Landmarks landmarks;
    for (const bool halved : {false, true}) {
        landmarks.halved = halved;
        const Found found = halved ? landmarks.findAgain() : landmarks.find(scene);
        EXPECT_GE(found.matches, 12);
        EXPECT_NEAR(found.dPixel, -9, 0.5) << halved; // the scene's land is known to 5 pixels
        EXPECT_NEAR(found.dLine, 12.5, 0.5) << halved;
    }
}

TEST(LandmarkParam, FollowsTheResolution)
{
    struct Row {
        double km;
        std::array<int, 4> params;
    };
    // Half a template is 32 km and the reach beyond it 24 km, but 12 and 9 pixels at least.
    const Row rows[] = {{10, {21, 12, 12, 6}}, {2, {28, 16, 16, 6}}, {0.5, {112, 64, 64, 12}}};
    const TempDir dir;
    for (const Row& row : rows) {
        SynthHisd file; // a small piece around the sub-satellite point
        file.cfac = file.lfac = static_cast<std::int32_t>(std::lround(20466275 * 2 / row.km));
        file.write(dir / "file");
        std::int16_t params[4] = {};
        ASSERT_EQ(nbLmSetParam((dir / "file").c_str(), 13, params), 0);
        EXPECT_TRUE(std::ranges::equal(params, row.params)) << row.km;
    }
}

TEST(Landmark, WhatMakesNoSearchIsRefused)
{
    const TempDir dir;
    SynthHisd{}.write(dir / "image");
    const std::string image = dir / "image";
    const LandmarkMap map;
    writeText(dir / "text", "no map");
    ShoreTiles(60).write(dir / "coarse", "no land");
    struct Row {
        std::array<std::int16_t, 4> params = {21, 12, 12, 6};
        std::string path;
        int channel = 13;
        float start = 0;
        std::string mapPath;
        double west = -9999;
        const char* says;
    };
    const std::string good = map.path();
    const Row rows[] = {
        {.path = dir / "none", .mapPath = good, .says = "none: cannot be opened\n"},
        {.path = image, .channel = 3, .mapPath = good, .says = "image: has no channel 3\n"},
        {.path = image, .mapPath = dir / "text", .says = "text: "},
        {.path = image, .mapPath = dir / "nomap", .says = "nomap: "},
        {.path = image,
         .mapPath = dir / "coarse",
         .says = "coarse: shore map with tiles of 60 deg"},
        {.params = {12, 12, 12, 6}, .path = image, .mapPath = good, .says = "are no search\n"},
        {.params = {32767, 12, 12, 6}, .path = image, .mapPath = good, .says = "are no search\n"},
        {.params = {21, 12, 0, 6}, .path = image, .mapPath = good, .says = "are no search\n"},
        {.path = image, .start = NAN, .mapPath = good, .says = "are no search\n"},
        {.path = image, .start = 1e9F, .mapPath = good, .says = "are no search\n"},
        {.path = image, .mapPath = good, .west = INFINITY, .says = "are no search\n"},
    };
    for (const Row& row : rows) {
        const double lon[2] = {row.west, -9999};
        const double lat[2] = {-9999, -9999};
        float dPixel = 9;
        float dLine = 9;
        StderrCapture text;
        EXPECT_EQ(nbLmLandmark(row.params.data(), row.path.c_str(), row.channel, row.start, 0,
                               row.mapPath.c_str(), lon, lat, &dPixel, &dLine, 0),
                  -1);
        EXPECT_NE(text.get().find(row.says), std::string::npos) << text.get();
        EXPECT_EQ(dPixel, 0);
    }
    std::int16_t params[4];
    StderrCapture text;
    EXPECT_EQ(nbLmSetParam((dir / "none").c_str(), 13, params), 1);
    EXPECT_EQ(nbLmSetParam(image.c_str(), 3, params), 2);
    SynthHisd space;
    space.coff = space.loff = 2000; // beside the disk
    space.write(dir / "space");
    EXPECT_EQ(nbLmSetParam((dir / "space").c_str(), 13, params), 3);
}

// Outlines that wind more than any coast would take memory and time without end.
TEST(LandmarkDrawing, OfWhatIsNoCoastIsEmpty)
{
    const auto landOf = [](int strokes) {
        NbLmOutline outline; // up and down across the square
        for (int i = 0; i < strokes; ++i)
            outline.points.push_back(
                {static_cast<float>(40.0 * i / strokes - 20), i % 2 == 0 ? -40.0F : 40.0F});
        outline.ends.push_back(outline.points.size());
        std::vector<float> share;
        NbLmRaster().draw(outline, 0, 0, 20, share);
        EXPECT_EQ(share.size(), 41U * 41U);
        return std::accumulate(share.begin(), share.end(), 0.0F);
    };
    EXPECT_GT(landOf(400), 100);
    EXPECT_EQ(landOf(4000), 0);
}

// Where the sample of a place comes from when the file is shifted: this is what a found
// displacement must be told in.
TEST(LandmarkShift, HasTheSenseInWhichEachFormatTakesIt)
{
    struct Row {
        Bytes file;
        const char* element;
        int sense;
        bool onlyPixels = false; // the shift of lines does nothing
    };
    const Row rows[] = {
        {SynthHisd{}.bytes(), "B13", -1},         {SynthHrit{}.bytes(), "IR1", -1},
        {SynthNative{}.bytes(), "IR1", -1, true}, {SynthVissr{}.bytes(), "IR1", -1},
        {SynthGvar{}.bytes(), "IR2", -1},         {SynthRdat{}.bytes(), "B13", 1},
        {SynthNgac{}.bytes(), "IR1", 1},          {SynthNgacv1{}.bytes(), "IR1", 1},
    };
    for (const Row& row : rows) {
        const TempFile file(row.file, "image.dat");
        // Count at a place of a file shifted by `shift`, or `further` from it, along an axis.
        const auto sample = [&](bool lines, float shift, float further) {
            NbSatObject object{};
            EXPECT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0) << row.element;
            EXPECT_EQ(nbSatSetElems(&object, row.element), 10001) << row.element;
            EXPECT_EQ(nbpLmShiftSense(&object), row.sense) << object.fileFormatId;
            float pixel = static_cast<float>(object.pixelNum / 2);
            float line = static_cast<float>(object.lineNum / 2);
            double lon = 0;
            double lat = 0;
            nbSatPixLinToLonLat(&object, &pixel, &line, &lon, &lat, 1);
            nbSatSetDiffPixLin(&object, lines ? 0 : shift, lines ? shift : 0);
            if (lon != -9999) nbSatLonLatToPixLin(&object, &lon, &lat, &pixel, &line, 1);
            (lines ? line : pixel) += further;
            std::int16_t count = -1;
            nbSatGetI2DataByPixLin(&object, &pixel, &line, &count, 1);
            nbSatCloseObject(&object);
            return count;
        };
        for (const bool lines : {false, true}) {
            if (lines && row.onlyPixels) continue;
            const auto shifted = sample(lines, 2, 0);
            EXPECT_EQ(shifted, sample(lines, 0, static_cast<float>(2 * row.sense)))
                << row.element << lines;
            EXPECT_NE(shifted, sample(lines, 0, static_cast<float>(-2 * row.sense)))
                << row.element << lines;
        }
    }
}

} // namespace
