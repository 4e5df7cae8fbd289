#include "sat/nbSat.h"

#include "drivers/gvar/nbGvar.h"
#include "drivers/hisd/nbHisd.h"
#include "drivers/hrit/nbHrit.h"
#include "drivers/native/nbNative.h"
#include "drivers/ngac/nbNgac.h"
#include "drivers/ngacv1/nbNgacv1.h"
#include "drivers/rdat/nbRdat.h"
#include "drivers/vissr/nbVissr.h"
#include "geo/nbDate.h"
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatLinked.h"
#include "util/nbGuard.h"
#include "util/nbLogFormat.h"
#include "util/nbStr.h"
#include "util/nbUtlString.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr const char* sourceName = "nbSat";

// A format: a new driver is a new row's last entries.
struct NbFormat {
    NbSatFormatId id;
    const char* name;                                          // for messages
    std::string_view option;                                   // word of "?type="; empty: none
    int (*link)(NbSatObject* object, const char* path);        // null: no driver
    const NbSatRawNav* rawNav = nullptr;                       // raw positions, if it gives them
    void (*setImgQualThresh)(void* p, double limit) = nullptr; // null: has no such limit
    int (*hasRawNav)(const void* p) = nullptr;                 // null: every file gives them
};

constexpr std::array<NbFormat, 17> formatTable = {{
    {NB_FORMAT_VISSR, "VISSR", "vissr", nbVissrLinkSat},
    {NB_FORMAT_HRIT, "HRIT", "hrit", nbHritLinkSat, &nbpHritRawNav, nbpHritSetImgQualThresh,
     nbpHritHasRawNav},
    {NB_FORMAT_HRPT, "HRPT", "hrpt", nullptr},
    {NB_FORMAT_NGAC, "NGAC", "ngac", nbNgacLinkSat},
    {NB_FORMAT_SVISSR, "SVISSR", "svissr", nullptr},
    {NB_FORMAT_GVAR, "GVAR", "gvar", nbGvarLinkSat},
    {NB_FORMAT_HIRID, "HIRID", "hirid", nullptr},
    {NB_FORMAT_METEO, "METEO", "meteo", nullptr},
    {NB_FORMAT_MRAW, "MRAW", "mraw", nullptr},
    {NB_FORMAT_AAPP, "AAPP", "aapp", nullptr},
    {NB_FORMAT_NGACV1, "NGACV1", "ngacv1", nbNgacv1LinkSat},
    {NB_FORMAT_NATIVE, "NATIVE", "native", nbNativeLinkSat, &nbpNativeRawNav},
    {NB_FORMAT_JAMI, "JAMI", "jami", nullptr},
    {NB_FORMAT_MTP, "MTP", "mtp", nullptr},
    {NB_FORMAT_ABI, "ABI", "", nullptr},
    {NB_FORMAT_HISD, "HISD", "hisd", nbHisdLinkSat, &nbpHisdRawNav},
    {NB_FORMAT_RDAT, "RDAT", "", nbRdatLinkSat},
}};

constexpr bool rowsStandAtTheirIds()
{
    for (std::size_t i = 0; i < formatTable.size(); ++i)
        if (formatTable[i].id != static_cast<int>(i) + 1) return false;
    return true;
}
static_assert(rowsStandAtTheirIds());

const NbFormat* formatOf(int id)
{
    if (id < 1 || id > static_cast<int>(formatTable.size())) return nullptr;
    return &formatTable[static_cast<std::size_t>(id - 1)];
}

// Cuts "?type=word" off the path and gives the word's format. 0: no option, or a word that is
// none, which is cut off all the same. Another "?" belongs to the name.
int optionDecode(std::string& path)
{
    constexpr std::string_view key = "type=";
    const auto mark = path.find('?');
    if (mark == std::string::npos) return 0;
    if (path.compare(mark + 1, key.size(), key) != 0) return 0;
    const std::string word = path.substr(mark + 1 + key.size());
    path.resize(mark);
    const auto row = std::ranges::find_if(formatTable, [&](const NbFormat& format) {
        return !word.empty() && format.option == word;
    });
    if (row != formatTable.end()) return row->id;
    nbpLogWarn("%s %s : bad type option '%s'\n", sourceName, "nbSatOpenObject()", word.c_str());
    return 0;
}

