#include "drivers/common/nbUnpack10.h"
#include "drivers/gvar/nbGvarFile.h"
#include "util/nbCursor.h"
#include "util/nbGuard.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace {

constexpr int docWords = 16; // 10-bit words in front of a line's pixels
constexpr int docBytes = 20;
constexpr int visibleLimit = 20860; // words of a line, from here on too long
constexpr int infraredLimit = 5230;
constexpr int recordsPerScan = 11; // documentation, two infrared, eight visible
constexpr int recordsMore = 23;    // of a step back, two scans and one
constexpr int linesBehind = 100;   // kept behind the wanted one when memory is scarce
// Lines are given back only above this. A row of a map may lead over hundreds of lines, and lines
// that go too early are read again for each row.
constexpr std::int64_t mostCachedBytes = std::int64_t{128} << 20;

// Detector numbers of a channel's lines.
struct DetectorRange {
    int low, high;
};
DetectorRange detectorRange(int satellite, int channel)
{
    static constexpr DetectorRange twelve[gvarChannels] = {{1, 8}, {1, 2}, {3, 4}, {5, 6}, {7, 7}};
    static constexpr DetectorRange others[gvarChannels] = {{1, 8}, {5, 6}, {7, 7}, {1, 2}, {3, 4}};
    return (satellite == 12 ? twelve : others)[channel];
}

// Whether a block of this id holds lines of the current channel.
bool suits(const NbGvarFile& file, int id)
{
    if (file.channel == 0) return id >= 3 && id <= 10;
    const bool shortWave = file.channel == 1 || file.channel == 2;
    return id == (shortWave == (file.satellite == 12) ? 1 : 2);
}

int wordLimit(const NbGvarFile& file)
{
    return file.channel == 0 ? visibleLimit : infraredLimit;
}

// The scan that holds a line, from 1.
int scanOf(const NbGvarFile& file, int line)
{
    return line / file.linesPerScan() + 1;
}

// Takes the position in the frame from a documentation block.
void getScanCount(NbGvarFile* file, const NbGvarBlock& block)
{
    const int scans = file->lines / file->linesPerScan();
    const int scan = block.scan - file->frame.firstScan;
    file->scan = scan < 0 || scan > scans ? file->scan + 1 : scan + 1;
    const int relative = block.relativeScan;
    file->relativeScan = relative == 0 || relative > scans ? file->relativeScan + 1 : relative;
}

// A line inside the data of its block.
struct LineStart {
    std::size_t at = 0;
    unsigned shift = 0; // bits
};

// The bytes of a line, brought to whole bytes; zeros behind the end of the data.
void alignLine(std::span<const std::byte> data, const LineStart& start, std::span<std::byte> out)
{
    const auto in = data.subspan(std::min(start.at, data.size()));
    if (start.shift == 0) {
        const auto n = std::min(in.size(), out.size());
        std::ranges::fill(std::ranges::copy(in.first(n), out.begin()).out, out.end(), std::byte{0});
        return;
    }
    // Deliberate: a shift of 2 takes the line from the byte's bit 6 on and one of 6 from bit 2 on.
    // Lines of every station have a multiple of four words, which leaves 0 or 4, where both ways
    // are one. A mended shift changes only files whose lines are cut at other places.
    const unsigned s = start.shift;
    const std::size_t whole = std::min(out.size(), in.empty() ? 0 : in.size() - 1);
    for (std::size_t i = 0; i < whole; ++i)
        out[i] = in[i + 1] >> s | in[i] << (8 - s);
    std::ranges::fill(out.subspan(whole), std::byte{0});
    if (whole < out.size() && whole < in.size()) out[whole] = in[whole] << (8 - s);
}

// The documentation words of a line that we use.
struct LineDoc {
    int detector;
    int relativeScan; // 20 bits
    int words;        // 20 bits
};
LineDoc readDoc(std::span<const std::byte> data, const LineStart& start)
{
    std::byte bytes[docBytes];
    std::uint16_t words[docWords];
    alignLine(data, start, bytes);
    nbpUnpack10(bytes, words);
    return {.detector = words[3],
            .relativeScan = words[5] << 10 | words[6],
            .words = words[11] << 10 | words[12]};
}

