#include "drivers/gvar/nbGvarFile.h"

#include "drivers/gvar/nbGvarTime.h"
#include "geo/nbDate.h"
#include "util/nbCursor.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>

namespace {

constexpr double latestHeaderSec = 60.0; // how far a block's own time may lie behind its header's

// Words of `oa` that are whole numbers: the counts of an attitude block and, of each monomial, the
// two orders. Their places in a block of 55 words from word 61 on.
constexpr int attitudeStart = 61;
constexpr int attitudeWords = 55;
constexpr int integerPlaces[] = {3, 34, 35, 36, 40, 41, 45, 46, 50, 51};

bool isIntegerWord(int word)
{
    if (word < attitudeStart) return false;
    const int place = (word - attitudeStart) % attitudeWords;
    return std::ranges::find(integerPlaces, place) != std::end(integerPlaces);
}

// Hexadecimal floating point of the ground station's computers: a negative number is the
// complement of the whole word.
double r4ToDbl(std::uint32_t word)
{
    const bool negative = (word & 0x80000000U) != 0;
    if (negative) word = 0U - word;
    const int exponent = static_cast<int>((word >> 24) & 0x7F) - 64;
    const double size =
        std::ldexp(static_cast<double>(word & 0xFFFFFFU), exponent * 4 - 24); // exact
    return negative ? -size : size;
}

double charToInt(std::uint32_t word)
{
    return word;
}

// Start of the first scan, counted back from the time of the block of scan `n` (from 0).
double firstScanTime(double time, int n, int direction, double startTime)
{
    // Deliberate: milliseconds are taken off the decimal number as it stands, without a carry into
    // seconds and minutes, so a second may come out as 99. Scan times in old archives were formed
    // so. Without the carry all times of such a frame are up to 40 seconds late, where an hour
    // begins up to 40 minutes, and at midnight days.
    constexpr double s = gvarScanMs;
    constexpr double u = gvarTurnaroundMs;
    const int pairs = n / 2; // of scans: there and back
    double t = time;
    if (n % 2 == 0) {
        t -= pairs * 2 * (s + u);
        if (direction == 0) t -= s;
    } else if (direction == 0) {
        t = t - pairs * (2 * s + u) - (pairs + 1) * u - s;
    } else {
        t = t - (pairs + 1) * (2 * s + u) - pairs * u;
    }
    return t < startTime ? startTime : t;
}

// Fields of a documentation block's data at their offsets.
class Block0 {
public:
    explicit Block0(std::span<const std::byte> data) : data_(data) {}