// Opens one file, whose name may hold blanks. The record may never have been used, so what it
// holds is overwritten and not freed.
int openOne(NbSatObject* object, const char* name)
{
    object->elemName = nullptr;
    object->pixelNum = 0;
    object->lineNum = 0;
    object->levelNum = 0;
    object->elemNum = 0;
    object->lut = nullptr;
    object->fileFormatId = NB_FORMAT_NONE;
    object->privateData = nullptr;

    std::string path = name;
    int id = optionDecode(path);
    if (id == NB_FORMAT_NONE) id = nbSatAnalSatId(path.c_str());
    const NbFormat* format = formatOf(id);
    if (format == nullptr) return 1;
    if (format->link == nullptr) {
        nbpLogError("nbSatOpenObject() : %s: format %s is recognised, but this build has no "
                    "reader for it\n",
                    path.c_str(), format->name);
        return 1;
    }
    char* fileName = nbpSatCopyText(path, "nbSatOpenObject()");
    if (fileName == nullptr) return 1;
    if (const int code = format->link(object, path.c_str()); code != 0) {
        nbUtlFree(fileName);
        return code;
    }
    object->fileFormatId = id;
    object->fileName = fileName;
    object->objectNum = 1;
    object->objectIndex = 0;
    object->elemKind = -1;
    object->intpMethod = 0;
    object->intpTable = nullptr;
    return 0;
}

// Opens each name of a list into the next free record.
// cppcheck-suppress passedByValue // the names are cut apart in place
int openList(NbSatObject* object, std::string names)
{
    constexpr int mostObjects = std::numeric_limits<std::int16_t>::max();
    std::int16_t count = 0;
    char* save = nullptr;
    for (char* name = nbUtlStrtok_r(names.data(), " \t", &save);
         name != nullptr && count < mostObjects; name = nbUtlStrtok_r(nullptr, " \t", &save)) {
        // A record that stays free keeps its count, so that a list without a single good file
        // leaves the first record's as it was.
        if (openOne(&object[count], name) == 0) ++count;
    }
    for (std::int16_t i = 0; i < count; ++i) {
        object[i].objectNum = count;
        object[i].objectIndex = i;
    }
    return count > 0 ? 0 : 1;
}

// A file's start as an MJD; `opened` false when it does not open.
struct FileTime {
    bool opened = false;
    double mjd = -1;
    std::string name = {};
};
FileTime fileTime(const char* name)
{
    FileTime file{.name = name};
    NbSatObject object{};
    if (openOne(&object, name) != 0) return file;
    const auto* t = object.startTime;
    const NbDateInts start = {t[0], t[1], t[2], t[3], t[4], t[5], 0};
    file.mjd = nbDateIntsToMjd(&start);
    file.opened = true;
    nbSatCloseObject(&object);
    return file;
}

bool isOpen(const NbSatObject& object, const char* caller)
{
    if (object.fileFormatId != NB_FORMAT_NONE) return true;
    nbpLogError("%s %s : 衛星オブジェクトが開かれていません \n", sourceName, caller);
    return false;
}

bool exists(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

// Directory of the file that the environment names as landmark map, when that is the file asked
// for; empty when not.
std::string landmarkDir(std::string_view fileName)
{
    const char* named = std::getenv("NIMBL_MAP");
    if (named == nullptr) return {};
    const std::string path = named;
    const auto slash = path.rfind('/');
    const std::size_t base = slash == std::string::npos ? 0 : slash + 1;
    if (std::string_view(path).substr(base) != fileName) return {};
    return base == 0 ? "./" : path.substr(0, base);
}

std::string installedDir()
{
    std::string dir = NIMBEX_DATA_DIR;
    if (!dir.ends_with('/')) dir += '/';
    return dir;
}

} // namespace

