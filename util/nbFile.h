#pragma once
/**
 * Owned stdio streams and the size of a file.
 */
#include <cstdint>
#include <cstdio>
#include <memory>

struct NbFileCloser {
    void operator()(std::FILE* f) const noexcept { std::fclose(f); }
};
using NbFilePtr = std::unique_ptr<std::FILE, NbFileCloser>;

/**
 * Opens a regular file (or what acts as one) for reading; null for a directory or when the open
 * fails. The stream is unbuffered when `buffered` is false: for readers of whole lines, which
 * bring their own memory.
 */
NbFilePtr nbpFileOpenRead(const char* path, bool buffered = true);

/** Size in bytes by fstat; -1 when it cannot be told (a pipe, a failed call). */
std::int64_t nbpFileSize(std::FILE* f);
