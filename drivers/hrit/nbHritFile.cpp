#include "drivers/hrit/nbHritFile.h"

#include "drivers/common/nbDateFields.h"
#include "drivers/hrit/nbHritJpeg.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <span>

char nb_Hrit_STF[256] = "";
std::int16_t nb_hrit_get_alldata = 0;
const std::uint16_t* nb_hrit_frameData = nullptr;

namespace {

constexpr const char* openName = "nbHritOpenFile()";
constexpr int longestSide = std::numeric_limits<std::int16_t>::max(); // columns, lines
constexpr int mostLevels = 65536;
constexpr std::uint16_t outsideSlot[1] = {0xFFFF};

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

// Reads the header record by record. A record tells its type and its length, the three bytes of
// both included; types are not asked here.
class RecordStream {
public:
    RecordStream(NbFilePtr stream, const char* path) : stream_(std::move(stream)), path_(path) {}

    // The byte order in which the length of the first record is 16.
    NbByteOrder findOrder()
    {
        std::byte start[3] = {};
        const std::size_t got = std::fread(start, 1, sizeof start, stream_.get());
        std::rewind(stream_.get());
        NbCursor f(std::span(start, got), nbCpuByteOrder);
        f.skip(1);
        constexpr auto otherOrder =
            nbCpuByteOrder == NbByteOrder::Little ? NbByteOrder::Big : NbByteOrder::Little;
        order_ = f.get<std::uint16_t>() == 16 ? nbCpuByteOrder : otherOrder;
        return order_;
    }

