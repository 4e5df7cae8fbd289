#ifndef NB_PROJ_H
#define NB_PROJ_H
/**
 * Map projections: geographic coordinates to pixels of a map image and back, over arrays.
 *
 * Longitudes and latitudes are degrees, east and north positive. Pixel coordinates are 0-based
 * floats, y downward. The value -9999.0 marks a point without a position, on input and output.
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Projection numbers. */
enum NbProjType {
    NB_PROJ_ZOOM = -2,     /* a satellite's own image, through the record's functions */
    NB_PROJ_USER = -1,     /* the record's functions */
    NB_PROJ_DISK = 1,      /* perspective view of the globe from `height` */
    NB_PROJ_PS = 2,        /* stereographic, polar when stdLat1 is 90 or -90 */
    NB_PROJ_LAMB = 3,      /* Lambert conformal conic */
    NB_PROJ_MERC = 4,      /* Mercator */
    NB_PROJ_GRID = 5,      /* latitude and longitude */
    NB_PROJ_LRIT_PS = 6,   /* LRIT polar stereographic */
    NB_PROJ_LRIT_DISK = 7, /* LRIT normalised geostationary */
    NB_PROJ_LRIT_MERC = 8, /* LRIT Mercator */
    NB_PROJ_OBLIQUE = 9    /* oblique conformal conic with fixed constants */
};

typedef struct NbProjPara NbProjPara;

typedef int (*NbProjLonLatToXYFunc)(const double* lon, const double* lat, float* x, float* y, int n,
                                    NbProjPara* para);
typedef int (*NbProjXYToLonLatFunc)(const float* x, const float* y, double* lon, double* lat, int n,
                                    NbProjPara* para);

/** A map: which projection, where it lies, how large its pixels are. Owned by the caller. */
struct NbProjPara {
    int16_t prjType;   /* NbProjType */
    int16_t ellipsoid; /* 0: sphere of radius nb_ProjEquatRadius; other: ellipsoid */
    double stdLon;     /* standard longitude, degree: sub-point, central meridian */
    double stdLat1;    /* first standard latitude, degree */
    double stdLat2;    /* second standard latitude, degree (Lambert) */
    double height;  /* viewpoint above the surface, km (disks); zoom: the NbSatObject's address */
    float baseX;    /* column of the base point */
    float baseY;    /* line of the base point */
    double baseLon; /* longitude of the base point, degree; zoom: columns of the grid */
    double baseLat; /* latitude of the base point, degree; zoom: rows of the grid */
    double stepX;   /* pixel size along a line: km, degrees (grid), source pixels (zoom) */
    double stepY;   /* pixel size down the image likewise */
    NbProjLonLatToXYFunc lonLatToXY; /* types -1 and -2 */
    NbProjXYToLonLatFunc xyToLonLat;
    int32_t xNum;   /* columns of the grid; the projections themselves do not look at these four */
    int32_t yNum;   /* rows */
    int32_t roughX; /* lattice step of nbSatGetI2ProjData in columns; 0 counts as 1 */
    int32_t roughY; /* in rows */
};

/** Radius of the sphere and equatorial radius of the ellipsoid, km, for all types but 7. */
extern double nb_ProjEquatRadius;
/** Polar radius, km; read by no operation. */
extern double nb_ProjPolarRadius;
/**
 * Offsets and scaling factors of the LRIT types 6 to 8. Derived from the record of the first
 * call that needs them and kept for the life of the process, for all three types.
 */
extern double nb_ProjLrit_coff;
extern double nb_ProjLrit_loff;
extern double nb_ProjLrit_cfac;
extern double nb_ProjLrit_lfac;
/** 1 selects the second earth model of the LRIT disk; 0 at start. */
extern int16_t nb_ProjLrit_Wgs84;

/**
 * Earth to map, `n` points. Everything that depends on the record alone is worked out once a call,
 * and what depends on the latitude alone (back: on the line) once for equal neighbours: hand over
 * whole lines.
 *
 * @param lon,lat  degrees, east and north positive; -9999.0 in either: no position
 * @param x,y      pixels, 0-based, y downward; both -9999.0 where the point has no image, and
 *                 for coordinates that are not numbers
 * @return 0, also when single points had none; -1 for n below 1, an unknown projection or
 *         a parameter out of range
 */
int nbProjLonLatToXY(const double* lon, const double* lat, float* x, float* y, int n,
                     NbProjPara* para);

/**
 * Map to earth, `n` points; arguments and results as above. The sphere's Mercator (back) and the
 * LRIT disk and Mercator (both ways) take -9999.0 for a coordinate like any other.
 */
int nbProjXYToLonLat(const float* x, const float* y, double* lon, double* lat, int n,
                     NbProjPara* para);

/*
 * Library-private: the oblique conformal conic's steps. Radians, `stdLon` in degrees; -1 when it
 * lies outside -360 to 360, and nothing is written then. The sphere's longitudes count from
 * `stdLon`. theta is the angle at the oblique pole, rho the distance from it.
 */
int nbpProjEllipseToSphere(double* lon, double* lat, double stdLon);
int nbpProjSphereToEllipse(double* lon, double* lat, double stdLon);
int nbpProjLonLatToOblique(double lon, double lat, double* theta, double* rho, NbProjPara* para);
int nbpProjObliqueToLonLat(double theta, double rho, double* lon, double* lat, NbProjPara* para);

#ifdef __cplusplus
}
#endif
#endif
