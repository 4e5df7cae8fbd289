#include "drivers/vissr/nbVissrFile.h"

#include "geo/nbDate.h"
#include "util/nbChar.h"
#include "util/nbCursor.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"
#include "util/nbReal.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

namespace {

constexpr const char* openName = "nbVissrOpenFile()";
constexpr int longestSide = std::numeric_limits<std::int16_t>::max(); // pixels, lines
constexpr std::size_t mostAttitudes = 33;
constexpr std::size_t mostOrbitsOfBlock = 9;
constexpr std::size_t mostOrbits = 2 * mostOrbitsOfBlock;
constexpr std::size_t wordsOfHeader = 9;
constexpr std::int64_t lineTableOffset = 32;

// Words of the header, from the start of the file.
enum HeaderWord {
    documentRecord = 0, // number of the documentation's first record, from 0
    nextRecord = 1,
    firstImageRecord = 3, // from 1
    tableEntries = 4,
    validLines = 5,
    firstLineWord = 6, // from 1
    lastLineWord = 7,
    lastImageRecord = 8
};

// A block of the file with its reals, which texts in EBCDIC say to be IBM's.
class Block {
public:
    Block(const NbVissrFile& file, std::int64_t offset, std::size_t n)
        : bytes_(n), fields_(bytes_, NbByteOrder::Big), ibm_(file.ebcdic)
    {
        nbpVissrReadAt(file, offset, bytes_.data(), n);
    }

    void seek(std::size_t position) { fields_.seek(position); }
    void skip(std::size_t n) { fields_.skip(n); }
    std::int32_t integer() { return fields_.get<std::int32_t>(); }
    std::uint32_t word() { return fields_.get<std::uint32_t>(); }
    std::int16_t shortInteger() { return fields_.get<std::int16_t>(); }
    std::span<const std::byte> bytes(std::size_t n) { return fields_.bytes(n); }

