#pragma once
/**
 * A synthetic HISD file opened by the driver, for the tests of its units.
 */
#include "drivers/hisd/nbHisd.h"
#include "tests/support/support.h"
#include "tests/synth/synthHisd.h"

#include <cstdint>
#include <vector>

class HisdScene {
public:
    explicit HisdScene(const SynthHisd& synth) : file_(synth.bytes(), "scene.dat")
    {
        code = nbHisdLinkSat(&object, file_.path().c_str());
    }
    ~HisdScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    HisdScene(const HisdScene&) = delete;
    HisdScene& operator=(const HisdScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }
    int select(const char* name)
    {
        int size[3];
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
    // Counts of columns 0 to n - 1 of one disk line (from 0).
    std::vector<std::int16_t> row(int line, int n) const
    {
        std::vector<float> pixel;
        for (int i = 0; i < n; ++i)
            pixel.push_back(static_cast<float>(i));
        return counts(pixel, std::vector<float>(pixel.size(), static_cast<float>(line)));
    }

    NbSatObject object{};
    int code = -1;          // of the open
    mutable int result = 0; // of the last read

private:
    TempFile file_;
};
