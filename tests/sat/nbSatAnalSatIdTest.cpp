#include "sat/nbSatAnalSatId.h"

#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace {

// A file of `size` filler bytes (which no probe takes) with texts put over them.
struct Piece {
    std::size_t offset;
    std::string_view text;
};
std::string fileWith(std::size_t size, const std::vector<Piece>& pieces, char filler = '.')
{
    std::string file(size, filler);
    for (const Piece& p : pieces)
        file.replace(p.offset, p.text.size(), p.text);
    return file;
}

using namespace std::string_view_literals;

int formatOfBytes(std::string_view bytes)
{
    const TempFile file(bytes);
    const StderrCapture quiet;
    return nbSatAnalSatId(file.path().c_str());
}

// Header records of an HRIT file, big-endian: types in order, 20 bytes each but the first of 16.
std::string hrit(const std::vector<int>& types, int total, bool big = true)
{
    std::string file;
    const auto number = [&](unsigned value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            file += static_cast<char>(value >> 8 * (big ? bytes - 1 - i : i));
    };
    for (const int type : types) {
        const bool first = file.empty();
        number(static_cast<unsigned>(type), 1);
        number(first ? 16 : 20, 2);
        if (first) {
            number(0, 1); // file type
            number(static_cast<unsigned>(total), 4);
            file.append(8, 'x');
        } else {
            file.append(17, 'x');
        }
    }
    return file + "raster";
}
constexpr int sevenRecords = 16 + 6 * 20;

// A block header of 28 bytes 1, 2, ... 28 and its check word, 0x7C69: the complement of Python's
// binascii.crc_hqx(header, 0xFFFF), an independent CRC with this polynomial.
constexpr std::string_view gvarHeader =
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10\x11\x12\x13\x14\x15\x16\x17"
    "\x18\x19\x1A\x1B\x1C|i";

std::string gvar(int goodBlock, std::size_t start, std::string_view sync)
{
    constexpr std::size_t blockSize = 0x6800;
    std::string file(22 * blockSize, '.');
    file.replace(0, sync.size(), sync);
    for (int copy = 0; copy < 3; ++copy)
        file.replace(static_cast<std::size_t>(goodBlock) * blockSize +
                         static_cast<std::size_t>(copy) * 30 + start,
                     gvarHeader.size(), gvarHeader);
    return file;
}

std::string hirid(int marks, std::size_t nameAt)
{
    constexpr std::size_t blockSize = 0xB000;
    std::string file(476 * blockSize, '.'); // all of the 20 sampled blocks
    for (int i = 0; i < marks; ++i)
        file[static_cast<std::size_t>(i) * 25 * blockSize + 99] = "\x23\x06\x25"[i % 3];
    file.replace(nameAt, 5, "MANAM");
    return file;
}

std::string ngacv1(int n, std::size_t records, std::size_t prefix)
{
    std::string file(records * 3220 + prefix, '\xEE');
    file[prefix] = 9;
    file[prefix + 8] = static_cast<char>(n >> 8);
    file[prefix + 9] = static_cast<char>(n);
    return file;
}

struct Case {
    const char* what;
    int format;
    std::string bytes;
};

void expectFormats(const std::vector<Case>& cases)
{
    for (const Case& c : cases)
        EXPECT_EQ(formatOfBytes(c.bytes), c.format) << c.what;
}

TEST(AnalSatId, FormatsWithTextAtAPlace)
{
    expectFormats({
        {"RDAT 8", 17, fileWith(300, {{0, "HIMA8ZAN"}})},
        {"RDAT 9", 17, fileWith(8, {{0, "HIMA9ZAN"}})},
        {"RDAT of no such satellite", 0, fileWith(300, {{0, "HIMA7ZAN"}})},
        {"HRPT", 3, fileWith(300, {{0, "\xFF\xFD"}, {36, "NOAA"}})},
        {"HRPT, EBCDIC", 3, fileWith(300, {{0, "\xFF\xFD"}, {36, "\xD5\xD6\xC1\xC1"}})},
        {"HRPT without its sync", 0, fileWith(300, {{0, "\xFD\xFF"}, {36, "NOAA"}})},
        {"AAPP", 10, fileWith(300, {{0, "ZOC"}})},
        {"AAPP, other product", 10, "ZAN"},
        {"METEO", 8, "Dundee PDUS"},
        {"METEO cut", 0, "Dundee PDU"},
        {"NGAC: three letters do", 4, fileWith(300, {{161, "NOAH"}})},
        {"VISSR", 1, fileWith(7335, {{7332, "GMS"}})},
        {"VISSR, EBCDIC GOES at the last place", 1, fileWith(60000, {{54020, "\xC7\xD6\xC5"}})},
        {"VISSR elsewhere", 0, fileWith(60000, {{54021, "GMS"}})},
        {"NATIVE", 12, fileWith(300, {{30, "NATIVE"}})},
        {"raw NATIVE", 12, fileWith(300, {{3, "\x01\x44"}})},
        {"raw NATIVE of no such satellite", 0, fileWith(300, {{3, "\x01\x45"}})},
        {"MTP", 14, "ProductType  : rect"},
        {"MRAW behind comments", 9, "# list\n\n#\nMRAW_FILES 3\n"},
        {"MRAW behind another line", 0, "# list\nFILES\nMRAW_FILES 3\n"},
        {"JAMI", 13, "\n\nTAP_FILES"},
        {"comments only", 0, "# a\n# MRAW_FILES\n"},
        {"ABI, big-endian", 15, fileWith(24, {{20, "\0\0\0\x08"sv}})},
        {"ABI, little-endian", 15, fileWith(24, {{20, "\x09\0\0\0"sv}})},
        {"ABI of another number", 0, fileWith(24, {{20, "\0\0\0\x0A"sv}})},
        {"ABI cut", 0, fileWith(23, {{20, "\0\0\0"sv}})},
        {"SVISSR", 5, fileWith(92, {{0, "\0\0"sv}, {91, "\x23"}})},
        {"SVISSR cut before its mark", 0, fileWith(91, {{0, "\0\0"sv}})},
        {"empty", 0, ""},
    });
}

