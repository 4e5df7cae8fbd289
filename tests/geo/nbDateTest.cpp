#include "geo/nbDate.h"

#include "tests/support/support.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tuple>

namespace {
using Fields = std::tuple<int, int, int, int, int, int, int>;

Fields fields(const NbDateInts& d)
{
    return {d.year, d.month, d.day, d.hour, d.minute, d.second, d.millisecond};
}

Fields dateOf(double mjd)
{
    NbDateInts date;
    nbDateMjdToInts(mjd, &date);
    return fields(date);
}

double mjdOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
             int millisecond = 0)
{
    const NbDateInts date = {year, month, day, hour, minute, second, millisecond};
    return nbDateIntsToMjd(&date);
}

constexpr int unixEpoch = 40587; // MJD of 1970-01-01
} // namespace

// J. Meeus, Astronomical Algorithms, 2nd edition, page 62, as Julian dates.
TEST(DateMjd, PublishedDays)
{
    const struct {
        int year, month;
        double day, jd;
    } rows[] = {
        {1957, 10, 4.81, 2436116.31}, {2000, 1, 1.5, 2451545.0},   {1999, 1, 1.0, 2451179.5},
        {1987, 6, 19.5, 2446966.0},   {1900, 1, 1.0, 2415020.5},   {1600, 12, 31.0, 2305812.5},
        {837, 4, 10.3, 2026871.8},    {333, 1, 27.5, 1842713.0},   {-123, 12, 31.0, 1676496.5},
        {-1000, 7, 12.5, 1356001.0},  {-1000, 2, 29.0, 1355866.5}, {-4712, 1, 1.5, 0.0},
    };
    for (const auto& row : rows) {
        const int day = static_cast<int>(row.day);
        const int seconds = static_cast<int>(std::lround((row.day - day) * 86400));
        const double mjd = row.jd - 2400000.5;
        EXPECT_NEAR(mjdOf(row.year, row.month, day, 0, 0, seconds), mjd, 1e-9) << row.year;
        EXPECT_EQ(dateOf(mjd), (Fields{row.year, row.month, day, seconds / 3600, seconds / 60 % 60,
                                       seconds % 60, 0}));
    }
    EXPECT_EQ(mjdOf(1858, 11, 17), 0.0);
    EXPECT_EQ(dateOf(0.0), (Fields{1858, 11, 17, 0, 0, 0, 0}));
}

// The standard library's calendar counts the Gregorian days; the Julian ones are counted back
// from the seam, with a leap day every fourth year.
TEST(DateMjd, EveryDayFromYearOneTo2500)
{
    using namespace std::chrono;
    const sys_days seam = year{1582} / October / 15;
    for (sys_days day = seam; day < sys_days(year{2500} / 1 / 1); day += days{1}) {
        const year_month_day date = day;
        const int y = static_cast<int>(date.year());
        const int m = static_cast<int>(static_cast<unsigned>(date.month()));
        const int d = static_cast<int>(static_cast<unsigned>(date.day()));
        const double mjd = static_cast<double>(day.time_since_epoch().count() + unixEpoch);
        ASSERT_EQ(mjdOf(y, m, d), mjd) << y << ' ' << m << ' ' << d;
        ASSERT_EQ(dateOf(mjd), (Fields{y, m, d, 0, 0, 0, 0})) << mjd;
    }
    int y = 1582;
    int m = 10;
    int d = 4;
    for (double mjd = -100841; y > 0; --mjd) {
        ASSERT_EQ(mjdOf(y, m, d), mjd) << y << ' ' << m << ' ' << d;
        ASSERT_EQ(dateOf(mjd), (Fields{y, m, d, 0, 0, 0, 0})) << mjd;
        if (--d > 0) continue;
        if (--m == 0) {
            m = 12;
            --y;
        }
        d = m == 2 ? (y % 4 == 0 ? 29 : 28) : m == 4 || m == 6 || m == 9 || m == 11 ? 30 : 31;
    }
}

// Deliberate: no carry into the day.
TEST(DateMjdToInts, RoundsToTheMillisecondAndTheDayEndsInHour24)
{
    const double millisecond = 1.0 / 86400000;
    EXPECT_EQ(dateOf(60000 + 0.5 + 0.4 * millisecond), (Fields{2023, 2, 25, 12, 0, 0, 0}));
    EXPECT_EQ(dateOf(60000 + 0.75 - 0.4 * millisecond), (Fields{2023, 2, 25, 18, 0, 0, 0}));
    EXPECT_EQ(dateOf(60000 + 0.75 - 1.0 * millisecond), (Fields{2023, 2, 25, 17, 59, 59, 999}));
    EXPECT_EQ(dateOf(60001 - 0.3 * millisecond), (Fields{2023, 2, 25, 24, 0, 0, 0}));
}

