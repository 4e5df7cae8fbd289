#pragma once
/**
 * A synthetic file opened by its driver, and short calls of the object's slots.
 */
#include "sat/nbSatObject.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <concepts>
#include <cstdint>
#include <numeric>
#include <span>
#include <string>
#include <vector>

using Row = std::vector<std::int16_t>;

// Result and messages of opening a file.
struct Opening {
    int code;
    std::string err;
};

class DriverScene {
public:
    using Link = int (*)(NbSatObject*, const char*);

    DriverScene(std::span<const std::byte> bytes, Link link, const char* option = "")
        : file_(bytes, "scene.dat")
    {
        code = link(&object, file_.path(option).c_str());
    }
    ~DriverScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    DriverScene(const DriverScene&) = delete;
    DriverScene& operator=(const DriverScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }

    int select(const char* name)
    {
        return object.SetElements(p(), name, &size[0], &size[1], &size[2], &error);
    }
    // What GetChInfo says of a channel.
    struct Info {
        int result, pixels = 0, lines = 0, levels = 0;
        std::string text;
    };
    Info info(int channel) const
    {
        Info i{};
        char text[256] = "";
        i.result = object.GetChInfo(p(), channel, &i.pixels, &i.lines, &i.levels, text);
        i.text = text;
        return i;
    }
    // Calibration table of an element: as many entries as there are; empty when it is refused.
    std::vector<float> table(const char* name) const
    {
        std::vector<float> values(65536, -7.0F);
        int n = 65536;
        if (object.GetCalTable(p(), name, values.data(), &n) != 0) n = 0;
        values.resize(static_cast<std::size_t>(n));
        return values;
    }

    // Counts at positions, `values` of each pixel.
    Row counts(const std::vector<float>& pixel, const std::vector<float>& line,
               std::size_t values = 1) const
    {
        Row out(pixel.size() * values, 12345);
        result = object.GetI2DataByPixLin(p(), pixel.data(), line.data(), out.data(),
                                          static_cast<int>(pixel.size()));
        return out;
    }
    std::int16_t count(float pixel, float line) const { return counts({pixel}, {line})[0]; }
    // Counts of `n` columns of one line (from 0), from a column on.
    Row row(double line, int n, int from = 0) const
    {
        std::vector<float> pixel(static_cast<std::size_t>(n));
        std::iota(pixel.begin(), pixel.end(), static_cast<float>(from));
        return counts(pixel, std::vector<float>(pixel.size(), static_cast<float>(line)));
    }
    std::vector<float> values(const std::vector<float>& pixel, const std::vector<float>& line) const
    {
        std::vector<float> out(pixel.size(), 12345);
        result = object.GetR4DataByPixLin(p(), pixel.data(), line.data(), out.data(),
                                          static_cast<int>(pixel.size()));
        return out;
    }
    float value(float pixel, float line) const { return values({pixel}, {line})[0]; }
    // A rectangle as counts, or as values.
    Row zoom(const NbZoomRect& rect) const
    {
        Row out(sizeOf(rect), 12345);
        result = object.GetI2ZoomData(p(), &rect, out.data());
        return out;
    }
    std::vector<float> zoomValues(const NbZoomRect& rect) const
    {
        std::vector<float> out(sizeOf(rect), 12345);
        result = object.GetR4ZoomData(p(), &rect, out.data());
        return out;
    }

    struct Position {
        float pixel, line;
        int bits;
    };
    Position toImage(double lon, double lat, double height = 0, NbPointInfo* info = nullptr) const
    {
        Position q{};
        q.bits = object.LonLatHgtToPixLinInfo(p(), &lon, &lat, height == 0 ? nullptr : &height,
                                              &q.pixel, &q.line, info, 1);
        return q;
    }
    struct Place {
        double lon, lat;
        int bits;
    };
    Place toEarth(float pixel, float line, NbPointInfo* info = nullptr) const
    {
        Place e{};
        e.bits = object.PixLinToLonLatInfo(p(), &pixel, &line, &e.lon, &e.lat, info, 1);
        return e;
    }
    int shift(float pixel, float line) const { return object.SetShift(p(), &pixel, &line); }

