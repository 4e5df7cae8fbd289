#pragma once
/**
 * The input of a run: one satellite file or a list of up to ten, open.
 */
#include "sat/nbSatObject.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

// Owns the open objects; closes every one of them.
class NbInputs {
public:
    NbInputs();
    ~NbInputs() { close(); }
    NbInputs(const NbInputs&) = delete;
    NbInputs& operator=(const NbInputs&) = delete;

    // Opens a path, or several separated by blanks. A name that does not open takes no record.
    // An NbRunCode.
    int open(const std::string& names);
    void close();

    // How many files were asked for, open or not.
    std::size_t named() const { return names_.size(); }
    NbSatObject* first() { return objects_.data(); }
    // The first one's path as it was given, with its option word.
    std::string nameOfFirst() const;
    // Those that are linked with the first, in their order; none when it is not open.
    std::span<NbSatObject> opened();

private:
    std::vector<NbSatObject> objects_;
    std::vector<std::string> names_;
};

/** Joins up to ten names of a list file with blanks. An NbRunCode. */
int readNameList(const char* path, std::string& names);

/** True when `path` exists and is the same file as one of the inputs (the list, or a name). */
bool isInputFile(const char* path, const std::string& input, const std::string& names);