    float real4()
    {
        if (!ibm_) return fields_.get<float>();
        const auto raw = fields_.get<std::uint32_t>();
        return nbReal4IbmToIeee(&raw);
    }
    double real8()
    {
        if (!ibm_) return fields_.get<double>();
        const auto raw = fields_.get<std::uint64_t>();
        return nbReal8IbmToIeee(&raw);
    }
    void reals4(std::span<float> out)
    {
        for (float& value : out)
            value = real4();
    }
    void reals8(std::span<double> out)
    {
        for (double& value : out)
            value = real8();
    }

private:
    std::vector<std::byte> bytes_;
    NbCursor fields_;
    bool ibm_;
};

// Where the documentation blocks stand, bytes from the start of the file.
struct BlockPosition {
    std::string_view name;
    std::int64_t at[2][2]; // by variant; infrared, visible
};
constexpr BlockPosition positionTable[] = {
    {"mode", {{7328, 27008}, {14016, 54016}}},      {"trans", {{14656, 32384}, {28032, 67520}}},
    {"attitude", {{18320, 35072}, {30720, 70208}}}, {"orbit1", {{21984, 40512}, {35040, 72896}}},
    {"orbit2", {{25648, 43200}, {37728, 75584}}},   {"calib0", {{32976, 48576}, {23712, 62080}}},
    {"calib1", {{36640, 54016}, {21024, 59392}}},   {"calib2", {{40304, 56704}, {-1, -1}}},
    {"calib3", {{43968, 59392}, {-1, -1}}},
};
// Blocks that nobody reads: "unyoInfo" (operation) between mode and trans, "dcd" (data collection)
// between orbit and calibration.

std::int64_t blockPosition(const NbVissrFile& file, std::string_view name)
{
    for (const BlockPosition& row : positionTable)
        if (row.name == name) return row.at[file.variant][file.visible() ? 1 : 0];
    return -1; // no such row
}

// Sizes of a record, and whether "GMS" or "GOE" stands where such a record has the satellite's
// name. The first size that fits decides variant, text and reals.
bool findVariant(NbVissrFile* file)
{
    constexpr std::int64_t blockList[] = {3664, 13504, 14016, 27008};
    constexpr std::string_view ascii[] = {"GMS", "GOE"};
    constexpr std::string_view ebcdic[] = {"\xC7\xD4\xE2", "\xC7\xD6\xC5"};
    for (std::size_t i = 0; i < std::size(blockList); ++i) {
        char name[3];
        nbpVissrReadAt(*file, file->header[documentRecord] * blockList[i] + 4,
                       reinterpret_cast<std::byte*>(name), sizeof name);
        const std::string_view found(name, sizeof name);
        const bool isAscii = std::ranges::find(ascii, found) != std::end(ascii);
        file->ebcdic = std::ranges::find(ebcdic, found) != std::end(ebcdic);
        if (!isAscii && !file->ebcdic) continue;
        file->variant = static_cast<int>(i / 2);
        file->recordSize = blockList[i];
        return true;
    }
    return false;
}

// Variant 1 counts records of two lines; from here on they are records of one.
void adjustHeader(NbVissrFile* file)
{
    if (file->variant != 1) return;
    auto& h = file->header;
    file->recordSize /= 2;
    h[documentRecord] *= 2;
    h[nextRecord] = h[documentRecord] + 1;
    if (h[2] == 3) h[2] = 4;
    if (h[firstImageRecord] == 6) h[firstImageRecord] = 7;
    h[2] *= 2;
    h[firstImageRecord] = h[firstImageRecord] * 2 - 1;
}

std::int64_t recordOffset(const NbVissrFile& file, std::int64_t record)
{
    return (record - 1) * file.recordSize;
}

// The channel that the first word of the first image record marks; -1 for none. Detectors of the
// visible channel have a bit each.
int findChannel(const NbVissrFile& file, std::uint32_t mark)
{
    const auto bits = mark & 0xFFU;
    if (bits == 1) return 1;
    if (file.variant == 0) {
        if (bits == 2) return 2;
        if (bits == 4) return 3;
        return bits == 8 || bits == 0x10 || bits == 0x20 || bits == 0x40 ? vissrVisible : -1;
    }
    return bits == 2 || bits == 4 || bits == 8 || bits == 0x10 ? vissrVisible : -1;
}

// Number in digits behind blanks, as far as it goes.
std::int16_t number(std::string_view digits)
{
    std::int16_t value = 0;
    std::size_t i = 0;
    while (i < digits.size() && digits[i] == ' ')
        ++i;
    for (; i < digits.size() && digits[i] >= '0' && digits[i] <= '9'; ++i)
        value = static_cast<std::int16_t>(value * 10 + (digits[i] - '0'));
    return value;
}

// Block "mode".
void readMode(NbVissrFile* file)
{
    Block f(*file, blockPosition(*file, "mode"), 400 + 15 * 16);
    f.skip(4);
    std::string text;
    for (const std::byte c : f.bytes(28)) {
        const int code = std::to_integer<int>(c);
        text += static_cast<char>(file->ebcdic ? nbCharEbcdicToAscii(code) : code);
    }
    file->satellite = text.substr(0, text.find_first_of(std::string_view(" \0", 2)));
    const std::string_view time = std::string_view(text).substr(12, 14); // at 16 of the block
    std::size_t at = 0;
    for (std::size_t i = 0; i < file->start.size(); ++i) {
        const std::size_t width = i == 0 ? 4 : 2;
        file->start[i] = number(time.substr(at, width));
        at += width;
    }

    f.seek((file->visible() ? 88 : 120) + 24); // the channel's line format
    file->lineGap = f.integer();

    // The data kinds of the file, in 15 entries of which variant 1 fills 10. Nothing hangs on
    // them; an unknown number is told because the file is none that was met before.
    if (file->variant != 1) return;
    for (std::size_t i = 0; i < 10; ++i) {
        f.seek(400 + i * 16);
        const std::int32_t dataNo = f.integer();
        constexpr std::int32_t known[] = {0, 1, 2, 3, 4, 5, 7, 8};
        if (std::ranges::find(known, dataNo) == std::end(known))
            nbpLogError("%s : Bad dataNo( '%d' ).\n", openName, dataNo);
    }
}

// Block "trans".
void readTransform(NbVissrFile* file)
{
    NbVissrTransform& out = file->transform;
    Block f(*file, blockPosition(*file, "trans"), 528);
    f.skip(16); // integers
    out.originMjd = f.real8();
    float(*const byChannel[])[vissrChannels] = {
        &out.lineStep,        &out.pixStep,        &out.centreLine, &out.centrePixel,
        &out.centrePixelRest, &out.sensorsPerScan, &out.lineCount,  &out.pixelCount};
    for (auto* values : byChannel) {
        f.reals4(*values);
        // Variant 1 has two channels; what stands in the places of the others is none.
        if (file->variant == 1) (*values)[2] = (*values)[3] = 0.0F;
    }
    out.tilt = f.real4();
    out.lineOffset = f.real4();
    out.pixelOffset = f.real4();
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            out.misalignment[column][row] = static_cast<double>(f.real4());
    f.seek(520);
    out.spinRate = f.real8();
}

// Number of entries of a table, which says it itself.
std::size_t entryCount(std::int32_t said, std::size_t most)
{
    return std::min(static_cast<std::size_t>(std::max(said, 0)), most);
}

void readAttitude(NbVissrFile* file)
{
    constexpr std::size_t headSize = 48;
    constexpr std::size_t entrySize = 80;
    Block f(*file, blockPosition(*file, "attitude"), headSize + mostAttitudes * entrySize);
    f.seek(40);
    file->attitude.resize(entryCount(f.integer(), mostAttitudes));
    for (std::size_t i = 0; i < file->attitude.size(); ++i) {
        NbVissrAttitude& entry = file->attitude[i];
        f.seek(headSize + i * entrySize);
        entry.mjd = f.real8();
        f.skip(8); // the same time as a date
        entry.rightAscension = f.real8();
        entry.declination = f.real8();
        entry.sunAngle = f.real8();
    }
}

// Blocks "orbit1" and "orbit2". The first one says how many entries both have.
void readOrbit(NbVissrFile* file)
{
    constexpr std::size_t headSize = 48;
    constexpr std::size_t entrySize = 280;
    constexpr std::size_t size = headSize + mostOrbitsOfBlock * entrySize;
    Block first(*file, blockPosition(*file, "orbit1"), size);
    Block second(*file, blockPosition(*file, "orbit2"), size);
    first.seek(40);
    file->orbit.resize(entryCount(first.integer(), mostOrbits));
    for (std::size_t i = 0; i < file->orbit.size(); ++i) {
        NbVissrOrbit& entry = file->orbit[i];
        Block& f = i < mostOrbitsOfBlock ? first : second;
        f.seek(headSize + i % mostOrbitsOfBlock * entrySize);
        entry.mjd = f.real8();
        f.skip(8); // the same time as a date
        f.reals8(entry.inertialPosition);
        f.reals8(entry.inertialVelocity);
        f.reals8(entry.position);
        f.skip(24); // earth-fixed velocity
        entry.greenwich = f.real8();
        f.skip(16); // satellite to sun, inertial
        entry.sunRightAscension = f.real8();
        entry.sunDeclination = f.real8();
        f.reals8(entry.rotation);
    }
}

void readCalibration(NbVissrFile* file)
{
    const std::string name = "calib" + std::to_string(file->channel);
    const std::int64_t at = blockPosition(*file, name);
    if (file->visible()) {
        constexpr std::size_t headSize = 20; // 16 bytes and the mask of the detectors in use
        constexpr std::size_t detectorSize = 400;
        Block f(*file, at, headSize + vissrDetectors * detectorSize);
        for (std::size_t d = 0; d < vissrDetectors; ++d) {
            f.seek(headSize + d * detectorSize + 20); // behind the words of the detector
            f.reals4(file->calibration.albedo[d]);
        }
    } else {
        Block f(*file, at, 32 + 2 * vissrLevels * sizeof(float));
        f.skip(32);
        f.reals4(file->calibration.radiance);
        f.reals4(file->calibration.temperature);
    }
}

// True when the numbers on which arrays and offsets rest make sense; says what does not.
bool checkSizes(const NbVissrFile& file, const char* path)
{
    if (file.pixels < 1 || file.pixels > longestSide || file.lines < 1 ||
        file.lines > longestSide) {
        nbpLogError("%s : %s: block trans has %d pixels and %d lines, expected 1 to %d of each\n",
                    openName, path, file.pixels, file.lines, longestSide);
        return false;
    }
    // A line ends with its record: a control word of 64 bytes, the gap, the pixels.
    const int room = static_cast<int>(file.recordSize) - 64 - file.pixels;
    if (file.lineGap < 0 || file.lineGap > room) {
        nbpLogError("%s : %s: block mode puts %d bytes before a line's pixels, expected 0 to %d\n",
                    openName, path, file.lineGap, room);
        return false;
    }
    return true;
}

// Entry of a line, from 1; null outside the image.
std::int32_t* tableEntry(NbVissrFile* file, std::int64_t line)
{
    if (line < 1 || line > file->lines) return nullptr;
    return &file->lineTable[static_cast<std::size_t>(line - 1)];
}

// Variant 0: the table stands behind the header.
void readLineTable(NbVissrFile* file)
{
    const auto count = static_cast<std::size_t>(std::max(file->header[tableEntries], 0));
    Block f(*file, lineTableOffset, count * sizeof(std::int16_t));
    for (std::size_t i = 0; i < count; ++i) {
        const std::int32_t record = f.shortInteger();
        const auto line = file->header[firstLineWord] + static_cast<std::int64_t>(i);
        if (std::int32_t* entry = tableEntry(file, line)) *entry = record;
    }
    file->firstLine = file->header[firstLineWord];
    file->lastLine = file->header[lastLineWord];
}

// Variant 1: the table is made from the numbers that the lines carry.
void makeLineTable(NbVissrFile* file)
{
    auto& h = file->header;
    std::int16_t w[8];
    Block words(*file, h[documentRecord] * file->recordSize / 2, sizeof w);
    for (std::int16_t& word : w)
        word = words.shortInteger();
    std::int32_t last = h[lastLineWord];
    if (w[0] == h[documentRecord] / 2 && w[6] == h[lastLineWord] + 1)
        last = w[7];
    else if (w[0] != 0x4040 || w[1] != 0x4040) // blanks in EBCDIC: there is no second header
        nbpLogError("%s : ? INTERNAL ERROR 23429\n", openName);
    last = std::min(last, file->lines);

    const std::int32_t first = h[firstImageRecord];
    std::int32_t lowest = 0;
    std::int32_t highest = 0;
    std::int32_t found = 0;
    // Only records of which something is in the file; the walk ends there.
    const std::int64_t records =
        std::min<std::int64_t>((file->size + file->recordSize - 1) / file->recordSize,
                               std::numeric_limits<std::int32_t>::max());
    for (std::int64_t record = std::max(first, 1); record <= records && highest < last; ++record) {
        std::byte control[16];
        nbpVissrReadAt(*file, recordOffset(*file, record), control, sizeof control);
        NbCursor f(control, NbByteOrder::Big);
        f.skip(4);
        const auto line = f.get<std::int32_t>();
        f.skip(4);
        if (f.get<std::int32_t>() != 0 || line <= highest || line > last) continue;
        *tableEntry(file, line) = static_cast<std::int32_t>(record);
        if (lowest == 0) lowest = line;
        highest = line;
        ++found;
    }
    h[firstLineWord] = lowest;
    h[lastLineWord] = highest;
    h[tableEntries] = found == 0 ? 0 : highest - lowest + 1;
    h[lastImageRecord] = h[tableEntries] - 1 + first;
    h[validLines] = found;
    file->firstLine = found == 0 ? 1 : lowest;
    file->lastLine = highest;
}

// Puts the albedos of all detectors on one scale of levels: an 8-bit output has room for them all,
// and the detectors' stripes go.
void makeVisSortedTable(NbVissrFile* file)
{
    struct Triple {
        float albedo;
        std::uint8_t detector;
        std::uint8_t count;
    };
    std::vector<Triple> triples;
    triples.reserve(vissrDetectors * vissrCounts);
    for (std::uint8_t d = 0; d < vissrDetectors; ++d)
        for (std::uint8_t c = 0; c < vissrCounts; ++c) {
            const float albedo = file->calibration.albedo[d][c];
            // No number has no place in an order; it goes behind the numbers.
            const float none = std::numeric_limits<float>::infinity();
            triples.push_back({std::isnan(albedo) ? none : albedo, d, c});
        }
    std::ranges::stable_sort(triples, {}, &Triple::albedo);

    std::fill_n(file->vals, vissrLevels, -1.0F);
    file->vals[0] = 0.0F;
    int level = 0;
    bool ended = false;
    for (const Triple& t : triples) {
        if (t.albedo == 0.0F) {
            file->sortIdx[t.detector][t.count] = 0;
            continue;
        }
        // 256 albedos without a 0 among them are one more than levels are left for them.
        if (!ended && level < vissrLevels - 1) {
            ++level;
            file->vals[level] = t.albedo;
            ended = t.albedo == 1.0F;
        }
        file->sortIdx[t.detector][t.count] = static_cast<std::uint8_t>(level);
    }
    file->levels = level + 1;
}

int openFile(NbVissrFile* file, const char* path)
{
    file->data = nbpFileOpenRead(path, false);
    if (!file->data) {
        nbpLogError("%s : fopen( '%s' 'rb' ) failed.\n", openName, path);
        return NB_VISSR_NO_FILE;
    }
    file->size = std::max<std::int64_t>(nbpFileSize(file->data.get()), 0);

    Block head(*file, 0, wordsOfHeader * sizeof(std::int16_t));
    for (std::int32_t& word : file->header)
        word = head.shortInteger();
    if (!findVariant(file)) {
        nbpLogError("%s : %s: no satellite name in record %d of 3664, 13504, 14016 or 27008 "
                    "bytes\n",
                    openName, path, file->header[documentRecord]);
        return NB_VISSR_NO_VARIANT;
    }
    adjustHeader(file);
    Block image(*file, recordOffset(*file, file->header[firstImageRecord]), 4);
    const std::uint32_t mark = image.word();
    file->channel = findChannel(*file, mark);
    if (file->channel < 0) {
        nbpLogError("%s : チャンネルを特定できません(%04x)\n", openName, mark & 0xFFFFU);
        return NB_VISSR_NO_CHANNEL;
    }

    readMode(file);
    readTransform(file);
    readAttitude(file);
    readOrbit(file);
    readCalibration(file);
    const auto channel = static_cast<std::size_t>(file->channel);
    file->lines = nbpTrunc32(static_cast<double>(file->transform.lineCount[channel]));
    file->pixels = nbpTrunc32(static_cast<double>(file->transform.pixelCount[channel]));
    if (!checkSizes(*file, path)) return NB_VISSR_BAD_BLOCK;

    file->lineTable.assign(static_cast<std::size_t>(file->lines), -1);
    if (file->variant == 0)
        readLineTable(file);
    else
        makeLineTable(file);
    file->cache.reset(file->lines, file->pixels);
    if (file->visible()) makeVisSortedTable(file);
    return NB_VISSR_OPEN;
}

constexpr NbSatSlots vissrSlots = {
    .GetChNum = nbVissrGetChNum,
    .GetChInfo = nbVissrGetChInfo,
    .LonLatHgtToPixLinInfo = nbVissrLonLatHgtToPixLinInfo,
    .PixLinToLonLatInfo = nbVissrPixLinToLonLatInfo,
    .SetElements = nbVissrSetElements,
    .GetCalTable = nbVissrGetCalTable,
    .GetI2DataByPixLin = nbVissrGetI2DataByPixLin,
    .GetR4DataByPixLin = nbVissrGetR4DataByPixLin,
    .GetI2ZoomData = nbVissrGetI2ZoomData,
    .GetR4ZoomData = nbVissrGetR4ZoomData,
    .CloseFile = nbVissrCloseFile,
    .SetStopGap = nbVissrSetStopGap,
    .SetShift = nbVissrSetShift,
    .GetChannel = nbVissrGetChannel,
    .GetSatPosEf = nbVissrGetSatPosEf,
    .GetSatAtt = nbVissrGetSatAtt,
    .ResetAtt = nullptr, // the attitude is a table of the file
};

} // namespace

