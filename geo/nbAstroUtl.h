#ifndef NB_ASTRO_UTL_H
#define NB_ASTRO_UTL_H
/**
 * Earth orientation, reference frames, orbital elements, the sun.
 *
 * Frames: Tod true equator and equinox of date; Ef earth-fixed, x through Greenwich, z through
 * the pole; 50m mean of 1950; J2000 mean of J2000; Hc local horizon, x east, y north, z up;
 * Tc horizon with its origin at the observer; Sen sensor frame; Los two scan angles in the
 * sensor frame, radians.
 *
 * Times are modified Julian dates unless named jd (Julian date). Vectors are three doubles,
 * matrices nine, row-major; input and output must differ. Longitudes and latitudes are degrees,
 * latitudes geodetic unless said otherwise. Earth-fixed positions are km; the operations on
 * orbital elements work in metres and seconds.
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

extern double nb_Astro_eqR;    /* equatorial radius, 6378.14 km */
extern double nb_Astro_plR;    /* polar radius, 6356.755 km */
extern int16_t nb_Astro_Wgs84; /* 0: the sidereal angle includes the equation of the equinoxes */

/** Classical orbital elements; angles in degrees, lengths in metres. */
typedef struct NbAstroKepl {
    double sma;    /* semi-major axis */
    double ecc;    /* eccentricity */
    double inc;    /* inclination */
    double ranode; /* right ascension of the ascending node */
    double argPer; /* argument of perigee */
    double ma;     /* mean anomaly */
    double ta;     /* true anomaly */
    double ea;     /* eccentric anomaly */
} NbAstroKepl;

/* Time */

double nbAstroConvMjdToJd(double mjd);
/** Julian centuries since `epoch`, 2000 or 1950; another epoch logs a warning and gives 0. */
double nbAstroCalcJulianCentury(double jd, int epoch);
/** Greenwich sidereal angle in degrees, 0 up to 360. */
double nbAstroCalcThetaG(double mjd);
/** Short nutation in longitude, in obliquity, and mean obliquity; radians. */
double nbAstroCalcDeltaPhi(double jd);
double nbAstroCalcDeltaEpsilon(double jd);
double nbAstroCalcMeanEpsilon(double jd);

/* Matrices */

/** 50m to Tod: nutation times precession. */
void nbAstroCalcNpMatrix(double mjd, double* m);
/** J2000 to Tod: nutation (IAU 1980) times precession (IAU 1976). */
void nbAstroCalcNpMatrixJ2k(double mjd, double* m);
/** Orbit frame to earth-fixed frame; `kepl` is eight doubles in the order of NbAstroKepl. */
void nbAstroCalcMatB(double thetaRad, const double* kepl, double* m);
/** Attitude from three angles in radians. */
void nbAstroCalcMatM(double a, double b, double c, double* m);
/** b times t. */
void nbAstroCalcMatBT(const double* b, const double* t, double* m);
/** Transpose of b times t. */
void nbAstroCalcMatBTT(const double* b, const double* t, double* m);

/* Frame changes of a vector */

void nbAstroTodToEf(double mjd, const double* in, double* out);
void nbAstroEfToTod(double mjd, const double* in, double* out);
void nbAstroTodTo50m(double mjd, const double* in, double* out);
void nbAstro50mToTod(double mjd, const double* in, double* out);
void nbAstro50mToEf(double mjd, const double* in, double* out);
void nbAstroEfTo50m(double mjd, const double* in, double* out);
void nbAstroJ2000ToEf(double mjd, const double* in, double* out);
void nbAstroEfToJ2000(double mjd, const double* in, double* out);
void nbAstroTodToJ2000(double mjd, const double* in, double* out);
void nbAstroJ2000ToTod(double mjd, const double* in, double* out);

/* Orbital elements: positions in metres, velocities in m/s, eight doubles as NbAstroKepl */

/**
 * A retrograde orbit reads as the supplement of its inclination; an eccentricity above 1 logs a
 * warning and leaves both mean and eccentric anomaly 0.
 */
