#include "drivers/hisd/nbHisdFile.h"

#include "drivers/common/nbDateFields.h"
#include "util/nbArray.h"
#include "util/nbCursor.h"
#include "util/nbFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

namespace {

constexpr int longestSide = std::numeric_limits<std::int16_t>::max(); // columns, lines
constexpr std::uint16_t outsideLine[1] = {0xFFFF};

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

// Sets the size of a container; false when memory is out. Here, and not around it all, because
// the entries of a block have a message of their own.
template <class T>
bool tryResize(std::vector<T>* container, std::size_t n) noexcept
{
    return nbpGuard("tryResize()", false, [&] {
        container->resize(n);
        return true;
    });
}

// Reads the file's head block by block.
class HeaderStream {
public:
    HeaderStream(NbFilePtr stream, NbByteOrder order) : stream_(std::move(stream)), order_(order) {}
    void setOrder(NbByteOrder order) { order_ = order; }

    // Takes the next n bytes of the file; false when it ends before. Makes room for them first.
    bool load(std::size_t n)
    {
        bytes_.resize(n);
        return std::fread(bytes_.data(), 1, n, stream_.get()) == n;
    }
    bool reserve(std::size_t n) { return tryResize(&bytes_, n); }
    NbCursor fields() const { return {bytes_, order_}; }
    std::int64_t position() const { return nbpFilePosition(stream_.get()); }

private:
    NbFilePtr stream_;
    NbByteOrder order_;
    std::vector<std::byte> bytes_;
};

constexpr std::size_t spareLength = 40; // at the end of most blocks

// Block 1, basic information. Its length is 282 in one of the two byte orders; the flag that
// names the order is not asked.
bool readBasic(HeaderStream& in, NbHisdFile* file)
{
    if (!in.load(282)) return false;
    NbCursor length = in.fields();
    length.skip(1); // block number
    constexpr auto otherOrder =
        nbCpuByteOrder == NbByteOrder::Little ? NbByteOrder::Big : NbByteOrder::Little;
    file->raster.order = length.get<std::uint16_t>() == 282 ? nbCpuByteOrder : otherOrder;
    in.setOrder(file->raster.order); // that of the whole file

    NbCursor f = in.fields();
    f.skip(6); // block number, length, number of blocks, byte order flag
    file->satellite = f.text(16);
    f.skip(24); // processing centre, observation area and timeline
    file->startMjd = f.get<double>();
    file->endMjd = f.get<double>();
    return true; // then file creation, lengths, quality, format version, file name
}

// Block 2, data information.
bool readData(HeaderStream& in, NbHisdFile* file, int* compression)
{
    if (!in.load(50)) return false;
    NbCursor f = in.fields();
    f.skip(5); // block number, length, bits of a stored pixel
    file->columns = f.get<std::uint16_t>();
    file->lines = f.get<std::uint16_t>();
    *compression = f.get<std::uint8_t>();
    return true;
}

// Block 3, projection.
bool readProjection(HeaderStream& in, NbHisdProjection* out)
{
    if (!in.load(127)) return false;
    NbCursor f = in.fields();
    f.skip(3); // block number, length
    out->subLon = f.get<double>();
    out->cfac = f.get<std::int32_t>();
    out->lfac = f.get<std::int32_t>();
    out->coff = f.get<float>();
    out->loff = f.get<float>();
    out->distance = f.get<double>();
    f.skip(8); // equatorial radius; the formulas take the ratios
    out->polarRadius = f.get<double>();
    out->e2 = f.get<double>();
    out->ratio = f.get<double>();
    out->flattening2 = f.get<double>();
    out->slant = f.get<double>();
    return true; // then resampling
}

// Block 4, navigation.
bool readNavigation(HeaderStream& in, NbHisdNavigation* out)
{
    if (!in.load(139)) return false;
    NbCursor f = in.fields();
    f.skip(11); // block number, length, time of the navigation
    out->subLon = f.get<double>();
    out->subLat = f.get<double>();
    out->distance = f.get<double>();
    out->nadirLon = f.get<double>();
    out->nadirLat = f.get<double>();
    return true; // then positions of sun and moon
}

// Block 5, calibration: a common part, then a tail for solar or for thermal bands.
bool readCalibration(HeaderStream& in, NbHisdFile* file, bool* marked)
{
    if (!in.load(35)) return false;
    NbHisdCalibration* out = &file->calibration;
    NbCursor f = in.fields();
    const auto number = f.get<std::uint8_t>();
    const auto length = f.get<std::uint16_t>();
    *marked = number == 5 && length == 147;
    file->band = f.get<std::uint16_t>();
    out->wavelength = f.get<double>();
    out->validBits = f.get<std::uint16_t>();
    out->errorCount = f.get<std::uint16_t>();
    f.skip(2); // count outside the scan; it falls out with everything above the valid bits
    out->slope = f.get<double>();
    out->intercept = f.get<double>();
    return true;
}

bool readCalibrationTail(HeaderStream& in, NbHisdFile* file)
{
    if (!in.load(112)) return false;
    NbHisdCalibration* out = &file->calibration;
    NbCursor f = in.fields();
    const bool infrared = (file->band > 6 && contains(file->satellite, "Himawari")) ||
                          (file->band >= 2 && contains(file->satellite, "MTSAT-2"));
    if (!infrared) {
        out->albedo = f.get<double>();
        return true;
    }
    for (double& c : out->polynomial)
        c = f.get<double>();
    f.skip(24); // the inverse polynomial
    out->lightSpeed = f.get<double>();
    out->planck = f.get<double>();
    out->boltzmann = f.get<double>();
    return true;
}

// A block that carries its number and a fixed length.
bool readMarked(HeaderStream& in, std::uint8_t number, std::uint16_t length)
{
    if (!in.load(length)) return false;
    NbCursor f = in.fields();
    return f.get<std::uint8_t>() == number && f.get<std::uint16_t>() == length;
}

// Block 7, segment.
bool readSegment(HeaderStream& in, NbHisdFile* file)
{
    if (!readMarked(in, 7, 47)) return false;
    NbCursor f = in.fields();
    f.skip(5); // block number, length, number of segments, this one's
    file->firstLine = f.get<std::uint16_t>();
    return true;
}

// Blocks 8 to 10 end in a list. They give the message that ends the open, or null.
constexpr const char* noRoom = "calloc error\n";

// Block 8, navigation correction.
const char* readCorrection(HeaderStream& in, NbHisdCorrection* out)
{
    constexpr const char* bad = "info #8 read error\n";
    if (!in.load(21)) return bad;
    NbCursor f = in.fields();
    const auto number = f.get<std::uint8_t>();
    f.skip(2); // length
    out->column = f.get<float>();
    out->line = f.get<float>();
    out->rotation = f.get<double>();
    const std::size_t count = f.get<std::uint16_t>();

    const std::size_t length = count * 10 + spareLength;
    if (!in.reserve(length) || !tryResize(&out->entries, count)) return noRoom;
    if (!in.load(length)) return bad;
    NbCursor list = in.fields();
    for (NbHisdCorrection::Entry& entry : out->entries) {
        entry.line = list.get<std::uint16_t>();
        entry.columnShift = list.get<float>();
        entry.lineShift = list.get<float>();
    }
    return number == 8 ? nullptr : bad;
}

// Block 9, observation times.
const char* readTimes(HeaderStream& in, NbHisdFile* file)
{
    constexpr const char* bad = "info #9 read error\n";
    if (!in.load(5)) return bad;
    NbCursor f = in.fields();
    const auto number = f.get<std::uint8_t>();
    f.skip(2); // length
    const std::size_t count = f.get<std::uint16_t>();

    const std::size_t length = count * 10 + spareLength;
    if (!in.reserve(length) || !tryResize(&file->lineTimes, count) ||
        !tryResize(&file->lineTimesReach, count))
        return noRoom;
    if (!in.load(length)) return bad;
    NbCursor list = in.fields();
    int reach = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const int line = list.get<std::uint16_t>();
        reach = std::max(reach, line);
        file->lineTimes[i] = {.line = line, .mjd = list.get<double>()};
        file->lineTimesReach[i] = reach;
    }
    return number == 9 ? nullptr : bad;
}

