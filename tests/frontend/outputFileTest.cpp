// The output appears whole or not at all, by whatever name.
#include "frontend/outputFile.h"
#include "frontend/recover.h"
#include "tests/frontend/hisdDisk.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct OutputFile : testing::Test {
    OutputFile() { fs::create_directory(dir / "out"); }
    // The names in the folder of the output.
    std::string names() const
    {
        std::string all;
        for (const auto& entry : fs::directory_iterator(dir / "out"))
            all += entry.path().filename().string() + " ";
        return all;
    }
    std::string text(const std::string& name) const
    {
        const Bytes bytes = readFile(dir / name);
        return textAt(bytes, 0, bytes.size());
    }
    // Writes "new"; `meanwhile` runs before it is finished.
    template <class Meanwhile>
    int write(const std::string& name, Meanwhile meanwhile)
    {
        NbOutputFile out;
        if (const int code = out.open(dir / name); code != 0) return code;
        std::fputs("new", out.stream());
        std::fflush(out.stream());
        meanwhile();
        return out.finish();
    }
    int write(const std::string& name)
    {
        return write(name, [] {});
    }
    struct stat statusOf(const std::string& name) const
    {
        struct stat status {};
        EXPECT_EQ(lstat((dir / name).c_str(), &status), 0) << name;
        return status;
    }
    TempDir dir;
};

// Without the rights of root, for which nothing is forbidden.
struct AsNobody {
    AsNobody() { EXPECT_TRUE(getuid() != 0 || seteuid(65534) == 0); }
    ~AsNobody() { EXPECT_TRUE(getuid() != 0 || seteuid(0) == 0); }
};

TEST_F(OutputFile, ANewFileAppearsWhenItIsFinished)
{
    const mode_t before = umask(027);
    EXPECT_EQ(write("out/a", [&] { EXPECT_FALSE(fs::exists(dir / "out/a")); }), 0);
    umask(before);
    EXPECT_EQ(text("out/a"), "new");
    EXPECT_EQ(statusOf("out/a").st_mode & 07777U, 0640U);
    EXPECT_EQ(names(), "a ");
}

TEST_F(OutputFile, TheOldFileHandsOnItsModeAndOwnerAndLivesInItsOtherLinks)
{
    writeText(dir / "out/a", "before");
    fs::create_hard_link(dir / "out/a", dir / "other");
    const bool isRoot = getuid() == 0;
    ASSERT_EQ(chown((dir / "out/a").c_str(), isRoot ? 1234 : getuid(), isRoot ? 2345 : getgid()),
              0);
    ASSERT_EQ(chmod((dir / "out/a").c_str(), 0604), 0);
    const struct stat old = statusOf("out/a");

    EXPECT_EQ(write("out/a", [&] { EXPECT_EQ(text("out/a"), "before"); }), 0);
    EXPECT_EQ(text("out/a"), "new");
    EXPECT_EQ(text("other"), "before");
    const struct stat now = statusOf("out/a");
    EXPECT_EQ(now.st_mode, old.st_mode);
    EXPECT_EQ(now.st_uid, old.st_uid);
    EXPECT_EQ(now.st_gid, old.st_gid);
    EXPECT_EQ(names(), "a ");
}

TEST_F(OutputFile, AFileGivenUpLeavesTheOldOne)
{
    writeText(dir / "out/a", "before");
    StderrCapture said;
    {
        NbOutputFile out;
        ASSERT_EQ(out.open(dir / "out/a"), 0);
        std::fputs("new", out.stream());
        errno = ENOSPC;
        EXPECT_EQ(out.fail(NB_RUN_SHORT_WRITE, "why"), NB_RUN_SHORT_WRITE);
    }
    EXPECT_EQ(said.get(), "nimbex : " + (dir / "out/a") + ": why: No space left on device\n");
    EXPECT_EQ(text("out/a"), "before");
    EXPECT_EQ(names(), "a ");
}

