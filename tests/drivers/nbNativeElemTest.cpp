#include "tests/drivers/nativeScene.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

const std::vector<int> allChannels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};

TEST(NativeElements, NamesLeadToTheirChannels)
{
    constexpr int none = -1;
    const struct {
        std::string_view names; // by commas
        int channel, common;    // the latter in the order of all drivers
    } rows[] = {
        {"VIS,VS1,0.6,0,B03", 0, 5},
        {"VS2,0.8,1,B04", 1, 6},
        {"VS3,NIR,1.6,2,B05", 2, 7},
        {"IR4,3.9,3,B07", 3, 4},
        {"IR3,WV,6.2,4,B08", 4, 8},
        {"IR5,7.3,5,B10", 5, 3},
        {"IR6", 6, 9},
        {"IR7,8.7,6", 7, 10}, // 8.7 um leads to 9.7, 9.7 to 13.4
        {"IR1,IR,8", 8, 1},
        {"IR2,9", 9, 2},
        {"IR8,OZN,9.7,7", 10, 11},
        {"HRV", 11, 0},
        // Of four characters, emptied, without a row, or nothing.
        {"10.8,12.0,13.4,0.75,B11,B12,B13,B15,B16,IR9,10,11,VI,vis,VISX,HRVX", none, none},
    };
    NativeScene scene(SynthNative{.channels = allChannels});
    ASSERT_EQ(scene.code, 0);
    for (const auto& row : rows)
        for (std::string_view rest = row.names; !rest.empty();) {
            const std::string name(rest.substr(0, rest.find(',')));
            rest.remove_prefix(std::min(rest.size(), name.size() + 1));
            StderrCapture err;
            EXPECT_EQ(scene.select(name.c_str()), row.channel == none ? -1 : 10001) << name;
            if (row.channel != none) {
                EXPECT_EQ(scene.object.GetChannel(scene.p(), 0), row.channel) << name;
                EXPECT_EQ(scene.object.GetChannel(scene.p(), 1), row.common) << name;
            }
            EXPECT_EQ(err.get(), "") << name;
        }
    for (const char* name : {"", "_", "_T", "IR1_", "IR1_X", "IR1_A", "VIS_T", "IR1_TT", "10.8_T"})
        EXPECT_EQ(scene.select(name), -1) << name;
    EXPECT_EQ(scene.select(nullptr), -1);
}

TEST(NativeElements, AreOfferedByTheMarkedChannels)
{
    NativeScene scene(SynthNative{});
    const auto infrared = scene.info(8), hrv = scene.info(11);
    EXPECT_EQ(infrared.text, "IR1,IR,10.8,8,B13/_T,_R/ 9.8-11.8, 3.0km");
    EXPECT_EQ(infrared.pixels * 1000 + infrared.lines, 30020);
    EXPECT_EQ(infrared.levels, 1024);
    EXPECT_EQ(hrv.text, "HRV,0.75,11/_A,_R/0.60-0.90, 1.0km");
    EXPECT_EQ(hrv.pixels * 1000 + hrv.lines, 88060); // the whole grid, not the stored half
    EXPECT_EQ(scene.info(1).text, " None / None /  -  ");
    for (const int channel : {1, 8, 11, 12})
        EXPECT_EQ(scene.info(channel).result, 0);
    StderrCapture err;
    EXPECT_EQ(scene.info(13).result, -1);
    EXPECT_EQ(scene.info(-1).result, -1);
    EXPECT_EQ(scene.select("VS2_A"), -1);
    EXPECT_EQ(err.get(), "NB_Error: nbNativeGetChInfo() : bad channel number '13'\n"
                         "NB_Error: nbNativeGetChInfo() : bad channel number '-1'\n"
                         "NB_Error: nbNativeSetElements() : bad channel number '1'\n");
    ASSERT_EQ(scene.select("HRV_A"), 20001);
    EXPECT_EQ(scene.size[0] * 1000 + scene.size[1], 88060);
    EXPECT_EQ(scene.size[2], 1024);
}

