#ifndef NIMBL_H
#define NIMBL_H
/**
 * NIMBL: formats, calibration and navigation of weather-satellite images, map projections, orbits
 * and time. All public headers at once; each can be included alone as well.
 */
#include "sat/nbLm.h"
#include "sat/nbLut.h"
#include "sat/nbNavInfo.h"
#include "sat/nbSat.h"
#include "sat/nbSatAnalSatId.h"
#include "sat/nbSatElem.h"
#include "sat/nbSatGetDataByPixLin.h"
#include "sat/nbSatGetProjData.h"
#include "sat/nbSatGetZoomData.h"
#include "sat/nbSatGetZoomDataSub.h"
#include "sat/nbSatMgetProjData.h"
#include "sat/nbSatNav.h"
#include "sat/nbSatObject.h"
#include "sat/nbSatProj.h"
#include "sat/nbSatSetLut.h"

#include "geo/nbAstroUtl.h"
#include "geo/nbDate.h"
#include "geo/nbMatrix.h"
#include "geo/nbProj.h"
#include "geo/nbVector.h"

#include "util/nbBit.h"
#include "util/nbChar.h"
#include "util/nbLog.h"
#include "util/nbMath.h"
#include "util/nbReal.h"
#include "util/nbStr.h"
#include "util/nbUtlByteOrder.h"
#include "util/nbUtlMalloc.h"
#include "util/nbUtlString.h"

#include "drivers/gvar/nbGvar.h"
#include "drivers/hisd/nbHisd.h"
#include "drivers/hrit/nbHrit.h"
#include "drivers/native/nbNative.h"
#include "drivers/ngac/nbNgac.h"
#include "drivers/ngacv1/nbNgacv1.h"
#include "drivers/rdat/nbRdat.h"
#include "drivers/vissr/nbVissr.h"

#endif