extern "C" {

int nbSatOpenObject(NbSatObject* object, const char* path)
{
    if (path == nullptr || path[0] == '\0') return -1;
    return nbpGuard("nbSatOpenObject()", 1, [&] {
        const std::string_view names = path;
        if (names.find(' ') != std::string_view::npos) return openList(object, std::string(names));
        return openOne(object, path);
    });
}

// Deliberate: only the first record of a list is closed. Closing sets its count of linked objects
// to 0, and that count is the loop's bound. Callers close their records one by one; a loop over
// all of them would close those that a caller still holds.
int nbSatCloseObject(NbSatObject* object)
{
    if (object->fileFormatId == NB_FORMAT_NONE) return 1;
    nbUtlFree(object->fileName);
    object->fileName = nullptr;
    nbUtlFree(object->elemName);
    object->elemName = nullptr;
    nbUtlFree(object->lut);
    object->lut = nullptr;
    nbUtlFree(object->intpTable);
    object->intpTable = nullptr;
    object->satName[0] = '\0';
    object->startTime[0] = 0;
    if (object->privateData != nullptr && object->CloseFile != nullptr)
        object->CloseFile(object->privateData);
    object->privateData = nullptr;
    object->fileFormatId = NB_FORMAT_NONE;
    object->CloseFile = nullptr;
    object->ResetAtt = nullptr;
    object->GetChNum = nullptr;
    object->GetChInfo = nullptr;
    object->LonLatHgtToPixLinInfo = nullptr;
    object->PixLinToLonLatInfo = nullptr;
    object->SetElements = nullptr;
    object->GetCalTable = nullptr;
    object->GetI2DataByPixLin = nullptr;
    object->GetR4DataByPixLin = nullptr;
    object->GetI2ZoomData = nullptr;
    object->GetR4ZoomData = nullptr;
    object->objectNum = 0;
    object->objectIndex = -1;
    return 0;
}

int nbSatMopenObject(NbSatObject* object, char** names, int count, int selector)
{
    if (count <= selector) return 0;
    return nbpGuard("nbSatMopenObject()", 0, [&] {
        if (count == 1) return openOne(object, names[0]) == 0 ? 1 : 0;
        int good = 0;
        int chosen = selector;
        if (selector < 0) {
            good = nbSatFileSort(names, count);
            if (good < 1) return 0;
            switch (selector) {
            case -1:
                chosen = good - 1;
                break;
            case -2:
                chosen = (good - 1) / 2;
                break;
            case -3:
                chosen = 0;
                break;
            default:
                return 0;
            }
        } else {
            for (int i = 0; i < count; ++i)
                good += fileTime(names[i]).opened;
        }
        return openOne(object, names[chosen]) == 0 ? good : 0;
    });
}

int nbSatFileSort(char** names, int count)
{
    return nbpGuard("nbSatFileSort()", 0, [&] {
        std::vector<FileTime> files;
        files.reserve(static_cast<std::size_t>(std::max(count, 0)));
        for (int i = 0; i < count; ++i)
            files.push_back(fileTime(names[i]));
        std::ranges::stable_sort(files, {}, &FileTime::mjd);
        int front = 0;
        int back = count - 1;
        for (const FileTime& file : files) {
            char* out = file.opened ? names[front++] : names[back--];
            file.name.copy(out, file.name.size());
            out[file.name.size()] = '\0';
        }
        return front;
    });
}

int nbSatSetShift(NbSatObject* object, float dPixel, float dLine)
{
    int result = 0;
    for (NbSatObject& one : nbpSatLinked(object)) {
        if (!isOpen(one, "nbSatSetDiffPixLin()"))
            result = -1;
        else if (one.SetShift != nullptr)
            one.SetShift(one.privateData, &dPixel, &dLine);
    }
    return result;
}

int nbSatSetDiffPixLin(NbSatObject* object, float dPixel, float dLine)
{
    return nbSatSetShift(object, dPixel, dLine);
}

int nbSatSetStopGap(NbSatObject* object, int gap)
{
    int result = 0;
    for (NbSatObject& one : nbpSatLinked(object)) {
        if (!isOpen(one, "nbSatSetStopGap()")) return -1;
        if (one.SetStopGap != nullptr && one.SetStopGap(one.privateData, gap) < 0) result = -1;
    }
    return result;
}

int nbSatResetAtt(NbSatObject* object, double mjd, double* attitude, int absolute)
{
    for (NbSatObject& one : nbpSatLinked(object)) {
        if (!isOpen(one, "nbSatResetAtt()")) return -1;
        if (one.ResetAtt != nullptr)
            one.ResetAtt(one.privateData, mjd, attitude, absolute);
        else
            std::fprintf(stderr, "%s : このデータには対応していません。\n", "nbSatResetAtt()");
    }
    return 0;
}

int nbSatSetIntp(NbSatObject* object, std::int16_t method)
{
    for (NbSatObject& one : nbpSatLinked(object)) {
        one.intpMethod = method;
        if (method <= 0 || one.elemKind == 0 || one.elemName == nullptr || one.intpTable != nullptr)
            continue;
        int n = one.levelNum;
        if (nbSatGetIntpTbl(&one, one.elemName, &n) != 0) {
            std::fprintf(stderr, "%s : テーブル作成に失敗しました \n", "nbSatSetIntp()");
            std::fprintf(stderr, "正常に内挿が行えないおそれがあります \n");
        }
    }
    return 0;
}

char* nbpSatFindDataDir(const char* fileName)
{
    static std::array<char, 512> found;
    return nbpGuard("nbSatGetDataDir()", static_cast<char*>(nullptr), [&]() -> char* {
        for (const std::string& dir : {std::string("../DATA/"), std::string("/NIMBL/DATA/"),
                                       landmarkDir(fileName), installedDir()}) {
            if (dir.empty() || dir.size() >= found.size() || !exists(dir + fileName)) continue;
            nbStrncpy(found.data(), dir.c_str(), static_cast<int>(found.size()) - 1);
            return found.data();
        }
        return nullptr;
    });
}

char* nbSatGetDataDir(const char* fileName, [[maybe_unused]] int search)
{
    return nbpGuard("nbSatGetDataDir()", static_cast<char*>(nullptr), [&]() -> char* {
        char* const found = nbpSatFindDataDir(fileName);
        if (found == nullptr)
            nbpLogError("%s : %s: not in ../DATA/, /NIMBL/DATA/ or %s\n", "nbSatGetDataDir()",
                        fileName, installedDir().c_str());
        return found;
    });
}

int nbSatGetFileInfo(NbSatObject* object, const char* fileName, char* satName, std::int16_t* ymdhms)
{
    for (const NbSatObject& one : nbpSatLinked(object)) {
        if (one.fileName == nullptr || std::string_view(one.fileName) != fileName) continue;
        std::copy_n(one.satName, sizeof one.satName, satName);
        std::copy_n(one.startTime, 6, ymdhms);
        return 0;
    }
    return 1;
}

int nbSatSetImgQualThresh(NbSatObject* object, double threshold)
{
    const NbFormat* format = formatOf(object->fileFormatId);
    if (format == nullptr || format->setImgQualThresh == nullptr) {
        nbpLogWarn("%s %s : 開かれているファイルはHRITではありません\n", sourceName,
                   "nbSetHritImgQualThresh()");
        return 1;
    }
    format->setImgQualThresh(object->privateData, threshold);
    return 0;
}

const NbSatRawNav* nbpSatRawNav(const NbSatObject* object)
{
    const NbFormat* format = formatOf(object->fileFormatId);
    if (format == nullptr) return nullptr;
    const bool has = format->hasRawNav == nullptr || format->hasRawNav(object->privateData) != 0;
    return has ? format->rawNav : nullptr;
}

} // extern "C"
