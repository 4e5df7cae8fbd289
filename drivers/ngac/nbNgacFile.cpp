#include "drivers/ngac/nbNgacFile.h"

#include "drivers/common/nbNoaaFile.h"
#include "geo/nbDate.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

namespace {

constexpr std::size_t headerLength = 512 + 688; // archive header, data set header
constexpr std::size_t infoLength = 1264;
constexpr std::int64_t archiveLength = 512;
constexpr const char* openName = "nbNgacOpenFile()";

std::string textAt(NbCursor header, std::size_t offset, std::size_t length)
{
    header.seek(offset);
    return std::string(header.text(length));
}

template <class T>
T numberAt(NbCursor header, std::size_t offset)
{
    header.seek(offset);
    return header.get<T>();
}

// Number and name of the satellite behind the two letters of the data set name. A MetOp that is
// not known keeps the number of the family and has no name.
void setSatellite(NbNgacFile* file, const std::string& code)
{
    const char first = code.empty() ? '\0' : code[0];
    if (first >= '0' && first <= '4') {
        constexpr std::string_view letters = "ZBACD";
        const int number = std::atoi(code.c_str());
        file->image.satNumber = 18; // has the channels of NOAA-18
        if (number < 1 || number > 4)
            nbpLogError("%s: 対応していないMETOPの機体番号[%d]です。\n", openName, number);
        else
            std::snprintf(file->satName, sizeof file->satName, "MetOp-%c",
                          letters[static_cast<std::size_t>(number)]);
        return;
    }
    // There is no NOAA-O.
    file->image.satNumber = first < 'P' ? first - 60 : first - 61;
    std::snprintf(file->satName, sizeof file->satName, "NOAA-%d", file->image.satNumber);
}

void readDataSetHeader(NbCursor header, NbNgacFile* file)
{
    file->version = numberAt<std::uint16_t>(header, 516);
    NbCursor thermal = header;
    thermal.seek(792);
    for (NbNgacThermal& channel : file->thermal) {
        channel.wavenumber = thermal.get<std::int32_t>();
        channel.constant1 = thermal.get<std::int32_t>();
        channel.constant2 = thermal.get<std::int32_t>();
    }
    NbCursor attitude = header;
    attitude.seek(854);
    for (std::int16_t& angle : file->attitude)
        angle = attitude.get<std::int16_t>();
}

// Where the line records stand; false, and says so, when they cannot be.
bool placeRecords(NbCursor header, std::int64_t fileSize, const char* path, NbNoaaRecords* records)
{
    const int length = std::atoi(textAt(header, 181, 6).c_str());
    const int firstRecord = std::atoi(textAt(header, 187, 6).c_str());
    const int firstNumber = numberAt<std::uint16_t>(header, 640);
    const int count = numberAt<std::uint16_t>(header, 642);
    // Files whose number at 640 is a count of lines may have none at 642.
    records->lines = count != 0 ? count : firstNumber;
    records->length = length;
    records->infoLength = infoLength;
    records->first = (std::int64_t{firstRecord} - firstNumber - 1) * length + archiveLength;
    constexpr std::size_t least = infoLength + noaaSampleLength;
    if (length < static_cast<int>(least)) {
        nbpLogError("%s : %s: records of %d bytes, expected %d at least\n", openName, path, length,
                    static_cast<int>(least));
        return false;
    }
    if (!nbpNoaaCheckLines(*records, path, openName)) return false;
    records->countPresent(fileSize);
    if (records->first < 0 || records->present < 1) {
        nbpLogError("%s : %s: record %d is told to be the first of data, outside the file\n",
                    openName, path, firstRecord);
        return false;
    }
    return true;
}

int openFile(NbNgacFile* file, const char* path)
{
    NbNoaaRecords& records = file->image.records;
    if (!nbpNoaaOpenStream(&records, path, openName)) return NB_NGAC_NO_FILE;
    std::array<std::byte, headerLength> bytes{}; // what a short file lacks is zero
    std::ignore = std::fread(bytes.data(), 1, bytes.size(), records.stream.get());
    const NbCursor header(bytes, NbByteOrder::Big);

    const std::string name = textAt(header, 534, 42);
    const char family = name.size() > 9 ? name[9] : '\0';
    if (!name.starts_with("NSS.GHRR.") || (family != 'M' && family != 'N')) {
        nbpLogError("%s: Bad Data Set Name '%s'\n", openName, name.c_str());
        return NB_NGAC_REFUSED;
    }
    if (textAt(header, 161, 13) != "NOAA Level 1b") {
        nbpLogError("%s: Bad Format. '%s'\n", openName, path);
        return NB_NGAC_REFUSED;
    }
    if (textAt(header, 97, 5) != "YYYYY" || textAt(header, 117, 2) != "10")
        nbpLogError("%s: すみません現在のプログラムは 5チャンネル全部がそろっている 10 bit "
                    "データにしか対応していません. '%s'\n",
                    openName, path);
    setSatellite(file, name.substr(10, 2));
    readDataSetHeader(header, file);
    if (!placeRecords(header, nbpFileSize(records.stream.get()), path, &records))
        return NB_NGAC_REFUSED;
    file->calibration.resize(static_cast<std::size_t>(records.present));
    file->image.counts.reset(records.lines, noaaPixels * noaaSlots);
    file->image.pass.perDegree = 100;
    file->image.pass.satAngles = true;
    return NB_NGAC_OPEN;
}

// The time ends at byte 12.
double timeOfLine(const NbNgacFile& file, int n)
{
    return nbpNoaaTimeOfLine<12>(file.image.records, n, nbpNgacLineTime);
}

constexpr NbSatSlots ngacSlots = {
    .GetChNum = nbNgacGetChNum,
    .GetChInfo = nbNgacGetChInfo,
    .LonLatHgtToPixLinInfo = nbNgacLonLatHgtToPixLinInfo,
    .PixLinToLonLatInfo = nbNgacPixLinToLonLatInfo,
    .SetElements = nbNgacSetElements,
    .GetCalTable = nbNgacGetCalTable,
    .GetI2DataByPixLin = nbNgacGetI2DataByPixLin,
    .GetR4DataByPixLin = nbNgacGetR4DataByPixLin,
    .GetI2ZoomData = nbNgacGetI2ZoomData,
    .GetR4ZoomData = nbNgacGetR4ZoomData,
    .CloseFile = nbNgacCloseFile,
    .SetStopGap = nbNgacSetStopGap,
    .SetShift = nbNgacSetShift,
    .GetChannel = nbNgacGetChannel,
    .GetSatPosEf = nbNgacGetSatPosEf,
    .GetSatAtt = nbNgacGetSatAtt,
    .ResetAtt = nbNgacResetAtt,
};

} // namespace

