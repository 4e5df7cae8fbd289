#pragma once
/**
 * Files that fail at a chosen moment: the k-th call of a kind, as the product makes it.
 *
 * Counts the calls of stdio and POSIX that ioFailure.cpp wraps. What the C library does for itself
 * inside such a call is not seen, and standard error is let alone. A program that uses this
 * compiles ioFailure.cpp in and is linked with the --wrap options of tests/CMakeLists.txt.
 */

#include <functional>

enum class IoCall {
    Open,
    Read,
    Seek,
    Write,
    Close,
    Rename,
    Stat,
    Folder, // a temporary one is made
    Fork,
    Exec, // counted in the child, where the parent's count goes on
    Wait,
    Any, // but Exec, which is not this process's, and Wait, whose number is never the same
};
enum class IoFault {
    Error,   // nothing is done; errno is EIO, and the stream's error indicator is set. Wait: EINTR
    Refuse,  // nothing is done; errno is EPERM
    Short,   // a read or write does half of it
    Lasting, // as Error, and so do all later calls of the kind
};

// From construction to the end of its scope the k-th call of the kind fails, counted from 1; those
// before and after it go well. A close closes all the same. One at a time, in one thread.
class IoFailure {
public:
    IoFailure(IoCall call, IoFault fault, int k);
    // The k-th call goes well too, but something happens just before it.
    IoFailure(IoCall call, std::function<void()> event, int k);
    ~IoFailure() { stop(); }
    IoFailure(const IoFailure&) = delete;
    IoFailure& operator=(const IoFailure&) = delete;

    bool fired() const;
    // Ends it before its scope does, so that checks may use files.
    void stop();
};
