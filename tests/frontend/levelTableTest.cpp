#include "frontend/levelTable.h"
#include "frontend/channel.h"
#include "frontend/nimbexFile.h"
#include "sat/nbSatAnalSatId.h"
#include "tests/support/support.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

// The search as a plain loop: every entry in turn, a strictly smaller difference wins.
std::vector<std::uint16_t> plainSearch(const std::vector<float>& source,
                                       const std::vector<float>& table)
{
    std::vector<std::uint16_t> out;
    for (std::size_t i = 0; i < source.size(); ++i) {
        std::size_t chosen = (table.size() - 1) * i / (source.size() - 1);
        double best = 9999;
        for (std::size_t j = 0; j < table.size(); ++j) {
            const double difference =
                std::fabs(static_cast<double>(table[j]) - static_cast<double>(source[i]));
            if (difference < best) {
                best = difference;
                chosen = j;
            }
        }
        out.push_back(static_cast<std::uint16_t>(chosen));
    }
    return out;
}

TEST(NearestLevels, IsTheFirstOfTheNearestAsAPlainSearchFindsIt)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float inf = std::numeric_limits<float>::infinity();
    std::mt19937 random(7);
    const auto make = [](std::size_t n, auto value) {
        std::vector<float> out(n);
        for (std::size_t i = 0; i < n; ++i)
            out[i] = static_cast<float>(value(i));
        return out;
    };
    const auto uniform = [&](double low, double high) {
        return [&random, low, high](std::size_t) {
            return std::uniform_real_distribution<double>(low, high)(random);
        };
    };
    const std::vector<std::vector<float>> tables = {
        make(257, uniform(170, 330)),
        make(64, [](std::size_t) { return 5.0; }),
        make(1024, [](std::size_t i) { return 330.0 - 0.15 * static_cast<double>(i); }),
        make(300, [](std::size_t i) { return 0.5 * static_cast<double>(i); }),
        make(500, [&](std::size_t) { return static_cast<double>(random() % 7); }),
        // differences from anything ordinary round to one value
        make(200, [](std::size_t i) { return 1e-30 * static_cast<double>((i * 77) % 200); }),
        make(50, [](std::size_t i) { return (i % 2 == 0 ? 1e9 : -2e4) + static_cast<double>(i); }),
        {nan, 3, inf, 3, nan, -inf, 1, 2, 0.0F, -0.0F, 1e38F},
        {nan, inf, nan},
        {1, 3},
    };
    for (std::size_t a = 0; a < tables.size(); ++a)
        for (std::size_t b = 0; b < tables.size(); ++b)
            EXPECT_EQ(nearestLevels(tables[a], tables[b], static_cast<int>(tables[a].size())),
                      plainSearch(tables[a], tables[b]))
                << "source " << a << ", table " << b;
}

TEST(SpreadLevels, LeavesOutTheFlatEnds)
{
    // 0 to 100 and 900 to 1023 are constant, a ramp between.
    std::vector<float> source(1024);
    for (int i = 0; i < 1024; ++i)
        source[static_cast<std::size_t>(i)] = static_cast<float>(std::clamp(i, 100, 900));
    std::vector<float> out(256);
    spreadLevels(source, false, out);
    EXPECT_EQ(out[0], 100);
    EXPECT_EQ(out[1], 103);   // 800 * 1 / 255 = 3
    EXPECT_EQ(out[128], 501); // 800 * 128 / 255 = 401
    EXPECT_EQ(out[255], 900);
}

TEST(SpreadLevels, NonlinearFollowsTheCubicFromTheColdEnd)
{
    // The source level of an entry is its value. f(t) = 5e-5 t^3 - 1e-3 t^2 + 1.017 t by hand:
    // f(128) = 104.8576 - 16.384 + 130.176 = 218.6496, f(255) = 1023.37875.
    std::vector<float> falling(1024);
    std::vector<float> rising(1024);
    for (std::size_t i = 0; i < 1024; ++i) {
        falling[i] = -static_cast<float>(i);
        rising[i] = static_cast<float>(i);
    }
    std::vector<float> out(256);
    spreadLevels(falling, true, out);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[128], -219);
    EXPECT_EQ(out[255], -1023);
    spreadLevels(rising, true, out);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[127], 1023 - 219);
    EXPECT_EQ(out[255], 1023);
}

