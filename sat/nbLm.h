#ifndef NB_LM_H
#define NB_LM_H
/**
 * Landmark matching: where does an image lie against the coast?
 *
 * Coasts of a map are drawn where the image's navigation puts them and sought in the image. What
 * their places have in common is the image's displacement.
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The four search parameters. */
enum NbLmParam {
    NB_LM_HALF_WINDOW = 0, /* half side of the piece of image that is searched, pixels, up to 512 */
    NB_LM_HALF_TEMPLATE = 1, /* half side of a drawn piece of coast, pixels, 2 to 256; the
                                largest displacement that can be found is the difference of the two,
                                which is 2 or more, less one */
    NB_LM_SPACING = 2,       /* least distance of two pieces of coast, pixels */
    NB_LM_LEAST_MATCHES = 3  /* fewer agreeing matches are none */
};

/**
 * Search parameters that suit an image's resolution.
 *
 * @param path     as nbSatOpenObject takes it, with or without "?type=word"
 * @param channel  as nbSatGetChannel(object, 0) gives it
 * @param params   NbLmParam
 * @return 0; positive when the file does not open (1), has no such channel (2), has no pixel on
 *         earth (3) or memory ran out (4); all logged
 */
int nbLmSetParam(const char* path, int channel, int16_t params[4]);

/**
 * Displacement of an image against the coast. Opens the file by itself.
 *
 * @param params         NbLmParam
 * @param path,channel   as above
 * @param dPixel0,dLine0 shift that the navigation starts from, as nbSatSetDiffPixLin takes it
 * @param mapPath        file of shorelines
 * @param lonBox         west and east end of the coasts to use, degrees; over the date line when
 *                       west is the larger; -9999.0: no limit
 * @param latBox         south and north end, in either order; -9999.0: no limit
 * @param dPixel,dLine   what has to be added to that shift so that the navigation agrees with the
 *                       image; 0 when nothing was found
 * @param flag           not 0: each matched point goes to the log, at info level
 * @return number of points that agree on the displacement; 0 when too few do; -1 on failure
 *         (logged): a parameter that makes no sense, a file, channel or map that cannot be read,
 *         memory
 */
int nbLmLandmark(const int16_t params[4], const char* path, int channel, float dPixel0,
                 float dLine0, const char* mapPath, const double lonBox[2], const double latBox[2],
                 float* dPixel, float* dLine, int flag);

#ifdef __cplusplus
}
#endif
#endif
