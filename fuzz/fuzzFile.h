#pragma once
/**
 * The file of an input: in memory, with a path.
 */
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

class FuzzFile {
public:
    struct Piece {
        off_t offset;
        std::span<const std::uint8_t> bytes;
    };
    explicit FuzzFile(std::span<const std::uint8_t> bytes) : FuzzFile({Piece{0, bytes}}) {}
    // Between the pieces lie bytes of 0, which take no room.
    FuzzFile(std::initializer_list<Piece> pieces) : descriptor_(memfd_create("fuzz", MFD_CLOEXEC))
    {
        for (auto [offset, bytes] : pieces)
            while (!bytes.empty()) {
                const ssize_t n = pwrite(descriptor_, bytes.data(), bytes.size(), offset);
                if (n <= 0) break;
                bytes = bytes.subspan(static_cast<std::size_t>(n));
                offset += n;
            }
    }
    ~FuzzFile() { close(descriptor_); }
    FuzzFile(const FuzzFile&) = delete;
    FuzzFile& operator=(const FuzzFile&) = delete;
    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};