TEST(NativeCalibration, FollowsTheSatellitesConstants)
{
    // Worked by hand in double from the wavenumbers and irradiances of the satellites (EUMETSAT,
    // EUM/MET/TEN/11/0569 and 12/0332 for the last two): IR 10.8 at R = 500 x 0.18 - 9, IR 3.9 at
    // R = (120 x 0.08 - 4) / 28, VIS at R = 500 x 0.02 - 1, HRV at R = 120 x 0.24 - 12; the sun
    // stands at 1.01485479 astronomical units on 2020-08-02.
    const struct {
        int id;
        double ir108, ir39, vis, hrv;
    } rows[] = {{321, 279.962045, 267.232076, 0.44643216, 0.68899550},
                {322, 280.081807, 267.354154, 0.44659032, 0.68798308},
                {323, 279.870522, 265.636774, 0.44448875, 0.68859052},
                {324, 280.016063, 266.249336, 0.44618592, 0.68805100},
                {400, 0, 0, 0, 0}}; // no constants, no values
    for (const auto& row : rows) {
        const SynthNative synth{.idOffset = 0x1424, .satelliteId = row.id, .channels = allChannels};
        NativeScene scene(synth);
        ASSERT_EQ(scene.code, 0);
        const auto at = [&](const char* name, std::size_t level) {
            return static_cast<double>(scene.table(name).at(level));
        };
        EXPECT_NEAR(at("IR1_T", 500), row.ir108, 5e-5) << row.id; // a float's steps are 3e-5
        EXPECT_NEAR(at("VIS_A", 500), row.vis, 1e-7) << row.id;
        EXPECT_NEAR(at("HRV_A", 120), row.hrv, 1e-7) << row.id;
        EXPECT_NEAR(at("IR1_R", 500), 81, 1e-5);
        EXPECT_EQ(at("IR1_R", 3), 0); // negative radiance is none
        EXPECT_EQ(at("IR1_T", 3), 0);
        EXPECT_EQ(at("VIS_A", 3), 0);
        EXPECT_EQ(at("HRV_A", 1023), row.id == 400 ? 0 : 1); // never above 1
    }
    // IR 3.9 has a slope of its own here: radiances are small.
    for (const auto& row : rows) {
        NativeScene scene(SynthNative{.idOffset = 0x1424,
                                      .satelliteId = row.id,
                                      .channels = {3},
                                      .slope = 0.02 / 28,
                                      .offset = -1.0 / 28});
        EXPECT_NEAR(static_cast<double>(nbpNativeLevelToPhys(scene.p(), 2, 120, 3)), row.ir39,
                    5e-5);
    }
}

TEST(NativeCalibration, RefusesWhatItHasNoValueFor)
{
    NativeScene scene(SynthNative{.channels = {8, 11}});
    StderrCapture err;
    // The bound of values is one above the highest count.
    EXPECT_FLOAT_EQ(nbpNativeLevelToPhys(scene.p(), 3, 1024, 8), 0.18F * 1024 - 9);
    EXPECT_EQ(nbpNativeLevelToPhys(scene.p(), 3, 1025, 8), -1.0F);
    EXPECT_EQ(nbpNativeLevelToPhys(scene.p(), 2, 500, 11), 0); // no wavenumber
    EXPECT_EQ(nbpNativeLevelToPhys(scene.p(), 1, 500, 8), 0);
    EXPECT_EQ(nbpNativeLevelToPhys(scene.p(), 4, 500, 8), -1.0F);
    EXPECT_EQ(nbpNativeLevelToPhys(scene.p(), 3, 500, 12), -1.0F);
    float table[3] = {7, 7, 7};
    int n = 2;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1_R", table, &n), 0);
    EXPECT_EQ(n, 1024);
    EXPECT_EQ(table[2], 7.0F);
    n = -1;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1_R", table, &n), -1);
    n = 3;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "", table, &n), -1);
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1_R", nullptr, &n), -1);
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1", table, &n), -1);
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "10.8_T", table, &n), -1);
    n = 0;
    EXPECT_EQ(scene.object.GetCalTable(scene.p(), "IR1_T", nullptr, &n), 0); // asks for the size
    EXPECT_EQ(n, 1024);
    EXPECT_EQ(err.get(),
              "NB_Error: nbpNativeLevelToPhys() : level=1025 > 1024. physElem=3\n"
              "NB_Error: nbpNativeLevelToPhys() : チャンネル番号が間違っています(ch = 11)\n"
              "NB_Error: nbpNativeLevelToPhys() : チャネル番号が間違っています(ch = 8)\n"
              "NB_Fatal: nbpNativeLevelToPhys() : INTERNAL ERROR ( physics = 4 ).\n"
              "NB_Error: nbNativeGetCalTable() : 渡された引数に問題があります\n"
              "NB_Error: nbNativeGetCalTable() : 渡された引数に問題があります\n"
              "NB_Error: nbNativeGetCalTable() : 渡された引数に問題があります\n"
              "NB_Error: nbNativeGetCalTable() : bad element name 'IR1' 84\n"
              "NB_Error: nbNativeGetCalTable() : bad element name '10.8_T' -9999\n");
}

} // namespace
