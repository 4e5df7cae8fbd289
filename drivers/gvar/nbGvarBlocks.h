#pragma once
/**
 * The blocks of a GVAR file in their order, in either of its physical layouts. Headers are read
 * once and kept, so a walk back through the file costs no reading.
 */
#include "util/nbFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

inline constexpr int gvarRecordSize = 26624; // of the record layout; no block is longer
inline constexpr int gvarBlock0 = 0xF0;      // block id of the documentation block

// What we use of a block header.
struct NbGvarHeader {
    std::uint8_t id = 0;       // 0xF0 documentation, 1 and 2 infrared, 3 to 10 visible; 0: damaged
    std::uint8_t wordSize = 0; // bits
    std::uint16_t wordCount = 0;
    bool valid = false;         // false: the block's lines are bad
    std::uint8_t satellite = 0; // GOES number
    std::uint16_t crc = 0;

    // Bytes of the block's data in front of its CRC.
    std::int64_t dataSize() const { return (std::int64_t{wordCount} - 2) * wordSize / 8; }
};

struct NbGvarFound {
    NbGvarHeader header = {};
    int dataAt; // offset of the block's data: three header copies lie in front of it
};

// Length of the sync prefix of a record; -1 without one.
int nbpGvarPrefixLength(std::span<const std::byte> record);

// The first good one of the three header copies at the start of `block`.
std::optional<NbGvarFound> nbpGvarFindHeader(std::span<const std::byte> block);

enum class NbGvarCheck : std::uint8_t { Unknown, Good, Bad };

struct NbGvarBlock {
    std::int64_t offset = 0; // of the record or the block in the file
    NbGvarHeader header = {};
    std::uint16_t relativeScan = 0; // documentation block: relative scan count
    std::uint16_t scan = 0;         // documentation block: scan number
    std::uint8_t dataAt = 0;
    NbGvarCheck dataCheck = NbGvarCheck::Unknown; // CRC of an image block's data
};

class NbGvarBlocks {
public:
    // Takes the stream over; false for an empty file.
    bool open(NbFilePtr stream);

    bool inRecords() const { return records_; }
    // Block n, from 0; null behind the last one. In the record layout n is the record's number and
    // a record without a good header has id 0; in the stream layout such places are passed over.
    // Stays good until a block further on is asked for.
    NbGvarBlock* get(std::size_t n);
    // The bytes of a block from its header on, until the next call. Shorter where the file ends;
    // in the stream layout they end with the block.
    std::span<const std::byte> read(const NbGvarBlock& block);

private:
    std::span<const std::byte> view(std::int64_t offset, std::size_t least, std::size_t most);
    bool appendRecord();
    bool appendFromStream();
    std::int64_t findFirstCopy(std::int64_t from);

    NbFilePtr stream_;
    std::int64_t fileSize_ = 0;
    bool records_ = false;
    std::int64_t next_ = 0; // stream layout: where the block after the last known one starts
    bool ended_ = false;
    std::vector<NbGvarBlock> blocks_;

    std::vector<std::byte> window_; // bytes of the file from windowAt_ on
    std::int64_t windowAt_ = 0;
    std::size_t windowSize_ = 0;
    bool windowAtEnd_ = false; // the file ends where the window does
};
