#include "drivers/rdat/nbRdatFile.h"

#include "drivers/common/nbDateFields.h"
#include "util/nbFile.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <sys/stat.h>

std::int16_t nb_Rdat_Dump_Mode = 0;
std::int16_t ipfhMode = 0;
std::int16_t distAttMode = 0;

namespace {

constexpr const char* opener = "nbRdatOpenFile()";

// The whole file; one of NbRdatOpenResult.
int readAllData(const char* path, NbArray<std::byte>* bytes)
{
    struct stat status = {};
    if (stat(path, &status) != 0) {
        nbpLogError("%s(): Cannot get file status [%s]", "readAllData", path);
        return NB_RDAT_NO_STATUS;
    }
    const NbFilePtr stream = nbpFileOpenRead(path, false);
    if (!stream) {
        nbpLogError("%s(): Cannot open file [%s]", "readAllData", path);
        return NB_RDAT_NO_FILE;
    }
    // The header states the size in 32 bits, so no larger file can be one.
    if (status.st_size < 0 || status.st_size > std::numeric_limits<std::uint32_t>::max()) {
        nbpLogError("%s : %s: %ld bytes are more than the header can state\n", opener, path,
                    static_cast<long>(status.st_size));
        return NB_RDAT_BAD_SIZE;
    }
    bytes->resize(static_cast<std::size_t>(status.st_size));
    if (bytes->empty()) return NB_RDAT_OPEN; // refused for its id
    if (std::fread(bytes->data(), 1, bytes->size(), stream.get()) != bytes->size()) {
        nbpLogError("%s(): Cannot read file [%s]", "readAllData", path);
        return NB_RDAT_NO_READ;
    }
    return NB_RDAT_OPEN;
}

int openFile(NbRdatFile* file, const char* path)
{
    {
        NbArray<std::byte> bytes{NbAllocator<std::byte>(opener)};
        if (const int code = readAllData(path, &bytes); code != NB_RDAT_OPEN) return code;
        if (const int code = nbpRdatGetRdat(bytes, path, file); code != NB_RDAT_OPEN) return code;
    } // the bytes go before the rows come
    file->levels = nbpRdatLevels(file->header.band);
    file->radiance.reset(file->words.size(), opener);
    file->physical.reset(file->words.size(), opener);
    if (nb_Rdat_Dump_Mode == 1) return NB_RDAT_OPEN;
    if (!nbpRdatIpFileHeader(file)) return NB_RDAT_BAD_COUNT; // logged
    nbpRdatPrepareCalib(file);
    nbpRdatLocate(file);
    return NB_RDAT_OPEN;
}

constexpr NbSatSlots rdatSlots = {
    .GetChNum = nbRdatGetChNum,
    .GetChInfo = nbRdatGetChInfo,
    .LonLatHgtToPixLinInfo = nbRdatLonLatHgtToPixLinInfo,
    .PixLinToLonLatInfo = nbRdatPixLinToLonLatInfo,
    .SetElements = nbRdatSetElements,
    .GetCalTable = nbRdatGetCalTable,
    .GetI2DataByPixLin = nbRdatGetI2DataByPixLin,
    .GetR4DataByPixLin = nbRdatGetR4DataByPixLin,
    .GetI2ZoomData = nbRdatGetI2ZoomData,
    .GetR4ZoomData = nbRdatGetR4ZoomData,
    .CloseFile = nbRdatCloseFile,
    .SetStopGap = nbRdatSetStopGap,
    .SetShift = nbRdatSetShift,
    .GetChannel = nbRdatGetChannel,
    .GetSatPosEf = nbRdatGetSatPosEf,
    .GetSatAtt = nbRdatGetSatAtt,
    .ResetAtt = nullptr, // the attitude is that of the file
};

} // namespace

NbRdatFile::NbRdatFile()
    : words(NbAllocator<std::uint16_t>("getRdatLineData()")), first(NbAllocator<double>(opener)),
      second(NbAllocator<double>(opener)), lon(NbAllocator<double>(opener)),
      lat(NbAllocator<double>(opener))
{
}

int nbRdatOpenFile(void* p, const char* path)
{
    return nbpGuard(opener, static_cast<int>(NB_RDAT_NO_MEMORY),
                    [&] { return openFile(nbpRdatFile(p), path); });
}

int nbRdatCloseFile(void* p)
{
    delete nbpRdatFile(p); // tables and rows go with it
    return 0;
}

int nbRdatLinkSat(NbSatObject* object, const char* path)
{
    return nbpGuard("nbRdatLinkSat()", static_cast<int>(NB_RDAT_NO_MEMORY), [&] {
        auto file = std::make_unique<NbRdatFile>();
        if (const int code = nbRdatOpenFile(file.get(), path); code != NB_RDAT_OPEN) return code;
        const NbRdatHeader& header = file->header;
        std::memset(object->satName, 0, sizeof object->satName);
        std::snprintf(object->satName, sizeof object->satName, "RDAT-%d", header.satellite);
        object->pixelNum = nbpWrap16(header.columns);
        object->lineNum = nbpWrap16(header.lines);
        nbpDateFields(header.startMjd, object->startTime);
        nbpDateFields(header.endMjd, object->endTime);
        nbpSatSetSlots(object, &rdatSlots);
        object->privateData = file.release(); // last: nothing after it can fail
        return static_cast<int>(NB_RDAT_OPEN);
    });
}

int nbRdatSetStopGap(void*, int)
{
    return 0;
}

int nbRdatSetShift(void* p, const float* dPixel, const float* dLine)
{
    NbRdatFile* file = nbpRdatFile(p);
    file->shiftPixel = *dPixel;
    file->shiftLine = *dLine;
    return 0;
}
