#pragma once
#include "drivers/rdat/nbRdat.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthRdat.h"

using RdatScene = SceneOf<SynthRdat, nbRdatLinkSat>;

// A setting of the process, put back at the end.
struct Setting {
    Setting(std::int16_t* s, std::int16_t value) : setting(s) { *s = value; }
    ~Setting() { *setting = 0; }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    std::int16_t* setting;
};