TEST(SpreadLevels, ConstantAndShortSourcesStayInside)
{
    for (const std::vector<float>& source :
         {std::vector<float>(2, 4.0F), std::vector<float>(300, 4.0F)})
        for (const bool nonlinear : {false, true}) {
            std::vector<float> out(16, -1);
            spreadLevels(source, nonlinear, out);
            EXPECT_EQ(out, std::vector<float>(16, 4.0F));
        }
}

TEST(TableFile, RecordsReplaceEntriesUpToTheFirstThatIsNone)
{
    const TempFile file("1 10.5\n-1 7\n4 7\n99999999999999999999 7\n3 30\nx 1\n0 5\n");
    std::vector<float> table = {0, 1, 2, 3};
    readTableFile(file.path().c_str(), table);
    EXPECT_EQ(table, (std::vector<float>{0, 10.5F, 2, 30}));
    readTableFile("/no/such/file", table);
    readTableFile("/tmp", table);
    EXPECT_EQ(table, (std::vector<float>{0, 10.5F, 2, 30}));
}

TEST(TableLayout, MarksLieOverTwoEntriesWhereTheBlockHasNoRoom)
{
    const struct {
        int levels;
        bool extended;
        std::size_t bytes;
        std::size_t at;
        int count;
        int low;
        int high;
    } rows[] = {
        {256, false, 1024, 0, 254, 1, 254},    {256, true, 1280, 4, 256, 0, 255},
        {1024, false, 4096, 0, 1022, 1, 1022}, {16, false, 256, 4, 16, 0, 15}, // 192 bytes free
        {62, false, 256, 4, 62, 0, 61},                                        // 8 bytes free
        {63, false, 256, 0, 61, 1, 61},                                        // 4 bytes free
        {62, true, 256, 4, 62, 0, 61},                                         // just fits
        {63, true, 512, 4, 63, 0, 62},
    };
    for (const auto& row : rows) {
        const NbTableLayout layout = layOutTable(row.levels, row.extended);
        EXPECT_EQ(layout.blockBytes, row.bytes) << row.levels;
        EXPECT_EQ(layout.tableAt, row.at) << row.levels;
        EXPECT_EQ(layout.count, row.count) << row.levels;
        EXPECT_EQ(layout.low, row.low) << row.levels;
        EXPECT_EQ(layout.high, row.high) << row.levels;
    }
}

TEST(PixelTable, CellsAreMarkedLimitedConvertedAndLimitedAgain)
{
    NbGridHeader header;
    header.table = layOutTable(256, false); // usable: 1 to 254
    std::vector<std::uint16_t> conversion(1024);
    for (std::size_t i = 0; i < conversion.size(); ++i)
        conversion[i] = static_cast<std::uint16_t>(255 - i / 4);
    const auto table = std::make_unique<NbPixelTable>();
    const auto at = [&](int cell) { return table->pixel[static_cast<std::uint16_t>(cell)]; };

    header.versionCode = 11;
    fillPixelTable(conversion, -1, header, *table);
    EXPECT_EQ(at(-1) & 0xFF, 255);
    EXPECT_EQ(at(-2), 254); // as level 0, which is 255
    EXPECT_EQ(at(400), 155);
    EXPECT_EQ(at(1023), 1);
    EXPECT_EQ(at(30000), 1);

    header.versionCode = 10;
    fillPixelTable(conversion, -1, header, *table);
    EXPECT_EQ(at(-1), 0);
    EXPECT_EQ(at(0), 255);
    EXPECT_EQ(at(1023), 0);
}

