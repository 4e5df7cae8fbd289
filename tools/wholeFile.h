#pragma once
/**
 * How the tools write files: whole or not at all.
 */
#include "util/nbWholeFile.h"

#include <cerrno>
#include <concepts>
#include <csignal>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

// Calls write(file), which fills the stream, or the file at its current path, and gives false, with
// errno or 0, for a failure. Throws std::runtime_error when the file cannot be written.
template <std::predicate<const NbWholeFile&> Write>
void writeWholeFile(const std::string& path, Write&& write)
{
    // A limit on the size of files is a write that fails, not the end of the process.
    std::signal(SIGXFSZ, SIG_IGN);
    NbWholeFile file;
    bool good = file.open(path) == NbFileFault::None;
    if (good) {
        errno = 0;
        good = write(std::as_const(file)) && std::fflush(file.stream()) == 0;
        if (good)
            good = file.finish() == NbFileFault::None;
        else
            file.giveUp();
    }
    if (!good) throw std::runtime_error(path + " : cannot be written" + file.why());
}

inline void writeWholeFile(const std::string& path, std::span<const std::byte> bytes)
{
    writeWholeFile(path, [bytes](const NbWholeFile& file) {
        return std::fwrite(bytes.data(), 1, bytes.size(), file.stream()) == bytes.size();
    });
}
