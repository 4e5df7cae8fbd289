#pragma once
/**
 * A synthetic HRIT file opened by the driver, for the tests of its units.
 */
#include "drivers/hrit/nbHrit.h"
#include "tests/support/support.h"
#include "tests/synth/synthHrit.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

class HritScene {
public:
    explicit HritScene(std::span<const std::byte> bytes) : file_(bytes, "scene.dat")
    {
        code = nbHritLinkSat(&object, file_.path().c_str());
    }
    explicit HritScene(const SynthHrit& synth)
        : HritScene(std::span<const std::byte>(synth.bytes()))
    {
    }
    ~HritScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    HritScene(const HritScene&) = delete;
    HritScene& operator=(const HritScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }
    int select(const char* name)
    {
        float error = 0;
        return object.SetElements(p(), name, &size[0], &size[1], &size[2], &error);
    }
    // Count at a position.
    std::int16_t count(float pixel, float line) const
    {
        std::int16_t out = 12345;
        result = object.GetI2DataByPixLin(p(), &pixel, &line, &out, 1);
        return out;
    }
    // Counts of columns `from` to `to` of one line, all from 0.
    std::vector<std::int16_t> row(float line, int from, int to) const
    {
        std::vector<float> pixel;
        for (int i = from; i <= to; ++i)
            pixel.push_back(static_cast<float>(i));
        const std::vector<float> lines(pixel.size(), line);
        std::vector<std::int16_t> out(pixel.size(), 12345);
        result = object.GetI2DataByPixLin(p(), pixel.data(), lines.data(), out.data(),
                                          static_cast<int>(out.size()));
        return out;
    }

    NbSatObject object{};
    int code = -1; // of the open
    int size[3] = {};
    mutable int result = 0; // of the last read

private:
    TempFile file_;
};
