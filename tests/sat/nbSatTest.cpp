#include "sat/nbSat.h"

#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "tests/sat/fakeDriver.h"
#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// Small disks that start at 3 o'clock and some minutes, in a directory of their own.
struct Scenes {
    TempDir dir;
    std::string add(const std::string& name, int minute) const
    {
        SynthHisd synth;
        synth.columns = 22;
        synth.diskLines = 22;
        synth.startMjd += minute / 1440.0;
        synth.endMjd += minute / 1440.0;
        synth.write(dir / name);
        return dir / name;
    }
};

// Writable copies of paths, with room for the longest of them in each.
struct NameList {
    explicit NameList(const std::vector<std::string>& names)
    {
        std::size_t longest = 0;
        for (const auto& name : names)
            longest = std::max(longest, name.size());
        for (const auto& name : names) {
            rooms.emplace_back(longest + 1, '\0');
            name.copy(rooms.back().data(), name.size());
        }
        for (auto& room : rooms)
            pointers.push_back(room.data());
    }
    std::vector<std::string> get() const { return {pointers.begin(), pointers.end()}; }
    int count() const { return static_cast<int>(pointers.size()); }
    std::vector<std::vector<char>> rooms;
    std::vector<char*> pointers;
};

TEST(SatOpen, OneFileByItsContents)
{
    const Scenes scenes;
    const std::string path = scenes.add("a.dat", 0);
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, path.c_str()), 0);
    EXPECT_EQ(object.fileFormatId, NB_FORMAT_HISD);
    EXPECT_EQ(object.fileName, path);
    EXPECT_STREQ(object.satName, "Himawari-8");
    EXPECT_EQ(object.objectNum, 1);
    EXPECT_EQ(object.objectIndex, 0);
    EXPECT_EQ(object.elemKind, -1);
    EXPECT_EQ(object.elemNum, 0);
    EXPECT_NE(nbpSatRawNav(&object), nullptr);
    char name[16];
    std::int16_t start[6];
    EXPECT_EQ(nbSatGetFileInfo(&object, path.c_str(), name, start), 0);
    EXPECT_STREQ(name, "Himawari-8");
    EXPECT_EQ(std::vector<int>(start, start + 5), (std::vector<int>{2020, 8, 1, 3, 0}));
    EXPECT_EQ(nbSatGetFileInfo(&object, "other", name, start), 1);

    EXPECT_EQ(nbSatCloseObject(&object), 0);
    EXPECT_EQ(object.fileFormatId, NB_FORMAT_NONE);
    EXPECT_EQ(object.satName[0], '\0');
    EXPECT_EQ(object.startTime[0], 0);
    EXPECT_EQ(object.objectIndex, -1);
    EXPECT_EQ(object.GetR4ZoomData, nullptr);
    EXPECT_EQ(nbSatCloseObject(&object), 1);
    ASSERT_EQ(nbSatOpenObject(&object, path.c_str()), 0); // the same record again
    nbSatCloseObject(&object);
}

TEST(SatOpen, OptionWord)
{
    const Scenes scenes;
    const std::string path = scenes.add("a.dat", 0);
    NbSatObject object{};
    ASSERT_EQ(nbSatOpenObject(&object, (path + "?type=hisd").c_str()), 0);
    EXPECT_EQ(object.fileName, path);
    nbSatCloseObject(&object);
    {
        StderrCapture err;
        ASSERT_EQ(nbSatOpenObject(&object, (path + "?type=xyz").c_str()), 0);
        EXPECT_EQ(err.get(), "NB_Warn: nbSat nbSatOpenObject() : bad type option 'xyz'\n");
        EXPECT_EQ(object.fileName, path);
        nbSatCloseObject(&object);
    }
    {
        StderrCapture err;
        EXPECT_EQ(nbSatOpenObject(&object, (path + "?type=hirid").c_str()), 1);
        EXPECT_EQ(err.get(),
                  "NB_Error: nbSatOpenObject() : " + path +
                      ": format HIRID is recognised, but this build has no reader for it\n");
    }
    {
        StderrCapture err;
        EXPECT_EQ(nbSatOpenObject(&object, (path + "?x=1").c_str()), 1);
        EXPECT_EQ(err.get(),
                  "NB_Error: nbSatAnalSatId() : fopen('" + path + "?x=1','rb') failed.\n");
    }
    EXPECT_EQ(nbSatOpenObject(&object, ""), -1);
    EXPECT_EQ(nbSatOpenObject(&object, nullptr), -1);
}

