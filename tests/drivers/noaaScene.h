#pragma once
#include "sat/nbSat.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthNoaa.h"

// Either layout, opened through the satellite object.
struct NoaaScene : DriverScene {
    NoaaScene(std::span<const std::byte> bytes, const char* option)
        : DriverScene(bytes, nbSatOpenObject, option)
    {
    }
    template <std::derived_from<SynthNoaa> Synth>
    explicit NoaaScene(const Synth& synth, const char* option = "")
        : DriverScene(synth.bytes(), nbSatOpenObject, option)
    {
    }
    ~NoaaScene()
    {
        if (code == 0) nbSatCloseObject(&object);
        code = -1;
    }
};
