#ifndef NB_SAT_OBJECT_H
#define NB_SAT_OBJECT_H
/**
 * The records that cross the interface between the satellite object and its drivers.
 *
 * Pixel and line are 0-based floats in the coordinates of the whole image. Longitude and
 * latitude are degrees, east and north positive. -9999.0 marks a position or an angle without a
 * value. A missing sample is 0xFFFF (-1) as a 16-bit count and -1.0 as a float.
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bits that navigation calls OR over their points. */
enum NbNavError {
    NB_NAV_INPUT = 1,       /* bad input, or no intersection with the earth */
    NB_NAV_TIME = 2,        /* time outside the file's tables */
    NB_NAV_LINE = 4,        /* line outside the image */
    NB_NAV_PIXEL = 8,       /* pixel outside the image */
    NB_NAV_LIMB = 16,       /* behind the limb */
    NB_NAV_CONVERGENCE = 32 /* an iteration did not converge */
};

/** Geometry of one point. All but time, sunDistance and phaseAngle are 0 off the earth. */
typedef struct NbPointInfo {
    double time;        /* observation time of the point, MJD */
    double satZenith;   /* degree */
    double satAzimuth;  /* degree, from north over east */
    double sunZenith;   /* degree */
    double sunAzimuth;  /* degree, from north over east */
    double satSunAngle; /* between the directions to satellite and sun, degree */
    double glintAngle;  /* between satellite direction and the sun's mirror direction, degree */
    double satDistance; /* point to satellite, km */
    double sunDistance; /* earth centre to sun, km */
    double phaseAngle; /* in the equatorial plane: between sun + satellite and -satellite, degree */
} NbPointInfo;

/** A rectangle of the source image and the size of its output. */
typedef struct NbZoomRect {
    int16_t startPixel; /* first pixel of the source, 0-based */
    int16_t startLine;
    int32_t width; /* of the source, pixels; what 0 means is the driver's */
    int32_t height;
    int16_t outWidth;
    int16_t outHeight;
} NbZoomRect;

/** The same with a float origin, for interpolated zooms. */
typedef struct NbZoomRectF {
    float startPixel;
    float startLine;
    int32_t width;
    int32_t height;
    int16_t outWidth;
    int16_t outHeight;
} NbZoomRectF;

/** Kinds of level conversion. */
enum NbLutKind { NB_LUT_LEVELS = 1, NB_LUT_BIAS_SCALE = 2, NB_LUT_BREAKPOINTS = 3 };

/** A level conversion. Its arrays lie behind it in the same allocation. */
typedef struct NbLut {
    int32_t kind;       /* NbLutKind */
    int32_t levels;     /* kind 2: output levels; kind 1: entries of `table` */
    int16_t errorLevel; /* output level of an invalid value */
    int16_t* table;     /* kind 1: output level per source level */
    float bias;         /* kind 2 */
    float scale;        /* kind 2 */
    float* tableX;      /* kind 3: breakpoints, ascending */
    int16_t* tableY;    /* kind 3: output level per breakpoint */
    int32_t tableNum;   /* kind 3: number of breakpoints */
} NbLut;

/*
 * The seventeen operations of a driver. `p` is the object's privateData. Arrays hold n entries.
 * What a slot gives stands at its facade in nbSatElem.h, nbSatNav.h and
 * nbSatGetDataByPixLin.h.
 */
typedef int (*NbGetChNumSlot)(void* p);
typedef int (*NbGetChInfoSlot)(void* p, int channel, int* pixels, int* lines, int* levels,
                               char* name);
typedef int (*NbLonLatHgtToPixLinInfoSlot)(void* p, const double* lon, const double* lat,
                                           const double* height, float* pixel, float* line,
                                           NbPointInfo* info, int n);
typedef int (*NbPixLinToLonLatInfoSlot)(void* p, const float* pixel, const float* line, double* lon,
                                        double* lat, NbPointInfo* info, int n);
typedef int (*NbSetElementsSlot)(void* p, const char* name, int* pixels, int* lines, int* levels,
                                 float* errorValue);
typedef int (*NbGetCalTableSlot)(void* p, const char* name, float* table, int* n);
typedef int (*NbGetI2DataByPixLinSlot)(void* p, const float* pixel, const float* line, int16_t* out,
                                       int n);
typedef int (*NbGetR4DataByPixLinSlot)(void* p, const float* pixel, const float* line, float* out,
                                       int n);
typedef int (*NbGetI2ZoomDataSlot)(void* p, const NbZoomRect* rect, int16_t* out);
typedef int (*NbGetR4ZoomDataSlot)(void* p, const NbZoomRect* rect, float* out);
typedef int (*NbCloseFileSlot)(void* p);
typedef int (*NbSetStopGapSlot)(void* p, int gap);
typedef int (*NbSetShiftSlot)(void* p, const float* dPixel, const float* dLine);
typedef int (*NbGetChannelSlot)(void* p, int style);
typedef int (*NbGetSatPosEfSlot)(void* p, double mjd, double* position);
typedef int (*NbGetSatAttSlot)(void* p, double mjd, double* attitude);
typedef int (*NbResetAttSlot)(void* p, double mjd, const double* attitude, int absolute);

