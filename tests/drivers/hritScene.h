#pragma once
#include "drivers/hrit/nbHrit.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthHrit.h"

using HritScene = SceneOf<SynthHrit, nbHritLinkSat>;
