#pragma once
/**
 * A synthetic NOAA level 1b file opened through the satellite object, for the tests of both
 * drivers.
 */
#include "sat/nbSat.h"
#include "tests/support/support.h"
#include "tests/synth/synthNoaa.h"

#include <cstdint>
#include <string>
#include <vector>

class NoaaScene {
public:
    template <class Synth>
    explicit NoaaScene(const Synth& synth, const char* option = "")
        : file_(synth.bytes(), "scene.dat")
    {
        code = nbSatOpenObject(&object, file_.path(option).c_str());
    }
    ~NoaaScene()
    {
        if (code == 0) nbSatCloseObject(&object);
    }
    NoaaScene(const NoaaScene&) = delete;
    NoaaScene& operator=(const NoaaScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }

    int select(const char* name)
    {
        int size[3];
        float error = 0;
        return object.SetElements(p(), name, &size[0], &size[1], &size[2], &error);
    }
    std::vector<std::int16_t> counts(const std::vector<float>& pixel,
                                     const std::vector<float>& line, std::size_t values = 1)
    {
        std::vector<std::int16_t> out(pixel.size() * values, 12345);
        result = object.GetI2DataByPixLin(p(), pixel.data(), line.data(), out.data(),
                                          static_cast<int>(pixel.size()));
        return out;
    }
    std::vector<float> values(const std::vector<float>& pixel, const std::vector<float>& line)
    {
        std::vector<float> out(pixel.size(), 12345.0F);
        result = object.GetR4DataByPixLin(p(), pixel.data(), line.data(), out.data(),
                                          static_cast<int>(pixel.size()));
        return out;
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
    struct Position {
        float pixel, line;
        int bits;
    };
    Position toImage(double lon, double lat, NbPointInfo* info = nullptr) const
    {
        Position q{};
        q.bits = object.LonLatHgtToPixLinInfo(p(), &lon, &lat, nullptr, &q.pixel, &q.line, info, 1);
        return q;
    }

    NbSatObject object{};
    int code = -1;
    int result = 0; // of the last samples

private:
    TempFile file_;
};
