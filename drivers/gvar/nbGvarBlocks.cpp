#include "drivers/gvar/nbGvarBlocks.h"

#include "drivers/gvar/nbGvar.h"
#include "util/nbCursor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace {

constexpr int copySize = 30; // of a header
constexpr int copies = 3;
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

std::uint16_t calcCrc(std::span<const std::byte> bytes)
{
    unsigned crc = 0xFFFF;
    for (const std::byte byte : bytes)
        crc = ((crc << 8) & 0xFFFFU) ^ crcTable[(crc >> 8) ^ std::to_integer<unsigned>(byte)];
    return static_cast<std::uint16_t>(~crc);
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
    const auto i = std::to_integer<unsigned>(id);
    const auto w = std::to_integer<unsigned>(wordSize);
    return ((i - 1 < 11) | (i == gvarBlock0)) & (w - 1 < 16);
}

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
    for (int copy = 0; copy < copies; ++copy) {
        const auto at = static_cast<std::size_t>(copy * copySize);
        if (at + copySize > block.size()) break;
        const auto bytes = block.subspan(at, copySize);
        if (isGoodCopy(bytes))
            return NbGvarFound{.header = parseCopy(bytes), .dataAt = copies * copySize};
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
    next_ += copies * copySize + 2 + found->header.dataSize();
    return true;
}

// First place behind `from` where the first copy of a header is good; -1 for none.
std::int64_t NbGvarBlocks::findFirstCopy(std::int64_t from)
{
    for (++from;;) {
        const auto bytes = view(from, copySize, scanChunk);
        if (bytes.size() < copySize) return -1;
        const std::size_t places = bytes.size() - copySize + 1;
        for (std::size_t i = 0; i < places; ++i)
            if (mayStart(bytes[i], bytes[i + 1]) && isGoodCopy(bytes.subspan(i, copySize)))
                return from + static_cast<std::int64_t>(i);
        from += static_cast<std::int64_t>(places);
    }
}

uint16_t nbpGvarCalcCrc(int length, const void* data)
{
    return calcCrc(
        {static_cast<const std::byte*>(data), static_cast<std::size_t>(std::max(length, 0))});
}
