#include "frontend/options.h"
#include "frontend/mapGrid.h"
#include "frontend/setupFile.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

namespace {

NbSettings parse(std::vector<const char*> arguments)
{
    return parseCommandLine(arguments);
}

// A text that is unequal when any setting is.
std::string allOf(const NbSettings& s)
{
    std::string text = s.inputName + "|" + s.outputName + "|" + s.setupName;
    const auto add = [&](const char* name, auto value) {
        text += std::string(" ") + name + "=" + std::to_string(value);
    };
    add("names", s.nameCount), add("m", s.listInput), add("mode", s.overlapMode);
    add("c", s.channel), add("i", s.gap), add("s", s.difference), add("p", s.projection);
    add("g", s.roughness), add("b", s.bitCount), add("inv", s.inverted), add("n", s.nonlinear);
    add("a", s.sunAdjust), add("x", s.offsetX), add("y", s.offsetY), add("ch", s.offsetChannel);
    add("k", s.landmark), add("v", s.versionCode), add("z", s.compress), add("e", s.extended);
    add("f", s.correction), add("col", s.nameColumn), add("w", s.sensorWord);
    const auto addText = [&](const char* name, const std::optional<std::string>& value) {
        text += std::string(" ") + name + "=" + value.value_or("(none)");
    };
    addText("t", s.tableName), addText("h", s.shiftName), addText("box", s.landmarkBox);
    addText("d", s.dataDirectory);
    return text;
}

struct OptionCase {
    std::vector<const char*> arguments;
    void (*expect)(NbSettings& s); // changes the defaults into what is expected
};

const OptionCase optionCases[] = {
    {{"in", "-c=3", "out", "-z", "setup", "fourth"},
     [](NbSettings& s) {
         s.inputName = "in", s.outputName = "out", s.setupName = "setup";
         s.nameCount = 3, s.channel = 3, s.compress = true;
     }},
    {{"-q", "-", "-Q=1", "-c", "-c=x", "-C= 5x"}, [](NbSettings& s) { s.channel = 5; }},
    {{"-c=2", "-c=99999999999999999999"}, [](NbSettings& s) { s.channel = 2; }},
    {{"-a"}, [](NbSettings& s) { s.sunAdjust = 1; }},
    {{"-A=-12"}, [](NbSettings& s) { s.sunAdjust = -12; }},
    {{"-a=x"}, [](NbSettings& s) { s.sunAdjust = 1; }},
    {{"-b"}, [](NbSettings& s) { s.bitCount = 8; }},
    {{"-b=10"}, [](NbSettings& s) { s.bitCount = 10; }},
    {{"-b=3"}, [](NbSettings&) {}},
    {{"-b=15"}, [](NbSettings&) {}},
    {{"-b=-8"}, [](NbSettings& s) { s.bitCount = 8, s.inverted = true; }},
    {{"-b=-2147483648"}, [](NbSettings& s) { s.inverted = true; }},
    {{"-b=x"}, [](NbSettings& s) { s.bitCount = 8; }},
    {{"-e", "-f", "-n", "-K"},
     [](NbSettings& s) {
         s.extended = true, s.correction = 1, s.nonlinear = true, s.landmark = true;
     }},
    {{"-k=1,2,3,4", "-d=data/", "-t=table"},
     [](NbSettings& s) {
         s.landmark = true, s.landmarkBox = "1,2,3,4", s.dataDirectory = "data/";
         s.tableName = "table";
     }},
    {{"-d", "-t", "-w", "-y", "-h*x"}, [](NbSettings&) {}},
    {{"-g=3"}, [](NbSettings& s) { s.roughness = 3; }},
    {{"-g=3", "-g"}, [](NbSettings&) {}},
    {{"-i=4"}, [](NbSettings& s) { s.gap = 4; }},
    {{"-i=4", "-i"}, [](NbSettings&) {}},
    {{"-m"}, [](NbSettings& s) { s.listInput = true, s.overlapMode = 1; }},
    {{"-m=7"}, [](NbSettings& s) { s.listInput = true, s.overlapMode = 7; }},
    {{"-s"}, [](NbSettings& s) { s.difference = 1; }},
    {{"-s=3"}, [](NbSettings& s) { s.difference = 3; }},
    {{"-s=x"}, [](NbSettings&) {}},
    {{"-p=PS"}, [](NbSettings& s) { s.projection = 0; }},
    {{"-p=disk"}, [](NbSettings& s) { s.projection = 1; }},
    {{"-p=Merc"}, [](NbSettings& s) { s.projection = 3; }},
    {{"-p=lamb"}, [](NbSettings& s) { s.projection = 4; }},
    {{"-p=lamb", "-p=grid"}, [](NbSettings&) {}},
    {{"-p=abc"}, [](NbSettings& s) { s.projection = -1; }},
    {{"-p"}, [](NbSettings&) {}},
    {{"-v"}, [](NbSettings& s) { s.versionCode = 11; }},
    {{"-v=1.0"}, [](NbSettings&) {}},
    {{"-v=2"}, [](NbSettings& s) { s.versionCode = 21; }},
    {{"-v=.5"}, [](NbSettings& s) { s.versionCode = 11; }},
    {{"-v=9.9"}, [](NbSettings& s) { s.versionCode = 99; }},
    {{"-v", "-v=10.0"}, [](NbSettings& s) { s.versionCode = 11; }},
    {{"-v=2147483647.2147483647"}, [](NbSettings&) {}},
    {{"-w=1", "-y=2"}, [](NbSettings& s) { s.sensorWord = 1, s.nameColumn = 2; }},
    {{"-y=3"}, [](NbSettings&) {}},
    {{"-y=-1"}, [](NbSettings&) {}},
    {{"-h:=1.5;7"}, [](NbSettings& s) { s.offsetX = 1.5F; }}, // the others: shiftTest.cpp
};

TEST(CommandLine, EachOptionSetsWhatItNames)
{
    for (const OptionCase& one : optionCases) {
        NbSettings expected;
        one.expect(expected);
        std::string line;
        for (const char* argument : one.arguments)
            line += std::string(argument) + " ";
        EXPECT_EQ(allOf(parse(one.arguments)), allOf(expected)) << line;
    }
}

// The record's text and one number after the setup file, against the number.
struct SetupCase {
    const char* text;
    double (*value)(const NbSettings& s, const NbProjPara& m);
    double expected;
};
const SetupCase setupCases[] = {
    {"PRJCLON 120.5\n", [](auto&, auto& m) -> double { return m.stdLon; }, 120.5},
    {"PRJCLON 180.5\n", [](auto&, auto& m) -> double { return m.stdLon; }, 0},
    {"PRJCLAT -90\n", [](auto&, auto& m) -> double { return m.stdLat1; }, -90},
    {"PRJCLAT2 30\n", [](auto&, auto& m) -> double { return m.stdLat2; }, 30},
    {"STAALT 35786\n", [](auto&, auto& m) -> double { return m.height; }, 35786},
    {"STAALT 0\n", [](auto&, auto& m) -> double { return m.height; }, 0},
    {"ELLFLG 2\nELLFLG 0\n", [](auto&, auto& m) -> double { return m.ellipsoid; }, 1},
    {"STDXPOS -7.5\n", [](auto&, auto& m) -> double { return m.baseX; }, -7.5},
    {"STDYPOS 1e39\n", [](auto&, auto& m) -> double { return m.baseY; }, 0},
    {"STDLON -180\n", [](auto&, auto& m) -> double { return m.baseLon; }, -180},
    {"STDLAT 91\n", [](auto&, auto& m) -> double { return m.baseLat; }, 50},
    {"STDXSIZ 0.25 STDXSIZ -1\n", [](auto&, auto& m) -> double { return m.stepX; }, 0.25},
    {"STDYSIZ nan\n", [](auto&, auto& m) -> double { return m.stepY; }, 0.06},
    {"STDXNUM 1\n", [](auto&, auto& m) -> double { return m.xNum; }, 501},
    {"STDXNUM 99.5\n", [](auto&, auto& m) -> double { return m.xNum; }, 100},
    {"STDYNUM 1e10\n", [](auto&, auto& m) -> double { return m.yNum; }, 501},
    {"OFFXPOS 2.5\n", [](auto& s, auto&) -> double { return s.offsetX; }, 2.5},
    {"OFFYPOS inf\n", [](auto& s, auto&) -> double { return s.offsetY; }, 0},
    {"OFFCHNO 3\n", [](auto& s, auto&) -> double { return s.offsetChannel; }, 3},
    {"BITLEN -10\n", [](auto& s, auto&) -> double { return s.bitCount + 100 * s.inverted; }, 110},
    {"BITLEN 2\n", [](auto& s, auto&) -> double { return s.bitCount; }, 2},
    {"BITLEN 15\n", [](auto& s, auto&) -> double { return s.bitCount; }, 0},
    {"VERSION 1.1\n", [](auto& s, auto&) -> double { return s.versionCode; }, 11},
    {"VERSION 10\n", [](auto& s, auto&) -> double { return s.versionCode; }, 10},
    {"VERSION 0.9\n", [](auto& s, auto&) -> double { return s.versionCode; }, 10},
    {"CMPFLG 1\n", [](auto& s, auto&) -> double { return s.compress; }, 1},
    {"EXTFLG 1\n", [](auto& s, auto&) -> double { return s.extended; }, 1},
    {"CORFLG 1\nCORFLG 2\n", [](auto& s, auto&) -> double { return s.correction; }, 1},
    {"NLNFLG 1\n", [](auto& s, auto&) -> double { return s.nonlinear; }, 1},
    {"SUNFLG 4\nSUNFLG -4\n", [](auto& s, auto&) -> double { return s.sunAdjust; }, 4},
    {"RGHFLG 1\n", [](auto& s, auto&) -> double { return s.roughness; }, 1},
    {"LNDFLG 1\n", [](auto& s, auto&) -> double { return s.landmark; }, 1},
    {"INTPLT 5\n", [](auto& s, auto&) -> double { return s.gap; }, 5},
    {"NOTAKEY 1\nINTPLT 5\n", [](auto& s, auto&) -> double { return s.gap; }, 5},
    {"; 0\nINTPLT 5\n", [](auto& s, auto&) -> double { return s.gap; }, 0},
    {"intplt 5\n", [](auto& s, auto&) -> double { return s.gap; }, 0},
    {"INTPLT", [](auto& s, auto&) -> double { return s.gap; }, 0},
    // A keyword without its number: the field takes -999, the word behind it is a keyword.
    {"STDXPOS\nSTDYPOS 5\n",
     [](auto&, auto& m) -> double { return static_cast<double>(m.baseX + m.baseY); }, -994},
};

TEST(SetupFile, EachKeywordSetsItsFieldWithinItsRange)
{
    for (const SetupCase& one : setupCases) {
        const TempFile file(one.text);
        NbSettings settings;
        NbProjPara map = defaultMap(2);
        applySetupFile(file.path().c_str(), settings, map);
        EXPECT_EQ(one.value(settings, map), one.expected) << one.text;
    }
}

TEST(SetupFile, GarbageChangesNothingAndEnds)
{
    std::string garbage(200000, '\0');
    unsigned state = 1;
    for (char& c : garbage)
        c = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24);
    const TempFile file(garbage);
    NbSettings settings;
    NbProjPara map = defaultMap(0);
    for (const std::string& path : {file.path(), std::string("/dev/zero"), std::string("/tmp")})
        applySetupFile(path.c_str(), settings, map);
    EXPECT_EQ(allOf(settings), allOf(NbSettings{}));
    EXPECT_EQ(map.stepX, 10);
}

TEST(Crop, TakesTheWholeImageAtItsStepOrTheExtentOfItsColumns)
{
    NbProjPara map = defaultMap(-1);
    map.stepX = 4; // no columns given: floor(110 / 4 + 0.5) of them
    map.yNum = 40;
    map.stepY = 3; // 120 lines, of which the image has 110
    settleCrop(map, 110, 110);
    EXPECT_EQ(map.prjType, NB_PROJ_ZOOM);
    EXPECT_EQ(map.xNum, 28);
    EXPECT_EQ(map.stepX, 110);
    EXPECT_EQ(map.yNum, 40);
    EXPECT_EQ(map.stepY, 110);
}

} // namespace
