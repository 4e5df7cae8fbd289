// Nothing is left behind by one run, or one open file, that another could notice.
#include "geo/nbShoreMapFormat.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatNav.h"
#include "tests/support/conversions.h"

#include <array>
#include <bit>
#include <cstdint>
#include <gnu/libc-version.h>
#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <string_view>

namespace {

// In one process, between conversions of other formats, as in a process of its own.
TEST(HiddenState, EveryRunGivesTheSameBytes)
{
    const auto all = conversions();
    std::vector<std::unique_ptr<ConversionFolder>> folders;
    std::vector<Bytes> alone;
    for (const Conversion& c : all) {
        folders.push_back(std::make_unique<ConversionFolder>(c));
        ConversionFolder& folder = *folders.back();
        const auto result = runProgram(NIMBEX_PROGRAM, {"-v", "-b", folder.dir / "in",
                                                        folder.dir / "out", folder.dir / "map"});
        ASSERT_EQ(result.status, 0) << c.format << result.err;
        alone.push_back(folder.output());
    }
    StderrCapture quiet;
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < all.size(); ++i) {
            const std::size_t k = round == 0 ? i : all.size() - 1 - i;
            folders[k]->reset();
            EXPECT_EQ(folders[k]->run(), 0) << all[k].format;
            EXPECT_EQ(folders[k]->output(), alone[k]) << all[k].format << ", round " << round;
        }
    }
}

