/*
 * Lines of the channels: where they stand in the file, reading them on demand, their times.
 */
#include "drivers/common/nbUnpack10.h"
#include "drivers/native/nbNativeFile.h"
#include "geo/nbDate.h"
#include "util/nbCursor.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <utility>

namespace {

constexpr std::uint16_t outsideLine[1] = {0xFFFF};
constexpr double mjdOf1958 = 36204.0;

// MJD of days since 1 January 1958 and milliseconds of the day.
double cdsToMjd(std::uint16_t day, std::uint32_t millisecond)
{
    constexpr std::uint32_t most = std::numeric_limits<std::int32_t>::max();
    const double midnight = nbDateAddMjd(mjdOf1958, day, 'd');
    return nbDateAddMjd(midnight, static_cast<std::int32_t>(std::min(millisecond, most)), 'r');
}

// Offset of the side information of a line (from 0) of the current channel. A line of VIS/IR has
// one packet in each group, the channel of high resolution three, at the group's end.
std::int64_t packetOffset(const NbNativeFile& file, std::int64_t n)
{
    const std::int64_t front = file.packetHeader + static_cast<std::int64_t>(nativeSideLength);
    const std::int64_t visIr = nbpNativePackedLength(file.visIr.lineColumns) + front;
    const std::int64_t hrv = nbpNativePackedLength(file.hrv.lineColumns) + front;
    const bool isHrv = file.channel == nativeHrv;
    const bool hasHrv = file.present[nativeHrv] || (file.raw && isHrv);
    const std::int64_t group =
        hasHrv ? (file.channelCount - 1) * visIr + 3 * hrv : file.channelCount * visIr;
    const std::int64_t before = file.position * visIr + file.dataOffset;
    return hasHrv && isHrv ? n / 3 * group + before + n % 3 * hrv : n * group + before;
}

// The grid in use is that of the current channel. Another one can be taken by
// nbpNativeSetChParam alone.
bool sizesAgree(const NbNativeFile& file)
{
    const NbNativeGrid& grid = file.gridOf(file.channel);
    if (file.columns == grid.lineColumns && file.lines == grid.lines) return true;
    std::fputs("Lin/Pix Number is not compatible!", stderr);
    return false;
}

// Reads as much of a line's packet as `out` takes; gives the number of bytes.
std::size_t readPacket(NbNativeFile* file, int n, std::span<std::byte> out)
{
    if (!nbpFileSeek(file->stream.get(), packetOffset(*file, n))) return 0;
    return std::fread(out.data(), 1, out.size(), file->stream.get());
}

// The side information belongs to line n. Lines count from 1 in the file.
bool isLine(const NbNativeSide& side, int n)
{
    if (side.line == n + 1) return true;
    nbpLogError("%s: Line number errore\n", "nbpNativeReadOneLine()");
    return false;
}

double timeOf(const NbNativeSide& side)
{
    return side.mjd > mjdOf1958 ? side.mjd : nativeNoTime;
}

} // namespace

NbNativeSide nbpNativeSide(std::span<const std::byte> bytes)
{
    NbCursor in(bytes, NbByteOrder::Big);
    NbNativeSide side{};
    const auto time = [&in] {
        const auto day = in.get<std::uint16_t>();
        return cdsToMjd(day, in.get<std::uint32_t>());
    };
    in.skip(3); // version, satellite id
    side.startMjd = time();
    in.skip(4); // microseconds and nanoseconds
    side.line = in.get<std::int32_t>();
    side.channel = in.get<std::uint8_t>() - 1;
    side.mjd = time();
    return side; // then validity and quality, three bytes
}

