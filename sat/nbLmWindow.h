#pragma once
/**
 * One place of the coast sought in the image around it.
 */
#include "sat/nbLmOutline.h"

#include <cstdint>
#include <span>
#include <vector>

// A displacement, pixels and lines.
struct NbLmShift {
    double x = 0;
    double y = 0;
};

// Where the drawn coast and the image are most alike, to a whole pixel.
struct NbLmPeak {
    bool found = false;
    int x = 0;
    int y = 0;
    float correlation = 0; // 0 to 1: its size, whatever the sign
    float second = 0;      // the highest one away from the peak
    int low = 0;           // counts that were taken for land and sea, not for cloud
    int high = 0;
};

// A displacement to a part of a pixel.
struct NbLmFit {
    bool good = false;
    NbLmShift shift;
    double xx = 0, xy = 0, yy = 0; // covariance, square pixels
    double contrast = 0;           // of land and sea, in standard deviations of a pixel
    double clear = 0;              // share of pixels that are land or sea
};

/** Looks for land in windows of the image. Keeps its memory between calls. */
class NbLmMatcher {
public:
    NbLmMatcher(int halfWindow, int halfTemplate);

    // `counts`: the window, row by row; negative: missing.
    NbLmPeak search(const NbLmOutline& outline, std::span<const std::int16_t> counts);

    // The displacement nearest to `start`. `counts`: the pixels within half a template and one
    // pixel of the place moved by the whole pixels of `start`, row by row.
    NbLmFit fit(const NbLmOutline& outline, std::span<const std::int16_t> counts, int low, int high,
                NbLmShift start);

private:
    struct Run {
        int row, begin, end; // of land, columns in the template
    };

    // A good pixel of a fit.
    struct Pixel {
        std::ptrdiff_t at; // in the drawing
        double x, y;       // -1 to 1 over the template
        double count;
        double weight = 0;
        double rest = 0; // what the fit leaves over
    };

    bool makeRuns(const NbLmOutline& outline);
    void sumUp(std::span<const std::int16_t> counts, int low, int high);
    void correlate(int dy);
    NbLmPeak peakOf() const;

    int window_; // sides in pixels
    int template_;
    int half_;
    int shifts_; // in a row that are tried
    NbLmRaster raster_;
    std::vector<float> share_;
    std::vector<Run> runs_;
    int land_ = 0;     // pixels of the template
    int lowest_ = 0;   // count of the window
    int dropBits_ = 0; // by which its counts are too wide
    // Of the window's good pixels: sums along each row, and over all above and left.
    std::vector<std::int32_t> rowCount_, rowSum_;
    std::vector<std::int32_t> count_;
    std::vector<std::int64_t> sum_, square_;
    std::vector<std::int32_t> landCount_, landSum_; // of a row of shifts
    std::vector<float> surface_;                    // correlation of each shift
    std::vector<std::int16_t> sorted_;
    std::vector<Pixel> pixels_;
    std::vector<double> rest_;
};
