#pragma once
/**
 * Samples of an AVHRR pass.
 */
#include "drivers/common/nbNoaaPass.h"
#include "sat/nbSatObject.h"
#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

inline constexpr std::int16_t noaaMissingI2 = -1; // 0xFFFF
inline constexpr float noaaMissingR4 = -1.0F;

enum NbNoaaLineState : std::uint8_t { noaaLineUnread = 0, noaaLineRead = 1, noaaLineBad = 2 };

// How a line is.
enum NbNoaaReadResult { noaaRead = 0, noaaOutside = 1, noaaReadFailed = 3, noaaNoMemory = -1 };

// Brings a line into memory. `keep` takes what samples need out of the record's information when
// the line is read.
template <class Keep>
NbNoaaReadResult nbpNoaaReadOneLine(NbNoaaImage* image, int n, const char* caller, Keep keep)
{
    if (n < 0 || n >= image->counts.lines()) return noaaOutside;
    const auto state = image->counts.state(n);
    if (state != noaaLineUnread) return state == noaaLineRead ? noaaRead : noaaReadFailed;
    std::array<std::byte, 2048 + noaaSampleLength> record;
    const std::size_t infoLength = image->records.infoLength;
    const std::span<std::byte> all = std::span(record).first(infoLength + noaaSampleLength);
    if (!image->records.read(n, all)) {
        image->counts.setState(n, noaaLineBad);
        return noaaReadFailed;
    }
    std::uint16_t* counts = image->counts.add(n, caller);
    if (counts == nullptr) return noaaNoMemory;
    nbpNoaaUnpack(all.subspan(infoLength),
                  {counts, static_cast<std::size_t>(image->counts.columns())});
    keep(NbCursor(all.first(infoLength), NbByteOrder::Big), n);
    image->counts.setState(n, noaaLineRead);
    return noaaRead;
}

/**
 * Samples at positions, one of each selected element for a point.
 *
 * @param keep     see nbpNoaaReadOneLine
 * @param convert  makes an output of a line number, an element and a count
 * @return changes to a line that could not be read; -1 when memory ran out
 */
template <class Out, class Keep, class Convert>
int nbpNoaaGetData(NbNoaaImage* image, const float* pixel, const float* line, Out* out, int n,
                   Out missing, const char* caller, Keep keep, Convert convert)
{
    constexpr int mostMessages = 10;
    const std::size_t values = image->elements.size();
    int messages = 0;
    int errors = 0;
    int current = -1;
    NbNoaaReadResult state = noaaOutside;
    for (int j = 0; j < n; ++j, out += values) {
        const int p = nbpNearest32(static_cast<double>(pixel[j]));
        const int l = nbpNearest32(static_cast<double>(line[j]));
        std::fill_n(out, values, missing);
        if (p < 0 || p >= noaaPixels || l < 0 || l >= image->records.lines) {
            if (pixel[j] != -9999.0F && line[j] != -9999.0F && messages++ < mostMessages)
                nbpLogError("%s : bad value. Line=%d, Pixel=%d\n", caller, l, p);
            continue;
        }
        if (l != current) {
            current = l;
            state = nbpNoaaReadOneLine(image, l, caller, keep);
            if (state == noaaReadFailed) ++errors;
            if (state == noaaNoMemory) {
                std::fill_n(out, values * static_cast<std::size_t>(n - j), missing);
                return -1;
            }
        }
        if (state != noaaRead) continue;
        const std::uint16_t* counts = image->counts.line(l) + p * noaaSlots;
        for (std::size_t e = 0; e < values; ++e) {
            const NbNoaaElement& element = image->elements[e];
            out[e] = convert(l, element, counts[element.slot()]);
        }
    }
    return errors;
}

// What the nearest zoom asks of an object; the caller adds its own sample operations.
inline NbSatObject nbpNoaaZoomObject(const NbNoaaImage& image, void* p)
{
    NbSatObject object{};
    object.privateData = p;
    object.pixelNum = noaaPixels;
    object.lineNum = static_cast<std::int16_t>(image.records.lines);
    object.elemNum = static_cast<std::int16_t>(image.elements.size());
    return object;
}
