#include "sat/nbSatElem.h"

#include "sat/nbSat.h"
#include "sat/nbSatSetLut.h"
#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <vector>

namespace {

TEST(SatSetElements, SelectsCountsAndPhysicalValues)
{
    FakeImage image{.pixels = 20, .lines = 10, .levels = 256, .errorValue = 999.0F};
    NbSatObject object = image.open();
    int pixels = 0;
    int lines = 0;
    int levels = 0;
    float error = 0;
    EXPECT_EQ(nbSatSetElements(&object, "IR1", &pixels, &lines, &levels, &error), 10001);
    EXPECT_STREQ(object.elemName, "IR1");
    EXPECT_EQ(object.elemKind, 0);
    nbSatSetLutByBiasScale(&object, 0, 1, 256, 0);
    EXPECT_EQ(nbSatSetElements(&object, "IR1_T", &pixels, &lines, &levels, &error), 20001);
    EXPECT_STREQ(object.elemName, "IR1_T");
    EXPECT_EQ(object.elemKind, 1);
    EXPECT_EQ(object.elemNum, 1);
    EXPECT_EQ(object.pixelNum, 20);
    EXPECT_EQ(object.lineNum, 10);
    EXPECT_EQ(object.levelNum, 256);
    EXPECT_EQ(object.errorValue, 999.0F);
    EXPECT_EQ(object.lut, nullptr); // the level conversion went with the old element
    EXPECT_EQ(nbSatSetElems(&object, "IR1_P"), 10002);
    EXPECT_EQ(object.elemNum, 2);
    nbSatCloseObject(&object);
}

TEST(SatSetElements, RefusalLeavesNoSelection)
{
    FakeImage image;
    NbSatObject object = image.open();
    ASSERT_EQ(nbSatSetElems(&object, "IR1_T"), 20001);
    StderrCapture err;
    EXPECT_EQ(nbSatSetElems(&object, "IR9"), -1);
    EXPECT_EQ(err.get(), "NB_Error: nbSatSetElements() : bad elementName 'IR9' <-1>\n");
    EXPECT_EQ(object.elemName, nullptr);
    EXPECT_EQ(object.elemNum, 0);
    EXPECT_EQ(object.elemKind, 0);
    EXPECT_EQ(object.pixelNum, 0);
    EXPECT_EQ(object.lineNum, 0);
    EXPECT_EQ(object.levelNum, 0);
    nbSatCloseObject(&object);
}

TEST(SatSetElements, ListGivesTheCodeOfItsLastSuccess)
{
    FakeImage images[3];
    images[2].slots.SetElements = [](void*, const char*, int*, int*, int*, float*) { return 0; };
    NbSatObject objects[3] = {images[0].open(), images[1].open(), images[2].open()};
    objects[0].objectNum = 3;
    StderrCapture err;
    EXPECT_EQ(nbSatSetElems(objects, "IR1_T"), 20001);
    EXPECT_EQ(err.get(), "");
    EXPECT_EQ(objects[1].elemKind, 1);
    EXPECT_EQ(objects[2].elemName, nullptr);
    for (NbSatObject& object : objects)
        nbSatCloseObject(&object);
}

TEST(SatSetElements, TakesTheNameFromAnObjectOfTheList)
{
    FakeImage images[2];
    NbSatObject objects[2] = {images[0].open(), images[1].open()};
    objects[0].objectNum = 2;
    nbSatSetElems(objects, "IR1_T");
    EXPECT_EQ(nbSatSetElems(objects, objects[0].elemName), 20001);
    for (NbSatObject& object : objects) {
        EXPECT_STREQ(object.elemName, "IR1_T");
        nbSatCloseObject(&object);
    }
}

TEST(SatIntpTable, IsMadeForPhysicalElementsAndStaysForTheNext)
{
    FakeImage image;
    NbSatObject object = image.open();
    nbSatSetIntp(&object, 1);
    nbSatSetElems(&object, "IR1");
    EXPECT_EQ(object.intpTable, nullptr);
    nbSatSetElems(&object, "IR1_T");
    ASSERT_NE(object.intpTable, nullptr);
    EXPECT_EQ(object.intpTable[100], 250.0F);
    EXPECT_EQ(object.intpTable[32767], -1.0F); // any count may index it
    image.table.assign(256, 1.0F);             // as of another element
    nbSatSetElems(&object, "IR1_T");
    EXPECT_EQ(object.intpTable[100], 250.0F);
    int levels = 256;
    EXPECT_EQ(nbSatGetIntpTbl(&object, "IR1_T", &levels), 0); // asked for, it is made anew
    EXPECT_EQ(object.intpTable[100], 1.0F);
    nbSatCloseObject(&object);
}

TEST(SatIntpTable, FailureIsToldAndTheRunGoesOn)
{
    FakeImage image;
    NbSatObject object = image.open();
    const std::string rest =
        " : テーブル作成に失敗しました \n正常に内挿が行えないおそれがあります \n";
    ASSERT_EQ(nbSatSetElems(&object, "IR1_X"), 20001);
    {
        StderrCapture err;
        EXPECT_EQ(nbSatSetIntp(&object, 3), 0);
        EXPECT_EQ(err.get(), "nbSatSetIntp()" + rest);
    }
    StderrCapture err;
    EXPECT_EQ(nbSatSetElems(&object, "IR1_X"), 20001);
    EXPECT_EQ(err.get(), "nbSatSetElements()" + rest);
    EXPECT_EQ(object.intpTable, nullptr);
    nbSatCloseObject(&object);
}

TEST(SatElem, ClosedObjectsRefuse)
{
    NbSatObject object{};
    int n = 0;
    StderrCapture err;
    EXPECT_EQ(nbSatGetChannel(&object, 0), -2);
    EXPECT_EQ(nbSatGetCalTable(&object, "IR1_T", nullptr, &n), -1);
    EXPECT_EQ(nbSatGetChNum(&object), -1);
    EXPECT_EQ(nbSatSetElems(&object, "IR1"), -1);
    EXPECT_EQ(err.get(),
              "NB_Error: nbSatElem nbSatGetChannel() : 衛星オブジェクトが開かれていません \n"
              "NB_Error: nbSatSetElements() : bad elementName 'IR1' <-1>\n");
}

TEST(SatElem, PrintInfoListsWhatIsOpen)
{
    FakeImage image{.pixels = 2200, .lines = 550};
    NbSatObject object = image.open();
    nbSatSetElems(&object, "IR1");
    EXPECT_EQ(nbSatGetChannel(&object, 1), 8);
    StdoutCapture out;
    nbSatPrintInfo(&object);
    EXPECT_EQ(out.get(), "NB_Info: file name : ''\n"
                         "NB_Info: satellite : 'Fake-1'\n"
                         "NB_Info: ymdhms    : 2020 08 01 03 00 00\n"
                         "NB_Info: selected  : 'IR1'\n"
                         "NB_Info: channel   : 1\n"
                         "NB_Info:           pixel  line  level  name  / physics  / comment\n"
                         "NB_Info:     [0]    2200,   550,  256 'IR1,IR/_T,_X,_P/fake'\n"
                         "NB_Info: fileFormatId : <14>\n");
    nbSatCloseObject(&object);
}

TEST(SatBand, CoefficientsOfTheFirstRowAndTheEnds)
{
    double out[6] = {};
    ASSERT_EQ(nbSatSenPlanckCoeff2(1, out), 0);
    EXPECT_EQ(out[0], 613.56523);
    EXPECT_EQ(out[1], 1260.0262);
    ASSERT_EQ(nbSatSenPlanckCoeff(2, out), 0);
    const std::vector<double> row2 = {-1.6860172, 1.0157599,  -3.0757067e-05,
                                      1.6798319,  0.98430338, 3.0608365e-05};
    EXPECT_EQ(std::vector<double>(out, out + 6), row2);
    for (const int band : {0, -1, 34, 36, 2147483647}) {
        EXPECT_EQ(nbSatSenPlanckCoeff(band, out), -1);
        EXPECT_EQ(nbSatSenPlanckCoeff2(band, out), -1);
        EXPECT_EQ(nbSatSenPlanckRadWaveLen(band, 250), -9999.0);
        EXPECT_EQ(nbSatSenPlanckTempWaveNum(band, 1), -9999.0);
    }
    EXPECT_EQ(nbSatSenPlanckCoeff2(33, out), 0);
    EXPECT_EQ(nbSatSenPlanckRadWaveLen(33, 250), -9999.0); // no sensor there
}

TEST(SatBand, TemperatureAndRadianceAreInverse)
{
    // The band corrections of row 1 and 2 were fitted apart for the two ways: within 0.01 K.
    for (const int band : {1, 2, 8, 11, 19, 22})
        for (const double t : {180.0, 250.0, 320.0}) {
            EXPECT_NEAR(nbSatSenPlanckTempWaveLen(band, nbSatSenPlanckRadWaveLen(band, t)), t,
                        0.01);
            EXPECT_NEAR(nbSatSenPlanckTempWaveNum(band, nbSatSenPlanckRadWaveNum(band, t)), t,
                        0.01);
        }
    for (const double bad : {0.0, -1.0, std::nan("")}) {
        EXPECT_EQ(nbSatSenPlanckRadWaveLen(8, bad), -9999.0);
        EXPECT_EQ(nbSatSenPlanckRadWaveNum(8, bad), -9999.0);
        EXPECT_EQ(nbSatSenPlanckTempWaveLen(8, bad), -9999.0);
        EXPECT_EQ(nbSatSenPlanckTempWaveNum(8, bad), -9999.0);
        EXPECT_EQ(nbSatRadNumToRadLen(8, bad), -9999.0);
        EXPECT_EQ(nbSatRadLenToRadNum(8, bad), -9999.0);
    }
}

TEST(SatBand, RadiancePerWavenumberIsThatPerWavelengthTimesSquaredWavelength)
{
    // |d lambda / d nu| is lambda^2: at 10.826 um a wavenumber of 1 cm^-1 is 0.01172023 um wide,
    // and 1 W is 1000 mW.
    EXPECT_NEAR(nbSatRadLenToRadNum(8, 8.0), 8.0 * 11.7202276, 1e-6);
    EXPECT_NEAR(nbSatRadNumToRadLen(8, 8.0 * 11.7202276), 8.0, 1e-7);
}

TEST(SatBand, AlbedoByGroupOfBands)
{
    // 2020-01-05 08 UTC, perihelion at 0.983244 astronomical units (published almanac); the
    // library's distance is a series good to 1e-4.
    const double perihelion = 58853.33;
    const double square = 0.983244 * 0.983244;
    EXPECT_NEAR(nbSatGetAlbedoWaveLen(1, perihelion, 100) * 1669.049248 / 100,
                square * std::numbers::pi, 1e-3);
    EXPECT_NEAR(nbSatGetAlbedoWaveLen(12, perihelion, 100) * 641.5092 / 100, square, 4e-4);
    EXPECT_NEAR(nbSatGetAlbedoWaveLen(17, perihelion, 100) * 23.9163 / 100, square, 4e-4);
    // A day count: on day 3 the cosine is 1, half a year later -1.
    EXPECT_DOUBLE_EQ(nbSatGetAlbedoWaveLen(8, 3, 20.76), 100 * 0.9833 * 0.9833);
    EXPECT_DOUBLE_EQ(nbSatGetAlbedoWaveLen(11, 185.5, 25.11), 100 * 1.0167 * 1.0167);
    for (const int band : {0, 18, -5})
        EXPECT_TRUE(std::isnan(nbSatGetAlbedoWaveLen(band, perihelion, 100))) << band;
}

} // namespace