TEST(DateMjd, TimesOfDayAddUpAndFieldsCarryOver)
{
    EXPECT_DOUBLE_EQ(mjdOf(2024, 2, 29, 6, 30, 15, 250), 60369 + 23415.25 / 86400);
    EXPECT_DOUBLE_EQ(mjdOf(2024, 2, 29, 30, -30, 0, 0), 60370 + 5.5 / 24);
}

TEST(DateMjd, TimesOutsideEveryCalendarAreHarmless)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double mjd : {nan, inf, -inf, 1e300, -1e300, 1e12, -1e9}) {
        NbDateInts date;
        nbDateMjdToInts(mjd, &date);
        nbDateAddInts(&date, std::numeric_limits<int>::min(), 'y', &date);
        nbDateAddMjd(mjd, std::numeric_limits<int>::max(), 'm');
        nbDateIntsToDoy(&date);
        EXPECT_LT(std::strlen(nbDateMjdToStr(mjd, "MMMM mmm YYYY d rrrr")), 256U) << mjd;
    }
    constexpr int low = std::numeric_limits<int>::min();
    constexpr int high = std::numeric_limits<int>::max();
    const NbDateInts first = {low, low, low, low, low, low, low};
    const NbDateInts last = {high, high, high, high, high, high, high};
    EXPECT_EQ(nbDateCmpInts(&last, &first), 1);
    EXPECT_EQ(nbDateDiffInts(&last, &first, 'y'), 4294967295.0);
    nbDateIntsToDoy(&first);
    nbDateIntsToDoy(&last);
}

TEST(DateAddInts, NormalisesTheSumAndLeavesItInTheDate)
{
    NbDateInts date = {2023, 12, 31, 23, 59, 59, 999};
    NbDateInts result;
    EXPECT_EQ(nbDateAddInts(&date, 1, 'm', &result), 0);
    EXPECT_EQ(fields(date), (Fields{2023, 13, 31, 23, 59, 59, 999}));
    EXPECT_EQ(fields(result), (Fields{2024, 1, 31, 23, 59, 59, 999}));
    EXPECT_EQ(nbDateAddInts(&result, 1, 'm', &result), 0); // the 31st of February
    EXPECT_EQ(fields(result), (Fields{2024, 3, 2, 23, 59, 59, 999}));
    const struct {
        int amount;
        char unit;
        Fields sum;
    } rows[] = {
        {-1, 'y', {2023, 3, 1, 0, 0, 0, 0}},     {366, 'd', {2025, 3, 2, 0, 0, 0, 0}},
        {-1, 'h', {2024, 2, 29, 23, 0, 0, 0}},   {90, 'n', {2024, 3, 1, 1, 30, 0, 0}},
        {-1, 's', {2024, 2, 29, 23, 59, 59, 0}}, {86400001, 'r', {2024, 3, 2, 0, 0, 0, 1}},
    };
    for (const auto& row : rows) {
        nbDateSetInts(&date, 2024, 3, 1, 0, 0, 0, 0);
        nbDateAddInts(&date, row.amount, row.unit, &date);
        EXPECT_EQ(fields(date), row.sum) << row.unit;
    }
}

TEST(DateAddMjd, AddsEachUnit)
{
    const double start = 60310; // 2024-01-01
    EXPECT_EQ(nbDateAddMjd(start, 2, 'd'), 60312);
    EXPECT_EQ(nbDateAddMjd(start, -6, 'h'), 60309.75);
    EXPECT_DOUBLE_EQ(nbDateAddMjd(start, 90, 'n'), 60310.0625);
    EXPECT_DOUBLE_EQ(nbDateAddMjd(start, 2700, 's'), 60310.03125);
    EXPECT_DOUBLE_EQ(nbDateAddMjd(start, 1350000, 'r'), 60310.015625);
    EXPECT_EQ(nbDateAddMjd(start, 1, 'y'), 60676); // a leap year later
    EXPECT_EQ(nbDateAddMjd(start, 2, 'm'), 60370);
}

TEST(DateDiffInts, CountsByTheFields)
{
    const NbDateInts late = {2024, 3, 1, 0, 1, 0, 2};
    const NbDateInts early = {2024, 2, 29, 23, 59, 0, 1};
    const struct {
        char unit;
        double difference;
    } rows[] = {{'y', 0}, {'m', 1}, {'d', 1}, {'h', 1}, {'n', 2}, {'s', 120}, {'r', 120001}};
    for (const auto& row : rows) {
        EXPECT_EQ(nbDateDiffInts(&late, &early, row.unit), row.difference) << row.unit;
        EXPECT_EQ(nbDateDiffInts(&early, &late, row.unit), -row.difference) << row.unit;
    }
    EXPECT_EQ(nbDateCmpInts(&late, &early), 1);
    EXPECT_EQ(nbDateCmpInts(&early, &late), -1);
    EXPECT_EQ(nbDateCmpInts(&late, &late), 0);
}

