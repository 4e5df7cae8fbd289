// The user's shift: how it is given, and what it does to the navigation.
#include "frontend/adjust.h"
#include "sat/nbSat.h"
#include "sat/nbSatElem.h"
#include "tests/frontend/hisdDisk.h"
#include "tests/sat/fakeDriver.h"

#include <gtest/gtest.h>

namespace {

NbSettings parse(const std::vector<std::string>& arguments)
{
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    return parseCommandLine(pointers);
}

TEST(Shift, EveryFormIsReadInItsTurn)
{
    const TempDir dir;
    writeText(dir / "file", "4,6\n");
    writeText(dir / "one", "5");
    writeText(dir / "bad", "x,7");
    const std::string file = dir / "file";
    struct Case {
        std::vector<std::string> arguments;
        float x;
        float y;
        std::string remembered; // empty: none
    };
    const Case rows[] = {
        {{"-h=" + file}, 4, 6, file},
        {{"-h/2=" + file}, 2, 3, file},
        {{"-h*9=" + file}, 36, 54, file},
        {{"-h:=1.5,-2.25"}, 1.5F, -2.25F, ""},
        {{"-H:=1.5"}, 1.5F, 0, ""},
        {{"-h=" + (dir / "one")}, 5, 0, dir / "one"},
        {{"-h:=1,2", "-h=" + (dir / "bad")}, 1, 2, dir / "bad"},
        // A file that is not there leaves the values at hand, which are scaled all the same.
        {{"-h:=4,6", "-h/2=" + (dir / "none")}, 2, 3, dir / "none"},
        {{"-h=" + file, "-h:=1,2"}, 1, 2, file},
        {{"-h:=1,2", "-h=" + file}, 4, 6, file},
        // No digit, or none from 1 to 9: no such option.
        {{"-h/0=" + file}, 0, 0, ""},
        {{"-h/x=" + file}, 0, 0, ""},
        {{"-h*12=" + file}, 0, 0, ""},
        {{"-h"}, 0, 0, ""},
        {{"-h:1,2"}, 0, 0, ""},
        {{"-h:=nan,inf"}, 0, 0, ""},
        {{"-h:=3e38,1", "-h*9=" + (dir / "none")}, 0, 9, dir / "none"},
    };
    for (const Case& row : rows) {
        const NbSettings settings = parse(row.arguments);
        EXPECT_EQ(settings.offsetX, row.x) << row.arguments.back();
        EXPECT_EQ(settings.offsetY, row.y) << row.arguments.back();
        EXPECT_EQ(settings.shiftName.value_or(""), row.remembered) << row.arguments.back();
    }
}

TEST(AdjNavPara, ShiftsTheOneObjectAgainstTheOffsetForItsChannel)
{
    FakeImage image;
    std::vector<NbSatObject> list = {image.open(), NbSatObject{}};
    list[0].objectNum = 2; // the second is not open: a call that reached it would be logged
    nbSatSetElems(list.data(), "IR1"); // channel 7
    struct Case {
        int channel; // that the shift is for
        float x;
        float y;
        float pixel; // in the driver
        float line;
        const char* says;
    };
    const Case rows[] = {
        {-1, 2, 3, -2, -3, "shift : chno=7, pixel=2.000000, line=3.000000\n"},
        {7, 0, -0.5F, 0, 0.5F, "shift : chno=7, pixel=0.000000, line=-0.500000\n"},
        {6, 2, 3, 0, 0, ""},  // another channel
        {-1, 0, 0, 0, 0, ""}, // no shift: the earlier one is taken back
    };
    for (const Case& row : rows) {
        NbSettings settings;
        settings.offsetChannel = row.channel;
        settings.offsetX = row.x;
        settings.offsetY = row.y;
        image.shiftPixel = image.shiftLine = 99;
        StderrCapture text;
        AdjNavPara(list.data(), settings);
        EXPECT_EQ(text.get(), row.says);
        EXPECT_EQ(image.shiftPixel, row.pixel) << row.says;
        EXPECT_EQ(image.shiftLine, row.line) << row.says;
        EXPECT_EQ(list[0].objectNum, 2);
    }
    nbSatCloseObject(list.data());
}

TEST(ShiftFile, IsWrittenUnscaledWhereItWasReadFrom)
{
    const TempFile file("4,6\n");
    NbSettings settings = parse({"-h/2=" + file.path()});
    settings.offsetX -= 0.5F; // as a match does
    writeShiftFile(settings);
    EXPECT_EQ(textAt(readFile(file.path()), 0, 99), "1.500000,3.000000\n");
    EXPECT_EQ(parse({"-h=" + file.path()}).offsetX, 1.5F);
    settings.shiftName.reset();
    writeShiftFile(settings); // nowhere to write, and no harm
}

// A shift moves what the cells show: count 3 column + 7 line of a pixel, on cells that are pixels
// of the image.
TEST(Shift, TheSetupFileHasTheLastWordAndTheChannelsNumberDecides)
{
    const TempDir dir;
    diskOf(13).write(dir / "ir.dat");
    writeText(dir / "file", "4,6\n");
    const std::string map = "STDLON 120\nSTDLAT 30\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 40\nSTDYNUM 30\n";
    struct Case {
        const char* option;
        const char* setup;
        const char* says;
        int change; // of the count in the middle
    };
    const Case rows[] = {
        {"-q", "", "", 0},
        {"-h=@", "", "shift : chno=13, pixel=4.000000, line=6.000000\n", 54},
        {"-h/2=@", "", "shift : chno=13, pixel=2.000000, line=3.000000\n", 27},
        {"-h/2=@", "OFFYPOS 1\n", "shift : chno=13, pixel=2.000000, line=1.000000\n", 13},
        {"-q", "OFFXPOS 2\n", "shift : chno=13, pixel=2.000000, line=0.000000\n", 6},
        {"-h=@", "OFFCHNO 13\n", "shift : chno=13, pixel=4.000000, line=6.000000\n", 54},
        {"-h=@", "OFFCHNO 3\n", "", 0},
        {"-h=@", "OFFXPOS 0\nOFFYPOS 0\n", "", 0},
    };
    int plain = 0;
    for (const Case& row : rows) {
        writeText(dir / "map", map + row.setup);
        std::string option = row.option;
        if (option.ends_with('@')) option.replace(option.size() - 1, 1, dir / "file");
        const ProgramResult result =
            nimbex({option, "-g=1", "-v", dir / "ir.dat", dir / "out", dir / "map"});
        EXPECT_EQ(result.err, std::string(row.says) + "complete : 0\n") << row.option << row.setup;
        const int cell = GridFile(dir / "out").cells[15 * 40 + 20];
        if (row.option == rows[0].option && row.setup == rows[0].setup) plain = cell;
        // The image moves left and up: a cell shows what lies 4 columns further right, 6 lines
        // further down. Whole pixels leave the rounding of the position as it was.
        EXPECT_EQ(cell - plain, row.change) << row.option << row.setup;
    }
    EXPECT_EQ(textAt(readFile(dir / "file"), 0, 99), "4,6\n");
}

} // namespace
