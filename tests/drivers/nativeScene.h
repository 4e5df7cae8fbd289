#pragma once
/**
 * A synthetic native file opened by the driver, for the tests of its units.
 */
#include "drivers/native/nbNative.h"
#include "tests/support/support.h"
#include "tests/synth/synthNative.h"

#include <cstdint>
#include <vector>

class NativeScene {
public:
    explicit NativeScene(const SynthNative& synth) : file_(synth.bytes(), "scene.nat")
    {
        code = nbNativeLinkSat(&object, file_.path().c_str());
    }
    ~NativeScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    NativeScene(const NativeScene&) = delete;
    NativeScene& operator=(const NativeScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }
    int select(const char* name)
    {
        float error = 0;
        return object.SetElements(p(), name, &size[0], &size[1], &size[2], &error);
    }
    // Counts at positions.
    std::vector<std::int16_t> counts(const std::vector<float>& pixel,
                                     const std::vector<float>& line) const
    {
        std::vector<std::int16_t> out(pixel.size(), 12345);
        result = object.GetI2DataByPixLin(p(), pixel.data(), line.data(), out.data(),
                                          static_cast<int>(out.size()));
        return out;
    }
    std::int16_t count(float pixel, float line) const { return counts({pixel}, {line})[0]; }

    NbSatObject object{};
    int size[3] = {};       // pixels, lines, levels of the last selection
    int code = -1;          // of the open
    mutable int result = 0; // of the last read

private:
    TempFile file_;
};
