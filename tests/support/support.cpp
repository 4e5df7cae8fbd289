#include "tests/support/support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "nimbexXXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp " + pattern);
    path_ = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

TempFile::TempFile(std::span<const std::byte> contents, std::string_view name) : path_(dir_ / name)
{
    writeFile(path_, contents);
}

TempFile::TempFile(std::string_view text, std::string_view name) : path_(dir_ / name)
{
    writeText(path_, text);
}

StreamCapture::StreamCapture(int descriptor) : descriptor_(descriptor)
{
    std::fflush(nullptr);
    file_ = std::tmpfile();
    if (file_ == nullptr) throw std::runtime_error("tmpfile");
    saved_ = dup(descriptor_);
    dup2(fileno(file_), descriptor_);
}

StreamCapture::~StreamCapture()
{
    stop();
}

void StreamCapture::stop()
{
    if (file_ == nullptr) return;
    std::fflush(nullptr);
    dup2(saved_, descriptor_);
    close(saved_);
    std::rewind(file_);
    char block[4096];
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, file_)) > 0;)
        text_.append(block, n);
    std::fclose(file_);
    file_ = nullptr;
}

const std::string& StreamCapture::get()
{
    stop();
    return text_;
}

Bytes readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    Bytes bytes(text.size());
    if (!text.empty()) __builtin_memcpy(bytes.data(), text.data(), text.size());
    return bytes;
}

void writeFile(const std::string& path, std::span<const std::byte> contents)
{
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) throw std::runtime_error("cannot write " + path);
    const auto written = std::fwrite(contents.data(), 1, contents.size(), f);
    if (std::fclose(f) != 0 || written != contents.size())
        throw std::runtime_error("short write to " + path);
}

void writeText(const std::string& path, std::string_view text)
{
    writeFile(path, std::as_bytes(std::span(text.data(), text.size())));
}

Bytes numberBytes(std::uint64_t value, std::size_t width, bool big)
{
    Bytes bytes(width);
    for (std::size_t i = 0; i < width; ++i)
        bytes[i] = static_cast<std::byte>(value >> (8 * (big ? width - 1 - i : i)));
    return bytes;
}

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments)
{
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    if (out == nullptr || err == nullptr) throw std::runtime_error("tmpfile");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str())); // execv takes char* const[]
        for (const auto& a : arguments)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        if (std::freopen("/dev/null", "r", stdin) == nullptr) _exit(126);
        dup2(fileno(out), 1);
        dup2(fileno(err), 2);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    for (auto [f, text] : {std::pair{out, &result.out}, std::pair{err, &result.err}}) {
        std::rewind(f);
        char block[4096];
        for (std::size_t n; (n = std::fread(block, 1, sizeof block, f)) > 0;)
            text->append(block, n);
        std::fclose(f);
    }
    return result;
}
