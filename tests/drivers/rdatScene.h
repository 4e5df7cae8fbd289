#pragma once
/**
 * A synthetic raw scan opened by the driver, for the tests of its units.
 */
#include "drivers/rdat/nbRdat.h"
#include "tests/support/support.h"
#include "tests/synth/synthRdat.h"

#include <cstdint>
#include <vector>

// A setting of the process, put back at the end.
struct Setting {
    Setting(std::int16_t* s, std::int16_t value) : setting(s) { *s = value; }
    ~Setting() { *setting = 0; }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    std::int16_t* setting;
};

class RdatScene {
public:
    explicit RdatScene(const SynthRdat& synth) : file_(synth.bytes(), "scan.dat")
    {
        code = nbRdatLinkSat(&object, file_.path().c_str());
    }
    ~RdatScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    RdatScene(const RdatScene&) = delete;
    RdatScene& operator=(const RdatScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }
    int select(const char* name)
    {
        int size[3];
        float error = 0;
        return object.SetElements(p(), name, &size[0], &size[1], &size[2], &error);
    }
    std::int16_t count(float pixel, float line) const
    {
        std::int16_t out = 12345;
        result = object.GetI2DataByPixLin(p(), &pixel, &line, &out, 1);
        return out;
    }
    float value(float pixel, float line) const
    {
        float out = 12345;
        result = object.GetR4DataByPixLin(p(), &pixel, &line, &out, 1);
        return out;
    }
    struct Place {
        double lon, lat;
    };
    Place toEarth(float pixel, float line) const
    {
        Place place{};
        result = object.PixLinToLonLatInfo(p(), &pixel, &line, &place.lon, &place.lat, nullptr, 1);
        return place;
    }
    struct Position {
        float pixel, line;
    };
    Position toImage(double lon, double lat) const
    {
        Position at{};
        result =
            object.LonLatHgtToPixLinInfo(p(), &lon, &lat, nullptr, &at.pixel, &at.line, nullptr, 1);
        return at;
    }

    NbSatObject object{};
    int code = -1;          // of the open
    mutable int result = 0; // of the last call

private:
    TempFile file_;
};
