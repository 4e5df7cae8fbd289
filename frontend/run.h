#pragma once
/**
 * One run: from the settings to the finished output file.
 */
#include "frontend/options.h"

/** Converts. An NbRunCode; what went wrong has been said on standard error. */
int runConversion(NbSettings settings);