void nbpVissrReadAt(const NbVissrFile& file, std::int64_t offset, std::byte* out, std::size_t n)
{
    std::size_t got = 0;
    if (offset >= 0 && nbpFileSeek(file.data.get(), offset))
        got = std::fread(out, 1, n, file.data.get());
    std::fill(out + got, out + n, std::byte{0});
}

int nbVissrOpenFile(void* p, const char* path)
{
    return nbpGuard(openName, static_cast<int>(NB_VISSR_NO_MEMORY),
                    [&] { return openFile(nbpVissrFile(p), path); });
}

int nbVissrCloseFile(void* p)
{
    delete nbpVissrFile(p); // stream, tables and lines go with it
    return 0;
}

int nbVissrLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbVissrLinkSat()", static_cast<int>(NB_VISSR_NO_MEMORY), [&] {
        auto file = std::make_unique<NbVissrFile>();
        if (const int code = nbVissrOpenFile(file.get(), path); code != NB_VISSR_OPEN) return code;

        std::memset(object->satName, 0, sizeof object->satName);
        file->satellite.copy(object->satName, sizeof object->satName - 1);
        object->pixelNum = nbpWrap16(file->pixels);
        object->lineNum = nbpWrap16(file->lines);
        std::ranges::copy(file->start, object->startTime);
        NbDateInts date{};
        nbDateMjdToInts(nbpVissrGetEndTime(file.get()), &date);
        const std::int32_t end[6] = {date.year, date.month,  date.day,
                                     date.hour, date.minute, date.second};
        std::transform(std::begin(end), std::end(end), object->endTime,
                       [](std::int32_t field) { return nbpWrap16(field); });
        nbpSatSetSlots(object, &vissrSlots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_VISSR_OPEN);
    });
}

int nbVissrSetStopGap(void* p, int gap)
{
    NbVissrFile* file = nbpVissrFile(p);
    file->stopGap = gap;
    for (int n = 0; n < file->cache.lines(); ++n) // lines that another gap could not fill
        if (file->cache.state(n) == vissrLineMissing) file->cache.setState(n, vissrLineUnread);
    return 0;
}

int nbVissrSetShift(void* p, const float* dPixel, const float* dLine)
{
    NbVissrFile* file = nbpVissrFile(p);
    file->shiftPixel = *dPixel;
    file->shiftLine = *dLine;
    return 0;
}
