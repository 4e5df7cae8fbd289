#pragma once
/**
 * Where the image lies: the user's shift, and matching with landmarks.
 */
#include "frontend/options.h"
#include "sat/nbSatObject.h"

/**
 * Gives one object the shift of the settings, with the sign of the navigation, when it is meant
 * for the object's channel; otherwise takes back any earlier shift.
 */
void AdjNavPara(NbSatObject* object, const NbSettings& settings);

enum class NbLandmarkResult { Skipped };

/**
 * Moves the shift of the settings to where landmarks match. Skipped, with the shift as it was,
 * where there is no landmark data file.
 */
NbLandmarkResult adjustByLandmark(NbSettings& settings);