TEST(SatOpen, ListTakesNoRecordForABadNameAndClosesOnlyItsFirst)
{
    const Scenes scenes;
    const std::string list =
        scenes.add("a.dat", 0) + " " + (scenes.dir / "none") + "\t " + scenes.add("b.dat", 10);
    NbSatObject objects[3] = {};
    {
        const StderrCapture quiet;
        ASSERT_EQ(nbSatOpenObject(objects, list.c_str()), 0);
    }
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(objects[i].objectNum, 2);
        EXPECT_EQ(objects[i].objectIndex, i);
    }
    EXPECT_EQ(objects[1].fileName, scenes.dir / "b.dat");
    EXPECT_EQ(objects[2].fileFormatId, NB_FORMAT_NONE);
    EXPECT_EQ(nbSatCloseObject(objects), 0);
    EXPECT_EQ(objects[0].fileFormatId, NB_FORMAT_NONE);
    EXPECT_EQ(objects[1].fileFormatId, NB_FORMAT_HISD);
    EXPECT_EQ(nbSatCloseObject(&objects[1]), 0);

    objects[0].objectNum = 5;
    const StderrCapture quiet;
    EXPECT_EQ(nbSatOpenObject(objects, ((scenes.dir / "x") + " " + (scenes.dir / "y")).c_str()), 1);
    EXPECT_EQ(objects[0].objectNum, 5);
}

TEST(SatFileSort, ByTimeWithTheBadOnesAtTheEnd)
{
    const Scenes scenes;
    const std::string late = scenes.add("late_with_a_long_name.dat", 20);
    const std::string bad = scenes.dir / "none.dat";
    const std::string early = scenes.add("early.dat", 0);
    const std::string worse = scenes.dir / "nothing.dat";
    const std::string middle = scenes.add("middle.dat", 10);
    NameList names({late, bad, early, worse, middle});
    const StderrCapture quiet;
    EXPECT_EQ(nbSatFileSort(names.pointers.data(), names.count()), 3);
    EXPECT_EQ(names.get(), (std::vector<std::string>{early, middle, late, worse, bad}));
}

TEST(SatMopen, Selectors)
{
    const Scenes scenes;
    const std::string late = scenes.add("late.dat", 20);
    const std::string bad = scenes.dir / "none.dat";
    const std::string early = scenes.add("early.dat", 0);
    const std::string middle = scenes.add("middle.dat", 10);
    const std::vector<std::string> unsorted = {late, bad, early, middle};
    struct Case {
        int selector;
        int result;
        std::string opened; // empty: none
    };
    const StderrCapture quiet;
    for (const Case& c : std::vector<Case>{{-1, 3, late},
                                           {-2, 3, middle},
                                           {-3, 3, early},
                                           {-4, 0, ""},
                                           {0, 3, late},
                                           {1, 0, ""},
                                           {3, 3, middle},
                                           {4, 0, ""}}) {
        NameList names(unsorted);
        NbSatObject object{};
        EXPECT_EQ(nbSatMopenObject(&object, names.pointers.data(), names.count(), c.selector),
                  c.result)
            << c.selector;
        EXPECT_EQ(object.fileName != nullptr ? object.fileName : "", c.opened) << c.selector;
        nbSatCloseObject(&object);
    }
    NbSatObject object{};
    NameList one({early});
    EXPECT_EQ(nbSatMopenObject(&object, one.pointers.data(), 1, -1), 1);
    nbSatCloseObject(&object);
    NameList none({bad});
    EXPECT_EQ(nbSatMopenObject(&object, none.pointers.data(), 1, 0), 0);
    EXPECT_EQ(nbSatMopenObject(&object, nullptr, 0, -1), 0);
}

