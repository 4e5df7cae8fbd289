#include "util/nbUtlMalloc.h"

#include "tests/support/support.h"
#include "util/nbArray.h"
#include "util/nbGuard.h"
#include "util/nbLog.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

// AddressSanitizer ends the program at a request that no machine can serve; here it is to be null.
extern "C" const char* __asan_default_options(); // NOLINT(bugprone-reserved-identifier): its name
extern "C" const char* __asan_default_options()  // NOLINT(bugprone-reserved-identifier)
{
    return "allocator_may_return_null=1";
}

namespace {
// More than any machine has; volatile, so that no compiler reasons about it.
volatile std::size_t tooMuch = std::size_t{1} << 62;

// Collects the fatal messages by themselves: a sanitizer writes its own lines to standard error.
class FatalText {
public:
    FatalText() { nbLogSetStream(5, file_); }
    ~FatalText()
    {
        nbLogSetStream(5, stderr);
        std::fclose(file_);
    }
    FatalText(const FatalText&) = delete;
    FatalText& operator=(const FatalText&) = delete;
    std::string get()
    {
        char block[1024];
        std::rewind(file_);
        return std::string(block, std::fread(block, 1, sizeof block, file_));
    }

private:
    std::FILE* file_ = std::tmpfile();
};
} // namespace

// Deliberate texts: realloc logs as nbUtlMalloc, calloc says malloc.
TEST(UtlMalloc, FailuresAreLoggedInTheirOwnWordsAndGiveNull)
{
    void* block = nbUtlMalloc(16, "test()");
    ASSERT_NE(block, nullptr);
    char address[32];
    std::snprintf(address, sizeof address, "%lx", reinterpret_cast<unsigned long>(block));
    FatalText text;
    EXPECT_EQ(nbUtlMalloc(tooMuch, "a()"), nullptr);
    EXPECT_EQ(nbUtlCalloc(tooMuch / 8, 8, "b()"), nullptr);
    EXPECT_EQ(nbUtlRealloc(block, tooMuch, "c()"), nullptr);
    EXPECT_EQ(text.get(),
              "NB_Fatal: nbUtlMalloc() : a() : malloc( 4611686018427387904 byte ) is failed\n"
              "NB_Fatal: nbUtlCalloc() : b() : malloc( 4611686018427387904 byte ) is failed\n"
              "NB_Fatal: nbUtlMalloc() : c() : realloc( 4611686018427387904 byte at " +
                  std::string(address) + " ) is failed\n");
    nbUtlFree(block); // a failed realloc leaves it
    nbUtlFree(nullptr);
}

TEST(UtlCalloc, ProductBeyondTheAddressSpaceIsRefused)
{
    FatalText text;
    EXPECT_EQ(nbUtlCalloc(tooMuch, 4, "a()"), nullptr); // 2^64, which wraps to 0
    EXPECT_FALSE(text.get().empty());
}

TEST(UtlCalloc, MemoryIsZeroAndReallocKeepsIt)
{
    auto* block = static_cast<unsigned char*>(nbUtlCalloc(3, 4, "test()"));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, block + 12), std::string(12, '\0'));
    std::memset(block, 7, 12);
    block = static_cast<unsigned char*>(nbUtlRealloc(block, 4096, "test()"));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, block + 12), std::string(12, '\7'));
    nbUtlFree(block);
}

TEST(Array, FailedAllocationNamesItsCallerAndBecomesTheGuardsResult)
{
    FatalText text;
    const int result = nbpGuard("nbXxx()", -1, [] {
        return static_cast<int>(NbArray<char>(tooMuch, NbAllocator<char>("nbXxx()")).size());
    });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(text.get(), "NB_Fatal: nbUtlMalloc() : nbXxx() : malloc( 4611686018427387904 byte ) "
                          "is failed\n");
}
