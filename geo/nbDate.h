#ifndef NB_DATE_H
#define NB_DATE_H
/**
 * Calendar dates and modified Julian dates (MJD).
 *
 * An MJD is days since 1858-11-17 00:00, in a double. Times are UTC and know no leap
 * seconds. Dates are Gregorian from October 1582 and Julian before.
 */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A date in fields. Fields beyond their ranges are accepted and carried over. */
typedef struct NbDateInts {
    int32_t year;
    int32_t month; /* 1 to 12 */
    int32_t day;
    int32_t hour;
    int32_t minute;
    int32_t second;
    int32_t millisecond;
} NbDateInts;

/** MJD of a date, which need not be normalised. */
double nbDateIntsToMjd(const NbDateInts* date);

/**
 * Date of an MJD, to the nearest millisecond.
 *
 * The rounding does not carry: half a millisecond before midnight is hour 24 of the
 * day that ends.
 */
void nbDateMjdToInts(double mjd, NbDateInts* date);

/**
 * Adds `amount` to one field of `date` and gives the normalised sum.
 *
 * @param date    changed too: the sum stands in its field, not normalised
 * @param unit    'y' 'm' 'd' 'h' 'n' (minute) 's' 'r' (millisecond)
 * @param result  may be `date`; 31 January plus one month lies in March
 * @return 0, or 1 for another unit (logged as an error)
 */
int nbDateAddInts(NbDateInts* date, int amount, char unit, NbDateInts* result);

/** `mjd` plus `amount` units (letters as above); 0.0 for another unit (logged as an error). */
double nbDateAddMjd(double mjd, int amount, char unit);

/** 1, 0 or -1 as `a` lies after, at or before `b`. */
int nbDateCmpInts(const NbDateInts* a, const NbDateInts* b);

/**
 * `a` minus `b` in a unit, counted by the fields and not by elapsed time: from 23:59 to 00:01
 * of the next day is 1 'h'. Unit 'm' ignores days, 'y' all but the year.
 *
 * @return the difference; 0.0 for another unit (logged as an error)
 */
double nbDateDiffInts(const NbDateInts* a, const NbDateInts* b, char unit);

void nbDateSetInts(NbDateInts* date, int year, int month, int day, int hour, int minute, int second,
                   int millisecond);

/** The present time in UTC, millisecond 0. */
void nbDateGetNowInts(NbDateInts* date);

/**
 * Text of an MJD. Returns a static buffer of 256 bytes that the next call overwrites; a longer
 * text is cut.
 *
 * A run of one of the letters y m d h n s r (either case) prints that field with the run's
 * length as least width: capitals fill with zeros, small letters with blanks. Below a width of
 * 4 the value is first taken modulo 1000. "MMM" is the month's name cut to three letters, four
 * or more its whole name; a capital M gives capitals. A backslash copies the next character.
 *
 * @param format  null means "YYYY/MM/DD HH:NN:SS.RRR"
 */
const char* nbDateMjdToStr(double mjd, const char* format);

/**
 * Day of the year, 1 for 1 January, as a 16-bit value. The time of day plays no part, a month or
 * day out of range is carried over. Gregorian before 1582 too, without gap.
 */
int nbDateIntsToDoy(const NbDateInts* date);

/**
 * Sets year, month and day from a year and its day number (from 1); other fields stay. A number
 * outside the year lies in a neighbouring one. Gregorian before 1582 too.
 */
void nbDateDoyToInts(short year, short doy, NbDateInts* date);

#ifdef __cplusplus
}
#endif
#endif
