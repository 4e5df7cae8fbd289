#pragma once
/**
 * Where the image lies: the user's shift, and matching with landmarks.
 */
#include "frontend/options.h"
#include "geo/nbProj.h"
#include "sat/nbSatObject.h"

#include <string>

/**
 * Gives one object the shift of the settings, with the sign of the navigation, when it is meant
 * for the object's channel; otherwise takes back any earlier shift.
 */
void AdjNavPara(NbSatObject* object, const NbSettings& settings);

enum class NbLandmarkResult {
    Skipped, // no landmark data file: the shift is as it was
    Matched,
    NotFound
};

/**
 * Sets the shift of the settings to where landmarks match; one that was given before does not
 * enter. Says on standard error what it does.
 *
 * @param object     gives the channel
 * @param inputName  its file, with its option word
 * @param map        a grid limits the landmarks to itself when the settings have no box
 */
NbLandmarkResult adjustByLandmark(NbSatObject* object, const std::string& inputName,
                                  const NbProjPara& map, NbSettings& settings);

/**
 * Writes the shift to the file that a shift was read from, as it is, so that the next run can
 * start from it without a rate. Without such a file nothing happens; one that cannot be written is
 * as it was, which is said on standard error.
 */
void writeShiftFile(const NbSettings& settings);
