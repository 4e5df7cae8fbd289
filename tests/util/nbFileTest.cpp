#include "util/nbFile.h"

#include "tests/support/support.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

TEST(FileOpenRead, DirectoriesAndMissingFilesGiveNull)
{
    const TempDir dir;
    EXPECT_EQ(nbpFileOpenRead(dir.path().c_str()), nullptr);
    EXPECT_EQ(nbpFileOpenRead((dir / "missing").c_str()), nullptr);
    EXPECT_EQ(nbpFileOpenRead(""), nullptr);
    EXPECT_EQ(nbpFileOpenRead(nullptr), nullptr);
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