TEST(SatSettings, ReachEveryLinkedObject)
{
    FakeImage images[3];
    NbSatObject objects[3] = {images[0].open(), images[1].open(), images[2].open()};
    objects[0].objectNum = 3;
    objects[0].SetStopGap = [](void*, int) { return -1; }; // of a driver that fills no gaps
    EXPECT_EQ(nbSatSetStopGap(objects, 2), -1);
    EXPECT_EQ(images[2].stopGap, 2);
    objects[0].SetStopGap = objects[1].SetStopGap;
    EXPECT_EQ(nbSatSetDiffPixLin(objects, 1.5F, -2.0F), 0);
    EXPECT_EQ(nbSatSetStopGap(objects, 4), 0);
    double turn[3] = {0.1, 0, 0};
    EXPECT_EQ(nbSatResetAtt(objects, 59062, turn, 0), 0);
    for (const FakeImage& image : images) {
        EXPECT_EQ(image.shiftPixel, 1.5F);
        EXPECT_EQ(image.shiftLine, -2.0F);
        EXPECT_EQ(image.stopGap, 4);
        EXPECT_EQ(image.attitude[0], 0.2);
    }
    objects[0].objectNum = 0; // counts as one
    EXPECT_EQ(nbSatSetStopGap(objects, 7), 0);
    EXPECT_EQ(images[0].stopGap, 7);
    EXPECT_EQ(images[1].stopGap, 4);
    EXPECT_EQ(nbSatCloseObject(objects), 0);
    EXPECT_EQ(images[0].closed, 1);
}

TEST(SatSettings, ClosedRecordsAndMissingSlots)
{
    FakeImage images[2];
    images[0].slots.ResetAtt = nullptr;
    NbSatObject objects[3] = {images[0].open(), {}, images[1].open()};
    objects[0].objectNum = 3;
    double turn[3] = {1, 0, 0};
    StderrCapture err;
    EXPECT_EQ(nbSatSetDiffPixLin(objects, 1, 2), -1);
    EXPECT_EQ(images[1].shiftPixel, 1); // goes on behind the closed one
    EXPECT_EQ(nbSatSetStopGap(objects, 4), -1);
    EXPECT_EQ(images[1].stopGap, -1); // ends at it
    EXPECT_EQ(nbSatResetAtt(objects, 59062, turn, 0), -1);
    EXPECT_EQ(nbSatSetImgQualThresh(objects, 0.5), 1);
    EXPECT_EQ(
        err.get(),
        "NB_Error: nbSat nbSatSetDiffPixLin() : 衛星オブジェクトが開かれていません \n"
        "NB_Error: nbSat nbSatSetStopGap() : 衛星オブジェクトが開かれていません \n"
        "nbSatResetAtt() : このデータには対応していません。\n"
        "NB_Error: nbSat nbSatResetAtt() : 衛星オブジェクトが開かれていません \n"
        "NB_Warn: nbSat nbSetHritImgQualThresh() : 開かれているファイルはHRITではありません\n");
}

TEST(SatDataDir, LooksBesideTheWorkingDirectoryThenWhereTheEnvironmentPoints)
{
    // A name that no installation has: nbMap30.dat may stand where one puts its data.
    constexpr const char* file = "nbTest30.dat";
    const TempDir dir;
    const auto home = std::filesystem::current_path();
    std::filesystem::create_directories(dir / "DATA");
    std::filesystem::create_directories(dir / "run");
    writeText(dir / file, "map");
    std::filesystem::current_path(dir / "run");
    unsetenv("NIMBL_MAP");
    {
        StderrCapture err;
        EXPECT_EQ(nbSatGetDataDir(file, 1), nullptr);
        EXPECT_EQ(err.get().find("NB_Error: nbSatGetDataDir() : nbTest30.dat: "), 0U);
    }
    setenv("NIMBL_MAP", (dir / file).c_str(), 1);
    EXPECT_STREQ(nbSatGetDataDir(file, 0), (dir.path() + "/").c_str());
    {
        const StderrCapture quiet;
        EXPECT_EQ(nbSatGetDataDir("nbTest10.dat", 0), nullptr); // another file
    }
    writeText(dir / "DATA/nbTest30.dat", "map");
    EXPECT_STREQ(nbSatGetDataDir(file, 0), "../DATA/");
    unsetenv("NIMBL_MAP");
    std::filesystem::current_path(home);
}

} // namespace
