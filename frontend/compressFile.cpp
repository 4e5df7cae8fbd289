#include "frontend/compressFile.h"

#include "frontend/comp.h"
#include "frontend/recover.h"
#include "util/nbFile.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// `what` with the reason of the last system call; gives the code.
int refuse(int code, const std::string& path, const char* what, int error)
{
    complain("%s: not compressed, %s%s%s", path.c_str(), what, error != 0 ? ": " : "",
             error != 0 ? std::strerror(error) : "");
    return code;
}

int readBack(const std::string& path, std::vector<std::uint8_t>& data, mode_t& permissions)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return refuse(NB_RUN_INPUT, path, "it cannot be read back", errno);
    // A pipe would wait for a writer.
    if (!S_ISREG(status.st_mode))
        return refuse(NB_RUN_INPUT, path, "only a regular file can be read back", 0);
    const NbFilePtr file(std::fopen(path.c_str(), "rbe"));
    if (!file) return refuse(NB_RUN_INPUT, path, "it cannot be read back", errno);
    const std::int64_t size = nbpFileSize(file.get());
    if (size < 0 || size > std::numeric_limits<std::uint32_t>::max())
        return refuse(NB_RUN_FAILED, path, "the container holds less than 4 GiB", 0);
    data.resize(static_cast<std::size_t>(size));
    errno = 0;
    if (std::fread(data.data(), 1, data.size(), file.get()) != data.size())
        return refuse(NB_RUN_SHORT_READ, path, "it cannot be read back whole", errno);
    permissions = status.st_mode & 07777;
    return NB_RUN_COMPLETE;
}

// Where the file itself lies when its name is a link; empty, with errno, when nowhere.
std::string realPath(const std::string& path)
{
    char* const found = realpath(path.c_str(), nullptr);
    std::string out = found != nullptr ? found : "";
    std::free(found);
    return out;
}

// A new file in the folder of another. It goes when it does not take the other's place.
class Successor {
public:
    explicit Successor(const std::string& place)
        : place_(place), path_(place.substr(0, place.rfind('/') + 1) + "nimbex.XXXXXX")
    {
        const int descriptor = mkstemp(path_.data());
        if (descriptor < 0) return;
        exists_ = true;
        file_.reset(fdopen(descriptor, "wb"));
        if (!file_) close(descriptor);
    }
    ~Successor()
    {
        if (exists_) unlink(path_.c_str());
    }
    Successor(const Successor&) = delete;
    Successor& operator=(const Successor&) = delete;

    std::FILE* file() const { return file_.get(); } // null, with errno: could not be made
    bool finish() { return std::fclose(file_.release()) == 0; }
    bool takePlace()
    {
        if (std::rename(path_.c_str(), place_.c_str()) != 0) return false;
        exists_ = false;
        return true;
    }

private:
    std::string place_;
    std::string path_;
    NbFilePtr file_;
    bool exists_ = false;
};

} // namespace

int compressFile(const std::string& path)
{
    std::vector<std::uint8_t> data;
    mode_t permissions = 0;
    if (const int code = readBack(path, data, permissions); code != 0) return code;
    const std::string place = realPath(path);
    if (place.empty()) return refuse(NB_RUN_OUTPUT_OPEN, path, "it cannot be replaced", errno);
    Successor successor(place);
    std::FILE* const out = successor.file();
    if (out == nullptr || fchmod(fileno(out), permissions) != 0)
        return refuse(NB_RUN_OUTPUT_OPEN, path, "no file can be made beside it", errno);

    if (compress(data.data(), static_cast<std::uint32_t>(data.size()), out) != 0 ||
        std::fflush(out) != 0)
        return refuse(NB_RUN_FAILED, path, "the compressed form cannot be written", errno);
    const char* const rule = "----------------------------\n";
    std::fprintf(stderr, "%sFileSize : %ld(bytes)\n%s", rule, std::ftell(out), rule);
    if (!successor.finish())
        return refuse(NB_RUN_CLOSE, path, "the compressed form cannot be closed", errno);
    if (!successor.takePlace())
        return refuse(NB_RUN_OUTPUT_OPEN, path, "it cannot be replaced", errno);
    return NB_RUN_COMPLETE;
}
