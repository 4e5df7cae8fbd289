#pragma once
/**
 * How a run ends: its codes and its last line on standard error.
 */

// 0 complete, 1 to 63 warning, 64 to 200 error. Also the exit status of the process.
enum NbRunCode {
    NB_RUN_COMPLETE = 0,
    // Deliberate: a difference image of a crop ends with status 1 and without a line, not even
    // that of `recover`. With one, it would look like a run that warned and wrote its file.
    NB_RUN_SILENT = 1,
    NB_RUN_BAD_ARGUMENTS = 70,
    NB_RUN_NO_MEMORY = 72,
    NB_RUN_INPUT = 73,       // an input, or the list of inputs, does not open
    NB_RUN_OUTPUT_OPEN = 74, // also: it is one of the inputs
    NB_RUN_UNKNOWN_CHANNEL = 75,
    NB_RUN_CLOSE = 76,
    NB_RUN_NO_COVERAGE = 77,
    NB_RUN_SHORT_WRITE = 78,
    NB_RUN_SHORT_READ = 79,
    NB_RUN_FAILED = 80 // the projecting or another step on the data
};

/**
 * Prints "complete : 0", "warning : NN" or "error : NN". Exits with the code when `exitFlag` is
 * not 0. A code outside 0 to 200 prints nothing and returns, whatever the flag.
 */
void recover(int code, int exitFlag);

/** One plain line on standard error, "nimbex : " before it. Brings no newline of its own. */
void complain(const char* format, ...) __attribute__((format(printf, 1, 2)));
