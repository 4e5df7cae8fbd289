#include "sat/nbSatAnalSatId.h"

#include "util/nbCursor.h"
#include "util/nbFile.h"
#include "util/nbLogFormat.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string_view>

namespace {

constexpr NbByteOrder otherByteOrder =
    nbCpuByteOrder == NbByteOrder::Little ? NbByteOrder::Big : NbByteOrder::Little;

// Bytes of the file at an offset; what lies past its end keeps the buffer's contents. Every probe
// reads at offsets of its own, so none depends on what an earlier one did.
bool readAt(std::FILE* f, std::int64_t offset, std::span<std::byte> out)
{
    if (offset < 0 || !nbpFileSeek(f, offset)) return false;
    return std::fread(out.data(), 1, out.size(), f) == out.size();
}

template <std::size_t size>
using Field = std::array<std::byte, size>;

// One number at an offset: `value` is 0 when the file ends before it.
template <class T>
struct Number {
    T value;
    bool good;
};
template <class T>
Number<T> numberAt(std::FILE* f, std::int64_t offset, NbByteOrder order)
{
    Field<sizeof(T)> bytes{};
    const bool good = readAt(f, offset, bytes);
    return {NbCursor(bytes, order).get<T>(), good};
}

std::string_view textOf(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Whether the file has `text` at an offset.
bool hasText(std::FILE* f, std::int64_t offset, std::string_view text)
{
    std::array<std::byte, 16> buffer{};
    const auto bytes = std::span(buffer).first(text.size());
    return readAt(f, offset, bytes) && textOf(bytes) == text;
}

// Eleven header blocks, each with its number and its length.
bool isHisd(std::FILE* f)
{
    constexpr std::uint16_t firstLength = 282;
    const auto native = numberAt<std::uint16_t>(f, 1, nbCpuByteOrder);
    if (!native.good) return false;
    const NbByteOrder order = native.value == firstLength ? nbCpuByteOrder : otherByteOrder;
    std::int64_t at = 0;
    for (int block = 1; block <= 11; ++block) {
        const auto number = numberAt<std::uint8_t>(f, at, order);
        if (!number.good || number.value != block) return false;
        if (block == 10) { // the only one with a four-byte length
            const auto length = numberAt<std::uint32_t>(f, at + 1, order);
            if (!length.good) return false;
            at += length.value;
        } else {
            const auto length = numberAt<std::uint16_t>(f, at + 1, order);
            if (!length.good) return false;
            at += length.value;
        }
    }
    return true; // a raster is not asked for
}

bool isRdat(std::FILE* f)
{
    return hasText(f, 0, "HIMA8ZAN") || hasText(f, 0, "HIMA9ZAN");
}

// Header records of known types in their order, each with its length.
bool isHrit(std::FILE* f)
{
    const auto native = numberAt<std::uint16_t>(f, 1, nbCpuByteOrder);
    if (!native.good) return false;
    const NbByteOrder order = native.value == 16 ? nbCpuByteOrder : otherByteOrder;
    const auto total = numberAt<std::uint32_t>(f, 4, order);
    if (!total.good) return false;
    std::int64_t at = 0; // also the sum of the lengths so far
    const auto walk = [&](std::span<const std::uint8_t> types) {
        return std::ranges::all_of(types, [&](std::uint8_t type) {
            const auto found = numberAt<std::uint8_t>(f, at, order);
            const auto length = numberAt<std::uint16_t>(f, at + 1, order);
            at += length.value;
            return found.good && length.good && found.value == type;
        });
    };
    static constexpr std::uint8_t always[] = {0, 1, 2, 3, 4, 5, 128};
    static constexpr std::uint8_t further[] = {130, 131, 132};
    return walk(always) && (at >= total.value || walk(further));
}

// Sync word, and the satellite's name in either character code.
bool isHrpt(std::FILE* f)
{
    if (numberAt<std::int16_t>(f, 0, NbByteOrder::Big).value != -3) return false;
    return hasText(f, 36, "NOAA") || hasText(f, 36, "\xD5\xD6\xC1\xC1");
}

bool isAapp(std::FILE* f)
{
    return hasText(f, 0, "ZOC") || hasText(f, 0, "ZAN");
}

bool isMeteo(std::FILE* f)
{
    return hasText(f, 0, "Dundee PDUS");
}

// Complement of the CRC-16 with polynomial 0x1021 and start value 0xFFFF.
std::uint16_t gvarCheck(std::span<const std::byte> bytes)
{
    unsigned crc = 0xFFFF;
    for (const std::byte byte : bytes) {
        crc ^= std::to_integer<unsigned>(byte) << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ ((crc & 0x8000U) != 0 ? 0x1021U : 0U);
    }
    return static_cast<std::uint16_t>(~crc);
}

// Three copies of a block header, each with its CRC. Damaged blocks are passed over.
bool isGvar(std::FILE* f)
{
    constexpr int blocks = 22;
    constexpr std::int64_t blockSize = 0x6800;
    const auto sync = numberAt<std::uint16_t>(f, 0, NbByteOrder::Big);
    if (!sync.good) return false;
    const int start = sync.value == 0x5A5A ? 10 : sync.value == 0xFF01 ? 2 : 0;
    for (int block = 0; block < blocks; ++block) {
        bool all = true;
        for (int copy = 0; copy < 3; ++copy) {
            Field<30> header{};
            if (!readAt(f, block * blockSize + copy * 30 + start, header)) return false;
            const auto bytes = std::span(header);
            NbCursor stored(bytes.last(2), NbByteOrder::Big);
            all = all && gvarCheck(bytes.first(28)) == stored.get<std::uint16_t>();
        }
        if (all) return true;
    }
    return false;
}

bool isSvissr(std::FILE* f)
{
    if (numberAt<std::uint16_t>(f, 0, nbCpuByteOrder).value != 0) return false;
    const int byte = numberAt<std::uint8_t>(f, 91, nbCpuByteOrder).value;
    return byte == 5 || byte == 6 || byte == 9 || byte == 35;
}

// The record count and the record length make the file's size, with or without a prefix.
bool isNgacv1(std::FILE* f)
{
    const std::int64_t size = nbpFileSize(f);
    for (const int prefix : {0, 122}) {
        const int satellite = numberAt<std::uint8_t>(f, prefix, NbByteOrder::Big).value;
        const int n = numberAt<std::int16_t>(f, prefix + 8, NbByteOrder::Big).value;
        if (satellite <= 9 && std::int64_t{n + 2 + n % 2} * 3220 + prefix == size) return true;
    }
    return false;
}

// Deliberate: three letters of "NOAA Level 1b v2" are enough. A test of the whole text would turn
// away files of other versions, which the driver reads.
bool isNgac(std::FILE* f)
{
    return hasText(f, 161, "NOA");
}

bool isHirid(std::FILE* f)
{
    constexpr std::int64_t blockSize = 0xB000;
    int marks = 0;
    int block = 0;
    for (; block < 500; block += 25) {
        const auto byte = numberAt<std::uint8_t>(f, block * blockSize + 99, nbCpuByteOrder);
        if (!byte.good) break;
        marks += byte.value == 35 || byte.value == 6 || byte.value == 37;
    }
    if (marks <= block / 75) return false;
    for (block = 0; block < 200; ++block) {
        Field<5> first{};
        Field<5> second{};
        if (!readAt(f, block * blockSize + 449, first)) return false;
        if (!readAt(f, block * blockSize + 601, second)) return false;
        if (textOf(first) == "MANAM" || textOf(second) == "MANAM") return true;
    }
    return false;
}

// Whether the first line that is neither empty nor a comment begins with `word`. A file of nothing
// but such lines is not read to its end.
bool isListOf(std::FILE* f, std::string_view word)
{
    constexpr int mostLines = 65536;
    std::array<char, 256> line{};
    if (!nbpFileSeek(f, 0)) return false;
    for (int i = 0; i < mostLines; ++i) {
        if (std::fgets(line.data(), static_cast<int>(line.size()), f) == nullptr) return false;
        if (line[0] == '#' || line[0] == '\n') continue;
        return std::string_view(line.data()).starts_with(word);
    }
    return false;
}

bool isMraw(std::FILE* f)
{
    return isListOf(f, "MRAW_FILES");
}

// The satellite's name in either character code, at the places where the record lengths put it.
bool isVissr(std::FILE* f)
{
    static constexpr std::int64_t addressList[] = {7332, 27012, 14020, 54020};
    static constexpr std::string_view names[2][2] = {{"GMS", "\xC7\xD4\xE2"},
                                                     {"GOE", "\xC7\xD6\xC5"}};
    Field<3> bytes{}; // a short read leaves the bytes read before
    for (const auto& name : names)
        for (const std::int64_t address : addressList) {
            readAt(f, address, bytes);
            if (textOf(bytes) == name[0] || textOf(bytes) == name[1]) return true;
        }
    return false;
}

bool isNative(std::FILE* f)
{
    const auto id = numberAt<std::uint16_t>(f, 3, NbByteOrder::Big);
    if (!id.good) return false;
    return (id.value >= 321 && id.value <= 324) || hasText(f, 30, "NATIVE");
}

bool isMtp(std::FILE* f)
{
    return hasText(f, 0, "ProductType");
}

bool isJami(std::FILE* f)
{
    return isListOf(f, "TAP_FILES");
}

// The weakest of all: a small number in either byte order.
bool isAbi(std::FILE* f)
{
    for (const NbByteOrder order : {NbByteOrder::Big, NbByteOrder::Little}) {
        const auto number = numberAt<std::int32_t>(f, 20, order);
        if (number.good && (number.value == 8 || number.value == 9)) return true;
    }
    return false;
}

struct Probe {
    NbSatFormatId id;
    bool (*fits)(std::FILE* f);
};

// The order matters: several tests are weak and only hold because stricter ones ran before them.
constexpr Probe probeTable[] = {
    {NB_FORMAT_HISD, isHisd},   {NB_FORMAT_RDAT, isRdat},     {NB_FORMAT_HRIT, isHrit},
    {NB_FORMAT_HRPT, isHrpt},   {NB_FORMAT_AAPP, isAapp},     {NB_FORMAT_METEO, isMeteo},
    {NB_FORMAT_GVAR, isGvar},   {NB_FORMAT_SVISSR, isSvissr}, {NB_FORMAT_NGACV1, isNgacv1},
    {NB_FORMAT_NGAC, isNgac},   {NB_FORMAT_HIRID, isHirid},   {NB_FORMAT_MRAW, isMraw},
    {NB_FORMAT_VISSR, isVissr}, {NB_FORMAT_NATIVE, isNative}, {NB_FORMAT_MTP, isMtp},
    {NB_FORMAT_JAMI, isJami},   {NB_FORMAT_ABI, isAbi},
};
static_assert(std::size(probeTable) == NB_FORMAT_RDAT);

} // namespace

extern "C" int nbSatAnalSatId(const char* path)
{
    const NbFilePtr file = nbpFileOpenRead(path);
    if (file == nullptr) {
        nbpLogError("%s : fopen('%s','rb') failed.\n", "nbSatAnalSatId()", path);
        return NB_FORMAT_NONE;
    }
    for (const Probe& probe : probeTable)
        if (probe.fits(file.get())) return probe.id;
    nbpLogError("%s : '%s' wasn't specified.\n", "nbSatAnalSatId()", path);
    return NB_FORMAT_NONE;
}