    template <class T>
    T at(std::size_t offset) const
    {
        NbCursor in(data_, NbByteOrder::Big);
        in.seek(offset);
        return in.get<T>();
    }
    double time(std::size_t offset) const
    {
        NbCursor in(data_, NbByteOrder::Big);
        in.seek(offset);
        return nbpGvarBcd(in.bytes(8));
    }
    // Bits count from the least significant one.
    bool bit(std::size_t offset, int n) const { return (at<std::uint8_t>(offset) >> n & 1) != 0; }

private:
    std::span<const std::byte> data_;
};

int readBlock0(NbGvarFile* file, std::span<const std::byte> buffer, int offset)
{
    if (offset < 0 || static_cast<std::size_t>(offset) > buffer.size()) return -1;
    const auto data = buffer.subspan(static_cast<std::size_t>(offset));
    const std::size_t size = static_cast<std::size_t>(file->header.wordCount) - 2;
    if (file->header.wordCount < 2 || file->header.wordSize != 8 || size + 2 > data.size())
        return -1;
    const Block0 in(data);
    if (nbpGvarCalcCrc(static_cast<int>(size), data.data()) != in.at<std::uint16_t>(size))
        return -1;

    // Deliberate: only a time that lies too late is refused; one that lies hours before the
    // header's passes. Frames after a long pause of the station have such blocks.
    const double headerTime = in.time(5698);
    if (!(nbpGvarTimeDiff(in.time(22), headerTime) <= latestHeaderSec)) return -2;

    NbGvarFrame& frame = file->frame;
    if (frame.startTime == 0.0) frame.startTime = in.time(62);
    if (!(frame.startTime > 0)) {
        frame.startTime = 0;
        return -2;
    }
    frame.epochTime = in.time(322);
    const int scanNumber = in.at<std::uint16_t>(152);
    const int line = in.at<std::uint16_t>(154);
    frame.west = in.at<std::uint16_t>(156);
    frame.east = in.at<std::uint16_t>(158);
    frame.north = in.at<std::uint16_t>(160);
    frame.south = in.at<std::uint16_t>(162);
    frame.subLine = in.at<std::uint16_t>(170);
    frame.subPixel = in.at<std::uint16_t>(172);
    if (frame.firstScan == 0) {
        frame.firstScan = scanNumber - (line - frame.north) / 8;
        file->scan = scanNumber - frame.firstScan + 1;
    }
    // Deliberate: the pixel offset moves the western border alone, so it also changes the width.
    // Moved with it, the eastern one gives images of another width than the lines have.
    frame.west += in.at<std::uint16_t>(188);
    const int lineOffset = in.at<std::uint16_t>(190);
    frame.north += lineOffset;
    frame.south += lineOffset;

    for (int i = 0; i < gvarOaWords; ++i) {
        const auto word = in.at<std::uint32_t>(278 + 4 * static_cast<std::size_t>(i));
        frame.oa[static_cast<std::size_t>(i)] = isIntegerWord(i) ? charToInt(word) : r4ToDbl(word);
    }
    frame.nsCycles = in.at<std::int8_t>(6304);
    frame.ewCycles = in.at<std::int8_t>(6305);
    frame.nsIncrements = in.at<std::int16_t>(6306);
    frame.ewIncrements = in.at<std::int16_t>(6308);
    frame.imcOff = in.bit(3, 7);
    frame.flipped = in.bit(4, 7);

    const int scans = scanNumber - frame.firstScan;
    const bool bit = in.bit(2, 1);
    frame.direction = (scans & 1) == 0 ? !bit : bit;
    frame.firstScanTime = firstScanTime(headerTime, scans, frame.direction, frame.startTime);
    return 0;
}

// Sizes that the object's 16-bit numbers hold.
bool checkSize(const NbGvarFile& file, const char* path)
{
    constexpr int longest = std::numeric_limits<std::int16_t>::max();
    const NbGvarSize size = nbpGvarSize(file, 0);
    if (size.lines >= 1 && size.lines <= longest && size.pixels >= 1 && size.pixels <= longest)
        return true;
    nbpLogError("nbGvarOpenFile() : %s: the frame has %d lines of %d pixels, expected 1 to %d\n",
                path, size.lines, size.pixels, longest);
    return false;
}

int openFile(NbGvarFile* file, const char* path)
{
    NbFilePtr stream = nbpFileOpenRead(path, false);
    if (!stream) {
        nbpLogError("%s : fopen( '%s' 'rb' ) failed.\n", "nbGvarOpenFile()", path);
        return NB_GVAR_NO_FILE;
    }
    if (!file->blocks.open(std::move(stream))) return NB_GVAR_NO_FRAME;

    std::vector<std::byte> buffer(gvarRecordSize);
    for (std::size_t i = 0;; ++i) {
        const NbGvarBlock* block = file->blocks.get(i);
        if (block == nullptr) return NB_GVAR_NO_FRAME;
        if (block->header.id != gvarBlock0) continue;
        file->header = block->header;
        const auto bytes = file->blocks.read(*block);
        std::ranges::fill(std::ranges::copy(bytes, buffer.begin()).out, buffer.end(),
                          std::byte{0}); // of a stream that ends early
        if (readBlock0(file, buffer, block->dataAt) == 0) {
            file->firstBlock = i;
            break;
        }
    }
    nbpGvarCalcOA(file);
    file->satellite = file->header.satellite;
    if (file->satellite < 8 || file->satellite > 12)
        nbpLogWarn("nbGvarOpenFile() : %s: GOES-%d is read as GOES-9, also its channels\n", path,
                   file->satellite);
    if (!checkSize(*file, path)) return NB_GVAR_NO_FRAME;
    switch (nbpGvarChgCh(file, 0)) {
    case 0:
        return NB_GVAR_OPEN;
    case 2:
        nbpLogError("nbGvarOpenFile() : %s: orbit and attitude give no sub-satellite point\n",
                    path);
        return NB_GVAR_NO_FRAME;
    default:
        return NB_GVAR_NO_MEMORY;
    }
}

void dateFields(const std::int32_t* ymdhms, std::int16_t out[6])
{
    std::transform(ymdhms, ymdhms + 6, out, [](std::int32_t field) { return nbpWrap16(field); });
}

constexpr NbSatSlots gvarSlots = {
    .GetChNum = nbGvarGetChNum,
    .GetChInfo = nbGvarGetChInfo,
    .LonLatHgtToPixLinInfo = nbGvarLonLatHgtToPixLinInfo,
    .PixLinToLonLatInfo = nbGvarPixLinToLonLatInfo,
    .SetElements = nbGvarSetElements,
    .GetCalTable = nbGvarGetCalTable,
    .GetI2DataByPixLin = nbGvarGetI2DataByPixLin,
    .GetR4DataByPixLin = nbGvarGetR4DataByPixLin,
    .GetI2ZoomData = nbGvarGetI2ZoomData,
    .GetR4ZoomData = nbGvarGetR4ZoomData,
    .CloseFile = nbGvarCloseFile,
    .SetStopGap = nbGvarSetStopGap,
    .SetShift = nbGvarSetShift,
    .GetChannel = nbGvarGetChannel,
    .GetSatPosEf = nbGvarGetSatPosEf,
    .GetSatAtt = nbGvarGetSatAtt,
    .ResetAtt = nullptr, // the attitude is the file's own
};

} // namespace