TEST(ChannelElements, TheFirstRuleThatFitsDecides)
{
    const struct {
        const char* name;
        int column;
        const char* expected; // counts, physical, label, upper end of the range, sun
    } rows[] = {
        {"IR1,IR/_T,_R", 0, "IR1 IR_T P-IR 323 off"},
        {"AVHRR4", 2, "IR1 IR_T P-IR 323 off"},
        {"AVHRR5", 0, "IR2 IR2_T P-I2 323 off"},
        {"IR3", 0, "IR3 IR3_T P-WV 323 off"},
        {"VISIBLE", 1, "VIS VIS_A P-VS 1 sun"},
        {"AVHRR1", 0, "VIS VIS_A P-VS 1 sun"},
        {"AVHRR2", 0, "VIS2 VIS2_A P-V2 1 sun"},
        {"AVHRR3A", 0, "AVHRR3A AVHRR3A_A P-V3 1 sun"},
        {"AVHRR3B", 0, "IR4 IR4_T P-I4 323 off"},
        {"B01,1/_A,_R/0.47", 0, "B01 B01_A P-V1 1 sun"},
        {"B06,6/_A,_R/", 1, "B06 B06_A NIR3 1 sun"},
        {"B04,4/_A,_R/", 2, "B04 B04_A P-B04 1 sun"},
        {"B12,12/_T,_R/", 0, "B12 B12_T P-O3 323 off"},
        {"B16,16/_T,_R/", 1, "B16 B16_T CO2 323 off"},
        {"B03,3/_A,_R/", 1, "VIS VIS_A P-VIS3 1 sun"},
        {"B03,3/_T,_R/", 0, "IR3 IR3_T P-WV 323 off"},
        {"B13,13/_T,_R/", 1, "IR1 IR1_T P-LWIR1 323 off"},
        {"B04,4/_T,_R/", 2, "IR1 IR1_T P-B13 323 off"},
        {"B05,5/_T,_R/", 0, "IR2 IR2_T P-I2 323 off"},
        {"B15,15/_T,_R/", 0, "IR2 IR2_T P-I2 323 off"},
        {"B08,8/_T,_R/", 0, "IR3 IR3_T P-WV 323 off"},
        {"B07,7/_T,_R/", 0, "IR4 IR4_T P-I4 323 off"},
        {"B02,2/_T,_R/", 0, "IR4 IR4_T P-I4 323 off"},
        {"B09,9/_A,_R/", 0, "none"},
        {"B13", 0, "none"},
        {"ir1", 0, "none"},
        {"", 0, "none"},
    };
    for (const auto& row : rows) {
        const auto found = channelElements(row.name, row.column, "P-");
        const std::string text = !found
                                     ? "none"
                                     : found->counts + " " + found->physical + " " + found->label +
                                           " " + std::to_string(static_cast<int>(found->high)) +
                                           (found->keepsSunAdjust ? " sun" : " off");
        EXPECT_EQ(text, row.expected) << row.name;
    }
}

TEST(Label, PrefixIsTheSatelliteWordUpToItsHyphen)
{
    const struct {
        const char* word;
        const char* prefix;
    } rows[] = {
        {"MTSAT-2 ", "MTSAT-"}, {"Himawa-8", ""}, {"GOES-10 ", "GOES-"}, {"-       ", "-"},
        {"MSG1    ", "MSG1-"},  {"METEO   ", ""}, {"        ", "-"},     {"GM\xE5S    ", "GM-"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(labelPrefix(row.word, false), row.prefix) << row.word;
    EXPECT_EQ(labelPrefix("Himawa-8", true), "MTSAT-");
}

TEST(SatelliteWord, ShortensHimawariInItsOwnFormat)
{
    NbSatObject object{};
    std::strcpy(object.satName, "Himawari-9");
    EXPECT_EQ(GetSatName(object), "Himawari-9");
    object.fileFormatId = NB_FORMAT_HISD;
    EXPECT_EQ(GetSatName(object), "Himawa-9");
    std::memset(object.satName, 'x', sizeof object.satName); // no end
    EXPECT_EQ(GetSatName(object), std::string(16, 'x'));
}

} // namespace