/** A driver's operations as one record; a null operation is one that the driver lacks. */
typedef struct NbSatSlots {
    NbGetChNumSlot GetChNum;
    NbGetChInfoSlot GetChInfo;
    NbLonLatHgtToPixLinInfoSlot LonLatHgtToPixLinInfo;
    NbPixLinToLonLatInfoSlot PixLinToLonLatInfo;
    NbSetElementsSlot SetElements;
    NbGetCalTableSlot GetCalTable;
    NbGetI2DataByPixLinSlot GetI2DataByPixLin;
    NbGetR4DataByPixLinSlot GetR4DataByPixLin;
    NbGetI2ZoomDataSlot GetI2ZoomData;
    NbGetR4ZoomDataSlot GetR4ZoomData;
    NbCloseFileSlot CloseFile;
    NbSetStopGapSlot SetStopGap;
    NbSetShiftSlot SetShift;
    NbGetChannelSlot GetChannel;
    NbGetSatPosEfSlot GetSatPosEf;
    NbGetSatAttSlot GetSatAtt;
    NbResetAttSlot ResetAtt;
} NbSatSlots;

/** One open satellite file. A list of files is an array of these; see nbSatOpenObject. */
typedef struct NbSatObject {
    char satName[16];     /* satellite name as the file has it */
    char* fileName;       /* path without any option; owned */
    int16_t startTime[6]; /* year, month, day, hour, minute, second of the first line */
    char* elemName;       /* selected element; owned; null when none is selected */
    int32_t fileFormatId; /* 0: closed */
    void* privateData;    /* the driver's record; owned by CloseFile */
    int16_t elemNum;      /* values per pixel of the selected element; 0: no selection */
    int16_t pixelNum;     /* image width */
    int16_t lineNum;      /* image height */
    int16_t levelNum;     /* levels of the selected element */
    int16_t elemKind;     /* 0 counts, 1 physical values, -1 not selected yet */
    float errorValue;     /* marks an invalid pixel of this element; a missing one is -1 */
    int16_t objectNum;    /* linked objects of the list; 1 for a single file */
    int16_t objectIndex;  /* this object's place in the list */
    int16_t endTime[6];   /* year to second of the last line */
    int16_t intpMethod;   /* 0 nearest, 1 bilinear, 2 sinc, 3 cubic convolution */
    float* intpTable;     /* physical value per level, for interpolation; owned */
    NbLut* lut;           /* level conversion or null; owned */
    /* the driver's operations */
    NbGetChNumSlot GetChNum;
    NbGetChInfoSlot GetChInfo;
    NbLonLatHgtToPixLinInfoSlot LonLatHgtToPixLinInfo;
    NbPixLinToLonLatInfoSlot PixLinToLonLatInfo;
    NbSetElementsSlot SetElements;
    NbGetCalTableSlot GetCalTable;
    NbGetI2DataByPixLinSlot GetI2DataByPixLin;
    NbGetR4DataByPixLinSlot GetR4DataByPixLin;
    NbGetI2ZoomDataSlot GetI2ZoomData;
    NbGetR4ZoomDataSlot GetR4ZoomData;
    NbCloseFileSlot CloseFile;
    NbSetStopGapSlot SetStopGap;
    NbSetShiftSlot SetShift;
    NbGetChannelSlot GetChannel;
    NbGetSatPosEfSlot GetSatPosEf;
    NbGetSatAttSlot GetSatAtt;
    NbResetAttSlot ResetAtt;
} NbSatObject;

/**
 * Library-private: what a driver can tell of positions before it tests them against the limits
 * of its file. With it a list of segments of one disk is projected with one navigation, and map
 * cells far off the file are passed over. A driver without it is navigated point by point.
 */
typedef struct NbSatRawNav {
    /*
     * Positions as LonLatHgtToPixLinInfo gives them at height 0, but also where they lie outside
     * this file or behind the limb: there the direction of the place as if the earth were clear.
     * limb[i] is above 0 for a hidden point, grows smoothly with its distance behind the limb
     * (km^2: |P|^2 - P.S of the place P and the satellite S from the earth's centre) and is at
     * most 0 for a visible one. An input that is no position gives not-a-numbers three times.
     */
    void (*position)(void* p, const double* lon, const double* lat, float* pixel, float* line,
                     float* limb, int n);
    /* Non-zero when the raw positions of both records are the same for every point. */
    int (*same)(const void* p, const void* q);
    /* Turns raw positions into what LonLatHgtToPixLinInfo gives: -9999.0 twice off this file. */
    void (*limit)(void* p, float* pixel, float* line, const float* limb, int n);
    /* Box of all positions on this file: lowest and highest pixel, lowest and highest line. */
    void (*bounds)(void* p, float box[4]);
} NbSatRawNav;

/** Library-private: gives an object all the operations of its driver. */
static inline void nbpSatSetSlots(NbSatObject* object, const NbSatSlots* slots)
{
    object->GetChNum = slots->GetChNum;
    object->GetChInfo = slots->GetChInfo;
    object->LonLatHgtToPixLinInfo = slots->LonLatHgtToPixLinInfo;
    object->PixLinToLonLatInfo = slots->PixLinToLonLatInfo;
    object->SetElements = slots->SetElements;
    object->GetCalTable = slots->GetCalTable;
    object->GetI2DataByPixLin = slots->GetI2DataByPixLin;
    object->GetR4DataByPixLin = slots->GetR4DataByPixLin;
    object->GetI2ZoomData = slots->GetI2ZoomData;
    object->GetR4ZoomData = slots->GetR4ZoomData;
    object->CloseFile = slots->CloseFile;
    object->SetStopGap = slots->SetStopGap;
    object->SetShift = slots->SetShift;
    object->GetChannel = slots->GetChannel;
    object->GetSatPosEf = slots->GetSatPosEf;
    object->GetSatAtt = slots->GetSatAtt;
    object->ResetAtt = slots->ResetAtt;
}

#ifdef __cplusplus
}
#endif
#endif
