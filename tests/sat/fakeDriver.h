#pragma once
/**
 * A satellite object without a file: an image from a function, on an affine navigation.
 *
 *     FakeImage image{.pixels = 20, .lines = 10};
 *     image.count = [](int pixel, int line) { return 10 * line + pixel; };
 *     NbSatObject object = image.open();
 *     nbSatSetElems(&object, "IR1");
 *     ...
 *     nbSatCloseObject(&object);
 *
 * Elements: "IR1" counts; "IR1_T" physical values from `table`; "IR1_X" the same values, but of a
 * driver that has no calibration table to show; "IR1_P" counts, two values per pixel (the second
 * is the first plus 1000). Any other name is refused.
 *
 * The image outlives its objects. `slots` may be changed before open(): a null takes an operation
 * away.
 */
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatObject.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct FakeImage {
    int pixels = 40;
    int lines = 30;
    int levels = 256;

    // lon = lon0 + lonPerPixel * pixel + lonPerLine * line, lat likewise; degrees.
    double lon0 = 140;
    double lat0 = 10;
    double lonPerPixel = 0.5;
    double lonPerLine = 0;
    double latPerPixel = 0;
    double latPerLine = -0.5;

    // Count of a pixel of the image; below 0: missing.
    std::function<int(int pixel, int line)> count = [](int pixel, int line) {
        return (pixel + 3 * line) % 256;
    };
    std::vector<float> table = defaultTable(); // physical value of each count
    float errorValue = 65535.0F;

    // Points that the satellite does not see: navigation bits of an earth or an image position,
    // 0 for a good one. Limits of the image are tested besides.
    std::function<int(double lon, double lat)> hiddenEarth = {};
    std::function<int(float pixel, float line)> hiddenImage = {};

    // Geometry of a good point; the default gives the time alone.
    double startMjd = 59062.125;
    double daysPerLine = 1.0 / 86400;
    std::function<NbPointInfo(float pixel, float line, double lon, double lat)> info = {};

    int dataResult = 0;                               // result of the data slots
    double satPosition[3] = {-32630.0, 26702.0, 0.0}; // earth-fixed, km unless a test says m
    double attitude[3] = {0.1, -0.2, 0.3};            // radians
    int attitudeResult = 0;

    // What came in.
    float shiftPixel = 0;
    float shiftLine = 0;
    int stopGap = -1;
    int closed = 0;                  // calls of CloseFile
    std::vector<int> dataCalls = {}; // n of each call of a data slot
    std::string element = {};        // selected name
    NbSatSlots slots = allSlots();   // what open() gives to an object

    // An open object without an element.
    NbSatObject open()
    {
        NbSatObject object{};
        std::strcpy(object.satName, "Fake-1");
        const std::int16_t start[6] = {2020, 8, 1, 3, 0, 0};
        const std::int16_t end[6] = {2020, 8, 1, 3, 10, 0};
        std::memcpy(object.startTime, start, sizeof start);
        std::memcpy(object.endTime, end, sizeof end);
        object.fileFormatId = NB_FORMAT_MTP; // one that has no services besides the slots
        object.privateData = this;
        object.elemKind = -1;
        object.objectNum = 1;
        object.pixelNum = static_cast<std::int16_t>(pixels);
        object.lineNum = static_cast<std::int16_t>(lines);
        nbpSatSetSlots(&object, &slots);
        return object;
    }

    static std::vector<float> defaultTable() // 300.0 down to 172.5 in steps of 0.5
    {
        std::vector<float> values;
        for (int i = 0; i < 256; ++i)
            values.push_back(300.0F - 0.5F * static_cast<float>(i));
        return values;
    }

private:
    static FakeImage& of(void* p) { return *static_cast<FakeImage*>(p); }
    static const FakeImage& of(const void* p) { return *static_cast<const FakeImage*>(p); }

    int outside(float pixel, float line) const
    {
        int bits = 0;
        if (!(pixel >= -0.5F && pixel < static_cast<float>(pixels) - 0.5F)) bits |= NB_NAV_PIXEL;
        if (!(line >= -0.5F && line < static_cast<float>(lines) - 0.5F)) bits |= NB_NAV_LINE;
        return bits;
    }
    NbPointInfo infoOf(float pixel, float line, double lon, double lat) const
    {
        if (info) return info(pixel, line, lon, lat);
        NbPointInfo point{};
        point.time = startMjd + daysPerLine * static_cast<double>(line);
        return point;
    }
    int sample(float pixel, float line) const // -1 outside and missing
    {
        if (outside(pixel, line) != 0) return -1;
        const int value = count(static_cast<int>(std::floor(static_cast<double>(pixel) + 0.5)),
                                static_cast<int>(std::floor(static_cast<double>(line) + 0.5)));
        return value < 0 ? -1 : value;
    }
    float physical(int value) const
    {
        const bool known = value >= 0 && static_cast<std::size_t>(value) < table.size();
        return known ? table[static_cast<std::size_t>(value)] : -1.0F;
    }
    int kind() const { return element == "IR1_T" || element == "IR1_X" ? 1 : 0; }
    int values() const { return element == "IR1_P" ? 2 : 1; }

    static int toPixLin(void* p, const double* lon, const double* lat, const double*, float* pixel,
                        float* line, NbPointInfo* info, int n)
    {
        const FakeImage& f = of(p);
        const double det = f.lonPerPixel * f.latPerLine - f.lonPerLine * f.latPerPixel;
        int all = 0;
        for (int i = 0; i < n; ++i) {
            int bits = NB_NAV_INPUT;
            float px = -9999.0F;
            float li = -9999.0F;
            if (lon[i] != -9999.0 && lat[i] != -9999.0) {
                const double a = lon[i] - f.lon0;
                const double b = lat[i] - f.lat0;
                px = static_cast<float>((a * f.latPerLine - b * f.lonPerLine) / det) + f.shiftPixel;
                li =
                    static_cast<float>((b * f.lonPerPixel - a * f.latPerPixel) / det) + f.shiftLine;
                bits = f.outside(px, li) | (f.hiddenEarth ? f.hiddenEarth(lon[i], lat[i]) : 0);
            }
            pixel[i] = bits == 0 ? px : -9999.0F;
            line[i] = bits == 0 ? li : -9999.0F;
            if (info != nullptr && bits == 0) info[i] = f.infoOf(px, li, lon[i], lat[i]);
            all |= bits;
        }
        return all;
    }
    static int toLonLat(void* p, const float* pixel, const float* line, double* lon, double* lat,
                        NbPointInfo* info, int n)
    {
        const FakeImage& f = of(p);
        int all = 0;
        for (int i = 0; i < n; ++i) {
            const int bits = f.outside(pixel[i], line[i]) |
                             (f.hiddenImage ? f.hiddenImage(pixel[i], line[i]) : 0);
            const double px = static_cast<double>(pixel[i] - f.shiftPixel);
            const double li = static_cast<double>(line[i] - f.shiftLine);
            lon[i] = bits == 0 ? f.lon0 + f.lonPerPixel * px + f.lonPerLine * li : -9999.0;
            lat[i] = bits == 0 ? f.lat0 + f.latPerPixel * px + f.latPerLine * li : -9999.0;
            if (info != nullptr && bits == 0) info[i] = f.infoOf(pixel[i], line[i], lon[i], lat[i]);
            all |= bits;
        }
        return all;
    }
    template <class T, class Value> // value(count) to the output's type
    static int points(void* p, const float* pixel, const float* line, T* out, int n, Value value)
    {
        FakeImage& f = of(p);
        f.dataCalls.push_back(n);
        for (int i = 0; i < n; ++i) {
            const int one = f.sample(pixel[i], line[i]);
            for (int k = 0; k < f.values(); ++k)
                *out++ = value(f, one < 0 ? -1 : one + 1000 * k);
        }
        return f.dataResult;
    }
    // Column k of the output is source pixel startPixel + k * width / outWidth, in integers; rows
    // likewise. A width or height of 0 runs to the image's end.
    template <class T, class Value>
    static int zoom(void* p, const NbZoomRect* rect, T* out, Value value)
    {
        const FakeImage& f = of(p);
        const int width = rect->width != 0 ? rect->width : f.pixels - rect->startPixel;
        const int height = rect->height != 0 ? rect->height : f.lines - rect->startLine;
        for (int j = 0; j < rect->outHeight; ++j)
            for (int k = 0; k < rect->outWidth; ++k)
                *out++ = value(
                    f,
                    f.sample(static_cast<float>(rect->startPixel + k * width / rect->outWidth),
                             static_cast<float>(rect->startLine + j * height / rect->outHeight)));
        return f.dataResult;
    }
    static std::int16_t asCount(const FakeImage&, int value)
    {
        return static_cast<std::int16_t>(value);
    }
    static float asPhysical(const FakeImage& f, int value) { return f.physical(value); }

    static NbSatSlots allSlots()
    {
        return {
            .GetChNum = [](void*) { return 1; },
            .GetChInfo =
                [](void* p, int channel, int* px, int* li, int* lev, char* name) {
                    if (channel != 0) return -1;
                    *px = of(p).pixels;
                    *li = of(p).lines;
                    *lev = of(p).levels;
                    std::strcpy(name, "IR1,IR/_T,_X,_P/fake");
                    return 0;
                },
            .LonLatHgtToPixLinInfo = toPixLin,
            .PixLinToLonLatInfo = toLonLat,
            .SetElements =
                [](void* p, const char* name, int* px, int* li, int* lev, float* error) {
                    FakeImage& f = of(p);
                    const std::string_view wanted = name != nullptr ? name : "";
                    if (wanted != "IR1" && wanted != "IR1_T" && wanted != "IR1_X" &&
                        wanted != "IR1_P")
                        return -1;
                    f.element = wanted;
                    *px = f.pixels;
                    *li = f.lines;
                    *lev = f.levels;
                    *error = f.errorValue;
                    return 10000 * (f.kind() + 1) + f.values();
                },
            .GetCalTable =
                [](void* p, const char* name, float* table, int* n) {
                    const FakeImage& f = of(p);
                    if (std::string_view(name) != "IR1_T") return -1;
                    const int size = static_cast<int>(f.table.size());
                    for (int i = 0; table != nullptr && i < *n && i < size; ++i)
                        table[i] = f.table[static_cast<std::size_t>(i)];
                    *n = size;
                    return 0;
                },
            .GetI2DataByPixLin = [](void* p, const float* px, const float* li, std::int16_t* out,
                                    int n) { return points(p, px, li, out, n, asCount); },
            .GetR4DataByPixLin = [](void* p, const float* px, const float* li, float* out,
                                    int n) { return points(p, px, li, out, n, asPhysical); },
            .GetI2ZoomData = [](void* p, const NbZoomRect* rect,
                                std::int16_t* out) { return zoom(p, rect, out, asCount); },
            .GetR4ZoomData = [](void* p, const NbZoomRect* rect,
                                float* out) { return zoom(p, rect, out, asPhysical); },
            .CloseFile = [](void* p) { return ++of(p).closed, 0; },
            .SetStopGap = [](void* p, int gap) { return of(p).stopGap = gap, 0; },
            .SetShift =
                [](void* p, const float* dPixel, const float* dLine) {
                    of(p).shiftPixel = *dPixel;
                    of(p).shiftLine = *dLine;
                    return 0;
                },
            .GetChannel = [](void* p, int style) { return of(p).element.empty() ? -1 : 7 + style; },
            .GetSatPosEf =
                [](void* p, double, double* position) {
                    std::memcpy(position, of(p).satPosition, sizeof(double[3]));
                    return 0;
                },
            .GetSatAtt =
                [](void* p, double, double* angles) {
                    std::memcpy(angles, of(p).attitude, sizeof(double[3]));
                    return of(p).attitudeResult;
                },
            .ResetAtt =
                [](void* p, double, const double* angles, int absolute) {
                    for (int i = 0; i < 3; ++i)
                        of(p).attitude[i] = angles[i] + (absolute != 0 ? 0 : of(p).attitude[i]);
                    return 0;
                },
        };
    }
};

// An open object with an element of a kind (0 counts, 1 values) and an interpolation, set by hand.
inline NbSatObject selected(FakeImage& image, std::int16_t kind, std::int16_t method)
{
    NbSatObject object = image.open();
    object.elemKind = kind;
    object.elemNum = 1;
    object.levelNum = static_cast<std::int16_t>(image.levels);
    object.errorValue = image.errorValue;
    object.intpMethod = method;
    object.intpTable = kind != 0 ? image.table.data() : nullptr;
    return object;
}

// A conversion of a kind with the error level 99; the caller adds what the kind needs.
inline NbLut lutOf(std::int32_t kind, std::int32_t levels)
{
    NbLut lut{};
    lut.kind = kind;
    lut.levels = levels;
    lut.errorLevel = 99;
    return lut;
}
