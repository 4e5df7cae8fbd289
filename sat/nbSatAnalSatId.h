#ifndef NB_SAT_ANAL_SAT_ID_H
#define NB_SAT_ANAL_SAT_ID_H
/**
 * Which format is this file? Decided from its contents; names play no part.
 */
#ifdef __cplusplus
extern "C" {
#endif

/** Numbers of the formats, as NbSatObject.fileFormatId holds them. */
enum NbSatFormatId {
    NB_FORMAT_NONE = 0,
    NB_FORMAT_VISSR = 1,
    NB_FORMAT_HRIT = 2,
    NB_FORMAT_HRPT = 3,
    NB_FORMAT_NGAC = 4,
    NB_FORMAT_SVISSR = 5,
    NB_FORMAT_GVAR = 6,
    NB_FORMAT_HIRID = 7,
    NB_FORMAT_METEO = 8,
    NB_FORMAT_MRAW = 9,
    NB_FORMAT_AAPP = 10,
    NB_FORMAT_NGACV1 = 11,
    NB_FORMAT_NATIVE = 12,
    NB_FORMAT_JAMI = 13,
    NB_FORMAT_MTP = 14,
    NB_FORMAT_ABI = 15,
    NB_FORMAT_HISD = 16,
    NB_FORMAT_RDAT = 17
};

/** Format number of a file; 0 (logged) when it does not open or nothing fits. */
int nbSatAnalSatId(const char* path);

#ifdef __cplusplus
}
#endif
#endif
