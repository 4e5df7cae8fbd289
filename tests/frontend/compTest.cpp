// The SZDD coder: byte for byte that of a plain transcription, and read by a foreign expander.
#include "frontend/comp.h"
#include "tests/support/support.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Octets = std::vector<std::uint8_t>;

// The format's algorithm as the books print it (H. Okumura's LZSS): one array a link, one byte a
// comparison.
class PlainCoder {
public:
    Octets encode(const Octets& data)
    {
        for (int i = n + 1; i <= n + 256; ++i)
            right_[i] = n;
        for (int i = 0; i < n; ++i)
            parent_[i] = n;
        std::fill_n(ring_, n - f, ' ');
        std::size_t next = 0;
        int s = 0;
        int r = n - f;
        int length = 0;
        while (length < f && next < data.size())
            ring_[r + length++] = data[next++];
        if (length == 0) return {};
        for (int i = 1; i <= f; ++i)
            insert(r - i);
        insert(r);

        Octets out;
        Octets group = {0};
        int mask = 1;
        while (length > 0) {
            matchLength_ = std::min(matchLength_, length);
            if (matchLength_ < 3) {
                matchLength_ = 1;
                group[0] = static_cast<std::uint8_t>(group[0] | mask);
                group.push_back(ring_[r]);
            } else {
                group.push_back(static_cast<std::uint8_t>(matchPosition_ & 0xFF));
                group.push_back(
                    static_cast<std::uint8_t>((matchPosition_ >> 4 & 0xF0) | (matchLength_ - 3)));
            }
            if ((mask <<= 1) == 256) {
                out.insert(out.end(), group.begin(), group.end());
                group = {0};
                mask = 1;
            }
            const int last = matchLength_;
            int i = 0;
            for (; i < last && next < data.size(); ++i) {
                remove(s);
                ring_[s] = data[next++];
                if (s < f - 1) ring_[s + n] = ring_[s];
                s = (s + 1) % n;
                r = (r + 1) % n;
                insert(r);
            }
            for (; i < last; ++i) {
                remove(s);
                s = (s + 1) % n;
                r = (r + 1) % n;
                if (--length > 0) insert(r);
            }
        }
        if (group.size() > 1) out.insert(out.end(), group.begin(), group.end());
        return out;
    }

private:
    static constexpr int n = 4096;
    static constexpr int f = 16;

    void insert(int r)
    {
        int difference = 1;
        int p = n + 1 + ring_[r];
        left_[r] = right_[r] = n;
        matchLength_ = 0;
        for (;;) {
            int* const way = difference >= 0 ? right_ : left_;
            if (way[p] == n) {
                way[p] = r;
                parent_[r] = p;
                return;
            }
            p = way[p];
            int i = 1;
            while (i < f && (difference = ring_[r + i] - ring_[p + i]) == 0)
                ++i;
            if (i <= matchLength_) continue;
            matchPosition_ = p;
            matchLength_ = i;
            if (i == f) break;
        }
        parent_[r] = parent_[p];
        left_[r] = left_[p];
        right_[r] = right_[p];
        parent_[left_[p]] = r;
        parent_[right_[p]] = r;
        (right_[parent_[p]] == p ? right_ : left_)[parent_[p]] = r;
        parent_[p] = n;
    }
    void remove(int p)
    {
        if (parent_[p] == n) return;
        int q = right_[p] == n ? left_[p] : right_[p];
        if (right_[p] != n && left_[p] != n) {
            q = left_[p];
            if (right_[q] != n) {
                while (right_[q] != n)
                    q = right_[q];
                right_[parent_[q]] = left_[q];
                parent_[left_[q]] = parent_[q];
                left_[q] = left_[p];
                parent_[left_[p]] = q;
            }
            right_[q] = right_[p];
            parent_[right_[p]] = q;
        }
        parent_[q] = parent_[p];
        (right_[parent_[p]] == p ? right_ : left_)[parent_[p]] = q;
        parent_[p] = n;
    }

    std::uint8_t ring_[n + f - 1] = {};
    int left_[n + 1] = {};
    int right_[n + 257] = {};
    int parent_[n + 1] = {};
    int matchPosition_ = 0;
    int matchLength_ = 0;
};

Octets compressed(const Octets& data)
{
    char* bytes = nullptr;
    std::size_t size = 0;
    std::FILE* const out = open_memstream(&bytes, &size);
    EXPECT_EQ(compress(data.data(), static_cast<std::uint32_t>(data.size()), out), 0);
    std::fclose(out);
    Octets result(bytes, bytes + size);
    std::free(bytes);
    return result;
}

Octets header(std::size_t size)
{
    Octets out = {'S', 'Z', 'D', 'D', 0x88, 0xF0, 0x27, 0x33, 0x41, 0};
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(static_cast<std::uint8_t>(size >> shift));
    return out;
}

