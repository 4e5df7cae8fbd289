#include "drivers/hrit/nbHritJpeg.h"

#include "util/nbHeldSignals.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <ftw.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// What a decoder may use. The file size leaves room for an image that is somewhat larger than the
// segment; a stream that claims a far larger one ends there and not with a full disk.
constexpr std::int64_t spareBytes = std::int64_t{1} << 20;
constexpr rlim_t mostSeconds = 600; // of processor time

bool exists(const std::string& path)
{
    struct stat status = {};
    return !path.empty() && stat(path.c_str(), &status) == 0;
}

bool isPlain(std::string_view path)
{
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '/' || c == '.' || c == '_' || c == '-' || c == '+';
    };
    return path.starts_with('/') && std::ranges::all_of(path, plain);
}

int removeOne(const char* path, const struct stat*, int, FTW*)
{
    std::remove(path);
    return 0; // go on with the others
}

// A directory of a decoder's run, under TMPDIR when that is a plain path. It goes with all that is
// in it.
class RunDirectory {
public:
    RunDirectory()
    {
        const char* place = std::getenv("TMPDIR");
        path_ = place != nullptr && isPlain(place) ? place : "/tmp";
        path_ += "/NIMBL_HRIT_XXXXXX";
        made_ = mkdtemp(path_.data()) != nullptr;
    }
    ~RunDirectory()
    {
        constexpr int openFolders = 8;
        if (made_) nftw(path_.c_str(), removeOne, openFolders, FTW_DEPTH | FTW_PHYS);
    }
    RunDirectory(const RunDirectory&) = delete;
    RunDirectory& operator=(const RunDirectory&) = delete;

    bool made() const { return made_; }
    std::string stem() const { return path_ + "/image"; }

private:
    std::string path_;
    bool made_ = false;
};

// Copies the rest of a stream into a new file; false when it cannot be written whole.
bool copyRest(std::FILE* in, const std::string& path)
{
    NbFilePtr out(std::fopen(path.c_str(), "wb")); // counts a failed write too
    if (!out) {
        ++nbpReadFailures;
        return false;
    }
    std::vector<char> block(std::size_t{1} << 16);
    while (const std::size_t n = std::fread(block.data(), 1, block.size(), in))
        if (std::fwrite(block.data(), 1, n, out.get()) != n) return false;
    return std::ferror(in) == 0 && std::fflush(out.get()) == 0;
}

// `slack`: from the limit that has a signal of its own to the one that kills.
void limit(decltype(RLIMIT_CORE) what, rlim_t most, rlim_t slack = 0)
{
    rlimit value = {};
    getrlimit(what, &value);
    value.rlim_max = std::min(value.rlim_max, most + slack);
    value.rlim_cur = std::min(value.rlim_max, most);
    setrlimit(what, &value);
}

// Runs "tool -d stem" with its streams closed up and gives whether it ended well. The arguments
// pass no shell, so no character of them can mean anything else. When the program is to end, the
// decoder ends too, with all that it has started.
bool run(const std::string& tool, const std::string& stem, std::int64_t mostBytes,
         const NbHeldSignals& held)
{
    std::string program = tool;
    std::string flag = "-d";
    std::string name = stem;
    char* const arguments[] = {program.data(), flag.data(), name.data(), nullptr};
    const pid_t child = fork();
    if (child < 0) {
        ++nbpReadFailures;
        return false;
    }
    if (child == 0) { // nothing but system calls from here on: other threads' locks may be held
        const int null = open("/dev/null", O_RDWR);
        for (const int stream : {0, 1, 2})
            dup2(null, stream);
        setpgid(0, 0);
        held.release();
        // The decoder ends where it breaks a limit, also when its parent ignores that signal.
        std::signal(SIGXFSZ, SIG_DFL);
        std::signal(SIGPIPE, SIG_DFL);
        limit(RLIMIT_CORE, 0);
        limit(RLIMIT_CPU, mostSeconds, 60);
        limit(RLIMIT_FSIZE, static_cast<rlim_t>(mostBytes));
        execv(program.c_str(), arguments);
        _exit(127);
    }
    setpgid(child, child); // whichever of the two comes first
    // A decoder takes a hundred of these.
    constexpr timespec tick = {.tv_sec = 0, .tv_nsec = 1000000};
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(child, &status, WNOHANG)) == 0 || (ended < 0 && errno == EINTR)) {
        if (held.cameAny()) kill(-child, SIGKILL);
        nanosleep(&tick, nullptr);
    }
    // Killed by the user or for want of memory, not by what it read.
    if (ended == child && WIFSIGNALED(status) &&
        (WTERMSIG(status) == SIGKILL || WTERMSIG(status) == SIGTERM))
        ++nbpReadFailures;
    return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

std::string nbpHritJpegTool()
{
    if (const char* named = std::getenv("NB_HRIT_JPEG_DECODER"); named != nullptr && exists(named))
        return named;
    std::string_view list = NIMBEX_JPEG_DECODERS; // separated by colons
    while (!list.empty()) {
        const auto end = std::min(list.find(':'), list.size());
        if (std::string path(list.substr(0, end)); exists(path)) return path;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return {};
}

NbFilePtr nbpHritJpegDecode(const std::string& tool, std::FILE* in, std::int64_t size)
{
    const NbHeldSignals held; // so that the directory goes before the program does
    const RunDirectory directory;
    if (!directory.made()) {
        ++nbpReadFailures;
        return nullptr;
    }
    const std::string stem = directory.stem();
    if (!copyRest(in, stem + ".jpg")) return nullptr;
    if (!run(tool, stem, 2 * size + spareBytes, held)) return nullptr;
    // The stream keeps the image when its name goes with the directory.
    NbFilePtr out = nbpFileOpenRead((stem + ".jpg.0").c_str(), false);
    if (!out || nbpFileSize(out.get()) < size) return nullptr;
    return out;
}
