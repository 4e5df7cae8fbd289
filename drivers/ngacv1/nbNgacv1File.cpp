#include "drivers/ngacv1/nbNgacv1File.h"

#include "drivers/common/nbNoaaFile.h"
#include "geo/nbDate.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <tuple>

// The layout is published in the NOAA Polar Orbiter Data User's Guide, November 1998 revision
// (NOAA/NESDIS/NCDC), section 3: data set header and GAC data record. Offsets count from 0 here
// and from 1 there.
namespace {

constexpr std::int64_t recordLength = 3220;
constexpr std::int64_t leadingLength = 122; // block of the archive in front of some files
constexpr std::size_t infoLength = 448;
constexpr const char* openName = "nbNgacv1OpenFile()";

// The layout has no altitude: between the 833 km and the 870 km of the morning and the afternoon
// orbits.
constexpr double nominalAltitude = 850;

// NOAA number of a satellite id; 0, and says so, when it is none.
int satelliteNumber(int id)
{
    constexpr int numbers[] = {11, 13, 14, 7, 12, 8, 9, 10}; // of ids 1 to 8
    if (id >= 1 && id <= static_cast<int>(std::size(numbers))) return numbers[id - 1];
    nbpLogError("%s: 対応していないNOAAの機体番号[%d]です。\n", openName, id);
    return 0;
}

int openFile(NbNgacv1File* file, const char* path)
{
    NbNoaaRecords& records = file->image.records;
    if (!nbpNoaaOpenStream(&records, path, openName)) return NB_NGACV1_NO_FILE;
    const std::int64_t size = nbpFileSize(records.stream.get());
    const std::int64_t leading = size % recordLength == 0 ? 0 : leadingLength;
    std::array<std::byte, leadingLength + 10> bytes{}; // what a short file lacks is zero
    std::ignore = std::fread(bytes.data(), 1, bytes.size(), records.stream.get());
    NbCursor header(bytes, NbByteOrder::Big);
    header.skip(static_cast<std::size_t>(leading));
    const int id = header.get<std::uint8_t>();
    header.skip(7); // data type, start time
    records.lines = header.get<std::uint16_t>();
    records.length = recordLength;
    records.infoLength = infoLength;
    records.first = leading + 2 * recordLength; // the header fills two records
    if (!nbpNoaaCheckLines(records, path, openName)) return NB_NGACV1_REFUSED;
    records.countPresent(size);
    if (records.present < 1) {
        nbpLogError("%s : %s: %ld bytes hold no line\n", openName, path, static_cast<long>(size));
        return NB_NGACV1_REFUSED;
    }
    file->image.satNumber = satelliteNumber(id);
    file->calibration.resize(static_cast<std::size_t>(records.present));
    file->image.counts.reset(records.lines, noaaPixels * noaaSlots);
    file->image.pass.perDegree = 2;
    return NB_NGACV1_OPEN;
}

// The time ends at byte 8.
double timeOfLine(const NbNgacv1File& file, int n)
{
    return nbpNoaaTimeOfLine<8>(file.image.records, n, nbpNgacv1LineTime);
}

constexpr NbSatSlots ngacv1Slots = {
    .GetChNum = nbNgacv1GetChNum,
    .GetChInfo = nbNgacv1GetChInfo,
    .LonLatHgtToPixLinInfo = nbNgacv1LonLatHgtToPixLinInfo,
    .PixLinToLonLatInfo = nbNgacv1PixLinToLonLatInfo,
    .SetElements = nbNgacv1SetElements,
    .GetCalTable = nbNgacv1GetCalTable,
    .GetI2DataByPixLin = nbNgacv1GetI2DataByPixLin,
    .GetR4DataByPixLin = nbNgacv1GetR4DataByPixLin,
    .GetI2ZoomData = nbNgacv1GetI2ZoomData,
    .GetR4ZoomData = nbNgacv1GetR4ZoomData,
    .CloseFile = nbNgacv1CloseFile,
    .SetStopGap = nbNgacv1SetStopGap,
    .SetShift = nbNgacv1SetShift,
    .GetChannel = nbNgacv1GetChannel,
    .GetSatPosEf = nbNgacv1GetSatPosEf,
    .GetSatAtt = nbNgacv1GetSatAtt,
    .ResetAtt = nbNgacv1ResetAtt,
};

} // namespace