TEST_F(OutputFile, ALinkStaysAndItsTargetIsReplacedOrMade)
{
    writeText(dir / "out/old", "before");
    fs::create_symlink("out/old", dir / "link");
    fs::create_symlink("link", dir / "chain");
    fs::create_symlink(dir / "out/none", dir / "dangling");
    fs::create_symlink("loop", dir / "loop");
    EXPECT_EQ(write("chain"), 0);
    EXPECT_EQ(write("dangling"), 0);
    EXPECT_EQ(fs::read_symlink(dir / "chain"), "link");
    EXPECT_EQ(fs::read_symlink(dir / "link"), "out/old");
    EXPECT_TRUE(fs::is_symlink(dir / "dangling"));
    EXPECT_EQ(text("out/old"), "new");
    EXPECT_EQ(text("out/none"), "new");
    StderrCapture said;
    EXPECT_EQ(write("loop"), NB_RUN_OUTPUT_OPEN);
}

TEST_F(OutputFile, NamesUpToTheLongestAreGood)
{
    const std::string longest(255, 'n');
    EXPECT_EQ(write("out/" + longest), 0);
    EXPECT_EQ(names(), longest + " ");
    StderrCapture said;
    EXPECT_EQ(write("out/" + longest + "n"), NB_RUN_OUTPUT_OPEN);
    EXPECT_EQ(write("out/a/"), NB_RUN_OUTPUT_OPEN);
    NbOutputFile nameless;
    EXPECT_EQ(nameless.open(""), NB_RUN_OUTPUT_OPEN);
    EXPECT_NE(said.get().find("nimbex : : cannot open the output file: No such file"),
              std::string::npos);
}

TEST_F(OutputFile, AnUnwritableFolderMeansTheFileItselfAndAProtectedFileIsRefused)
{
    writeText(dir / "out/a", "before");
    ASSERT_EQ(chmod((dir / "out/a").c_str(), 0666), 0);
    ASSERT_EQ(chmod((dir / "out").c_str(), 0555), 0);
    ASSERT_EQ(chmod(dir.path().c_str(), 0777), 0);
    const ino_t file = statusOf("out/a").st_ino;
    StderrCapture said;
    {
        const AsNobody nobody;
        EXPECT_EQ(write("out/a"), 0);
        EXPECT_EQ(text("out/a"), "new");
        EXPECT_EQ(write("out/b"), NB_RUN_OUTPUT_OPEN);

        NbOutputFile out;
        ASSERT_EQ(out.open(dir / "out/a"), 0);
        std::fputs("newer", out.stream());
        errno = ENOSPC;
        out.fail(NB_RUN_SHORT_WRITE, "why"); // what is in it could be taken for a result

        writeText(dir / "protected", "before");
        chmod((dir / "protected").c_str(), 0444);
        EXPECT_EQ(write("protected"), NB_RUN_OUTPUT_OPEN);
    }
    EXPECT_EQ(statusOf("out/a").st_ino, file);
    EXPECT_EQ(text("out/a"), "");
    EXPECT_EQ(text("protected"), "before");
    EXPECT_NE(said.get().find("out/a: why: No space left on device; it is empty now\n"),
              std::string::npos);
    chmod((dir / "out").c_str(), 0755);
}

TEST_F(OutputFile, ASignalTakesTheUnfinishedFileAlongAndOneIgnoredStaysIgnored)
{
    writeText(dir / "out/a", "before");
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGXCPU, SIGALRM, SIGUSR1, SIGKILL}) {
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGHUP, SIG_DFL); // the test itself may run under nohup
            write("out/a", [&] { raise(signal); });
            _exit(1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal << " " << status;
        EXPECT_EQ(text("out/a"), "before") << signal;
        EXPECT_TRUE(names() == "a " || signal == SIGKILL) << names();
    }
    // In its place, what is there could be taken for a result.
    const pid_t child = fork();
    if (child == 0) {
        const int descriptor = open((dir / "out/a").c_str(), O_WRONLY);
        NbOutputFile out;
        out.open("/dev/fd/" + std::to_string(descriptor));
        std::fputs("new", out.stream());
        std::fflush(out.stream());
        raise(SIGTERM);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    EXPECT_EQ(text("out/a"), "");

    const auto before = std::signal(SIGHUP, SIG_IGN);
    EXPECT_EQ(write("out/a", [] { raise(SIGHUP); }), 0);
    std::signal(SIGHUP, before);
    EXPECT_EQ(text("out/a"), "new");
}

