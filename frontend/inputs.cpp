#include "frontend/inputs.h"

#include "frontend/recover.h"
#include "sat/nbSat.h"
#include "util/nbFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t mostObjects = 10;
constexpr std::size_t mostNameBytes = 2560; // of a joined list, with its end

// The names as opening splits them: at blanks and tabs, when there is a blank at all.
std::vector<std::string> splitNames(const std::string& names)
{
    if (names.find(' ') == std::string::npos) return {names};
    std::vector<std::string> out;
    for (std::size_t at = 0; at < names.size();) {
        const std::size_t begin = names.find_first_not_of(" \t", at);
        if (begin == std::string::npos) break;
        const std::size_t end = std::min(names.find_first_of(" \t", begin), names.size());
        out.push_back(names.substr(begin, end - begin));
        at = end;
    }
    return out;
}

bool sameFile(const struct stat& a, const std::string& path)
{
    struct stat b;
    return stat(path.c_str(), &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

} // namespace

NbInputs::NbInputs() : objects_(mostObjects) {}

int NbInputs::open(const std::string& names)
{
    names_.clear();
    if (!names.empty()) names_ = splitNames(names);
    const std::size_t nameCount = names_.size();
    if (nameCount == 0) { // nothing, or blanks
        complain("the name of the input file is empty");
        return NB_RUN_INPUT;
    }
    if (nameCount > mostObjects) {
        complain("%zu input files named, at most %zu expected", nameCount, mostObjects);
        return NB_RUN_INPUT;
    }
    if (nbSatOpenObject(first(), names.c_str()) != 0) {
        // A format that is named is not looked for, and its reader may be silent.
        const auto option = names.find("?type=");
        const std::string path = names.substr(0, option);
        if (nameCount == 1 && option != std::string::npos && access(path.c_str(), R_OK) != 0)
            complain("%s: cannot read the input file: %s", path.c_str(), std::strerror(errno));
        return NB_RUN_INPUT;
    }
    if (opened().size() < nameCount)
        complain("%zu of %zu input files are open, the others are left out", opened().size(),
                 nameCount);
    return NB_RUN_COMPLETE;
}

std::string NbInputs::nameOfFirst() const
{
    const char* const path = objects_.front().fileName;
    if (path == nullptr) return {};
    const auto found = std::ranges::find_if(names_, [&](const std::string& name) {
        return name.compare(0, name.find("?type="), path) == 0;
    });
    return found != names_.end() ? *found : path;
}

std::span<NbSatObject> NbInputs::opened()
{
    if (first()->fileFormatId == 0) return {};
    const int count = std::clamp<int>(first()->objectNum, 1, mostObjects);
    return {objects_.data(), static_cast<std::size_t>(count)};
}

void NbInputs::close()
{
    for (NbSatObject& object : objects_) {
        if (object.fileFormatId == 0) continue;
        object.objectNum = 1; // this record alone
        nbSatCloseObject(&object);
    }
}

int readNameList(const char* path, std::string& names)
{
    errno = 0;
    const NbFilePtr file = nbpFileOpenText(path);
    if (!file) {
        complain("%s: cannot read the list of input files: %s", path,
                 std::strerror(errno != 0 ? errno : EISDIR));
        return NB_RUN_INPUT;
    }
    names.clear();
    char name[mostNameBytes + 1];
    std::size_t count = 0;
    for (; count < mostObjects; ++count) {
        if (std::fscanf(file.get(), "%2560s\n", name) != 1) break;
        if (count > 0) names += ' ';
        names += name;
        if (names.size() >= mostNameBytes) {
            complain(
                "%s: the names of the input files take %zu bytes or more, at most %zu expected",
                path, names.size(), mostNameBytes - 1);
            return NB_RUN_INPUT;
        }
    }
    if (count == mostObjects && std::fscanf(file.get(), "%1s", name) == 1)
        complain("%s: more than %zu input files are named, the rest is left out", path,
                 mostObjects);
    // Bytes of 0, as a damaged list has them, end a name before its first letter.
    if (names.find_first_not_of(' ') == std::string::npos) {
        complain("%s: the list of input files holds no name", path);
        return NB_RUN_INPUT;
    }
    return NB_RUN_COMPLETE;
}

bool isInputFile(const char* path, const std::string& input, const std::string& names)
{
    struct stat output;
    if (stat(path, &output) != 0) return false;
    if (sameFile(output, input)) return true;
    for (const std::string& name : splitNames(names)) {
        if (sameFile(output, name) || sameFile(output, name.substr(0, name.find("?type="))))
            return true;
    }
    return false;
}
