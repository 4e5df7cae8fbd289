#pragma once
/**
 * A file that is written whole or not at all.
 *
 * A regular file is written beside its place, as ".nimbex-" and the number of the process, and
 * takes its name when it is complete. Until then, and for good when the process fails or is killed,
 * the name leads to what it led to before. Only a kill that no process can catch, or a crash,
 * leaves the unfinished file lying there.
 *
 * The file replaced hands on its mode, and its owner and group where the system allows that. A
 * symbolic link stays and its target is replaced, or made. Further hard links keep the old file.
 *
 * Written directly, as there is no other way: what is no regular file (pipes, devices), a
 * descriptor by name (/dev/stdout; a file behind it is emptied first, also one to be appended to),
 * and a file that may be written but not replaced, because of its folder or because it is mounted
 * by itself. A regular file so written is emptied when the process fails or is interrupted.
 *
 * Nothing is synchronised with the disk. That guards only against a failure of the machine, after
 * which a batch is run again.
 */
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// What did not succeed.
enum class NbFileFault {
    None,
    Open,    // there can be no such file, or it may not be written
    Write,   // a file that can only be written directly
    Close,   // the last of the bytes were not taken
    Name,    // the finished file does not get its name
    Replace, // nor can the old one be written directly
};

/**
 * The name at the end of a chain of symbolic links, whether or not there is a file. Empty for a
 * descriptor by name: its link reads like the name of a file, but leads to the open file itself.
 */
std::string nbpFollowLinks(std::string path);

class NbWholeFile {
public:
    NbWholeFile() = default;
    ~NbWholeFile() { discard(); }
    NbWholeFile(const NbWholeFile&) = delete;
    NbWholeFile& operator=(const NbWholeFile&) = delete;

    // Once.
    NbFileFault open(const std::string& path);

    std::FILE* stream() const { return file_.get(); }
    bool isRegular() const { return isRegular_; }
    // Where the bytes are until the file is finished.
    const std::string& currentPath() const { return beside_.empty() ? path_ : beside_; }

    // Empties it, to be written anew. False, with errno, when that fails.
    bool restart();
    // Closes the file and puts it in its place. After a fault it is given up.
    NbFileFault finish();
    // Before it is finished: the file goes, for the reason in errno (0: none).
    void giveUp();
    // Why it was given up and what became of it, to be set behind a sentence: ": No space left on
    // device; it is empty now".
    const std::string& why() const { return why_; }

private:
    // Not NbFilePtr's: what fails here is no reading of an input.
    struct Closer {
        void operator()(std::FILE* f) const noexcept { std::fclose(f); }
    };
    using Stream = std::unique_ptr<std::FILE, Closer>;

    bool openBeside(const std::string& folder, unsigned mode);
    bool openDirectly();
    void inherit();
    NbFileFault copyToPlace();
    NbFileFault fail(NbFileFault fault);
    void discard();

    std::string path_;   // as given
    std::string place_;  // links followed
    std::string beside_; // the unfinished file; empty: none
    std::string why_;
    bool replaces_ = false;
    bool isRegular_ = false;
    bool isDirect_ = false;    // regular, under its own name, not finished
    std::vector<char> buffer_; // outlives the stream
    Stream file_;
};
