#pragma once
#include "drivers/gvar/nbGvar.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthGvar.h"

class GvarScene : public SceneOf<SynthGvar, nbGvarLinkSat> {
public:
    using SceneOf::SceneOf;
    explicit GvarScene(const SynthGvar& s) : SceneOf(s) {}
    // What the synthesiser wrote in the first `n` columns of a line.
    Row told(int channel, int line, int n) const
    {
        Row out;
        for (int i = 0; i < n; ++i)
            out.push_back(static_cast<std::int16_t>(synth.countAt(channel, line, i)));
        return out;
    }
};
