#pragma once
#include "drivers/native/nbNative.h"
#include "tests/drivers/driverScene.h"
#include "tests/synth/synthNative.h"

using NativeScene = SceneOf<SynthNative, nbNativeLinkSat>;
