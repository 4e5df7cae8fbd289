#include "util/nbFile.h"

#include "tests/support/support.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(FileOpenRead, DirectoriesAndMissingFilesGiveNull)
{
    const TempDir dir;
    EXPECT_EQ(nbpFileOpenRead(dir.path().c_str()), nullptr);
    EXPECT_EQ(nbpFileOpenRead((dir / "missing").c_str()), nullptr);
    EXPECT_EQ(nbpFileOpenRead(""), nullptr);
    EXPECT_EQ(nbpFileOpenRead(nullptr), nullptr);
}

// The first would wait for ever.
TEST(FileOpenRead, APipeIsNoImageAndMayBeAText)
{
    const TempDir dir;
    const std::string path = dir / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(nbpFileOpenRead(path.c_str()), nullptr);
    const int writer = open(path.c_str(), O_RDWR);
    ASSERT_EQ(write(writer, "x", 1), 1);
    const NbFilePtr text = nbpFileOpenText(path.c_str());
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::fgetc(text.get()), 'x');
    close(writer);
}

TEST(FileSize, IsRightPastFourGigabytesAndUnknownForAPipe)
{
    const TempFile file("abc");
    std::filesystem::resize_file(file.path(), 5'000'000'003); // sparse
    for (const bool buffered : {true, false}) {
        const NbFilePtr f = nbpFileOpenRead(file.path().c_str(), buffered);
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(std::fgetc(f.get()), 'a');
        EXPECT_EQ(nbpFileSize(f.get()), 5'000'000'003);
    }
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const NbFilePtr f(fdopen(ends[0], "rb"));
    EXPECT_EQ(nbpFileSize(f.get()), -1);
    close(ends[1]);
}
