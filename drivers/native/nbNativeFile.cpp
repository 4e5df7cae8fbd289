#include "drivers/native/nbNativeFile.h"

#include "drivers/common/nbDateFields.h"
#include "drivers/native/nbNativeCalib.h"
#include "sat/nbNavInfo.h"
#include "util/nbCursor.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <memory>
#include <span>
#include <string_view>

namespace {

constexpr double astronomicalUnitKm = 149597870.691;

// A file with text headers.
constexpr std::size_t mainTextLength = 0xE5A;
constexpr std::size_t secondTextLength = 0x5A0;
constexpr std::int64_t textPacketHeader = 0x26;
// The satellite id begins the level 1.5 header. Files as the ground segment distributes them have
// one byte before it, others four.
constexpr std::int64_t idOffset = 0x1424;
constexpr std::int64_t idOffsetDistributed = 0x1421;

// A raw file has fixed lengths.
constexpr std::int64_t rawIdOffset = 3;
constexpr std::int64_t rawHeaderLength = 445250;
constexpr std::int64_t rawDataLength = 17324928;

// From the satellite id: behind satellite status, image acquisition and celestial events.
constexpr std::int64_t imageDescriptionOffset = 386892;
constexpr std::size_t imageDescriptionLength = 365; // with the calibration of the channels
constexpr std::int64_t trailerCoverageOffset = 0x125;
constexpr std::size_t trailerCoverageLength = 48;

// What the two layouts differ in.
struct Layout {
    bool raw = true;
    std::int64_t idAt = rawIdOffset;
    std::int64_t mainLength = 0;
    std::int64_t secondLength = 0;
    std::int64_t headerLength = rawHeaderLength;
    std::int64_t dataLength = rawDataLength;
    std::int64_t packetHeader = 0;
};

bool readAt(std::FILE* f, std::int64_t offset, std::span<std::byte> out)
{
    return nbpFileSeek(f, offset) && std::fread(out.data(), 1, out.size(), f) == out.size();
}

template <std::size_t size>
using Bytes = std::array<std::byte, size>;

std::string_view textOf(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The whole number at the beginning of a text, behind blanks; 0 when there is none, -1 when it is
// negative or does not fit.
std::int64_t leadingNumber(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return 0;
    text.remove_prefix(start);
    if (text.starts_with('+')) text.remove_prefix(1);
    std::int32_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec == std::errc::result_out_of_range) return -1;
    return value < 0 ? -1 : value;
}

// What stands `distance` behind the colon that follows a position; empty without one.
std::string_view behindColon(std::string_view text, std::size_t at, std::size_t distance)
{
    const std::size_t colon = text.find(':', at);
    if (colon == std::string_view::npos || colon + distance >= text.size()) return {};
    return text.substr(colon + distance);
}

// Section lengths from the main header's text. Keys are looked for at every position, and the
// last place of a key counts: "Data" finds "15Data".
void readSections(std::string_view text, Layout* out)
{
    struct Key {
        std::string_view word;
        std::size_t distance; // of the number's field behind the colon
        std::int64_t* length;
    };
    const Key keys[] = {{"Main", 9, &out->mainLength},
                        {"Second", 9, &out->secondLength},
                        {"15Head", 7, &out->headerLength},
                        {"Data", 5, &out->dataLength}};
    constexpr std::size_t lastPosition = mainTextLength - 7;
    for (std::size_t at = 0; at <= lastPosition; ++at)
        for (const Key& key : keys)
            if (text.substr(at).starts_with(key.word)) {
                const std::string_view field = behindColon(text, at, key.distance);
                if (!field.empty()) *key.length = leadingNumber(field);
            }
}

// Marks of the channels from the secondary header's text.
void readBands(std::string_view text, std::int64_t length, NbNativeFile* file)
{
    constexpr std::string_view key = "BandIDs";
    const auto end = std::min(length, static_cast<std::int64_t>(text.size()));
    for (std::int64_t at = 0; at + static_cast<std::int64_t>(key.size()) <= end; ++at) {
        const auto i = static_cast<std::size_t>(at);
        if (!text.substr(i).starts_with(key)) continue;
        const std::string_view marks = behindColon(text, i, 2);
        for (std::size_t c = 0; c < file->present.size(); ++c)
            file->present[c] = c < marks.size() && marks[c] == 'X';
    }
}

bool isSatellite(std::FILE* f, std::int64_t offset)
{
    Bytes<2> bytes{};
    return readAt(f, offset, bytes) &&
           nbpNativeSatellite(NbCursor(bytes, NbByteOrder::Big).get<std::uint16_t>()) != nullptr;
}

bool readLayout(std::FILE* f, NbNativeFile* file, Layout* out)
{
    Bytes<6> mark{};
    if (!readAt(f, 30, mark) || textOf(mark) != "NATIVE") return true; // raw
    out->raw = false;
    out->headerLength = 0;
    out->dataLength = 0;
    out->packetHeader = textPacketHeader;
    Bytes<mainTextLength> mainText{};
    Bytes<secondTextLength> secondText{};
    if (!readAt(f, 0, mainText) || !readAt(f, mainTextLength, secondText)) return false;
    readSections(textOf(mainText), out);
    if (out->mainLength < 0 || out->secondLength < 0 || out->headerLength < 0 ||
        out->dataLength < 0)
        return false;
    readBands(textOf(secondText), out->secondLength, file);
    const bool distributed = !isSatellite(f, idOffset) && isSatellite(f, idOffsetDistributed);
    out->idAt = distributed ? idOffsetDistributed : idOffset;
    return true;
}

NbNativeGrid readGrid(NbCursor& in)
{
    NbNativeGrid grid;
    grid.lines = in.get<std::int32_t>();
    grid.columns = in.get<std::int32_t>();
    grid.lineColumns = grid.columns;
    in.skip(8); // grid steps
    grid.origin = in.get<std::uint8_t>();
    return grid;
}

// Image description and calibration, within the level 1.5 header.
bool readHeader(std::FILE* f, const Layout& layout, NbNativeFile* file)
{
    Bytes<2> id{};
    Bytes<imageDescriptionLength> description{};
    if (!readAt(f, layout.idAt, id) ||
        !readAt(f, layout.idAt + imageDescriptionOffset, description))
        return false;
    file->satelliteId = NbCursor(id, NbByteOrder::Big).get<std::uint16_t>();
    NbCursor in(description, NbByteOrder::Big);
    in.skip(1); // type of the projection: there is one
    file->subLon = in.get<float>();
    file->visIr = readGrid(in);
    file->hrv = readGrid(in);
    file->hrv.lineColumns = file->hrv.columns / 2; // two windows share the width of the disk
    in.skip(48);                                   // planned coverage
    in.skip(14);                                   // kinds of the image
    in.skip(72);                                   // radiometric processing
    for (std::size_t c = 0; c < file->slope.size(); ++c) {
        file->slope[c] = in.get<double>();
        file->intercept[c] = in.get<double>();
    }
    return in.ok();
}

// The lines and columns that were covered; of the two windows of high resolution the lower one.
bool readTrailer(std::FILE* f, std::int64_t offset, NbNativeFile* file)
{
    Bytes<trailerCoverageLength> bytes{};
    if (!readAt(f, offset + trailerCoverageOffset, bytes)) return false;
    NbCursor in(bytes, NbByteOrder::Big);
    for (NbNativeGrid* grid : {&file->visIr, &file->hrv}) {
        grid->south = in.get<std::int32_t>();
        grid->north = in.get<std::int32_t>();
        grid->east = in.get<std::int32_t>();
        grid->west = in.get<std::int32_t>();
    }
    return in.ok();
}

bool checkSizes(const NbNativeFile& file, int channel, const char* path)
{
    const NbNativeGrid& grid = file.gridOf(channel);
    if (grid.hasSizes()) return true;
    nbpLogError("nbNativeOpenFile() : %s: %s grid has %d columns and %d lines, expected 1 to %d of "
                "each\n",
                path, channel == nativeHrv ? "HRV" : "VIS/IR", grid.columns, grid.lines,
                nativeLongestSide);
    return false;
}

// Takes the grids of the channels that are there, the current one's last.
bool takeGrids(NbNativeFile* file, const char* path)
{
    if (file->channel < 0 || file->channel >= nativeChannels) return false;
    if (!file->raw) {
        const auto first = std::find(file->present.begin(), file->present.end(), true);
        if (first == file->present.end()) return false;
        for (const int channel : {static_cast<int>(first - file->present.begin()),
                                  file->present[nativeHrv] ? nativeHrv : file->channel})
            if (!checkSizes(*file, channel, path) || !nbpNativeTakeGrid(file, channel))
                return false;
    }
    return checkSizes(*file, file->channel, path) && nbpNativeTakeGrid(file, file->channel);
}

int openFile(NbNativeFile* file, const char* path)
{
    NbFilePtr stream = nbpFileOpenRead(path, false);
    if (!stream) {
        std::fputs("MSG File cannot open", stderr);
        return NB_NATIVE_FAILED;
    }
    std::FILE* f = stream.get();
    Layout layout;
    if (!readLayout(f, file, &layout) || !readHeader(f, layout, file)) return NB_NATIVE_FAILED;
    const auto marked = std::count(file->present.begin(), file->present.end(), true);
    file->raw = layout.raw;
    file->channelCount = layout.raw ? 1 : static_cast<int>(marked);
    file->packetHeader = layout.packetHeader;
    file->dataOffset =
        layout.mainLength + layout.secondLength + layout.headerLength + layout.packetHeader;

    Bytes<nativeSideLength> first{};
    if (!readAt(f, file->dataOffset, first)) return NB_NATIVE_FAILED;
    const NbNativeSide side = nbpNativeSide(first);
    file->startMjd = side.startMjd;
    file->channel = side.channel;
    if (!readTrailer(f, file->dataOffset + layout.dataLength, file)) return NB_NATIVE_FAILED;

    if (!takeGrids(file, path)) {
        std::fputs("Can't Get Channel parameter!", stderr);
        return NB_NATIVE_FAILED;
    }
    file->position = nbpNativePosition(*file, file->channel);
    // Deliberate: only a file that begins with the channel of high resolution has its navigation
    // moved into the window. In a file of several channels that one is selected later, and its
    // columns count as if the window began with the disk. To move it there too puts the image
    // where it belongs and shifts every position of such a file by the window's corner.
    if (file->channel == nativeHrv) {
        file->coffHrv -= file->firstColumn;
        file->loffHrv -= file->firstLine;
    }
    file->levelTable.assign(nativeLevels, -1.0F);
    file->stream = std::move(stream);
    return NB_NATIVE_OPEN;
}

constexpr NbSatSlots nativeSlots = {
    .GetChNum = nbNativeGetChNum,
    .GetChInfo = nbNativeGetChInfo,
    .LonLatHgtToPixLinInfo = nbNativeLonLatHgtToPixLinInfo,
    .PixLinToLonLatInfo = nbNativePixLinToLonLatInfo,
    .SetElements = nbNativeSetElements,
    .GetCalTable = nbNativeGetCalTable,
    .GetI2DataByPixLin = nbNativeGetI2DataByPixLin,
    .GetR4DataByPixLin = nbNativeGetR4DataByPixLin,
    .GetI2ZoomData = nbNativeGetI2ZoomData,
    .GetR4ZoomData = nbNativeGetR4ZoomData,
    .CloseFile = nbNativeCloseFile,
    .SetStopGap = nbNativeSetStopGap,
    .SetShift = nbNativeSetShift,
    .GetChannel = nbNativeGetChannel,
    .GetSatPosEf = nbNativeGetSatPosEf,
    .GetSatAtt = nbNativeGetSatAtt,
    .ResetAtt = nullptr,
};

} // namespace

