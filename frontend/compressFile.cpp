#include "frontend/compressFile.h"

#include "frontend/comp.h"
#include "frontend/recover.h"
#include "util/nbFile.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <vector>

namespace {

int readBack(NbOutputFile& out, std::vector<std::uint8_t>& data)
{
    errno = 0;
    if (!out.isRegular())
        return out.fail(NB_RUN_INPUT, "not compressed, only a regular file can be read back");
    const NbFilePtr file(std::fopen(out.currentPath().c_str(), "rbe"));
    const std::int64_t size = nbpFileSize(file.get());
    if (size < 0) return out.fail(NB_RUN_INPUT, "not compressed, it cannot be read back");
    errno = 0; // what is wrong from here on need not be the system's doing
    if (size > std::numeric_limits<std::uint32_t>::max())
        return out.fail(NB_RUN_FAILED, "not compressed, the container holds less than 4 GiB");
    data.resize(static_cast<std::size_t>(size));
    if (std::fread(data.data(), 1, data.size(), file.get()) != data.size())
        return out.fail(NB_RUN_SHORT_READ, "not compressed, it cannot be read back whole");
    return NB_RUN_COMPLETE;
}

} // namespace

int compressFile(NbOutputFile& out)
{
    std::vector<std::uint8_t> data;
    if (const int code = readBack(out, data); code != 0) return code;
    if (!out.restart())
        return out.fail(NB_RUN_OUTPUT_OPEN, "not compressed, it cannot be written anew");
    if (compress(data.data(), static_cast<std::uint32_t>(data.size()), out.stream()) != 0 ||
        std::fflush(out.stream()) != 0)
        return out.fail(NB_RUN_FAILED, "not compressed, the compressed form cannot be written");
    const char* const rule = "----------------------------\n";
    std::fprintf(stderr, "%sFileSize : %ld(bytes)\n%s", rule, std::ftell(out.stream()), rule);
    return NB_RUN_COMPLETE;
}
