#pragma once
/**
 * The projections of nbProj by family. Each maps all points of a call; the record has passed its
 * checks.
 */
#include "geo/nbProjFrame.h"

namespace nbpProj {

// nbProjAzimuthal.cpp
void mapDisk(const NbProjPara& para, const ToMap& points);
void mapDisk(const NbProjPara& para, const ToEarth& points);
void mapStereographic(const NbProjPara& para, const ToMap& points);
void mapStereographic(const NbProjPara& para, const ToEarth& points);

// nbProjConic.cpp
void mapLambert(const NbProjPara& para, const ToMap& points);
void mapLambert(const NbProjPara& para, const ToEarth& points);
void mapMercator(const NbProjPara& para, const ToMap& points);
void mapMercator(const NbProjPara& para, const ToEarth& points);
void mapGrid(const NbProjPara& para, const ToMap& points);
void mapGrid(const NbProjPara& para, const ToEarth& points);

// nbProjOblique.cpp
void mapOblique(const NbProjPara& para, const ToMap& points);
void mapOblique(const NbProjPara& para, const ToEarth& points);

// nbProjLrit.cpp. The factors nb_ProjLrit_... are set.
void mapLrit(const NbProjPara& para, const ToMap& points);
void mapLrit(const NbProjPara& para, const ToEarth& points);

// Derive the factors nb_ProjLrit_... from the plain projection of the record, by a line through
// two points. 0, or another value when no two usable points were found; the factors then stay.
int setLritPolarParam(const NbProjPara& para);
int setLritDiskParam(const NbProjPara& para); // a height of 0: the geostationary height
int setLritMercParam(const NbProjPara& para);

} // namespace nbpProj
