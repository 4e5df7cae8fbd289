#pragma once
/**
 * The file of an input: in memory, with a path.
 */
#include <cstdint>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

class FuzzFile {
public:
    explicit FuzzFile(std::span<const std::uint8_t> bytes)
        : descriptor_(memfd_create("fuzz", MFD_CLOEXEC))
    {
        while (!bytes.empty()) {
            const ssize_t n = write(descriptor_, bytes.data(), bytes.size());
            if (n <= 0) break;
            bytes = bytes.subspan(static_cast<std::size_t>(n));
        }
    }
    ~FuzzFile() { close(descriptor_); }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;
    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};
