#pragma once
/**
 * A synthetic GVAR file opened by the driver, for the tests of its units.
 */
#include "drivers/gvar/nbGvar.h"
#include "tests/support/support.h"
#include "tests/synth/synthGvar.h"

#include <cstdint>
#include <vector>

class GvarScene {
public:
    explicit GvarScene(const SynthGvar& s) : synth(s), file_(s.bytes(), "scene.gvar")
    {
        code = nbGvarLinkSat(&object, file_.path().c_str());
    }
    ~GvarScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    GvarScene(const GvarScene&) = delete;
    GvarScene& operator=(const GvarScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }
    int select(const char* name)
    {
        float error = 0;
        return object.SetElements(p(), name, &pixels, &lines, &levels, &error);
    }
    // Counts of the first `n` columns of a line.
    std::vector<int> row(int line, int n) const
    {
        std::vector<float> x, y;
        for (int i = 0; i < n; ++i) {
            x.push_back(static_cast<float>(i));
            y.push_back(static_cast<float>(line));
        }
        std::vector<std::int16_t> out(x.size(), 12345);
        result = object.GetI2DataByPixLin(p(), x.data(), y.data(), out.data(), n);
        return {out.begin(), out.end()};
    }
    // What the synthesiser wrote there.
    std::vector<int> told(int channel, int line, int n) const
    {
        std::vector<int> out;
        for (int i = 0; i < n; ++i)
            out.push_back(synth.countAt(channel, line, i));
        return out;
    }

    SynthGvar synth;
    NbSatObject object{};
    int code = -1;
    int pixels = 0, lines = 0, levels = 0; // of the last selection
    mutable int result = 0;                // of the last read

private:
    TempFile file_;
};