// Deliberate: whole days are truncated toward MJD 0, so this day and a half counts none.
TEST(DateDiffInts, SpanAcrossMjdZeroIsADayShort)
{
    const NbDateInts after = {1858, 11, 17, 18, 0, 0, 0};
    const NbDateInts before = {1858, 11, 16, 6, 0, 0, 0};
    EXPECT_EQ(nbDateDiffInts(&after, &before, 'd'), 0);
}

TEST(Date, UnknownUnitsAreReported)
{
    NbDateInts date = {2024, 1, 1, 0, 0, 0, 0};
    StderrCapture err;
    EXPECT_EQ(nbDateAddInts(&date, 1, 'Y', &date), 1);
    EXPECT_EQ(nbDateAddMjd(60310, 1, 'x'), 0.0);
    EXPECT_EQ(nbDateDiffInts(&date, &date, '?'), 0.0);
    EXPECT_EQ(err.get(), "NB_Error: nbDateAddInts() : bad arg#3 'Y'\n"
                         "NB_Error: nbDateAddMjd() : bad arg#3 'x'\n"
                         "NB_Error: nbDateDiffInts() : bad arg#3 '?'\n");
}

TEST(DateGetNow, AgreesWithTheSystemClock)
{
    NbDateInts now;
    nbDateGetNowInts(&now);
    const double expected = static_cast<double>(std::time(nullptr)) / 86400 + unixEpoch;
    EXPECT_NEAR(nbDateIntsToMjd(&now), expected, 5.0 / 86400);
    EXPECT_EQ(now.millisecond, 0);
}

// Deliberate: below four letters the value is taken modulo 1000, and the width is a least width.
TEST(DateMjdToStr, FormatsItems)
{
    const double mjd = mjdOf(2024, 1, 5, 3, 4, 9, 70);
    const struct {
        const char* format;
        const char* text;
    } rows[] = {
        {nullptr, "2024/01/05 03:04:09.070"},
        {"yyyy/mm/dd hh:nn:ss.rrr", "2024/ 1/ 5  3: 4: 9. 70"},
        {"DD MMM YYYY", "05 JAN 2024"},
        {"mmmm MMMMM mmm", "January JANUARY Jan"},
        {"YY yy Y YYYYYY yyyyyy", "24 24 24 002024   2024"},
        {"Mm", "11"},
        {"\\Y\\\\ \\", "Y\\ "},
        {"T%sz\xE6\x97\xA5"
         "DD",
         "T%9z\xE6\x97\xA5"
         "05"},
        {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(nbDateMjdToStr(mjd, row.format), row.text);
    EXPECT_STREQ(nbDateMjdToStr(mjdOf(1998, 12, 1), "YY MMM"), "998 DEC");
    std::string longRun;
    for (int i = 0; i < 300; ++i)
        longRun += "D-";
    EXPECT_EQ(std::strlen(nbDateMjdToStr(mjd, longRun.c_str())), 255U);
    EXPECT_EQ(nbDateMjdToStr(mjd, std::string(1000, 'D').c_str()), std::string(254, '0') + "5");
}

TEST(DateDoy, AgreesWithTheStandardCalendarBothWays)
{
    using namespace std::chrono;
    for (int y = -4; y <= 3000; ++y) {
        const sys_days first = year{y} / January / 1;
        for (const int doy : {-400, 0, 1, 59, 60, 61, 365, 366, 367, 1000}) {
            const year_month_day date = first + days{doy - 1};
            NbDateInts ints = {0, 0, 0, 23, 59, 59, 999};
            nbDateDoyToInts(static_cast<short>(y), static_cast<short>(doy), &ints);
            ASSERT_EQ(fields(ints), (Fields{static_cast<int>(date.year()),
                                            static_cast<int>(static_cast<unsigned>(date.month())),
                                            static_cast<int>(static_cast<unsigned>(date.day())), 23,
                                            59, 59, 999}))
                << y << ' ' << doy;
            const auto back = (sys_days(date) - sys_days(date.year() / January / 1)).count() + 1;
            ASSERT_EQ(nbDateIntsToDoy(&ints), back) << y << ' ' << doy;
        }
    }
    const NbDateInts carried = {2024, 15, -1, 0, 0, 0, 0}; // 27 February 2025
    EXPECT_EQ(nbDateIntsToDoy(&carried), 366 + 58);
}
