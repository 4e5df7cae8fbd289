#pragma once
/**
 * A synthetic VISSR file opened by the driver, for the tests of its units.
 */
#include "drivers/vissr/nbVissr.h"
#include "tests/support/support.h"
#include "tests/synth/synthVissr.h"

#include <cstdint>
#include <vector>

class VissrScene {
public:
    explicit VissrScene(const SynthVissr& description)
        : synth(description.resolved()), file_(description.bytes(), "scene.dat")
    {
        code = nbVissrLinkSat(&object, file_.path().c_str());
    }
    ~VissrScene()
    {
        if (code == 0) object.CloseFile(p());
    }
    VissrScene(const VissrScene&) = delete;
    VissrScene& operator=(const VissrScene&) = delete;

    void* p() const { return object.privateData; }
    std::string path() const { return file_.path(); }
    int select(const char* name)
    {
        return object.SetElements(p(), name, &size[0], &size[1], &size[2], &error);
    }
    // Counts at positions, and a whole line (from 0) of n columns.
    std::vector<std::int16_t> counts(const std::vector<float>& pixel,
                                     const std::vector<float>& line) const
    {
        std::vector<std::int16_t> out(pixel.size(), 12345);
        result = object.GetI2DataByPixLin(p(), pixel.data(), line.data(), out.data(),
                                          static_cast<int>(out.size()));
        return out;
    }
    std::vector<std::int16_t> row(int line, int n) const
    {
        std::vector<float> pixel;
        for (int i = 0; i < n; ++i)
            pixel.push_back(static_cast<float>(i));
        return counts(pixel, std::vector<float>(pixel.size(), static_cast<float>(line)));
    }

    const SynthVissr synth;
    NbSatObject object{};
    int code = -1;          // of the open
    mutable int result = 0; // of the last read
    int size[3] = {};       // pixels, lines, levels of the last selection
    float error = 0;

private:
    TempFile file_;
};

// A big-endian number of the file.
inline SynthVissrPatch vissrPatch(std::size_t offset, std::uint32_t value, std::size_t width)
{
    SynthVissrPatch p{.offset = offset, .bytes = {}};
    for (std::size_t i = 0; i < width; ++i)
        p.bytes.push_back(static_cast<std::byte>(value >> (8 * (width - 1 - i))));
    return p;
}