// Start of the line with number `walk` (from 1) of a block.
LineStart walkTo(std::span<const std::byte> data, int walk)
{
    LineStart start;
    std::int64_t words = 0;
    for (int i = 1; i < walk; ++i) {
        const std::int64_t more = readDoc(data, start).words;
        words += more;
        start.at += static_cast<std::size_t>((more * 10) >> 3);
        std::int64_t bits = words * 10 - static_cast<std::int64_t>(start.at) * 8;
        for (; bits >= 8; bits -= 8)
            ++start.at;
        start.shift = static_cast<unsigned>(bits);
    }
    return start;
}

// Number of a line's detector when its own words do not tell it: counted on from the nearest line
// above that has one; 0 for none.
int rebuildDetector(const NbGvarFile& file, int line, const DetectorRange& range)
{
    for (int i = line - 1; i >= file.lowestDetector; --i) {
        const int index = file.detectors[static_cast<std::size_t>(i)];
        if (index < 0) continue;
        const int detector = index + range.low + (line - i);
        return detector > range.high ? (detector - 1) % (range.high - range.low + 1) + range.low
                                     : detector;
    }
    return 0;
}

void keepDetector(NbGvarFile* file, int line, int index)
{
    file->detectors[static_cast<std::size_t>(line)] = static_cast<std::int8_t>(index);
    if (index >= 0) file->lowestDetector = std::min(file->lowestDetector, line);
}

// Reads one line of a block into the cache. A result other than done leaves the cache as it was.
int getOneLine(NbGvarFile* file, std::span<const std::byte> data, int walk, int line)
{
    const LineStart start = walkTo(data, walk);
    const LineDoc doc = readDoc(data, start);
    const int limit = wordLimit(*file);
    if (doc.words >= limit) return gvarLineTooLong;

    const DetectorRange range = detectorRange(file->satellite, file->channel);
    int detector = doc.detector;
    if (detector < range.low || detector > range.high)
        detector = rebuildDetector(*file, line, range);
    keepDetector(file, line, std::max(detector - range.low, -1));

    if (file->longestWords == 0 || doc.words > file->longestWords) {
        if (doc.words <= 0) return gvarLineTooLong;
        file->longestWords = doc.words;
    }
    if (doc.relativeScan != file->relativeScan) return gvarLineOtherScan;

    // As long as the longest line, so that a wrong length loses nothing, but no longer than the
    // block.
    const std::int64_t bits =
        (static_cast<std::int64_t>(data.size()) - static_cast<std::int64_t>(start.at)) * 8 -
        start.shift;
    const std::int64_t words = std::min<std::int64_t>(file->longestWords, bits / 10);
    const auto pixels = static_cast<std::size_t>(std::max<std::int64_t>(words - docWords, 0));
    const std::size_t bytes = (pixels * 10 + 7) / 8;
    auto& counts = file->cache[static_cast<std::size_t>(line)].counts;
    counts.resize(pixels);
    // Behind the documentation words a line starts with a whole byte again.
    LineStart first = start;
    first.at += docBytes;
    if (first.shift == 0) {
        nbpUnpack10(data.subspan(std::min(first.at, data.size())), counts);
    } else {
        std::byte aligned[infraredLimit * 10 / 8 + docBytes]; // one line a block: never shifted
        const std::span<std::byte> whole(aligned, std::min(bytes, sizeof aligned));
        alignLine(data, first, whole);
        nbpUnpack10(whole, counts);
    }
    file->cachedBytes += static_cast<std::int64_t>(pixels * sizeof(std::uint16_t));
    return gvarLineDone;
}

// Gives back the lines of scans that lie well above the wanted line.
void trimCache(NbGvarFile* file, int line)
{
    if (file->cachedBytes <= mostCachedBytes || line < linesBehind) return;
    const int n = file->linesPerScan();
    const int keepFrom = n + line - (line - linesBehind) % n - linesBehind;
    for (int i = 0; i < keepFrom; ++i) {
        auto& counts = file->cache[static_cast<std::size_t>(i)].counts;
        if (counts.empty()) continue;
        file->cachedBytes -= static_cast<std::int64_t>(counts.size() * sizeof(std::uint16_t));
        NbGvarLine().counts.swap(counts);
    }
}