struct Random {
    std::uint64_t state = 1;
    unsigned below(unsigned limit)
    {
        state = state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<unsigned>(state >> 33) % limit;
    }
};

struct Sample {
    std::string name;
    Octets data;
};

std::vector<Sample> samples()
{
    Random random;
    std::vector<Sample> out;
    for (const std::size_t size : {1U, 2U, 15U, 16U, 17U, 4080U, 4097U})
        out.push_back({"blanks " + std::to_string(size), Octets(size, ' ')});
    const auto noise = [&](std::size_t size, unsigned letters) {
        Octets data(size);
        for (std::uint8_t& byte : data)
            byte = static_cast<std::uint8_t>(random.below(letters));
        out.push_back({"noise " + std::to_string(size) + " of " + std::to_string(letters), data});
    };
    for (const std::size_t size : {1U, 2U, 3U, 15U, 16U, 17U, 18U, 31U, 4096U, 70000U})
        for (const unsigned letters : {1U, 2U, 3U, 256U})
            noise(size, letters);
    for (const std::size_t period : {3U, 15U, 16U, 17U, 4080U, 4095U, 4096U, 4097U}) {
        Octets data(20000);
        for (std::size_t i = 0; i < data.size(); ++i)
            data[i] = static_cast<std::uint8_t>(i < period ? random.below(256) : data[i - period]);
        out.push_back({"period " + std::to_string(period), data});
    }
    // A picture: a megabyte of slopes with a little noise, blank and padded parts.
    Octets picture(1 << 20);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const std::size_t column = i % 1024;
        picture[i] =
            static_cast<std::uint8_t>(column < 900 ? column / 7 + i / 40960 + random.below(3) : 0);
    }
    std::fill_n(picture.begin() + 300000, 50000, std::uint8_t{' '});
    out.push_back({"picture", picture});
    return out;
}

TEST(Compress, KnownStreams)
{
    struct Case {
        Octets data;
        Octets stream;
    };
    // Worked by hand. Sixteen blanks match the oldest of the primed strings, 16 before position
    // 4080: 4064 is 0xFE0, and the length of 16 is 13 in its nibble.
    const Case rows[] = {
        {{}, {}},
        {{'A'}, {0x01, 'A'}},
        {Octets(16, ' '), {0x00, 0xE0, 0xFD}},
        {{'a', 'b', 'c', 'a', 'b', 'c', 'a', 'b'}, {0x07, 'a', 'b', 'c', 0xF0, 0xF2}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9}, {0xFF, 1, 2, 3, 4, 5, 6, 7, 8, 0x01, 9}},
    };
    for (const Case& row : rows) {
        Octets expected = header(row.data.size());
        expected.insert(expected.end(), row.stream.begin(), row.stream.end());
        EXPECT_EQ(compressed(row.data), expected);
    }
}

TEST(Compress, GivesThePlainCodersBytes)
{
    for (const Sample& sample : samples()) {
        Octets expected = header(sample.data.size());
        const Octets stream = std::make_unique<PlainCoder>()->encode(sample.data);
        expected.insert(expected.end(), stream.begin(), stream.end());
        EXPECT_TRUE(compressed(sample.data) == expected) << sample.name;
    }
}

TEST(Compress, AnIndependentExpanderGivesTheBytesBack)
{
    ASSERT_EQ(runProgram("/bin/sh", {"-c", "command -v msexpand"}).status, 0)
        << "the package mscompress is missing";
    const TempDir dir;
    for (const Sample& sample : samples()) {
        const Octets packed = compressed(sample.data);
        writeFile(dir / "packed", std::as_bytes(std::span(packed)));
        const ProgramResult result = runProgram(
            "/bin/sh", {"-c", "msexpand <\"$0\" >\"$1\"", dir / "packed", dir / "plain"});
        EXPECT_EQ(result.status, 0) << sample.name;
        const Bytes plain = readFile(dir / "plain");
        EXPECT_TRUE(std::ranges::equal(plain, std::as_bytes(std::span(sample.data))))
            << sample.name;
    }
}

TEST(Compress, AShortWriteIsReported)
{
    const Octets data(1 << 20, 'x');
    std::FILE* const full = std::fopen("/dev/full", "wb");
    ASSERT_NE(full, nullptr);
    std::setvbuf(full, nullptr, _IONBF, 0);
    EXPECT_EQ(compress(data.data(), 1 << 20, full), 1);
    std::fclose(full);
}

TEST(RevMem, ReversesInPlace)
{
    char odd[] = "abc";
    char even[] = "abcd";
    RevMem(odd, 3);
    RevMem(even, 4);
    RevMem(even, 0);
    EXPECT_STREQ(odd, "cba");
    EXPECT_STREQ(even, "dcba");
}

} // namespace