bool nbpNativeTakeGrid(NbNativeFile* file, int channel)
{
    const NbNativeGrid& grid = file->gridOf(channel);
    const bool north = grid.origin == nativeNorthWest || grid.origin == nativeNorthEast;
    const bool west = grid.origin == nativeNorthWest || grid.origin == nativeSouthWest;
    if (grid.origin > nativeNorthEast) {
        std::fputs("GridOrigin Error!", stderr);
        return false;
    }
    const auto lines = static_cast<std::size_t>(grid.lines);
    const auto packed = static_cast<std::size_t>(nbpNativePackedLength(grid.lineColumns));
    NbLineCache cache;
    cache.reset(grid.lines, grid.lineColumns);
    std::vector<const std::uint16_t*> ready(lines + 1, nullptr);
    ready.back() = outsideLine;
    std::vector<double> lineTimes(lines, nativeTimeUnread);
    std::vector<std::byte> packet(nativeSideLength + packed);

    file->cache = std::move(cache);
    file->ready = std::move(ready);
    file->lineTimes = std::move(lineTimes);
    file->packet = std::move(packet);
    file->columns = grid.lineColumns;
    file->lines = grid.lines;
    file->firstLine = nbpWrap16(north ? grid.north : grid.south);
    file->lastLine = nbpWrap16(north ? grid.south : grid.north);
    file->firstColumn = nbpWrap16(west ? grid.west : grid.east);
    file->lastColumn = nbpWrap16(west ? grid.east : grid.west);
    return true;
}

void nbpNativeLose(NbNativeFile* file)
{
    file->lost = true;
    file->stream.reset();
    // Not the outside line, by which reads that are under way go on.
    if (!file->ready.empty()) std::fill(file->ready.begin(), file->ready.end() - 1, nullptr);
    file->cache.reset(0, 0);
}

int nbpNativeLine(NbNativeFile* file, int n)
{
    if (n < 0 || n >= file->lines || file->lost) return 1;
    if (!sizesAgree(*file)) {
        nbpNativeLose(file);
        return 1;
    }
    NbLineCache& cache = file->cache;
    if (cache.state(n) == nativeLineRead) return 0;
    if (cache.state(n) == nativeLineMissing) return 1;

    const std::size_t got = readPacket(file, n, file->packet);
    if (got < nativeSideLength) {
        cache.setState(n, nativeLineMissing);
        return 1;
    }
    const NbNativeSide side = nbpNativeSide(file->packet);
    if (!isLine(side, n)) {
        nbpNativeLose(file);
        return 1;
    }
    file->lineTimes[static_cast<std::size_t>(n)] = timeOf(side);
    if (got < file->packet.size()) {
        cache.setState(n, nativeLineMissing);
        return 1;
    }
    std::uint16_t* counts = cache.add(n, "nbpNativeReadOneLine()");
    if (counts == nullptr) return -1;
    nbpUnpack10(std::span<const std::byte>(file->packet).subspan(nativeSideLength),
                {counts, static_cast<std::size_t>(file->columns)});
    cache.setState(n, nativeLineRead);
    file->ready[static_cast<std::size_t>(n)] = counts;
    return 0;
}

double nbpNativeLineTime(NbNativeFile* file, int n)
{
    if (n < 0 || n >= file->lines || file->lost || !sizesAgree(*file)) return nativeNoTime;
    double& time = file->lineTimes[static_cast<std::size_t>(n)];
    if (time != nativeTimeUnread) return time;
    std::array<std::byte, nativeSideLength> bytes{};
    time = nativeNoTime;
    if (readPacket(file, n, bytes) < bytes.size()) return time;
    const NbNativeSide side = nbpNativeSide(bytes);
    if (isLine(side, n)) time = timeOf(side);
    return time;
}

int nbpNativeReadOneLine(void* p, int line)
{
    return nbpNativeLine(nbpNativeFile(p), line);
}

int nbpNativeSetChParam(void* p, int channel)
{
    if (channel < 0 || channel >= nativeChannels) return 1;
    return nbpGuard("nbpNativeSetChParam()", 1, [&] {
        NbNativeFile* file = nbpNativeFile(p);
        // A grid that no channel of the file has is not checked at the open.
        const NbNativeGrid& grid = file->gridOf(channel);
        if (file->lost || !grid.hasSizes()) return 1;
        return nbpNativeTakeGrid(file, channel) ? 0 : 1;
    });
}