// The data of an image block, behind its header.
std::span<const std::byte> readData(NbGvarFile* file, const NbGvarBlock& block)
{
    const auto bytes = file->blocks.read(block);
    return bytes.subspan(std::min<std::size_t>(block.dataAt, bytes.size()));
}

NbGvarCheck checkData(const NbGvarBlock& block, std::span<const std::byte> data)
{
    const std::int64_t size = block.header.dataSize();
    // The CRC stands where ten-bit words put it, whatever size the header gives its words.
    const std::int64_t at = (std::int64_t{block.header.wordCount} * 10 - 20) / 8;
    const auto room = static_cast<std::int64_t>(data.size());
    if (size < 0 || size > room || at < 0 || at + 2 > room) return NbGvarCheck::Bad;
    NbCursor in(data, NbByteOrder::Big);
    in.seek(static_cast<std::size_t>(at));
    return in.get<std::uint16_t>() == nbpGvarCalcCrc(static_cast<int>(size), data.data())
               ? NbGvarCheck::Good
               : NbGvarCheck::Bad;
}

// Takes from an image block what it has of the wanted line's scan.
int getOneBlock(NbGvarFile* file, int line, NbGvarBlock* block)
{
    trimCache(file, line);
    // Deliberate: the CRC decides only until a line has been read. Later blocks may have single
    // bits wrong, and a line with a wrong pixel is better than none.
    if (file->longestWords == 0) {
        if (block->dataCheck == NbGvarCheck::Unknown)
            block->dataCheck = checkData(*block, readData(file, *block));
        if (block->dataCheck == NbGvarCheck::Bad) return gvarLineBadBlock;
    }
    const int wantedScan = scanOf(*file, line);
    if (file->scan > wantedScan) return gvarLinePassed;
    if (file->scan < wantedScan) return gvarLineAhead;

    const int channel = file->channel;
    const int perScan = file->linesPerScan();
    const int lines = channel == 0 ? 1 : perScan;
    const int base = channel == 2 || channel == 4 ? 2 : 0; // lines of the block's other channel
    const auto data = readData(file, *block);
    int result = gvarLineDone;
    for (int j = 0; j < lines; ++j) {
        const int target = (file->scan - 1) * perScan + (channel == 0 ? block->header.id - 3 : j);
        if (target >= file->lines) break;
        const auto at = static_cast<std::size_t>(target);
        int code = gvarLineBad;
        if (block->header.valid) {
            if (!file->cache[at].counts.empty()) continue; // from another copy of the block
            code = getOneLine(file, data, channel == 0 ? 1 : target % lines + 1 + base, target);
        }
        if (code != gvarLineDone) file->bad[at] = 1;
        if (target == line) result = code;
    }
    return result;
}

// Where to look again for a line whose scan the file has passed.
std::size_t stepBack(const NbGvarFile& file, int line)
{
    if (file.blocks.inRecords()) {
        const std::int64_t perScan = file.linesPerScan();
        const std::int64_t records =
            (file.scan * perScan - line) * recordsPerScan / perScan + recordsMore;
        const auto block = static_cast<std::int64_t>(file.block);
        return static_cast<std::size_t>(std::max<std::int64_t>(block - records, 0));
    }
    // The scan's own documentation block, or the nearest one above that the file has.
    for (int scan = scanOf(file, line) - 1; scan >= 0; --scan) {
        const std::int64_t block = file.scanBlocks[static_cast<std::size_t>(scan)];
        if (block >= 0) return static_cast<std::size_t>(block);
    }
    return file.firstBlock;
}

// Whether an earlier walk from here has shown that the line's scan is not in the file.
bool isInGap(const NbGvarFile& file, int scan)
{
    return file.block == file.gap.block && scan > file.gap.before && scan < file.gap.behind;
}

