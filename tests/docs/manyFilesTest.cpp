// The batches of docs/many-files.md, as they stand there.
#include "tests/docs/documents.h"
#include "tests/synth/synthHisd.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

// Small disks, an hour apart, each with another pattern.
SynthHisd diskAt(int hour)
{
    SynthHisd scene;
    scene.startMjd = 59062.0 + hour / 24.0;
    scene.endMjd = scene.startMjd + 10 / 1440.0;
    scene.fill = [hour](int line, std::span<std::uint16_t> counts) {
        for (std::size_t i = 0; i < counts.size(); ++i)
            counts[i] = static_cast<std::uint16_t>(100 * hour + line);
    };
    return scene;
}

struct Batch : testing::Test {
    Batch()
    {
        fs::create_directory(dir / "input");
        writeText(dir / "map.txt", "STDLON 120\nSTDLAT 30\nSTDXSIZ 1\nSTDYSIZ 1\nSTDXNUM 40\n"
                                   "STDYNUM 30\n");
    }
    // Every map is what a run of its own gives.
    void expectMaps(const std::string& options, const std::string& inputs, int count)
    {
        const ProgramResult result =
            shell(dir.path(), "n=0; for map in maps/*.nbx; do name=$(basename $map .nbx)\n"
                              "nimbex -c=0 -b=8 -v -p=grid " +
                                  options + " " + inputs +
                                  " alone map.txt 2>/dev/null && cmp alone $map && n=$((n + 1))\n"
                                  "done; echo $n");
        EXPECT_EQ(result.out, std::to_string(count) + "\n") << result.err;
    }
    TempDir dir;
};

struct TwentyFiles : Batch {
    TwentyFiles()
    {
        for (int i = 0; i < 20; ++i)
            diskAt(i).write(name(i));
    }
    std::string name(int i) const { return dir / ("input/disk" + std::to_string(10 + i) + ".DAT"); }
    const std::string inputs = "input/$name.DAT";
};

TEST_F(TwentyFiles, ParallelConvertsAllThenWhatFailedAndWhatIsNew)
{
    const std::string script = programOf("many-files.md", "sh parallel");
    writeText(name(7), "still arriving");
    const ProgramResult first = shell(dir.path(), script);
    EXPECT_EQ(first.status, 1) << first.err; // runs that failed
    expectMaps("", inputs, 19);
    const ProgramResult status = shell(dir.path(), "awk '$7 != 0 { print $7 }' jobs.txt");
    EXPECT_EQ(status.out, "Exitval\n73\n");

    diskAt(7).write(name(7));
    diskAt(20).write(dir / "input/disk05.DAT"); // sorts before all others
    const ProgramResult again = shell(dir.path(), script);
    EXPECT_EQ(again.status, 0) << again.err;
    expectMaps("", inputs, 21);
    const ProgramResult runs = shell(dir.path(), "wc -l <jobs.txt");
    EXPECT_EQ(runs.out, "3\n"); // a head, 1 repeated, 1 new
}

TEST_F(TwentyFiles, TheTasksOfAnArrayShareThem)
{
    const std::string script = programOf("many-files.md", "sh slurm");
    for (int task = 0; task < 10; ++task) {
        const std::string number = std::to_string(task);
        const ProgramResult result = shell(
            dir.path(), "SLURM_ARRAY_TASK_COUNT=10 SLURM_ARRAY_TASK_ID=" + number + "\n" + script);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(std::distance(fs::directory_iterator(dir / "maps"), fs::directory_iterator()),
                  2 * (task + 1));
    }
    expectMaps("", inputs, 20);
}

TEST_F(Batch, ParallelTakesTheSegmentsOfADiskAsOneRunWhenAllAreThere)
{
    const std::string script = programOf("many-files.md", "sh segments");
    std::string last;
    for (int hour = 0; hour < 2; ++hour)
        for (const SynthHisd& part : diskAt(hour).split(10)) {
            last = dir / ("input/" + part.fileName());
            part.write(last);
        }
    fs::rename(last, dir / "arriving");
    for (const int disks : {1, 2}) {
        const ProgramResult result = shell(dir.path(), script);
        EXPECT_EQ(result.status, 0) << result.err;
        expectMaps("-m", "<(ls input/${name}_*)", disks);
        if (disks == 1) fs::rename(dir / "arriving", last);
    }
}

} // namespace