double nbNgacv1TcodeToMjd(const unsigned char* code)
{
    const unsigned date = code[0] * 256U + code[1];
    const std::uint32_t time = static_cast<std::uint32_t>(code[2]) << 24 |
                               static_cast<std::uint32_t>(code[3]) << 16 |
                               static_cast<std::uint32_t>(code[4]) << 8 | code[5];
    int year = static_cast<int>(date >> 9);
    if (year < 50)
        year += 2000;
    else if (year > 50 && year <= 99)
        year += 1900;
    else
        return 0;
    const int day = static_cast<int>(date & 0x1FFU);
    const NbDateInts january = {year, 1, 1, 0, 0, 0, 0};
    return nbDateIntsToMjd(&january) + (day - 1) + (time & 0x7FFFFFFU) / 86400000.0;
}

double nbpNgacv1LineTime(NbCursor info)
{
    info.skip(2); // line number
    unsigned char code[6] = {};
    for (unsigned char& byte : code)
        byte = info.get<std::uint8_t>();
    return nbNgacv1TcodeToMjd(code);
}

void nbpNgacv1DecodeLine(NbCursor info, NbNoaaLine* out)
{
    out->mjd = nbpNgacv1LineTime(info);
    out->altitude = nominalAltitude;
    info.seek(53); // behind the number of meaningful points
    for (std::int16_t& angle : out->sunZenith)
        angle = info.get<std::uint8_t>(); // half degrees
    for (std::size_t k = 0; k < noaaAnchors; ++k) {
        out->lat[k] = info.get<std::int16_t>() / 128.0;
        out->lon[k] = info.get<std::int16_t>() / 128.0;
    }
}

NbNgacv1Calibration nbpNgacv1DecodeCalibration(NbCursor info)
{
    NbNgacv1Calibration out;
    info.seek(12);
    for (std::size_t i = 0; i < noaaSlots; ++i) {
        out.slope[i] = info.get<std::int32_t>();
        out.intercept[i] = info.get<std::int32_t>();
    }
    return out;
}

int nbNgacv1OpenFile(void* p, const char* path)
{
    return nbpGuard(openName, static_cast<int>(NB_NGACV1_REFUSED),
                    [&] { return openFile(nbpNgacv1File(p), path); });
}

int nbNgacv1CloseFile(void* p)
{
    delete nbpNgacv1File(p); // stream, lines and tables go with it
    return 0;
}

double nbpNgacv1GetEndTime(void* p)
{
    const NbNgacv1File& file = *nbpNgacv1File(p);
    return timeOfLine(file, file.image.records.present - 1);
}

int nbNgacv1LinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbNgacv1LinkSat()", static_cast<int>(NB_NGACV1_REFUSED), [&] {
        auto file = std::make_unique<NbNgacv1File>();
        if (const int code = nbNgacv1OpenFile(file.get(), path); code != NB_NGACV1_OPEN)
            return code;
        std::memset(object->satName, 0, sizeof object->satName);
        if (file->image.satNumber != 0)
            std::snprintf(object->satName, sizeof object->satName, "NOAA-%d",
                          file->image.satNumber);
        nbpNoaaFillObject(object, file->image, timeOfLine(*file, 0),
                          nbpNgacv1GetEndTime(file.get()));
        nbpSatSetSlots(object, &ngacv1Slots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_NGACV1_OPEN);
    });
}

int nbNgacv1SetStopGap(void* p, int gap)
{
    return nbpNoaaSetStopGap(&nbpNgacv1File(p)->image, gap, "nbNgacv1SetStopGap()");
}

int nbNgacv1SetShift(void* p, const float* dPixel, const float* dLine)
{
    return nbpNoaaSetShift(&nbpNgacv1File(p)->image.pass, dPixel, dLine);
}