int readLine(NbGvarFile* file, int line)
{
    const auto at = static_cast<std::size_t>(line);
    if (file->bad[at] != 0) return gvarLineBad;
    if (!file->cache[at].counts.empty()) return gvarLineDone;
    const bool records = file->blocks.inRecords();
    const int wantedScan = scanOf(*file, line);
    bool skipping = false;    // to the next documentation block, after a step back
    bool steppedBack = false; // in this call
    int scanBefore = 0;       // highest scan up to the wanted one since then; 0: none
    for (;;) {
        NbGvarBlock* block = file->blocks.get(file->block);
        int result = gvarLinePassed;
        if (block == nullptr) {
            // The end of the file lies behind every scan that has been met: their lines are
            // looked for once more as if a later scan stood there.
            const bool again = file->scan > wantedScan ||
                               (file->scan == wantedScan && file->stepBackLine != line &&
                                !isInGap(*file, wantedScan));
            if (!again) {
                if (steppedBack)
                    file->gap = {
                        .block = file->block, .before = wantedScan - 1, .behind = wantedScan + 1};
                return gvarLineFileEnd;
            }
        } else if (block->header.id == gvarBlock0) {
            getScanCount(file, *block);
            if (!records && file->scan >= 1 &&
                static_cast<std::size_t>(file->scan) <= file->scanBlocks.size())
                file->scanBlocks[static_cast<std::size_t>(file->scan) - 1] =
                    static_cast<std::int64_t>(file->block);
            if (file->scan <= wantedScan) scanBefore = std::max(scanBefore, file->scan);
            skipping = false;
            ++file->block;
            continue;
        } else if (skipping || !suits(*file, block->header.id)) {
            ++file->block;
            continue;
        } else {
            result = getOneBlock(file, line, block);
        }
        switch (result) {
        case gvarLineDone:
            ++file->block;
            if (!file->cache[at].counts.empty()) {
                // Given back later and asked for again, it may be looked for again.
                if (file->stepBackLine == line) file->stepBackLine = -1;
                return gvarLineDone;
            }
            break;
        case gvarLineTooLong:
            ++file->block;
            // Deliberate: in the stream layout the search ends here and the line is not filled
            // until it is asked for again; in records it goes on to the line's next copy.
            if (!records) return gvarLineTooLong;
            break;
        case gvarLinePassed:
            if (file->stepBackLine == line || isInGap(*file, wantedScan)) {
                if (steppedBack)
                    file->gap = {.block = file->block,
                                 .before = scanBefore > 0 ? scanBefore : wantedScan - 1,
                                 .behind = file->scan};
                file->bad[at] = 1;
                return gvarLineBad;
            }
            file->block = stepBack(*file, line);
            file->stepBackLine = line;
            scanBefore = 0;
            steppedBack = true;
            skipping = true;
            break;
        case gvarLineBad:
            return result;
        default: // of another scan, or damaged
            ++file->block;
        }
    }
}

} // namespace

int nbpGvarReadLine(NbGvarFile* file, int line)
{
    return nbpGuard("nbpGvarReadLine()", static_cast<int>(gvarLineNoMemory),
                    [&] { return readLine(file, line); });
}

// A line that was filled itself stays flagged and serves no further filling.
void nbpGvarFillLine(NbGvarFile* file, int line)
{
    int up = -1;
    int down = -1;
    bool noMemory = false;
    const auto isGood = [&](int n) {
        if (n < 0 || n >= file->lines) return false;
        const int code = nbpGvarReadLine(file, n);
        noMemory = noMemory || code == gvarLineNoMemory;
        return code == gvarLineDone;
    };
    for (int i = 1; i <= std::min(file->stopGap, file->lines) && (up < 0 || down < 0); ++i) {
        if (up < 0 && isGood(line - i)) up = line - i;
        if (down < 0 && isGood(line + i)) down = line + i;
    }
    // Not from one side because there was no room for the other.
    if (noMemory || (up < 0 && down < 0)) return;
    nbpGuard("nbpGvarFillLine()", 0, [&] {
        auto& out = file->cache[static_cast<std::size_t>(line)].counts;
        const auto& a = file->cache[static_cast<std::size_t>(up < 0 ? down : up)].counts;
        const auto& b = file->cache[static_cast<std::size_t>(down < 0 ? up : down)].counts;
        out.resize(std::min(a.size(), b.size()));
        file->cachedBytes += static_cast<std::int64_t>(out.size() * sizeof(std::uint16_t));
        if (up < 0 || down < 0) {
            std::copy_n(a.begin(), out.size(), out.begin());
            return 0;
        }
        for (std::size_t i = 0; i < out.size(); ++i)
            out[i] = static_cast<std::uint16_t>(((down - line) * a[i] + b[i] * (line - up)) /
                                                (down - up));
        return 0;
    });
}
