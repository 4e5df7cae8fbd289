#pragma once
/**
 * The setup file: records of a keyword and a number that move the map and the settings.
 */
#include "frontend/options.h"
#include "geo/nbProj.h"

/**
 * Applies a setup file. One that does not open changes nothing; neither does a keyword that is
 * not known or a value outside its range.
 */
void applySetupFile(const char* path, NbSettings& settings, NbProjPara& map);
