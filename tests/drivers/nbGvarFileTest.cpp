#include "tests/drivers/gvarScene.h"

#include "sat/nbSat.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>

namespace {

std::vector<int> fields(const std::int16_t (&t)[6])
{
    return {std::begin(t), std::end(t)};
}

int openCode(const SynthGvar& synth)
{
    return GvarScene(synth).code;
}

TEST(GvarOpen, EveryLayoutGivesTheFrame)
{
    for (const SynthGvar& s : {SynthGvar{.records = true}, SynthGvar{.longPrefix = true},
                               SynthGvar{.records = false, .satellite = 12}}) {
        const TempFile file(s.bytes());
        NbSatObject object{};
        ASSERT_EQ(nbSatOpenObject(&object, file.path().c_str()), 0); // detected
        EXPECT_EQ(object.fileFormatId, 6);
        EXPECT_EQ(std::string(object.satName), s.satellite == 12 ? "GOES-12" : "GOES-9");
        EXPECT_EQ(object.pixelNum, 400);
        EXPECT_EQ(object.lineNum, 64);
        // Day 123 of 1999 is 3 May. Direction bit 0 of scan 0 is direction 1: the first scan starts
        // at the header's second 1; its end is 8 x 1154.072593 + 955.618 ms later.
        EXPECT_EQ(fields(object.startTime), (std::vector<int>{1999, 5, 3, 12, 0, 0}));
        EXPECT_EQ(fields(object.endTime), (std::vector<int>{1999, 5, 3, 12, 0, 11}));
        nbSatCloseObject(&object);
    }
}

TEST(GvarOpen, OffsetsMoveTheFrameAndTheWestBorderAlone)
{
    GvarScene scene({.pixelOffset = 8, .lineOffset = 3});
    EXPECT_EQ(scene.object.pixelNum, 392);
    EXPECT_EQ(scene.object.lineNum, 64);
}

TEST(GvarOpen, AnyGoodHeaderCopyServesAndABlockWithoutIsPassedOver)
{
    for (const bool records : {true, false})
        for (const int copies : {0, 1, 3, 4, 6}) {
            SynthGvar s{.records = records};
            s.damage = {{.scan = 0, .headerCopies = copies}};
            const GvarScene scene(s);
            EXPECT_EQ(scene.code, 0);
            EXPECT_EQ(scene.row(0, 5), scene.told(0, 0, 5)) << records << copies;
        }
    SynthGvar s{};
    s.damage = {{.scan = 0, .headerCopies = 7}};
    EXPECT_EQ(openCode(s), 0); // by the second scan's
}

TEST(GvarOpen, DocumentationBlocksAreAcceptedByCrcAndTimes)
{
    const struct {
        const char* what;
        SynthGvar synth;
        int code;
    } cases[] = {
        {"60 s late", {.imcTime = 1999123120101000}, 0},
        {"60.001 s late, and the later ones less", {.imcTime = 1999123120101001}, 0},
        {"too late for all", {.imcTime = 1999123120210000}, 2},
        {"far too early", {.imcTime = 1998001000000000}, 0},
        {"no start time", {.startTime = 0}, 2},
        {"north below south", {.north = 7804, .south = 7801}, 2},
        {"east before west", {.west = 15600, .east = 15201}, 2},
        {"wider than 32767", {.west = 1, .east = 40000}, 2},
    };
    for (const auto& c : cases)
        EXPECT_EQ(openCode(c.synth), c.code) << c.what;

    SynthGvar damaged{};
    for (int scan = 0; scan < damaged.scans(); ++scan)
        damaged.damage.push_back({.scan = scan, .badByte = 4000});
    EXPECT_EQ(openCode(damaged), 2);
}

TEST(GvarOpen, ASatelliteThatSeesNoEarthCentreIsRefused)
{
    SynthGvar s{.imcOff = false};
    s.oa[41] = 1.5; // sine of the latitude
    EXPECT_EQ(openCode(s), 2);
}

TEST(GvarOpen, FilesThatAreNoneComeBackWithTheirCodes)
{
    NbSatObject object{};
    StderrCapture text;
    EXPECT_EQ(nbGvarLinkSat(&object, "/nonexistent/a b"), 3);
    EXPECT_EQ(text.get(),
              "NB_Error: nbGvarOpenFile() : fopen( '/nonexistent/a b' 'rb' ) failed.\n");
    const TempDir dir;
    std::ofstream(dir / "empty").close();
    EXPECT_EQ(nbGvarLinkSat(&object, (dir / "empty").c_str()), 2);
    EXPECT_EQ(nbGvarLinkSat(&object, TempFile("Z").path().c_str()), 2);
    // Noise, in either layout; with what looks like the start of a block at many places.
    std::mt19937 random(1);
    for (const int first : {0x5A, 0xFF, 0x00}) {
        Bytes noise(3000000);
        for (auto& byte : noise)
            byte = static_cast<std::byte>(random() % 16);
        noise[0] = static_cast<std::byte>(first);
        noise[1] = static_cast<std::byte>(first == 0xFF ? 1 : first);
        EXPECT_EQ(nbGvarLinkSat(&object, TempFile(noise).path().c_str()), 2);
    }
    // Cut anywhere in the first scan: no crash, and a frame only when its block is whole.
    const Bytes whole = SynthGvar{.records = false, .south = 7808}.bytes();
    for (std::size_t size = 1; size < whole.size(); size += 977) {
        const TempFile cut(std::span<const std::byte>(whole).first(size));
        const int code = nbGvarLinkSat(&object, cut.path().c_str());
        EXPECT_EQ(code, size < 8130 ? 2 : 0) << size;
        if (code == 0) object.CloseFile(object.privateData);
    }
}

TEST(GvarOpen, DamagedBytesNeverBreakTheReader)
{
    // Every header and documentation byte in turn at both ends, CRCs made good again by the
    // largest counts in places that they do not cover; then random bytes.
    std::mt19937 random(7);
    for (const bool records : {true, false}) {
        const SynthGvar s{.records = records, .south = 7824};
        const Bytes whole = s.bytes();
        for (int round = 0; round < 60; ++round) {
            Bytes bytes = whole;
            for (int i = 0; i < 200; ++i)
                bytes[random() % bytes.size()] = static_cast<std::byte>(random());
            StderrCapture quiet;
            GvarScene scene(bytes);
            if (scene.code != 0) continue;
            for (const char* name : {"VIS", "IR3_T", "IR2_R"}) {
                ASSERT_GT(scene.select(name), 0);
                scene.object.SetStopGap(scene.p(), 3);
                for (int line = scene.size[1] - 1; line >= 0; --line) {
                    scene.zoom({0, static_cast<std::int16_t>(line), 0, 1, 64, 1});
                    EXPECT_GE(scene.result, 0);
                }
            }
        }
    }
}

} // namespace