double nbNgacDateToMjd(int year, int day, uint32_t millisecond)
{
    const NbDateInts january = {year, 1, 1, 0, 0, 0, 0};
    return nbDateIntsToMjd(&january) + (day - 1) + millisecond / 86400000.0;
}

double nbpNgacLineTime(NbCursor info)
{
    info.skip(2); // line number
    const int year = info.get<std::uint16_t>();
    const int day = info.get<std::uint16_t>();
    info.skip(2); // drift of the satellite's clock
    return nbNgacDateToMjd(year, day, info.get<std::uint32_t>());
}

void nbpNgacDecodeLine(NbCursor info, NbNoaaLine* out)
{
    out->mjd = nbpNgacLineTime(info);
    info.seek(326);
    out->altitude = info.get<std::uint16_t>() / 10.0;
    for (std::size_t k = 0; k < noaaAnchors; ++k) {
        out->sunZenith[k] = info.get<std::int16_t>();
        out->satZenith[k] = info.get<std::int16_t>();
        out->relAzimuth[k] = info.get<std::int16_t>();
    }
    info.seek(640);
    for (std::size_t k = 0; k < noaaAnchors; ++k) {
        out->lat[k] = info.get<std::int32_t>() / 10000.0;
        out->lon[k] = info.get<std::int32_t>() / 10000.0;
    }
}

NbNgacCalibration nbpNgacDecodeCalibration(const NbNgacFile& file, NbCursor info)
{
    NbNgacCalibration out;
    info.seek(12);
    out.selection = info.get<std::uint16_t>() & 3;
    info.seek(48);
    for (auto& channel : out.visible) {
        channel.slope1 = info.get<std::int32_t>();
        channel.intercept1 = info.get<std::int32_t>();
        channel.slope2 = info.get<std::int32_t>();
        channel.intercept2 = info.get<std::int32_t>();
        channel.intersection = info.get<std::int32_t>();
        info.skip(40); // test and prelaunch coefficients
    }
    for (std::size_t i = 0; i < out.infrared.size(); ++i) {
        for (double& a : out.infrared[i])
            a = info.get<std::int32_t>();
        info.skip(12); // test coefficients
        // From version 3 on a2 of channels 4 and 5 has one digit more.
        if (file.version > 2 && i > 0) out.infrared[i][2] /= 10.0;
    }
    return out;
}

int nbNgacOpenFile(void* p, const char* path)
{
    return nbpGuard(openName, static_cast<int>(NB_NGAC_REFUSED),
                    [&] { return openFile(nbpNgacFile(p), path); });
}

int nbNgacCloseFile(void* p)
{
    delete nbpNgacFile(p); // stream, lines and tables go with it
    return 0;
}

double nbpNgacGetEndTime(void* p)
{
    const NbNgacFile& file = *nbpNgacFile(p);
    return timeOfLine(file, file.image.records.present - 1);
}

int nbNgacLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbNgacLinkSat()", static_cast<int>(NB_NGAC_REFUSED), [&] {
        auto file = std::make_unique<NbNgacFile>();
        if (const int code = nbNgacOpenFile(file.get(), path); code != NB_NGAC_OPEN) return code;
        std::memcpy(object->satName, file->satName, sizeof object->satName);
        nbpNoaaFillObject(object, file->image, timeOfLine(*file, 0), nbpNgacGetEndTime(file.get()));
        nbpSatSetSlots(object, &ngacSlots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_NGAC_OPEN);
    });
}

int nbNgacSetStopGap(void* p, int gap)
{
    return nbpNoaaSetStopGap(&nbpNgacFile(p)->image, gap, "nbNgacSetStopGap()");
}

int nbNgacSetShift(void* p, const float* dPixel, const float* dLine)
{
    return nbpNoaaSetShift(&nbpNgacFile(p)->image.pass, dPixel, dLine);
}
