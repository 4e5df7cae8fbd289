#include "tests/support/ioFailure.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

// The linker turns each call of fread into one of __wrap_fread, and __real_fread into the function
// proper. NOLINTBEGIN: the linker's names.
extern "C" {
std::FILE* __real_fopen64(const char* path, const char* mode);
std::FILE* __real_fdopen(int descriptor, const char* mode);
int __real_open64(const char* path, int flags, ...);
std::size_t __real_fread(void* to, std::size_t size, std::size_t count, std::FILE* file);
char* __real_fgets(char* to, int size, std::FILE* file);
int __real_fseeko64(std::FILE* file, off_t offset, int whence);
off_t __real_ftello64(std::FILE* file);
std::size_t __real_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file);
int __real_fflush(std::FILE* file);
int __real_ftruncate64(int descriptor, off_t size);
int __real_fclose(std::FILE* file);
int __real_rename(const char* from, const char* to);
int __real_ferror(std::FILE* file);
int __real_stat64(const char* path, struct stat* status);
int __real_fstat64(int descriptor, struct stat* status);
int __real_lstat64(const char* path, struct stat* status);
char* __real_mkdtemp(char* pattern);
pid_t __real_fork();
int __real_execv(const char* path, char* const* arguments);
pid_t __real_waitpid(pid_t child, int* status, int options);
}

namespace {

bool counting = false;
IoCall wanted = IoCall::Any;
IoFault fault = IoFault::Error;
int failAt = 0;
int counted = 0;
std::function<void()> event;
std::FILE* broken = nullptr; // its error indicator is set

// Counts one call; true, with errno, for the one that fails.
bool fails(IoCall call)
{
    const bool counts =
        wanted == IoCall::Any ? call != IoCall::Exec && call != IoCall::Wait : wanted == call;
    if (!counting || !counts) return false;
    ++counted;
    if (counted != failAt && !(fault == IoFault::Lasting && counted > failAt)) return false;
    if (event) {
        event();
        return false;
    }
    errno = fault == IoFault::Refuse ? EPERM : call == IoCall::Wait ? EINTR : EIO;
    return true;
}

// Items that a read or write does.
std::size_t part(IoCall call, std::size_t count, std::FILE* file)
{
    if (!fails(call)) return count;
    if (fault == IoFault::Short) return count / 2;
    broken = file;
    return 0;
}

} // namespace

extern "C" {

std::FILE* __wrap_fopen64(const char* path, const char* mode)
{
    return fails(IoCall::Open) ? nullptr : __real_fopen64(path, mode);
}

std::FILE* __wrap_fdopen(int descriptor, const char* mode)
{
    return fails(IoCall::Open) ? nullptr : __real_fdopen(descriptor, mode);
}

int __wrap_open64(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return fails(IoCall::Open) ? -1 : __real_open64(path, flags, mode);
}

std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file)
{
    return __real_fread(to, size, part(IoCall::Read, count, file), file);
}

char* __wrap_fgets(char* to, int size, std::FILE* file)
{
    return part(IoCall::Read, 1, file) == 0 ? nullptr : __real_fgets(to, size, file);
}

int __wrap_fseeko64(std::FILE* file, off_t offset, int whence)
{
    return fails(IoCall::Seek) ? -1 : __real_fseeko64(file, offset, whence);
}

off_t __wrap_ftello64(std::FILE* file)
{
    return fails(IoCall::Seek) ? -1 : __real_ftello64(file);
}

std::size_t __wrap_fwrite(const void* from, std::size_t size, std::size_t count, std::FILE* file)
{
    if (file == stderr) return __real_fwrite(from, size, count, file);
    return __real_fwrite(from, size, part(IoCall::Write, count, file), file);
}

int __wrap_fflush(std::FILE* file)
{
    return fails(IoCall::Write) ? EOF : __real_fflush(file);
}

int __wrap_ftruncate64(int descriptor, off_t size)
{
    return fails(IoCall::Write) ? -1 : __real_ftruncate64(descriptor, size);
}

int __wrap_fclose(std::FILE* file)
{
    const bool failed = fails(IoCall::Close);
    if (file == broken) broken = nullptr;
    const int result = __real_fclose(file);
    if (failed) errno = EIO;
    return failed ? EOF : result;
}

int __wrap_rename(const char* from, const char* to)
{
    return fails(IoCall::Rename) ? -1 : __real_rename(from, to);
}

int __wrap_ferror(std::FILE* file)
{
    return file == broken ? 1 : __real_ferror(file);
}

// The list of files, the setup file and the table of levels.
int __wrap___isoc99_fscanf(std::FILE* file, const char* format, ...)
{
    if (part(IoCall::Read, 1, file) == 0) return EOF;
    va_list rest;
    va_start(rest, format);
    const int read = std::vfscanf(file, format, rest);
    va_end(rest);
    return read;
}

int __wrap_stat64(const char* path, struct stat* status)
{
    return fails(IoCall::Stat) ? -1 : __real_stat64(path, status);
}

int __wrap_fstat64(int descriptor, struct stat* status)
{
    return fails(IoCall::Stat) ? -1 : __real_fstat64(descriptor, status);
}

int __wrap_lstat64(const char* path, struct stat* status)
{
    return fails(IoCall::Stat) ? -1 : __real_lstat64(path, status);
}

char* __wrap_mkdtemp(char* pattern)
{
    return fails(IoCall::Folder) ? nullptr : __real_mkdtemp(pattern);
}

pid_t __wrap_fork()
{
    return fails(IoCall::Fork) ? -1 : __real_fork();
}

int __wrap_execv(const char* path, char* const* arguments)
{
    return fails(IoCall::Exec) ? -1 : __real_execv(path, arguments);
}

pid_t __wrap_waitpid(pid_t child, int* status, int options)
{
    return fails(IoCall::Wait) ? -1 : __real_waitpid(child, status, options);
}

} // NOLINTEND

IoFailure::IoFailure(IoCall call, IoFault how, int k) : IoFailure(call, nullptr, k)
{
    fault = how;
}

IoFailure::IoFailure(IoCall call, std::function<void()> what, int k)
{
    wanted = call;
    fault = IoFault::Error;
    event = std::move(what);
    failAt = k;
    counted = 0;
    broken = nullptr;
    counting = true;
}

bool IoFailure::fired() const
{
    return counted >= failAt;
}

void IoFailure::stop()
{
    counting = false;
}