// Block 10, error information. The only block with a length of four bytes.
struct ErrorLine {
    int line; // from 1 over the disk
    int pixels;
};
const char* readErrors(HeaderStream& in, std::vector<ErrorLine>* out)
{
    constexpr const char* bad = "info #10 read error\n";
    if (!in.load(7)) return bad;
    NbCursor f = in.fields();
    const auto number = f.get<std::uint8_t>();
    f.skip(4); // length
    const std::size_t count = f.get<std::uint16_t>();

    const std::size_t length = count * 4 + spareLength;
    if (!in.reserve(length) || !tryResize(out, count)) return noRoom;
    if (!in.load(length)) return bad;
    NbCursor list = in.fields();
    for (ErrorLine& error : *out) {
        error.line = list.get<std::uint16_t>();
        error.pixels = list.get<std::uint16_t>();
    }
    return number == 10 ? nullptr : bad;
}

// Reads the eleven blocks. Gives the message that ends the open, or null.
const char* readHeader(HeaderStream& in, NbHisdFile* file, int* compression,
                       std::vector<ErrorLine>* errors)
{
    bool marked = false;
    if (!readBasic(in, file)) return "header #1 read error\n";
    if (!readData(in, file, compression)) return "info #2 read error\n";
    if (!readProjection(in, &file->projection)) return "info #3 read error\n";
    if (!readNavigation(in, &file->navigation)) return "info #4 read error\n";
    if (!readCalibration(in, file, &marked)) return "header #5 read error\n";
    if (!readCalibrationTail(in, file)) return "info #5 read error\n";
    // Deliberate: block 5 with a wrong number or length is reported and read all the same. To
    // refuse it, as the blocks behind it do, would lose files that convert well.
    if (!marked) std::fputs("info #5 read error\n", stderr);
    if (!readMarked(in, 6, 259)) return "info #6 read error\n"; // inter-calibration
    if (!readSegment(in, file)) return "info #7 read error\n";
    if (const char* message = readCorrection(in, &file->correction)) return message;
    if (const char* message = readTimes(in, file)) return message;
    if (const char* message = readErrors(in, errors)) return message;
    if (!readMarked(in, 11, 259)) return "info #11 read error\n";
    return nullptr;
}

