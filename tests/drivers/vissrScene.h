#pragma once
#include "drivers/vissr/nbVissr.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthVissr.h"

class VissrScene : public SceneOf<SynthVissr, nbVissrLinkSat> {
public:
    using SceneOf::SceneOf;
    explicit VissrScene(const SynthVissr& s) : SceneOf(s) { synth = s.resolved(); }
};

// A big-endian number of the file.
inline SynthPatch vissrPatch(std::size_t offset, std::uint32_t value, std::size_t width)
{
    return {.offset = offset, .bytes = numberBytes(value, width, true)};
}
