#pragma once
/**
 * Elements of the AVHRR, which both layouts of NOAA level 1b name alike.
 */
#include "drivers/common/nbNoaaPass.h"

enum NbNoaaPhysics {
    noaaCounts = -1,
    noaaAlbedo = 1,
    noaaRadiance = 2,
    noaaTemperature = 3,
    noaaNoElement = -99999
};

/**
 * Takes the name of one element apart.
 *
 * @return its physics, or noaaNoElement (logged with the caller's name); `element` is written
 *         only when the name is good
 */
int nbpNoaaCheckElem(const NbNoaaImage& image, const char* name, const char* caller,
                     NbNoaaElement* element);

// The rest is what the slots of these names do; `caller` names them in messages.

int nbpNoaaGetChInfo(const NbNoaaImage& image, int channel, int* pixels, int* lines, int* levels,
                     char* name, const char* caller);
int nbpNoaaSetElements(NbNoaaImage* image, const char* names, int* pixels, int* lines, int* levels,
                       float* errorValue, const char* caller);
int nbpNoaaGetChannel(const NbNoaaImage& image, int style);

// Says, once a call, that counts have no physical value when they are among the elements.
void nbpNoaaReportCounts(const NbNoaaImage& image, const char* caller);
