#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"
#include "tests/drivers/nativeScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

using std::byte;

constexpr auto open = NativeScene::open;

// A big-endian number of `width` bytes.
SynthPatch patch(std::size_t offset, std::uint32_t value, std::size_t width)
{
    return {.offset = offset, .bytes = numberBytes(value, width, true)};
}
SynthPatch patch(std::size_t offset, std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return {.offset = offset, .bytes = {bytes.begin(), bytes.end()}};
}

TEST(NativeOpen, FilesOfBothHeaderPlacesAreFoundAndFillTheObject)
{
    const struct {
        int id;
        const char* name;
    } satellites[] = {{321, "METEOSAT-8"},
                      {322, "METEOSAT-9"},
                      {323, "METEOSAT-10"},
                      {324, "METEOSAT-11"},
                      {325, ""}};
    for (const auto& satellite : satellites)
        for (const std::size_t at : {0x1421U, 0x1424U}) {
            if (satellite.id == 325 && at == 0x1421U) continue; // an unknown id stands at 0x1424
            const SynthNative synth{.idOffset = at, .satelliteId = satellite.id};
            const TempFile file(synth.bytes());
            NbSatObject o{};
            std::ranges::fill(o.endTime, std::int16_t{7});
            ASSERT_EQ(nbSatOpenObject(&o, file.path().c_str()), 0) << satellite.id;
            EXPECT_EQ(o.fileFormatId, NB_FORMAT_NATIVE);
            EXPECT_STREQ(o.satName, satellite.name);
            EXPECT_EQ(o.pixelNum, 30);
            EXPECT_EQ(o.lineNum, 20);
            const std::int16_t start[6] = {2020, 8, 2, 0, 15, 0}; // day 22859 from 1958, 900 s
            EXPECT_TRUE(std::ranges::equal(start, o.startTime));
            EXPECT_TRUE(std::ranges::all_of(o.endTime, [](int t) { return t == 0; }));
            EXPECT_EQ(o.GetChNum(o.privateData), 3);
            EXPECT_EQ(o.ResetAtt, nullptr);
            nbSatCloseObject(&o);
        }
}

TEST(NativeOpen, ARawFileHasOneChannelAndMarksNone)
{
    for (const int channel : {4, 11}) {
        const SynthNative synth{.raw = true, .channels = {channel}};
        NativeScene scene(synth);
        ASSERT_EQ(scene.code, 0);
        EXPECT_EQ(scene.object.GetChNum(scene.p()), 1);
        EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), channel);
        for (int c = 0; c <= 12; ++c) {
            const auto info = scene.info(c);
            EXPECT_EQ(info.result, 0);
            EXPECT_EQ(info.text, " None / None /  -  ");
            EXPECT_EQ(info.pixels + info.lines + info.levels, 0);
        }
        StderrCapture err;
        EXPECT_EQ(scene.select(channel == 11 ? "HRV" : "IR3"), -1);
        EXPECT_EQ(err.get(), "NB_Error: nbNativeSetElements() : bad channel number '" +
                                 std::to_string(channel) + "'\n");
        EXPECT_EQ(scene.count(5, 9), SynthNative::defaultCount(channel, 5, 10));
        EXPECT_EQ(scene.object.lineNum, channel == 11 ? 60 : 20);
    }
}

TEST(NativeOpen, AMissingFileAndAFileCutAnywhereAreRefused)
{
    {
        StderrCapture err;
        NbSatObject object{};
        EXPECT_EQ(nbNativeLinkSat(&object, "/nowhere/scene.nat"), 1);
        EXPECT_EQ(err.get(), "MSG File cannot openFile Open Error!");
        EXPECT_EQ(object.privateData, nullptr);
    }
    const SynthNative whole;
    const std::size_t description = whole.descriptionOffset();
    const std::size_t coverage = whole.trailerOffset() + 0x125;
    for (const std::size_t at :
         {std::size_t{0}, std::size_t{35}, std::size_t{3673}, std::size_t{5000}, std::size_t{5153},
          description, description + 364, whole.dataOffset() + 38 + 26, coverage, coverage + 47}) {
        SynthNative cut = whole;
        cut.cutAt = at;
        const Opening opening = open(cut);
        EXPECT_EQ(opening.code, 1) << at;
        EXPECT_EQ(opening.err, "File Open Error!") << at;
    }
    SynthNative enough = whole;
    enough.cutAt = coverage + 48;
    EXPECT_EQ(open(enough).code, 0);
}

