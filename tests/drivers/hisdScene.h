#pragma once
#include "drivers/hisd/nbHisd.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthHisd.h"

using HisdScene = SceneOf<SynthHisd, nbHisdLinkSat>;