    // Takes the next record, at least `least` bytes behind its three first ones; false, and a
    // message, when the file ends before. `number` is its type, for the message.
    bool load(int number, std::size_t least)
    {
        std::byte head[3] = {};
        const std::size_t got = std::fread(head, 1, sizeof head, stream_.get());
        NbCursor f(std::span(head, got), order_);
        f.skip(1);
        const std::size_t length = std::max<std::size_t>(f.get<std::uint16_t>(), least + 3);
        bytes_.assign(length - 3, std::byte{});
        const std::size_t body = std::fread(bytes_.data(), 1, bytes_.size(), stream_.get());
        if (f.ok() && body == bytes_.size()) return true;
        nbpLogError("%s : %s: header record %d says %zu bytes, %zu remain\n", openName, path_,
                    number, length, got + body);
        return false;
    }
    NbCursor fields() const { return {bytes_, order_}; }
    std::string text() const { return std::string(fields().text(bytes_.size())); }
    std::FILE* file() const { return stream_.get(); }
    std::int64_t position() const { return nbpFilePosition(stream_.get()); }

private:
    NbFilePtr stream_;
    const char* path_;
    NbByteOrder order_ = nbCpuByteOrder;
    std::vector<std::byte> bytes_;
};

// What the header says and the open file does not keep.
struct Header {
    int fileType = 0;
    int bitsPerPixel = 0;
    int compression = 0;
    std::string calib; // the text records
    std::string comp;
    std::string times;
    std::string quality;
};

bool readPrimary(RecordStream& in, Header* header)
{
    if (!in.load(0, 13)) return false;
    header->fileType = in.fields().get<std::uint8_t>();
    return true; // then the length of all headers and that of the data in bits
}

bool readStructure(RecordStream& in, NbHritFile* file, Header* header)
{
    if (!in.load(1, 6)) return false;
    NbCursor f = in.fields();
    header->bitsPerPixel = f.get<std::uint8_t>();
    file->columns = f.get<std::uint16_t>();
    file->lines = f.get<std::uint16_t>();
    header->compression = f.get<std::uint8_t>();
    return true;
}

bool readNavigation(RecordStream& in, NbHritFile* file)
{
    if (!in.load(2, 48)) return false;
    NbCursor f = in.fields();
    NbHritProjection projection = nbpHritReadProjection(f.text(32));
    projection.cfac = f.get<std::int32_t>();
    projection.lfac = f.get<std::int32_t>();
    projection.coff = f.get<std::int32_t>();
    projection.loff = f.get<std::int32_t>();
    file->projection = projection;
    return true;
}

bool readText(RecordStream& in, int number, std::string* out)
{
    if (!in.load(number, 0)) return false;
    *out = in.text();
    return true;
}

bool readSegment(RecordStream& in, NbHritFile* file)
{
    if (!in.load(128, 4)) return false;
    NbCursor f = in.fields();
    f.skip(2); // sequence number, number of segments
    file->firstLine = f.get<std::uint16_t>();
    return true;
}

// Reads the ten records; the image begins behind the last.
bool readHeader(RecordStream& in, NbHritFile* file, Header* header)
{
    return readPrimary(in, header) && readStructure(in, file, header) && readNavigation(in, file) &&
           readText(in, 3, &header->calib) && readText(in, 4, &file->annotation) &&
           in.load(5, 7) && // time stamp: the times of the lines say more
           readSegment(in, file) && readText(in, 130, &header->comp) &&
           readText(in, 131, &header->times) && readText(in, 132, &header->quality);
}

// True when the numbers on which arrays and indices rest make sense; says what does not.
bool checkSizes(const NbHritFile& file, const char* path)
{
    if (file.columns < 1 || file.columns > longestSide || file.lines < 1 ||
        file.lines > longestSide) {
        nbpLogError("%s : %s: header record 1 has %d columns and %d lines, expected 1 to %d of "
                    "each\n",
                    openName, path, file.columns, file.lines, longestSide);
        return false;
    }
    const int lastLine = file.firstLine + file.lines - 1;
    if (lastLine < 1 || lastLine > longestSide) {
        nbpLogError("%s : %s: header record 128 puts the lines at %d to %d, expected up to %d\n",
                    openName, path, file.firstLine, lastLine, longestSide);
        return false;
    }
    if (file.calib.entries.empty()) {
        nbpLogError("%s : %s: header record 3 has no calibration table\n", openName, path);
        return false;
    }
    if (file.calib.levels > mostLevels) {
        nbpLogError("%s : %s: header record 3 has a level of %d, expected 0 to %d\n", openName,
                    path, file.calib.entries.back().level, mostLevels - 1);
        return false;
    }
    return true;
}

// Opens the stream that the image is read from; one of NbHritOpenResult.
int openImage(NbHritFile* file, const RecordStream& in, const char* path, int compression)
{
    if (compression == 2) {
        nbpLogError("%s : このバージョンのNIMBLは非可逆JPEGには対応していません\n", openName);
        return NB_HRIT_UNREADABLE;
    }
    if (compression != 1) {
        file->raster.stream = nbpFileOpenRead(path, false);
        if (!file->raster.stream) ++nbpReadFailures; // the file has just been read from
        file->raster.offset = in.position();
        file->raster.order = file->order;
        return NB_HRIT_OPEN;
    }
    const std::string tool = nbpHritJpegTool();
    if (tool.empty()) {
        nbpLogError("%s : このバージョンのNIMBLは可逆JPEGには対応していません\n", openName);
        return NB_HRIT_UNREADABLE;
    }
    const std::int64_t size = std::int64_t{2} * file->columns * file->lines;
    file->raster.stream = nbpHritJpegDecode(tool, in.file(), size);
    file->raster.offset = 0;
    file->raster.order = NbByteOrder::Big; // the decoder's, whatever the headers have
    if (!file->raster.stream) {
        nbpLogError("%s : 可逆JPEGの解凍に失敗しました。\n", openName);
        return NB_HRIT_UNREADABLE;
    }
    return NB_HRIT_OPEN;
}

// Reads the whole image into the frame; false when it is shorter than that.
bool readFrame(NbHritFile* file)
{
    const std::size_t counts =
        static_cast<std::size_t>(file->columns) * static_cast<std::size_t>(file->lines);
    std::FILE* in = file->raster.stream.get();
    if (in == nullptr) return false;
    const std::int64_t rest = nbpFileSize(in) - file->raster.offset;
    if (rest < static_cast<std::int64_t>(counts * sizeof(std::uint16_t))) return false;
    file->frame.resize(counts);
    if (!nbpFileSeek(in, file->raster.offset)) return false;
    return std::fread(file->frame.data(), sizeof(std::uint16_t), counts, in) == counts;
}

// Opens the scan time file that the environment or the setting names. The image is good without.
void openScanTime(NbHritFile* file)
{
    const char* path = std::getenv("NB_HRIT_SCANTIME");
    if (path == nullptr && nb_Hrit_STF[0] != '\0') path = nb_Hrit_STF;
    if (path == nullptr) return;
    file->scanTime = nbpFileOpenRead(path);
    if (!file->scanTime) nbpLogWarn("Can't Open Scan Time File [%s] \n", path);
}

// The projection's centre in each line: that of the compensation table, or the header's.
void makeComp(NbHritFile* file)
{
    const auto lines = static_cast<std::size_t>(file->lines);
    file->columnComp.resize(lines);
    file->lineComp.resize(lines);
    for (std::size_t i = 0; i < lines; ++i) {
        const float line = static_cast<float>(file->firstLine) + static_cast<float>(i);
        if (nbpHritComp(file->comp, line, &file->columnComp[i], &file->lineComp[i])) continue;
        file->columnComp[i] = static_cast<float>(file->projection.coff);
        file->lineComp[i] = static_cast<float>(file->projection.loff);
    }
}

void makeQuality(NbHritFile* file, std::string_view text)
{
    file->quality.assign(static_cast<std::size_t>(file->lines), 0.0);
    for (const NbHritQualityEntry& entry : nbpHritReadQuality(text))
        if (entry.line >= file->firstLine && entry.line <= file->lastLine)
            file->quality[static_cast<std::size_t>(entry.line - file->firstLine)] = entry.error;
}

int openFile(NbHritFile* file, const char* path)
{
    NbFilePtr stream = nbpFileOpenRead(path);
    if (!stream) return NB_HRIT_NO_FILE; // silent: detection tries files of any kind
    RecordStream in(std::move(stream), path);
    file->order = in.findOrder();
    Header header;
    if (!readHeader(in, file, &header)) return NB_HRIT_SHORT;
    if (header.fileType != 0) {
        nbpLogError("%s : このファイルは画像ファイルではありません\n", openName);
        return NB_HRIT_UNREADABLE;
    }
    if (header.bitsPerPixel == 8) {
        nbpLogError("%s : NIMBL は 1Byte HRIT には対応していません\n", openName);
        return NB_HRIT_UNREADABLE;
    }
    // Deliberate: "MTSAT2" alone makes the second generation, while the satellite's name is known
    // by "MTSAT-2" too. Taking both would change the radiances of the files with the hyphen and
    // fill their errors.
    if (contains(file->annotation, "MTSAT2")) file->generation = 2;

    file->channel = nbpHritChannelOf(file->annotation);
    file->calib = nbpHritReadCalib(header.calib, file->channel);
    file->comp = nbpHritReadComp(header.comp);
    file->times = nbpHritReadTimes(header.times);
    if (!checkSizes(*file, path)) return NB_HRIT_SHORT;
    file->lastLine = file->firstLine + file->lines - 1;

    const auto lines = static_cast<std::size_t>(file->lines);
    file->cache.reset(file->lines, file->columns);
    file->levelTable.assign(static_cast<std::size_t>(file->calib.levels), 0.0F);
    file->blockStart.assign(lines, 0);
    file->blockCount.assign(lines, 0);
    makeQuality(file, header.quality);

    if (const int code = openImage(file, in, path, header.compression); code != NB_HRIT_OPEN)
        return code;
    if (nb_hrit_get_alldata == 1) {
        if (!readFrame(file)) {
            nbpLogError("%s : %s: the image ends before its %d lines\n", openName, path,
                        file->lines);
            return NB_HRIT_SHORT;
        }
        nb_hrit_frameData = file->frame.data();
    }
    nbpRasterReportShort(file->raster, file->lines, file->columns, openName, path);
    makeComp(file);
    nbpHritApplyShift(file);
    openScanTime(file);
    return NB_HRIT_OPEN;
}

std::string_view satelliteName(const NbHritFile& file)
{
    const std::string& text = file.annotation;
    const double lon = file.projection.subLon;
    if (contains(text, "MTSAT1") || contains(text, "MTSAT-1")) return "MTSAT-1R";
    if (contains(text, "MTSAT2") || contains(text, "MTSAT-2")) return "MTSAT-2";
    if (lon > 140.6 && lon < 140.8) return "Himawari";
    if (lon > 137.5 && lon < 142.5) return "MTSAT-1R";
    if (lon >= 142.5 && lon < 147.5) return "MTSAT-2";
    return "HRIT";
}

// Without the two operations of navigation, which follow the projection.
constexpr NbSatSlots hritSlots = {
    .GetChNum = nbHritGetChNum,
    .GetChInfo = nbHritGetChInfo,
    .LonLatHgtToPixLinInfo = nullptr,
    .PixLinToLonLatInfo = nullptr,
    .SetElements = nbHritSetElements,
    .GetCalTable = nbHritGetCalTable,
    .GetI2DataByPixLin = nbHritGetI2DataByPixLin,
    .GetR4DataByPixLin = nbHritGetR4DataByPixLin,
    .GetI2ZoomData = nbHritGetI2ZoomData,
    .GetR4ZoomData = nbHritGetR4ZoomData,
    .CloseFile = nbHritCloseFile,
    .SetStopGap = nbHritSetStopGap,
    .SetShift = nbHritSetShift,
    .GetChannel = nbHritGetChannel,
    .GetSatPosEf = nbHritGetSatPosEf,
    .GetSatAtt = nbHritGetSatAtt,
    .ResetAtt = nbHritResetAtt,
};

NbSatSlots slotsOf(int projection)
{
    NbSatSlots slots = hritSlots;
    switch (projection) {
    case hritDisk:
        slots.LonLatHgtToPixLinInfo = nbHritLonLatHgtToPixLinInfoDisk;
        slots.PixLinToLonLatInfo = nbHritPixLinToLonLatInfoDisk;
        break;
    case hritPolar:
        slots.LonLatHgtToPixLinInfo = nbHritLonLatHgtToPixLinInfoPolar;
        slots.PixLinToLonLatInfo = nbHritPixLinToLonLatInfoPolar;
        break;
    case hritMercator:
        slots.LonLatHgtToPixLinInfo = nbHritLonLatHgtToPixLinInfoMerc;
        slots.PixLinToLonLatInfo = nbHritPixLinToLonLatInfoMerc;
        break;
    default:
        break;
    }
    return slots;
}

} // namespace