// True when the numbers on which arrays and indices rest make sense; says what does not.
bool checkSizes(const NbHisdFile& file, const char* path)
{
    constexpr const char* name = "nbHisdOpenFile()";
    if (file.columns < 1 || file.columns > longestSide || file.lines < 1 ||
        file.lines > longestSide) {
        nbpLogError("%s : %s: block 2 has %d columns and %d lines, expected 1 to %d of each\n",
                    name, path, file.columns, file.lines, longestSide);
        return false;
    }
    if (file.firstLine < 1 || file.lastLine > longestSide) {
        nbpLogError("%s : %s: block 7 puts the lines at %d to %d, expected 1 to %d\n", name, path,
                    file.firstLine, file.lastLine, longestSide);
        return false;
    }
    if (file.calibration.validBits < 1 || file.calibration.validBits > 14) {
        nbpLogError("%s : %s: block 5 has %d valid bits, expected 1 to 14\n", name, path,
                    file.calibration.validBits);
        return false;
    }
    return true;
}

// The shift of each line from the entries of block 8, linear between them.
NbHisdLineComp makeLineComp(const NbHisdFile& file)
{
    const auto& entries = file.correction.entries;
    NbHisdLineComp comp;
    if (entries.size() < 2) {
        comp.start = file.firstLine;
        comp.column.assign(static_cast<std::size_t>(file.lines), 0.0F);
        comp.line.assign(static_cast<std::size_t>(file.lines), 0.0F);
        return comp;
    }
    comp.start = entries.front().line;
    // A table that runs backward has one entry, of no shift. Line numbers have 16 bits.
    const int count = std::max(entries.back().line - comp.start + 1, 1);
    comp.column.assign(static_cast<std::size_t>(count), 0.0F);
    comp.line.assign(static_cast<std::size_t>(count), 0.0F);
    for (std::size_t k = 1; k < entries.size(); ++k) {
        const auto& a = entries[k - 1];
        const auto& b = entries[k];
        const auto steps = static_cast<float>(b.line - a.line);
        // Two entries of one line give 0 / 0: a line without a position, unless the pair behind
        // them sets it again.
        const float columnStep = (b.columnShift - a.columnShift) / steps;
        const float lineStep = (b.lineShift - a.lineShift) / steps;
        // Deliberate: the line of the first entry is left without its shift (index 0 stays 0).
        // To set it moves that line, and in files whose first entry lies above the image it
        // moves nothing; pictures made before would differ in one line.
        const int last = std::min(b.line, comp.start + count - 1);
        for (int n = std::max(a.line, comp.start + 1); n <= last; ++n) {
            const auto i = static_cast<std::size_t>(n - comp.start);
            const auto step = static_cast<float>(n - a.line);
            comp.column[i] = a.columnShift + columnStep * step;
            comp.line[i] = a.lineShift + lineStep * step;
        }
    }
    const auto isZero = [](float shift) { return shift == 0.0F; };
    comp.none = std::all_of(comp.column.begin(), comp.column.end(), isZero) &&
                std::all_of(comp.line.begin(), comp.line.end(), isZero);
    return comp;
}