void nbAstroCartToKepl(const double* pos, const double* vel, double* kepl);
/** Reads sma, ecc, inc, ranode, argPer and ma. Slow convergence logs a warning and goes on. */
void nbAstroKeplToCart(const double* kepl, double* pos, double* vel);

/* Earth */

/**
 * Longitude (-180 to 180), geodetic latitude, distance from the centre in the unit of `ef`. The
 * zero vector gives not-a-numbers.
 */
void nbAstroEfToLonLatDist(const double* ef, double* lonLatDist);
void nbAstroEfToLonLat(const double* ef, double* lon, double* lat);
/** The sub-satellite point of a satellite position: longitude, geodetic latitude. */
void nbAstroEfToSsp(const double* ef, double* lonLat);
/** The reverse of nbAstroEfToLonLatDist. */
void nbAstroLonLatDistToEf(const double* lonLatDist, double* ef);
/** Surface point in km. */
void nbAstroLonLatToEf(double lon, double lat, double* ef);
/** Radius of the earth at a geodetic latitude, km. */
double nbAstroGetLocalR(double lat);
/** Geocentric latitude of a geodetic one, and back. */
double nbAstroGetGeocLat(double lat);
double nbAstroGetGeogLat(double lat);
/** Angle between two surface points seen from the earth's centre, degrees. */
double nbAstroGetAng(double lon1, double lat1, double lon2, double lat2);

/* Horizon */

void nbAstroEfToHc(const double* in, double lon, double lat, double* out);
void nbAstroHcToEf(const double* in, double lon, double lat, double* out);
void nbAstroEfToTc(const double* ef, double lon, double lat, double* out);
/**
 * Zenith angle (0 to 180) and azimuth (from north over east) of a direction, degrees. Straight
 * up or down has azimuth 360.0; the zero vector gives -9999.0 twice.
 */
void nbAstroHcToZenithAzimuth(const double* hc, double* zenith, double* azimuth);
void nbAstroTcToZenithAzimuth(const double* tc, double* zenith, double* azimuth);
/** Unit vector of a direction, degrees. */
void nbAstroZenithAzimuthToHcUnit(double zenith, double azimuth, double* hc);
/**
 * Where the lines of sight of two observers come closest, km.
 *
 * @return 0; -1 when the lines give no estimate (`ef` is then unwritten)
 */
int nbAstroGetEfByZenithAzimuth(double lon1, double lat1, double zen1, double az1, double lon2,
                                double lat2, double zen2, double az2, double* ef);

/* Sky */

/**
 * Point on earth below a right ascension and declination (degrees) at a time. The longitude is
 * at most 180; between -360 and 180 for a right ascension of 0 to 360.
 */
void nbAstroAlphaDeltaToLonLat(double alpha, double delta, double mjd, double* lon, double* lat);
/** The reverse; the right ascension is below 360. */
void nbAstroLonLatToLonLat(double lon, double lat, double mjd, double* alpha, double* delta);
/** Position of the sun, km, from a low-order theory: within 0.01 degree over 1978 to 2030. */
void nbAstroGetSunPosInEf(double mjd, double* ef);

/* Sensor: scan angles in radians, east-west and north-south */

void nbAstroLosToSen(double ew, double ns, double* sen);
void nbAstroSenToLos(const double* sen, double* ew, double* ns);
/** Matrix times vector; the caller passes the matrix or its inverse as needed. */
void nbAstroSenToEf(const double* m, const double* sen, double* ef);
void nbAstroEfToSen(const double* m, const double* ef, double* sen);
/** @return 0; -1 and -9999.0 twice for a point on the far side. `satPos` in km. */
int nbAstroLonLatToLos(const double* m, const double* satPos, double lon, double lat, double* ew,
                       double* ns);
/**
 * @return 0; -1 and -9999.0 twice for a line of sight that misses the earth. A line that leads
 *         away from the earth counts as its extension backward.
 */
int nbAstroLosToLonLat(const double* m, const double* satPos, double ew, double ns, double* lon,
                       double* lat);

#ifdef __cplusplus
}
#endif
#endif
