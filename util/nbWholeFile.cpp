#include "util/nbWholeFile.h"

#include "util/nbHeldSignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// The unfinished file beside its place, and one that is written in its place, for the signal
// handler, which may look at nothing else.
std::atomic<const char*> unfinished = nullptr;
std::atomic<const char*> direct = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free);

// In force for one signal: raised again, it ends the process as ever.
void onEnding(int signal)
{
    if (const char* const path = unfinished) unlink(path);
    if (const char* const path = direct) static_cast<void>(open(path, O_WRONLY | O_TRUNC));
    raise(signal);
}

// From here on the file goes, or is emptied, with the process. The handlers stay: without a path
// they do nothing.
void watch(std::atomic<const char*>& which, const char* path)
{
    which = path;
    struct sigaction action {};
    action.sa_handler = onEnding;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : nbpEndings) {
        struct sigaction old {};
        // One that is ignored, as under nohup, stays so.
        if (sigaction(signal, nullptr, &old) == 0 && old.sa_handler == SIG_DFL)
            sigaction(signal, &action, nullptr);
    }
}

std::string folderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace

std::string nbpFollowLinks(std::string path)
{
    constexpr int mostLinks = 40; // the system's own bound
    struct stat named {};
    for (int i = 0; i < mostLinks; ++i) {
        if (lstat(path.c_str(), &named) != 0 || !S_ISLNK(named.st_mode)) return path;
        struct stat processes {};
        if (stat("/proc/self", &processes) == 0 && named.st_dev == processes.st_dev) return {};
        std::array<char, PATH_MAX> target;
        const ssize_t length = readlink(path.c_str(), target.data(), target.size());
        if (length <= 0) return {};
        const std::string next(target.data(), static_cast<std::size_t>(length));
        path = next.starts_with('/') ? next : folderOf(path).append(next);
    }
    return {};
}

NbFileFault NbWholeFile::open(const std::string& path)
{
    path_ = path;
    buffer_.resize(std::size_t{1} << 20);
    struct stat old {};
    replaces_ = stat(path.c_str(), &old) == 0;
    const bool isNew = !replaces_ && errno == ENOENT && !path.empty();
    // What it is cannot be told, so nothing may be written into it.
    if (!replaces_ && !isNew) return fail(NbFileFault::Open);
    if (isNew || (replaces_ && S_ISREG(old.st_mode))) {
        // A file that may not be written may not be replaced either.
        if (replaces_ && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
            return fail(NbFileFault::Open);
        place_ = nbpFollowLinks(path);
        errno = 0;
        if (!place_.empty() && openBeside(folderOf(place_), replaces_ ? 0600 : 0666))
            return NbFileFault::None;
        const bool besideIsForbidden =
            errno == EACCES || errno == EPERM || errno == EROFS || errno == ENAMETOOLONG;
        if (replaces_ && !place_.empty() && !besideIsForbidden) return fail(NbFileFault::Open);
    }
    return openDirectly() ? NbFileFault::None : fail(NbFileFault::Open);
}

bool NbWholeFile::openBeside(const std::string& folder, unsigned mode)
{
    constexpr int mostNames = 100; // left behind by processes of the same number
    for (int i = 0; i < mostNames; ++i) {
        std::string name = folder + ".nimbex-" + std::to_string(getpid());
        if (i > 0) name.append("-").append(std::to_string(i));
        const NbHeldSignals held; // until the file is watched
        const int descriptor =
            ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode_t{mode});
        if (descriptor < 0 && errno == EEXIST) continue;
        if (descriptor < 0) return false;
        beside_ = std::move(name);
        watch(unfinished, beside_.c_str());
        file_.reset(fdopen(descriptor, "wb"));
        if (!file_) {
            const int error = errno;
            close(descriptor);
            discard();
            errno = error;
            return false;
        }
        std::setvbuf(file_.get(), buffer_.data(), _IOFBF, buffer_.size());
        isRegular_ = true;
        return true;
    }
    return false;
}

bool NbWholeFile::openDirectly()
{
    file_.reset(std::fopen(path_.c_str(), "wbe"));
    if (!file_) return false;
    struct stat opened {};
    isRegular_ = isDirect_ = fstat(fileno(file_.get()), &opened) == 0 && S_ISREG(opened.st_mode);
    if (isDirect_) watch(direct, path_.c_str());
    std::setvbuf(file_.get(), buffer_.data(), _IOFBF, buffer_.size());
    return true;
}

bool NbWholeFile::restart()
{
    std::rewind(file_.get());
    return ftruncate(fileno(file_.get()), 0) == 0;
}

// Mode, owner and group of the file that is replaced. Where a file system has none, or another's
// file is replaced, the run goes on without.
void NbWholeFile::inherit()
{
    struct stat old {};
    if (stat(place_.c_str(), &old) != 0) return;
    const int descriptor = fileno(file_.get());
    const bool isOwn = fchown(descriptor, old.st_uid, old.st_gid) == 0;
    bool kept = isOwn || fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) == 0;
    // The bits that lend a program its owner's rights are for that owner.
    kept = fchmod(descriptor, old.st_mode & (isOwn ? 07777U : 0777U)) == 0 && kept;
    static_cast<void>(kept);
}

NbFileFault NbWholeFile::finish()
{
    if (!beside_.empty() && replaces_) inherit();
    if (std::fclose(file_.release()) != 0) return fail(NbFileFault::Close);
    direct = nullptr;
    isDirect_ = false;
    if (beside_.empty()) return NbFileFault::None;
    if (std::rename(beside_.c_str(), place_.c_str()) != 0) {
        const bool isFixed = errno == EACCES || errno == EPERM || errno == EBUSY || errno == EXDEV;
        if (!replaces_ || !isFixed) return fail(NbFileFault::Name);
        return copyToPlace();
    }
    unfinished = nullptr;
    beside_.clear();
    return NbFileFault::None;
}

NbFileFault NbWholeFile::copyToPlace()
{
    const Stream from(std::fopen(beside_.c_str(), "rbe"));
    if (from) file_.reset(std::fopen(path_.c_str(), "wbe"));
    if (!file_) return fail(NbFileFault::Replace);
    isDirect_ = true;
    watch(direct, path_.c_str());
    for (std::size_t n; (n = std::fread(buffer_.data(), 1, buffer_.size(), from.get())) > 0;) {
        if (std::fwrite(buffer_.data(), 1, n, file_.get()) != n) return fail(NbFileFault::Write);
    }
    if (std::ferror(from.get()) || std::fflush(file_.get()) != 0) return fail(NbFileFault::Write);
    if (std::fclose(file_.release()) != 0) return fail(NbFileFault::Close);
    direct = nullptr;
    isDirect_ = false;
    discard();
    return NbFileFault::None;
}

NbFileFault NbWholeFile::fail(NbFileFault fault)
{
    giveUp();
    return fault;
}

void NbWholeFile::giveUp()
{
    const int error = errno;
    const bool isDirect = isDirect_;
    discard();
    why_.clear();
    if (error != 0) why_.append(": ").append(std::strerror(error));
    if (isDirect && !isDirect_) why_.append("; it is empty now");
}

void NbWholeFile::discard()
{
    file_.reset(); // may still write
    isDirect_ = isDirect_ && truncate(path_.c_str(), 0) != 0;
    direct = nullptr;
    if (beside_.empty()) return;
    unlink(beside_.c_str());
    unfinished = nullptr;
    beside_.clear();
}