int nbGvarOpenFile(void* p, const char* path)
{
    return nbpGuard("nbGvarOpenFile()", static_cast<int>(NB_GVAR_NO_MEMORY),
                    [&] { return openFile(nbpGvarFile(p), path); });
}

int nbGvarCloseFile(void* p)
{
    delete nbpGvarFile(p);
    return 0;
}

int nbGvarLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbGvarLinkSat()", static_cast<int>(NB_GVAR_NO_MEMORY), [&] {
        auto file = std::make_unique<NbGvarFile>();
        if (const int code = nbGvarOpenFile(file.get(), path); code != NB_GVAR_OPEN) return code;

        std::memset(object->satName, 0, sizeof object->satName);
        std::snprintf(object->satName, sizeof object->satName, "GOES-%d", file->satellite);
        object->pixelNum = nbpWrap16(file->pixels);
        object->lineNum = nbpWrap16(file->lines);
        std::int32_t start[7];
        nbpBcdTimeToInt(file->frame.startTime, start);
        dateFields(start, object->startTime);
        NbDateInts end{};
        nbDateMjdToInts(nbpGvarGetEndTime(file.get()), &end);
        const std::int32_t endFields[6] = {end.year, end.month,  end.day,
                                           end.hour, end.minute, end.second};
        dateFields(endFields, object->endTime);
        nbpSatSetSlots(object, &gvarSlots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_GVAR_OPEN);
    });
}

int nbGvarSetStopGap(void* p, int gap)
{
    nbpGvarFile(p)->stopGap = gap;
    return 0;
}

int nbGvarSetShift(void* p, const float* dPixel, const float* dLine)
{
    NbGvarFile* file = nbpGvarFile(p);
    file->shiftPixel = *dPixel;
    file->shiftLine = *dLine;
    return 0;
}

int nbpGvarGetHeader(const void* buffer, void* p)
{
    const std::span bytes(static_cast<const std::byte*>(buffer), 100);
    NbGvarFile* file = nbpGvarFile(p);
    const int prefix = file->blocks.inRecords() ? nbpGvarPrefixLength(bytes) : 0;
    if (prefix < 0) return -1;
    const auto found = nbpGvarFindHeader(bytes.subspan(static_cast<std::size_t>(prefix)));
    if (!found) return -3;
    file->header = found->header;
    return prefix + found->dataAt;
}

int nbpGvarGetBlock0(void* p, const void* buffer, int offset)
{
    return readBlock0(nbpGvarFile(p), {static_cast<const std::byte*>(buffer), gvarRecordSize},
                      offset);
}

int nbpGvarChgCh(void* p, int channel)
{
    NbGvarFile* file = nbpGvarFile(p);
    if (channel == file->channel) return 0;
    return nbpGuard("nbpGvarChgCh()", -1, [&] {
        double pixel = 0;
        double line = 0;
        if (!nbpGvarSubPoint(*file, channel, &pixel, &line)) return 2;
        const NbGvarSize size = nbpGvarSize(*file, channel);
        const auto lines = static_cast<std::size_t>(size.lines);
        // Made first: when memory runs out the channel stays as it was.
        std::vector<NbGvarLine> cache(lines);
        std::vector<std::uint8_t> bad(lines, 0);
        std::vector<std::int8_t> detectors(lines, -1);
        std::vector<std::int64_t> scanBlocks(
            lines / static_cast<std::size_t>(file->linesPerScan(channel)) + 1, -1);

        const NbGvarFrame& frame = file->frame;
        file->channelShiftPixel =
            nbpToFloat(nbpVisPixToChPix(channel, frame.subPixel - frame.west + 1) - (pixel + 1));
        file->channelShiftLine =
            nbpToFloat(nbpVisLinToChLin(file->satellite, channel, frame.subLine - frame.north + 1) -
                       (line + 1));
        file->channel = channel;
        file->lines = size.lines;
        file->pixels = size.pixels;
        file->cache.swap(cache);
        file->bad.swap(bad);
        file->detectors.swap(detectors);
        file->scanBlocks.swap(scanBlocks);
        file->lowestDetector = size.lines;
        file->cachedBytes = 0;
        file->longestWords = 0;
        file->block = file->firstBlock;
        file->stepBackLine = -1;
        file->gap = {};
        return 0;
    });
}
