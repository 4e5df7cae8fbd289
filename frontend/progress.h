#pragma once
/**
 * A line on a terminal that says how long a conversion has been running.
 */

// While one lives and standard error is a terminal, the line appears after a second and counts
// on; the end erases it. The timer's signal prints it, so that the work knows nothing of it.
class NbProgressLine {
public:
    NbProgressLine();
    ~NbProgressLine();
    NbProgressLine(const NbProgressLine&) = delete;
    NbProgressLine& operator=(const NbProgressLine&) = delete;

private:
    bool armed_ = false;
};