    NbSatObject object{};
    int code = -1;          // of the open
    int size[3] = {};       // pixels, lines, levels of the last selection
    float error = 0;        // its error value
    mutable int result = 0; // of the last samples

private:
    static std::size_t sizeOf(const NbZoomRect& rect)
    {
        return static_cast<std::size_t>(rect.outWidth) * static_cast<std::size_t>(rect.outHeight);
    }
    TempFile file_;
};

// The scene of one driver and its synthesiser.
template <class Synth, DriverScene::Link link>
class SceneOf : public DriverScene {
public:
    explicit SceneOf(const Synth& s) : DriverScene(s.bytes(), link), synth(s) {}
    template <std::convertible_to<std::span<const std::byte>> Range>
    explicit SceneOf(const Range& bytes) : DriverScene(bytes, link)
    {
    }
    static Opening open(const Synth& s)
    {
        StderrCapture err;
        const SceneOf scene(s);
        return {scene.code, err.get()};
    }
    Synth synth{};
};

// Everything that a caller does with an open file, good or not; nothing may happen but codes.
inline void useAll(DriverScene& scene, const std::vector<const char*>& elements)
{
    const NbSatObject& o = scene.object;
    std::vector<float> pixel = {-0.4F, 3, 1e30F}, line = {1e9F, 4, -1e30F};
    for (int i = 0; i < 40; ++i) {
        pixel.push_back(static_cast<float>(i * o.pixelNum) / 39 - 0.5F);
        line.push_back(static_cast<float>(i * o.lineNum) / 39 - 0.5F);
    }
    if (o.SetStopGap != nullptr) o.SetStopGap(scene.p(), 3);
    scene.info(0);
    for (const char* name : elements) {
        scene.table(name);
        const int selected = scene.select(name);
        scene.counts(pixel, line, 5);
        if (selected % 10000 > 1) continue; // a list has so many values a pixel
        scene.values(pixel, line);
        scene.zoomValues({-5, -3, 0, 0, 30, 30});
    }
    for (std::size_t i = 0; i < pixel.size(); ++i) {
        NbPointInfo info{};
        const auto place = o.PixLinToLonLatInfo != nullptr ? scene.toEarth(pixel[i], line[i], &info)
                                                           : DriverScene::Place{};
        if (o.LonLatHgtToPixLinInfo == nullptr) continue;
        scene.toImage(place.lon, place.lat, 0, &info);
        scene.toImage(9.0 * static_cast<double>(i) - 180, 90 - 4.0 * static_cast<double>(i));
    }
    double three[3];
    o.GetSatPosEf(scene.p(), 0, three);
    o.GetSatAtt(scene.p(), 0, three);
}

// Raw positions of one file, limited for another, are what that one navigates, within its bounds.
// Gives how many of the places it sees.
inline int expectRawIsTheSlot(const NbSatRawNav& raw, const DriverScene& from,
                              const DriverScene& scene, const std::vector<double>& lon,
                              const std::vector<double>& lat)
{
    const int n = static_cast<int>(lon.size());
    std::vector<float> pixel(lon.size()), line(lon.size()), limb(lon.size());
    raw.position(from.p(), lon.data(), lat.data(), pixel.data(), line.data(), limb.data(), n);
    raw.limit(scene.p(), pixel.data(), line.data(), limb.data(), n);
    float box[4];
    raw.bounds(scene.p(), box);
    int seen = 0;
    for (std::size_t i = 0; i < lon.size(); ++i) {
        const auto told = scene.toImage(lon[i], lat[i]);
        EXPECT_EQ(pixel[i], told.pixel) << lon[i] << ' ' << lat[i];
        EXPECT_EQ(line[i], told.line) << lon[i] << ' ' << lat[i];
        if (told.bits != 0) continue;
        ++seen;
        EXPECT_TRUE(pixel[i] >= box[0] && pixel[i] <= box[1]) << pixel[i];
        EXPECT_TRUE(line[i] >= box[2] && line[i] <= box[3]) << line[i];
    }
    return seen;
}