void nbpHritApplyShift(NbHritFile* file)
{
    const auto lines = static_cast<std::size_t>(file->lines);
    const float column = static_cast<float>(file->projection.coff) + file->shiftPixel;
    const float line = static_cast<float>(file->projection.loff) + file->shiftLine;
    file->columnShift.resize(lines);
    file->lineShift.resize(lines);
    file->evenShift = true;
    for (std::size_t i = 0; i < lines; ++i) {
        file->columnShift[i] = column - file->columnComp[i];
        file->lineShift[i] = line - file->lineComp[i];
        if (file->columnShift[i] != file->columnShift[0]) file->evenShift = false;
    }
    nbpHritResetReady(file);
}

void nbpHritResetReady(NbHritFile* file)
{
    const auto lines = static_cast<std::size_t>(file->lines);
    file->ready.assign(lines + 1, nullptr);
    file->ready.back() = outsideSlot;
    file->fillings.assign(lines, {});
}

int nbHritOpenFile(void* p, const char* path)
{
    return nbpGuard(openName, static_cast<int>(NB_HRIT_NO_MEMORY),
                    [&] { return openFile(nbpHritFile(p), path); });
}

int nbHritCloseFile(void* p)
{
    const NbHritFile* file = nbpHritFile(p);
    if (file != nullptr && !file->frame.empty() && nb_hrit_frameData == file->frame.data())
        nb_hrit_frameData = nullptr;
    delete file; // streams, tables and lines go with it
    return 0;
}

int nbHritLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbHritLinkSat()", static_cast<int>(NB_HRIT_NO_MEMORY), [&] {
        const auto close = [](NbHritFile* file) { nbHritCloseFile(file); };
        std::unique_ptr<NbHritFile, decltype(close)> file(new NbHritFile);
        if (const int code = nbHritOpenFile(file.get(), path); code != NB_HRIT_OPEN) return code;

        const std::string_view name = satelliteName(*file);
        std::memset(object->satName, 0, sizeof object->satName);
        name.copy(object->satName, sizeof object->satName - 1);
        object->pixelNum = nbpWrap16(file->columns);
        object->lineNum = nbpWrap16(file->lastLine);
        constexpr double noTime = -1.0;
        nbpDateFields(file->times.empty() ? noTime : file->times.front().mjd, object->startTime);
        nbpDateFields(nbpHritGetEndTime(file.get()), object->endTime);
        const NbSatSlots slots = slotsOf(file->projection.kind);
        nbpSatSetSlots(object, &slots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_HRIT_OPEN);
    });
}

int nbHritSetStopGap(void* p, int gap)
{
    NbHritFile* file = nbpHritFile(p);
    if (gap != file->stopGap) nbpHritResetReady(file);
    file->stopGap = gap;
    return 0;
}

int nbHritSetShift(void* p, const float* dPixel, const float* dLine)
{
    NbHritFile* file = nbpHritFile(p);
    file->shiftPixel = *dPixel;
    file->shiftLine = *dLine;
    nbpHritApplyShift(file);
    return 0;
}

void nbpHritSetImgQualThresh(void* p, double threshold)
{
    NbHritFile* file = nbpHritFile(p);
    file->threshold = threshold;
    nbpHritResetReady(file);
}