TEST(AnalSatId, HisdInBothByteOrdersWithoutRegardToItsSize)
{
    SynthHisd file;
    file.columns = 22;
    file.diskLines = 22;
    const auto formatOf = [](const SynthHisd& synth) {
        const auto bytes = synth.bytes();
        return formatOfBytes({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    };
    EXPECT_EQ(formatOf(file), NB_FORMAT_HISD);
    file.bigEndian = true;
    EXPECT_EQ(formatOf(file), NB_FORMAT_HISD);
    file.bigEndian = false;
    file.cutAt = file.blockOffset(11) + 3; // the last block's number and length are there
    EXPECT_EQ(formatOf(file), NB_FORMAT_HISD);
    file.cutAt -= 1;
    EXPECT_EQ(formatOf(file), NB_FORMAT_NONE);
    file.cutAt = SIZE_MAX;
    file.patches = {{.offset = 0, .bytes = {std::byte{7}}, .block = 6}};
    EXPECT_EQ(formatOf(file), NB_FORMAT_NONE);
    // A length of 0 puts the next block where this one is; the largest one behind the end.
    file.patches = {{.offset = 1, .bytes = Bytes(2, std::byte{0}), .block = 8}};
    EXPECT_EQ(formatOf(file), NB_FORMAT_NONE);
    file.patches = {{.offset = 1, .bytes = Bytes(4, std::byte{255}), .block = 10}};
    EXPECT_EQ(formatOf(file), NB_FORMAT_NONE);
}

TEST(AnalSatId, HritByItsRecordTypesAndTotalLength)
{
    const std::vector<int> seven = {0, 1, 2, 3, 4, 5, 128};
    const std::vector<int> ten = {0, 1, 2, 3, 4, 5, 128, 130, 131, 132};
    expectFormats({
        {"seven records make the total", 2, hrit(seven, sevenRecords)},
        {"three more are due", 0, hrit(seven, sevenRecords + 1)},
        {"three more are there", 2, hrit(ten, sevenRecords + 60)},
        {"little-endian", 2, hrit(ten, sevenRecords + 60, false)},
        {"out of order", 0, hrit({0, 1, 2, 3, 5, 4, 128}, sevenRecords)},
        {"cut in the last record's length", 0,
         hrit(seven, sevenRecords).substr(0, 16 + 5 * 20 + 2)},
    });
}

TEST(AnalSatId, GvarByThreeRightHeadersOfAnyOfItsFirstBlocks)
{
    std::string oneBad = gvar(0, 0, "");
    oneBad[60] = 'x';
    expectFormats({
        {"first block", 6, gvar(0, 0, "")},
        {"last block looked at, one prefix", 6, gvar(21, 10, "\x5A\x5A")},
        {"the other prefix", 6, gvar(3, 2, "\xFF\x01")},
        {"one of three copies damaged", 0, oneBad},
        {"ends before its good block", 0, gvar(3, 0, "").substr(0, 3 * 0x6800 + 89)},
    });
}

TEST(AnalSatId, Ngacv1ByItsSize)
{
    expectFormats({
        {"even count", 11, ngacv1(4, 6, 0)},
        {"odd count", 11, ngacv1(5, 8, 0)},
        {"behind a prefix", 11, ngacv1(5, 8, 122)},
        {"another size", 0, ngacv1(5, 7, 0)},
    });
}

TEST(AnalSatId, HiridByMarksInItsSampledBlocksAndAName)
{
    constexpr std::size_t block = 0xB000;
    expectFormats({
        {"seven marks of twenty", 7, hirid(7, 199 * block + 601)},
        {"six are too few", 0, hirid(6, 449)},
        {"the name behind the blocks looked at", 0, hirid(7, 200 * block + 449)},
    });
}

TEST(AnalSatId, FirstProbeThatFitsDecides)
{
    // "ZAN" at 0 speaks for AAPP, "NATIVE" at 30 for NATIVE, "NOA" at 161 for NGAC.
    expectFormats({
        {"AAPP goes before NGAC", 10, fileWith(300, {{0, "ZAN"}, {30, "NATIVE"}, {161, "NOA"}})},
        {"NGAC goes before NATIVE", 4, fileWith(300, {{30, "NATIVE"}, {161, "NOA"}})},
    });
}

TEST(AnalSatId, MessagesNameTheFile)
{
    const TempDir dir;
    const TempFile empty(""sv);
    const std::string missing = dir / "none.dat";
    for (const std::string& path : {missing, dir.path()}) {
        StderrCapture err;
        EXPECT_EQ(nbSatAnalSatId(path.c_str()), 0);
        EXPECT_EQ(err.get(), "NB_Error: nbSatAnalSatId() : fopen('" + path + "','rb') failed.\n");
    }
    StderrCapture err;
    EXPECT_EQ(nbSatAnalSatId(empty.path().c_str()), 0);
    EXPECT_EQ(err.get(), "NB_Error: nbSatAnalSatId() : '" + empty.path() + "' wasn't specified.\n");
}

} // namespace
