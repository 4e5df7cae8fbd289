#include "drivers/gvar/nbGvarBlocks.h"

#include "drivers/gvar/nbGvar.h"
#include "util/nbCursor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace {

constexpr std::size_t copySize = 30; // of a header
constexpr std::size_t copies = 3;
constexpr int headersSize = copies * copySize;
constexpr std::size_t headSize = 256; // a block's headers, and the scan fields of Block 0
constexpr std::size_t scanChunk = 65536;

constexpr std::array<std::uint16_t, 256> makeCrcTable()
{
    std::array<std::uint16_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned crc = i << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ ((crc & 0x8000U) != 0 ? 0x1021U : 0U);
        table[i] = static_cast<std::uint16_t>(crc);
    }
    return table;
}
constexpr auto crcTable = makeCrcTable();

constexpr unsigned crcStep(unsigned crc, std::byte byte)
{
    return ((crc << 8) & 0xFFFFU) ^ crcTable[(crc >> 8) ^ std::to_integer<unsigned>(byte)];
}

constexpr unsigned crcOver(unsigned crc, std::span<const std::byte> bytes)
{
    for (const std::byte byte : bytes)
        crc = crcStep(crc, byte);
    return crc;
}

std::uint16_t calcCrc(std::span<const std::byte> bytes)
{
    return static_cast<std::uint16_t>(~crcOver(0xFFFF, bytes));
}

bool isGoodCopy(std::span<const std::byte> copy)
{
    NbCursor in(copy, NbByteOrder::Big);
    in.skip(copySize - 2);
    const auto stored = in.get<std::uint16_t>();
    return in.ok() && calcCrc(copy.first(copySize - 2)) == stored;
}

NbGvarHeader parseCopy(std::span<const std::byte> copy)
{
    NbGvarHeader header;
    NbCursor in(copy, NbByteOrder::Big);
    header.id = in.get<std::uint8_t>();
    header.wordSize = in.get<std::uint8_t>();
    header.wordCount = in.get<std::uint16_t>();
    in.skip(4); // product id, repeat flag, version
    header.valid = in.get<std::uint8_t>() != 0;
    in.skip(2); // coding, station
    header.satellite = in.get<std::uint8_t>() >> 4;
    in.skip(16); // block count, time
    header.crc = in.get<std::uint16_t>();
    return header;
}

// Whether a block of the stream may begin with these two bytes: asked at every byte of a damaged
// stretch, before its CRC is formed. Id 11 is the sounder's.
bool mayStart(std::byte id, std::byte wordSize)
{
    const auto below = [](std::byte value, unsigned count) { // from 1; in bytes, for vectors
        return static_cast<std::uint8_t>(std::to_integer<unsigned>(value) - 1) < count;
    };
    return (below(id, 11) | (id == std::byte{gvarBlock0})) & below(wordSize, 16);
}

// Whether one of the places may start a block; the byte behind the last place is read too.
bool anyMayStart(std::span<const std::byte> bytes, std::size_t places)
{
    std::uint8_t any = 0;
    for (std::size_t i = 0; i < places; ++i)
        any |= static_cast<std::uint8_t>(mayStart(bytes[i], bytes[i + 1]));
    return any != 0;
}

// What a byte in front of a copy adds to the register over both, which starts from 0.
constexpr std::array<std::uint16_t, 256> makeLeavingTable()
{
    std::array<std::uint16_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        std::array<std::byte, copySize + 1> bytes{};
        bytes[0] = static_cast<std::byte>(i);
        table[i] = static_cast<std::uint16_t>(crcOver(0, bytes));
    }
    return table;
}
constexpr auto leavingTable = makeLeavingTable();

// The register over a copy with a good CRC: here over zeros. The CRC starts from 0xFFFF and is
// stored inverted, the register starts from 0.
constexpr unsigned makeGoodRegister()
{
    std::array<std::byte, copySize> bytes{};
    const unsigned crc = ~crcOver(0xFFFF, std::span(bytes).first(copySize - 2)) & 0xFFFFU;
    bytes[copySize - 2] = static_cast<std::byte>(crc >> 8);
    bytes[copySize - 1] = static_cast<std::byte>(crc);
    return crcOver(0, bytes);
}
constexpr unsigned goodRegister = makeGoodRegister();

// Tests places of a run of bytes, in ascending order, for a good header copy: the register over a
// copy with its CRC is the same for every good one. From a place to a near one the register slides,
// byte by byte, so that bytes which look like a start everywhere cost no more than a few table
// look-ups each.
class CopyTest {
public:
    explicit CopyTest(std::span<const std::byte> bytes) : bytes_(bytes) {}

    bool isGood(std::size_t place)
    {
        if (!begun_ || place - at_ > copySize / 2) {
            crc_ = crcOver(0, bytes_.subspan(place, copySize));
        } else {
            for (; at_ < place; ++at_)
                crc_ = crcStep(crc_, bytes_[at_ + copySize]) ^
                       leavingTable[std::to_integer<std::size_t>(bytes_[at_])];
        }
        begun_ = true;
        at_ = place;
        return crc_ == goodRegister;
    }

private:
    std::span<const std::byte> bytes_;
    std::size_t at_ = 0;
    unsigned crc_ = 0;
    bool begun_ = false;
};

NbGvarBlock makeBlock(std::int64_t offset, const NbGvarFound& found, int prefix,
                      std::span<const std::byte> head)
{
    NbGvarBlock block{.offset = offset, .header = found.header};
    block.dataAt = static_cast<std::uint8_t>(prefix + found.dataAt); // at most 100
    if (found.header.id == gvarBlock0) {
        NbCursor in(head, NbByteOrder::Big);
        in.skip(block.dataAt);
        in.skip(150);
        block.relativeScan = in.get<std::uint16_t>();
        block.scan = in.get<std::uint16_t>();
    }
    return block;
}

} // namespace

