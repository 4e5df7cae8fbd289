#pragma once
/**
 * Memory that runs out at a chosen moment.
 *
 *     for (int k = 1;; ++k) {
 *         AllocFailure failure(k);
 *         const int code = nbSomething();
 *         if (!failure.fired()) break; // fewer than k allocations: all were tried
 *         EXPECT_EQ(code, -1);
 *     }
 *
 * Counts malloc, calloc and realloc as the library and the test call them, and operator new of
 * every kind: each is one allocation. What the C library takes for itself, such as the buffers of
 * streams, is not counted and never fails. A program that uses this compiles allocFailure.cpp in
 * and is linked with -Wl,--wrap=malloc,--wrap=calloc,--wrap=realloc. Under the address sanitizer
 * everything is allocated there as ever, so leaks and overruns show as usual.
 */

// From construction to the end of its scope the k-th allocation fails, counted from 1; those
// before and after it go well. k below 1 only counts. One at a time, in one thread.
class AllocFailure {
public:
    explicit AllocFailure(int k);
    ~AllocFailure();
    AllocFailure(const AllocFailure&) = delete;
    AllocFailure& operator=(const AllocFailure&) = delete;

    bool fired() const;
    int count() const; // allocations so far, with the failed one
    // Ends it before its scope does, so that checks may allocate.
    void stop();
};