// A file, read step by step; what each step gives is kept.
class Reader {
public:
    Reader(const Bytes& bytes, const char* counts, const char* physics, double lon, double lat,
           double size)
        : file_(bytes), counts_(counts), physics_(physics)
    {
        for (std::size_t i = 0; i < n; ++i) { // a field of 6 x 4 sizes
            lon_[i] = lon + size * 6 * static_cast<double>(i % columns) / columns;
            lat_[i] = lat - size * 4 * static_cast<double>(i / columns) / rows;
        }
    }
    ~Reader()
    {
        if (object_.fileFormatId != 0) nbSatCloseObject(&object_);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    static constexpr int steps = 8;
    static constexpr std::size_t columns = 24;
    static constexpr std::size_t rows = 16;
    static constexpr std::size_t n = columns * rows;
    void readAll()
    {
        for (int number = 0; number < steps; ++number)
            step(number);
    }
    void step(int number)
    {
        std::array<std::int16_t, n> levels{};
        std::array<float, n> values{};
        std::array<float, 4096> table{};
        int room = 4096;
        double lon[n], lat[n];
        switch (number) {
        case 0:
            keep(std::array{nbSatOpenObject(&object_, file_.path().c_str())});
            break;
        case 1:
            keep(std::array{nbSatSetElems(&object_, counts_)});
            break;
        case 2:
            nbSatLonLatToPixLin(&object_, lon_, lat_, pixel_, line_, n);
            keep(pixel_), keep(line_);
            break;
        case 3:
            nbSatGetI2DataByPixLin(&object_, pixel_, line_, levels.data(), n);
            keep(levels);
            break;
        case 4:
            nbSatGetCalTable(&object_, physics_, table.data(), &room);
            keep(table);
            keep(std::array{nbSatSetElems(&object_, physics_)});
            break;
        case 5:
            nbSatGetR4DataByPixLin(&object_, pixel_, line_, values.data(), n);
            keep(values);
            break;
        case 6:
            nbSatPixLinToLonLat(&object_, pixel_, line_, lon, lat, n);
            for (std::size_t i = 0; i < n; ++i)
                keep({static_cast<float>(lon[i]), static_cast<float>(lat[i])});
            break;
        default:
            nbSatCloseObject(&object_);
        }
    }
    const std::vector<float>& results() const { return results_; }

private:
    void keep(std::initializer_list<float> values) { keep(std::vector<float>(values)); }
    template <class Values>
    void keep(const Values& values)
    {
        for (const auto value : values)
            results_.push_back(static_cast<float>(value));
    }

    TempFile file_;
    const char* counts_;
    const char* physics_;
    double lon_[n], lat_[n];
    NbSatObject object_{};
    float pixel_[n], line_[n];
    std::vector<float> results_;
};

// A file of each format, and another one that differs in what a driver could share by mistake.
std::vector<std::unique_ptr<Reader>> readers()
{
    std::vector<std::unique_ptr<Reader>> all;
    const auto add = [&](const auto& synth, const char* counts, const char* physics, double lon,
                         double lat, double size) {
        all.push_back(std::make_unique<Reader>(synth.bytes(), counts, physics, lon, lat, size));
    };
    SynthNgac ngac;
    SynthNgacv1 ngacv1;
    ngac.lines = ngacv1.lines = 30;
    SynthNgac ngacLater = ngac;
    SynthNgacv1 ngacv1Later = ngacv1;
    ngacLater.orbit.nodeLon = ngacv1Later.orbit.nodeLon = 20;
    ngacLater.infrared[1][1] = -180000;
    ngacv1Later.slope[3] = -170000;
    add(SynthHisd{.columns = 40, .diskLines = 40}, "B13", "B13_T", 125, 20, 5);
    add(SynthHisd{.band = 3, .columns = 50, .diskLines = 50, .bigEndian = true, .subLon = 100},
        "B03", "B03_A", 85, 20, 5);
    add(SynthHrit{.columns = 40, .imageLines = 40}, "IR1", "IR1_T", 125, 20, 5);
    add(SynthHrit{.projection = "GEOS(100.00)", .columns = 50, .imageLines = 50}, "IR1", "IR1_T",
        85, 20, 5);
    add(SynthNative{.channels = {0}, .columns = 1862, .lines = 1862}, "VIS", "VIS_A", 0.1, 0, 0.03);
    add(
        SynthNative{
            .satelliteId = 321, .channels = {8}, .subLon = 9.5F, .columns = 1862, .lines = 1862},
        "IR1", "IR1_T", 9.6, 0, 0.03);
    add(SynthRdat{.columns = 60, .lines = 40}, "B13", "B13_T", 132.5, 31.8, 0.1);
    add(SynthRdat{.columns = 50, .lines = 50, .subLon = 130.7}, "B13", "B13_T", 122.5, 31.8, 0.1);
    add(SynthVissr{.columns = 40, .lines = 40}, "IR1", "IR1_T", 125, 20, 5);
    add(SynthVissr{.ebcdic = true, .columns = 50, .lines = 50, .subLon = 100}, "IR1", "IR1_T", 85,
        20, 5);
    add(SynthGvar{}, "IR1", "IR1_T", -75.3, 0.75, 0.03);
    add(SynthGvar{.records = false, .satellite = 12, .firstScan = 201}, "IR1", "IR1_T", -75.3, 0.75,
        0.03);
    add(ngac, "4", "4_T", -0.4, 0.7, 0.1);
    add(ngacLater, "4", "4_T", 19.6, 0.7, 0.1);
    add(ngacv1, "4", "4_T", -0.4, 0.7, 0.1);
    add(ngacv1Later, "4", "4_T", 19.6, 0.7, 0.1);
    return all;
}

TEST(HiddenState, OpenFilesOfAllFormatsDoNotDisturbEachOther)
{
    StderrCapture quiet;
    const auto alone = readers();
    for (const auto& reader : alone)
        reader->readAll();
    const auto together = readers();
    for (int step = 0; step < Reader::steps; ++step)
        for (const auto& reader : together)
            reader->step(step);
    for (std::size_t i = 0; i < alone.size(); ++i) {
        const auto& expected = alone[i]->results();
        ASSERT_EQ(together[i]->results().size(), expected.size()) << i;
        EXPECT_EQ(expected[0], 0) << i;
        std::size_t places = 0; // on the image
        for (std::size_t k = 0; k < expected.size(); ++k) {
            EXPECT_EQ(std::bit_cast<std::uint32_t>(together[i]->results()[k]),
                      std::bit_cast<std::uint32_t>(expected[k]))
                << "reader " << i << ", value " << k;
            places += k >= 2 && k < 2 + Reader::n && expected[k] >= 0 ? 1 : 0;
        }
        EXPECT_GT(places, Reader::n / 3) << i;
    }
}

// Who makes the arithmetic faster does not change what it gives. The checksums are those of all
// positions, levels, tables, values and places, made when no loop with a square root was vector
// code.
TEST(HiddenState, ArithmeticKeepsItsBits)
{
    if (std::string_view(gnu_get_libc_version()) != "2.36" || !__builtin_cpu_supports("fma"))
        GTEST_SKIP() << "the last bits of sines are those of another library or processor";
    constexpr std::array<std::uint32_t, 16> before = {
        0xa682fd6c, 0x40cd06e1, 0x6599ff9a, 0x1682791f, 0x690b082e, 0x80246e95,
        0x7a47a30b, 0xd512ae8c, 0x226f89e4, 0x5fe801aa, 0x795c0f01, 0x150b1720,
        0x0efe44d6, 0x9eaf6934, 0x1aa3c6c0, 0x9055938e};
    StderrCapture quiet;
    const auto all = readers();
    ASSERT_EQ(all.size(), before.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i]->readAll();
        EXPECT_EQ(nbpCrc32(std::as_bytes(std::span(all[i]->results()))), before[i]) << i;
    }
}

} // namespace
