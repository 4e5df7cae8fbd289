#include "util/nbFile.h"

#include <cerrno>
#include <sys/stat.h>

namespace {

// Whether this errno says nothing of the name that was to be opened: the system could not, or a
// device or a network gave an error.
bool isSystems(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case EISDIR:
    case EACCES:
    case EPERM:
    case ELOOP:
    case ENAMETOOLONG:
    case ENXIO:
    case ENODEV:
        return false;
    default:
        return true;
    }
}

bool readStatus(std::FILE* f, struct stat* status)
{
    if (fstat(fileno(f), status) == 0) return true;
    ++nbpReadFailures;
    return false;
}

} // namespace

NbFilePtr nbpFileOpenRead(const char* path, bool buffered)
{
    struct stat status = {};
    // Asked before the file is opened, because a pipe without a writer holds the opening up.
    if (path == nullptr || (stat(path, &status) == 0 && S_ISFIFO(status.st_mode))) return nullptr;
    NbFilePtr file = nbpFileOpenText(path);
    if (file && !buffered) std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

NbFilePtr nbpFileOpenText(const char* path)
{
    if (path == nullptr) return nullptr;
    NbFilePtr file(std::fopen(path, "rbe")); // e: not handed on to programs that are run
    if (file == nullptr && isSystems(errno)) ++nbpReadFailures;
    if (file == nullptr) return nullptr;
    struct stat status = {};
    // A directory opens for reading and fails only at the first read.
    if (!readStatus(file.get(), &status) || S_ISDIR(status.st_mode)) return nullptr;
    return file;
}

bool nbpFileExists(const char* path)
{
    struct stat status = {};
    if (stat(path, &status) == 0) return true;
    if (isSystems(errno)) ++nbpReadFailures;
    return false;
}

bool nbpFileSeek(std::FILE* f, std::int64_t offset)
{
    if (fseeko(f, offset, SEEK_SET) == 0) return true;
    if (errno != EINVAL) ++nbpReadFailures; // an offset below 0 is the caller's
    return false;
}

std::int64_t nbpFilePosition(std::FILE* f)
{
    const std::int64_t at = ftello(f);
    if (at < 0) ++nbpReadFailures;
    return at;
}

std::int64_t nbpFileSize(std::FILE* f)
{
    struct stat status = {};
    if (f == nullptr || !readStatus(f, &status) || !S_ISREG(status.st_mode)) return -1;
    return status.st_size;
}