int nbpGvarPrefixLength(std::span<const std::byte> record)
{
    NbCursor in(record, NbByteOrder::Big);
    const auto first = in.get<std::uint16_t>();
    if (!in.ok()) return -1;
    if (first == 0xFF01) return 2;
    const auto second = in.get<std::uint16_t>();
    in.skip(4);
    const auto last = in.get<std::uint16_t>();
    return first == 0x5A5A && second == 0xA5A5 && last == 0xFF01 && in.ok() ? 10 : -1;
}

std::optional<NbGvarFound> nbpGvarFindHeader(std::span<const std::byte> block)
{
    for (std::size_t copy = 0; copy < copies; ++copy) {
        if ((copy + 1) * copySize > block.size()) break;
        const auto bytes = block.subspan(copy * copySize, copySize);
        if (isGoodCopy(bytes))
            return NbGvarFound{.header = parseCopy(bytes), .dataAt = headersSize};
    }
    return std::nullopt;
}

bool NbGvarBlocks::open(NbFilePtr stream)
{
    stream_ = std::move(stream);
    fileSize_ = nbpFileSize(stream_.get());
    window_.resize(scanChunk);
    NbCursor in(view(0, 2, headSize), NbByteOrder::Big);
    const auto first = in.get<std::uint16_t>();
    records_ = first == 0x5A5A || first == 0xFF01;
    return in.ok();
}

NbGvarBlock* NbGvarBlocks::get(std::size_t n)
{
    while (n >= blocks_.size()) {
        if (ended_) return nullptr;
        ended_ = records_ ? !appendRecord() : !appendFromStream();
    }
    return &blocks_[n];
}

std::span<const std::byte> NbGvarBlocks::read(const NbGvarBlock& block)
{
    std::int64_t size = gvarRecordSize;
    if (!records_) size = std::min(size, block.dataAt + block.header.dataSize() + 2);
    const auto wanted = static_cast<std::size_t>(std::max<std::int64_t>(size, 0));
    const auto bytes = view(block.offset, wanted, wanted);
    return bytes.first(std::min(bytes.size(), wanted));
}

// Bytes from `offset` on: at least `least` of them unless the file ends, and up to `most` when they
// must be read.
std::span<const std::byte> NbGvarBlocks::view(std::int64_t offset, std::size_t least,
                                              std::size_t most)
{
    const auto held = [&]() -> std::span<const std::byte> {
        const auto skipped = static_cast<std::size_t>(offset - windowAt_);
        return std::span(window_).first(windowSize_).subspan(skipped);
    };
    const auto windowEnd = windowAt_ + static_cast<std::int64_t>(windowSize_);
    if (offset >= windowAt_ && offset <= windowEnd &&
        (windowAtEnd_ || windowEnd - offset >= static_cast<std::int64_t>(least)))
        return held();
    windowAt_ = offset;
    windowSize_ = 0;
    if (nbpFileSeek(stream_.get(), offset))
        windowSize_ = std::fread(window_.data(), 1, most, stream_.get());
    windowAtEnd_ = windowSize_ < most;
    return held();
}

// A record that is not whole counts as the end of the file.
bool NbGvarBlocks::appendRecord()
{
    const std::int64_t offset = static_cast<std::int64_t>(blocks_.size()) * gvarRecordSize;
    if (offset + gvarRecordSize > fileSize_) return false;
    const auto head = view(offset, headSize, headSize);
    if (head.size() < headSize) return false;
    const int prefix = nbpGvarPrefixLength(head);
    const auto found = prefix < 0
                           ? std::nullopt
                           : nbpGvarFindHeader(head.subspan(static_cast<std::size_t>(prefix)));
    blocks_.push_back(found ? makeBlock(offset, *found, prefix, head)
                            : NbGvarBlock{.offset = offset});
    return true;
}

bool NbGvarBlocks::appendFromStream()
{
    auto head = view(next_, headSize, headSize);
    auto found = nbpGvarFindHeader(head);
    if (!found) {
        next_ = findFirstCopy(next_);
        if (next_ < 0) return false;
        head = view(next_, headSize, headSize);
        found = nbpGvarFindHeader(head);
        if (!found) return false; // the file has changed
    }
    blocks_.push_back(makeBlock(next_, *found, 0, head));
    // Always forward: the shortest step is 92 - 2 x 255 / 8 bytes.
    next_ += headersSize + 2 + found->header.dataSize();
    return true;
}

// First place behind `from` where the first copy of a header is good; -1 for none.
std::int64_t NbGvarBlocks::findFirstCopy(std::int64_t from)
{
    constexpr std::size_t group = 64; // places that are looked over at once
    for (++from;;) {
        const auto bytes = view(from, copySize, scanChunk);
        if (bytes.size() < copySize) return -1;
        const std::size_t places = bytes.size() - copySize + 1;
        CopyTest test(bytes);
        for (std::size_t i = 0; i < places; i += group) {
            const std::size_t count = std::min(group, places - i);
            if (!anyMayStart(bytes.subspan(i), count)) continue;
            for (std::size_t k = i; k < i + count; ++k)
                if (mayStart(bytes[k], bytes[k + 1]) && test.isGood(k))
                    return from + static_cast<std::int64_t>(k);
        }
        from += static_cast<std::int64_t>(places);
    }
}

uint16_t nbpGvarCalcCrc(int length, const void* data)
{
    return calcCrc(
        {static_cast<const std::byte*>(data), static_cast<std::size_t>(std::max(length, 0))});
}