int nbpNativePosition(const NbNativeFile& file, int channel)
{
    return static_cast<int>(std::count(file.present.begin(), file.present.begin() + channel, true));
}

int nbNativeOpenFile(void* p, const char* path)
{
    return nbpGuard("nbNativeOpenFile()", static_cast<int>(NB_NATIVE_FAILED),
                    [&] { return openFile(nbpNativeFile(p), path); });
}

int nbNativeCloseFile(void* p)
{
    delete nbpNativeFile(p); // stream, tables and lines go with it
    return 0;
}

int nbNativeLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbNativeLinkSat()", static_cast<int>(NB_NATIVE_FAILED), [&] {
        auto file = std::make_unique<NbNativeFile>();
        if (const int code = nbNativeOpenFile(file.get(), path); code != NB_NATIVE_OPEN) {
            std::fputs("File Open Error!", stderr);
            return static_cast<int>(NB_NATIVE_FAILED);
        }
        const NbNativeSatellite* satellite = nbpNativeSatellite(file->satelliteId);
        std::fill(std::begin(object->satName), std::end(object->satName), '\0');
        if (satellite != nullptr)
            std::string_view(satellite->name).copy(object->satName, sizeof object->satName - 1);
        object->pixelNum = nbpWrap16(file->columns);
        object->lineNum = nbpWrap16(file->lines);
        nbpDateFields(file->startMjd, object->startTime);
        std::fill(std::begin(object->endTime), std::end(object->endTime), std::int16_t{0});
        file->sunDistance = nbNavGetDistanceSunAndEarth(file->startMjd) / astronomicalUnitKm;
        nbpSatSetSlots(object, &nativeSlots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_NATIVE_OPEN);
    });
}

int nbNativeSetStopGap(void* p, int gap)
{
    nbpNativeFile(p)->stopGap = gap;
    return 0;
}

int nbNativeSetShift(void* p, const float* dPixel, const float* dLine)
{
    NbNativeFile* file = nbpNativeFile(p);
    file->shiftPixel = *dPixel;
    file->shiftLine = *dLine;
    return 0;
}