int openFile(NbHisdFile* file, const char* path)
{
    NbFilePtr stream = nbpFileOpenRead(path);
    if (!stream) return NB_HISD_NO_FILE; // silent: detection tries files of any kind
    HeaderStream in(std::move(stream), nbCpuByteOrder);
    std::vector<ErrorLine> errors;
    int compression = 0;
    if (const char* message = readHeader(in, file, &compression, &errors)) {
        std::fputs(message, stderr);
        return NB_HISD_BAD_BLOCK;
    }
    file->lastLine = file->firstLine + file->lines - 1;
    if (compression == 1) {
        nbpLogError("%s : 可逆JPEGには対応していません\n", "nbHisdOpenFile()");
        return NB_HISD_COMPRESSED;
    }
    if (compression == 2) {
        nbpLogError("%s : 不可逆JPEGには対応していません\n", "nbHisdOpenFile()");
        return NB_HISD_COMPRESSED;
    }
    if (!checkSizes(*file, path)) return NB_HISD_BAD_BLOCK;

    file->raster.stream = nbpFileOpenRead(path, false);
    if (file->raster.stream)
        file->raster.offset = in.position();
    else
        ++nbpReadFailures; // the file has just been read from
    nbpRasterReportShort(file->raster, file->lines, file->columns, "nbHisdOpenFile()", path);

    file->cache.reset(file->lines, file->columns);
    file->levelTable.assign(static_cast<std::size_t>(file->levels()), 0.0F);
    file->errorCounts.assign(static_cast<std::size_t>(file->lines), 0);
    for (const ErrorLine& error : errors)
        if (error.line >= file->firstLine && error.line <= file->lastLine)
            file->errorCounts[static_cast<std::size_t>(error.line - file->firstLine)] =
                nbpWrap16(error.pixels);
    file->comp = makeLineComp(*file);
    nbpHisdResetReady(file);
    return NB_HISD_OPEN;
}

constexpr NbSatSlots hisdSlots = {
    .GetChNum = nbHisdGetChNum,
    .GetChInfo = nbHisdGetChInfo,
    .LonLatHgtToPixLinInfo = nbHisdLonLatHgtToPixLinInfoDisk,
    .PixLinToLonLatInfo = nbHisdPixLinToLonLatInfoDisk,
    .SetElements = nbHisdSetElements,
    .GetCalTable = nbHisdGetCalTable,
    .GetI2DataByPixLin = nbHisdGetI2DataByPixLin,
    .GetR4DataByPixLin = nbHisdGetR4DataByPixLin,
    .GetI2ZoomData = nbHisdGetI2ZoomData,
    .GetR4ZoomData = nbHisdGetR4ZoomData,
    .CloseFile = nbHisdCloseFile,
    .SetStopGap = nbHisdSetStopGap,
    .SetShift = nbHisdSetShift,
    .GetChannel = nbHisdGetChannel,
    .GetSatPosEf = nbHisdGetSatPosEf,
    .GetSatAtt = nbHisdGetSatAtt,
    .ResetAtt = nbHisdResetAtt,
};

} // namespace

void nbpHisdResetReady(NbHisdFile* file)
{
    file->ready.assign(static_cast<std::size_t>(file->lines) + 1, nullptr);
    file->ready.back() = outsideLine;
}

int nbHisdOpenFile(void* p, const char* path)
{
    return nbpGuard("nbHisdOpenFile()", static_cast<int>(NB_HISD_NO_MEMORY),
                    [&] { return openFile(nbpHisdFile(p), path); });
}

int nbHisdCloseFile(void* p)
{
    delete nbpHisdFile(p); // stream, tables and lines go with it
    return 0;
}

int nbHisdLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbHisdLinkSat()", static_cast<int>(NB_HISD_NO_MEMORY), [&] {
        auto file = std::make_unique<NbHisdFile>();
        if (const int code = nbHisdOpenFile(file.get(), path); code != NB_HISD_OPEN) return code;

        std::memset(object->satName, 0, sizeof object->satName);
        file->satellite.copy(object->satName, sizeof object->satName - 1);
        object->pixelNum = nbpWrap16(file->columns);
        object->lineNum = nbpWrap16(file->lastLine);
        nbpDateFields(file->startMjd, object->startTime);
        nbpDateFields(file->endMjd, object->endTime);
        nbpSatSetSlots(object, &hisdSlots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_HISD_OPEN);
    });
}

int nbHisdSetStopGap(void* p, int gap)
{
    NbHisdFile* file = nbpHisdFile(p);
    if (gap != file->stopGap)
        std::fill(file->ready.begin(), file->ready.end() - 1, nullptr); // not the outside line
    file->stopGap = gap;
    return 0;
}

int nbHisdSetShift(void* p, const float* dPixel, const float* dLine)
{
    NbHisdFile* file = nbpHisdFile(p);
    file->shiftPixel = *dPixel;
    file->shiftLine = *dLine;
    return 0;
}

void* nbHisdFileOfSatObject(NbSatObject* object)
{
    return object->privateData;
}
