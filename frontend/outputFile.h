#pragma once
/**
 * The run's output file: it appears whole or not at all, and its faults are codes of the run.
 */
#include "util/nbWholeFile.h"

#include <string>

class NbOutputFile {
public:
    /** Once. An NbRunCode: NB_RUN_OUTPUT_OPEN, said on standard error. */
    int open(const std::string& path);

    std::FILE* stream() const { return file_.stream(); }
    bool isRegular() const { return file_.isRegular(); }
    // Where the bytes are until the file is finished.
    const std::string& currentPath() const { return file_.currentPath(); }

    /** Empties it, to be written anew. False, with errno, when that fails. */
    bool restart() { return file_.restart(); }

    /**
     * Closes the file and puts it in its place.
     *
     * @return an NbRunCode: NB_RUN_CLOSE, NB_RUN_OUTPUT_OPEN no replacing, NB_RUN_SHORT_WRITE in
     *         a file that can only be written directly; said on standard error
     */
    int finish();

    /** Gives the file up, says `what` with the reason in errno (0: none), and gives `code`. */
    int fail(int code, const char* what);

private:
    int codeOf(NbFileFault fault) const;
    int tell(int code, const char* what) const;

    std::string path_;
    NbWholeFile file_;
};