// As a program: what is no regular file takes the bytes as they come.
TEST_F(OutputFile, PipesDevicesAndDescriptorsAreWrittenDirectly)
{
    diskOf(13).write(dir / "ir");
    writeText(dir / "map", "STDXPOS 50\nSTDYPOS 40\nSTDXNUM 4\nSTDYNUM 3\n");
    ASSERT_EQ(nimbex({"-p=crop", dir / "ir", dir / "plain", dir / "map"}).status, 0);
    const std::string plain = text("plain");
    const struct {
        const char* script; // $1 the program, $2 the input, $3 the setup file; writes "out/got"
        std::string got;
    } rows[] = {
        {"mkfifo out/pipe; cat out/pipe >out/got & \"$1\" -p=crop \"$2\" out/pipe \"$3\"; wait $!",
         plain},
        {"\"$1\" -p=crop \"$2\" /dev/stdout \"$3\" | cat >out/got", plain},
        // What the shell writes next comes behind it: the file is still the one it opened.
        {"exec 3>>out/got; \"$1\" -p=crop \"$2\" /dev/fd/3 \"$3\"; printf end >&3", plain + "end"},
        {"\"$1\" -p=crop \"$2\" /dev/null \"$3\"; test -c /dev/null && printf good >out/got",
         "good"},
    };
    for (const auto& row : rows) {
        fs::remove(dir / "out/got");
        const ProgramResult result =
            runProgram("/bin/bash", {"-c", std::string("cd \"$0\"; ") + row.script, dir.path(),
                                     NIMBEX_PROGRAM, dir / "ir", dir / "map"});
        EXPECT_EQ(result.err, "complete : 0\n") << row.script;
        EXPECT_TRUE(text("out/got") == row.got) << row.script;
    }
}

TEST_F(OutputFile, AnInputIsRefusedByWhateverName)
{
    diskOf(13).write(dir / "ir");
    writeText(dir / "list", "nothing\nir\n");
    fs::create_symlink("ir", dir / "link");
    fs::create_symlink("../link", dir / "out/chain");
    fs::create_hard_link(dir / "ir", dir / "hard");
    const Bytes before = readFile(dir / "ir");
    for (const char* const script :
         {"\"$1\" 'ir?type=hisd' hard", "\"$1\" -m list list", "\"$1\" ir ./out/../ir",
          "\"$1\" ir out/chain", "\"$1\" -m list link", "\"$1\" ir /dev/stdout >>ir",
          "exec 3>>ir; \"$1\" ir /dev/fd/3"}) {
        const ProgramResult result = runProgram(
            "/bin/bash", {"-c", std::string("cd \"$0\"; ") + script, dir.path(), NIMBEX_PROGRAM});
        EXPECT_EQ(result.status, NB_RUN_OUTPUT_OPEN) << script << result.err;
        EXPECT_TRUE(result.err.ends_with(": is an input file, another file expected for the output"
                                         "\nerror : 74\n"))
            << script << result.err;
        EXPECT_EQ(readFile(dir / "ir"), before) << script;
    }
    writeText(dir / "map 1", "0 1\n");
    for (const char* const option : {"setup", "-t=", "-h="}) {
        const std::string map = dir / "map 1";
        const bool isSetup = option[0] != '-';
        const ProgramResult result =
            nimbex({isSetup ? "-q" : option + map, dir / "ir", map, isSetup ? map : dir / "none"});
        EXPECT_EQ(result.status, NB_RUN_OUTPUT_OPEN) << result.err;
        EXPECT_NE(result.err.find(": is the "), std::string::npos) << result.err;
        EXPECT_EQ(textAt(readFile(map), 0, 99), "0 1\n");
    }
    // A blank makes no list of a setup file's name.
    EXPECT_EQ(nimbex({dir / "ir", dir / "grid", dir / "grid map"}).status, 0);
    EXPECT_EQ(nimbex({dir / "ir", dir / "grid", dir / "grid map"}).status, 0);
}

} // namespace
