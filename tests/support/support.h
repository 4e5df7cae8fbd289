#pragma once
/**
 * What the tests share: temporary places, captured streams, the program as a process.
 */
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<std::byte>;

// A directory that goes with its contents at the end of the scope.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    // Path of a name in it.
    std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// A file with given contents in a directory of its own.
class TempFile {
public:
    explicit TempFile(std::span<const std::byte> contents, std::string_view name = "file.dat");
    explicit TempFile(std::string_view text, std::string_view name = "file.txt");
    // The path with something behind it, such as an option word: file.path("?type=hisd").
    std::string path(std::string_view suffix = "") const { return path_ + std::string(suffix); }

private:
    TempDir dir_;
    std::string path_;
};

// Everything that reaches a file descriptor (1 or 2) between construction and get(). stdio
// buffers are flushed at both ends.
class StreamCapture {
public:
    explicit StreamCapture(int descriptor);
    ~StreamCapture();
    StreamCapture(const StreamCapture&) = delete;
    StreamCapture& operator=(const StreamCapture&) = delete;
    // Ends the capture at the first call and gives the text.
    const std::string& get();

private:
    void stop();
    int descriptor_;
    int saved_ = -1;
    std::FILE* file_ = nullptr;
    std::string text_;
};
struct StderrCapture : StreamCapture {
    StderrCapture() : StreamCapture(2) {}
};
struct StdoutCapture : StreamCapture {
    StdoutCapture() : StreamCapture(1) {}
};

Bytes readFile(const std::string& path); // empty when it does not open
void writeFile(const std::string& path, std::span<const std::byte> contents);
void writeText(const std::string& path, std::string_view text);

// A number at an offset of a byte block, little-endian (or big-endian with `big`).
template <class T>
T numberAt(std::span<const std::byte> bytes, std::size_t offset, bool big = false)
{
    std::byte raw[sizeof(T)];
    for (std::size_t i = 0; i < sizeof(T); ++i)
        raw[i] = offset + i < bytes.size() ? bytes[offset + (big ? sizeof(T) - 1 - i : i)]
                                           : std::byte{0};
    T value;
    __builtin_memcpy(&value, raw, sizeof(T));
    return value;
}

// The low `width` bytes of a number, little-endian (or big-endian with `big`).
Bytes numberBytes(std::uint64_t value, std::size_t width, bool big = false);

struct ProgramResult {
    int status = -1; // exit status; 128 + signal when killed
    std::string out; // standard output
    std::string err; // standard error
};
// Runs a program with arguments (no shell), standard input empty.
ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments);