TEST(NativeOpen, GridsThatNothingCanRestOnAreRefused)
{
    const SynthNative whole;
    const std::size_t d = whole.descriptionOffset();
    const std::string refused = "Can't Get Channel parameter!File Open Error!";
    for (const std::size_t at : {d + 21, d + 38}) {
        const Opening opening = open({.patches = {patch(at, 4, 1)}});
        EXPECT_EQ(opening.code, 1);
        EXPECT_EQ(opening.err, "GridOrigin Error!" + refused);
    }
    for (const std::size_t at : {d + 5, d + 9, d + 22, d + 26})
        for (const std::uint32_t value : {0U, 32768U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            const Opening opening = open({.patches = {patch(at, value, 4)}});
            EXPECT_EQ(opening.code, 1) << at - d << ' ' << value;
            EXPECT_TRUE(opening.err.starts_with("NB_Error: nbNativeOpenFile() : ")) << opening.err;
            EXPECT_TRUE(opening.err.ends_with(refused)) << opening.err;
        }
    // A grid without channels is not looked at.
    EXPECT_EQ(
        open({.channels = {0, 8}, .patches = {patch(d + 22, 0, 4), patch(d + 38, 9, 1)}}).code, 0);
    // The first packet's channel.
    for (const std::uint32_t id : {0U, 13U, 255U}) {
        const Opening opening = open({.patches = {patch(whole.dataOffset() + 38 + 17, id, 1)}});
        EXPECT_EQ(opening.code, 1) << id;
        EXPECT_EQ(opening.err, refused) << id;
    }
    EXPECT_EQ(open({.patches = {patch(3674 + 9 * 80 + 30, "------------")}}).err, refused);
}

TEST(NativeOpen, SectionLengthsAreTakenFromTheLastPlaceOfTheirKey)
{
    const SynthNative synth;
    const std::size_t spare = 3000; // blanks of the main text
    // The same length again, and one that leads away from the data.
    EXPECT_EQ(open({.patches = {patch(spare, "15Head: \n    445286 ")}}).code, 0);
    EXPECT_EQ(open({.patches = {patch(spare, "15Head:      400000 ")}}).code, 1);
    // The number's field begins 7 behind the colon: what stands before it is cut off.
    EXPECT_EQ(open({.patches = {patch(spare, "15Head:    99445286 ")}}).code, 0);
    EXPECT_EQ(open({.patches = {patch(spare, "15Head:     99445286 ")}}).code, 1);
    // Numbers that no file holds, no number, no colon behind the key, a key in the last place.
    for (const char* number : {"-445286", "99999999999999999999", "2147483647", "x", "0"}) {
        const Opening opening =
            open({.patches = {patch(spare, "15Head:       " + std::string(number) + " ")}});
        EXPECT_EQ(opening.code, 1) << number;
    }
    EXPECT_EQ(open({.patches = {patch(0xE53, "15Head ")}}).code, 0);
    EXPECT_EQ(open({.patches = {patch(0xE53, "Data  :")}}).code, 0);
    // Marks of the channels lie within the secondary section's length; "BandIDs" ends at 735.
    for (const int second : {735, 734}) {
        const std::string head = std::to_string(445286 + 1440 - second);
        const Opening opening =
            open({.patches = {patch(spare, "Second:          " + std::to_string(second) +
                                               " 15Head:        " + head + " ")}});
        EXPECT_EQ(opening.code, second == 735 ? 0 : 1) << opening.err;
    }
}

// Random bytes in every part that is read: a code comes back, and what opens can be used.
TEST(NativeOpen, DamageOfAnyKindIsSurvived)
{
    const SynthNative whole;
    const std::vector<byte> good = whole.bytes();
    const std::pair<std::size_t, std::size_t> parts[] = {
        {36, 5114},
        {0x1420, 0x1428},
        {whole.descriptionOffset(), whole.descriptionOffset() + 365},
        {whole.dataOffset(), whole.dataOffset() + 400},
        {whole.trailerOffset() + 0x125, whole.trailerOffset() + 0x125 + 48}};
    std::mt19937 random(3);
    int opened = 0;
    StderrCapture quiet;
    for (int round = 0; round < 200; ++round) {
        std::vector<byte> bytes = good;
        const auto& [begin, end] = parts[round % std::size(parts)];
        for (int i = 0; i < 1 + round % 7; ++i)
            bytes[begin + random() % (end - begin)] = static_cast<byte>(random());
        NativeScene scene(bytes);
        if (scene.code != 0) continue;
        ++opened;
        useAll(scene, {"VIS_A", "HRV", "IR1_T"});
    }
    EXPECT_GT(opened, 50);
    EXPECT_LT(opened, 200);
}

} // namespace
