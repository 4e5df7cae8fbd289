#pragma once
/**
 * Owned stdio streams and the size of a file.
 */
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>

// How often reading a file has failed in this process. A file that is not there, may not be read or
// ends early is no failure; a device or a network that gives an error is. Drivers go on without the
// lines that they could not read; who must know that nothing is missing compares before and after.
inline std::atomic<long> nbpReadFailures = 0;

struct NbFileCloser {
    void operator()(std::FILE* f) const noexcept
    {
        if (std::ferror(f)) ++nbpReadFailures; // of all that was done with the stream
        std::fclose(f);
    }
};
using NbFilePtr = std::unique_ptr<std::FILE, NbFileCloser>;

/**
 * Opens a regular file (or what acts as one) for reading; null for a directory, for a pipe (nobody
 * can seek in it, and without a writer it would be waited for) or when the open fails. The stream
 * is unbuffered when `buffered` is false: for readers of whole lines, which bring their own memory.
 */
NbFilePtr nbpFileOpenRead(const char* path, bool buffered = true);

/** The same for a text that is read once, from its start to its end: it may come from a pipe. */
NbFilePtr nbpFileOpenText(const char* path);

/** Whether the name leads to anything. An error of the system's counts as a failed reading. */
bool nbpFileExists(const char* path);

/** Moves to an offset from the file's start. False when that fails. */
bool nbpFileSeek(std::FILE* f, std::int64_t offset);

/** Offset from the file's start; -1 when it cannot be told. */
std::int64_t nbpFilePosition(std::FILE* f);

/** Size in bytes by fstat; -1 when it cannot be told (a pipe, a failed call). */
std::int64_t nbpFileSize(std::FILE* f);
