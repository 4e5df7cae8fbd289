#include "geo/nbDate.h"

#include "util/nbLogFormat.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>
#include <string_view>

namespace {
constexpr double mjdZeroAsJd = 2400000.5; // Julian date of MJD 0

constexpr std::string_view monthNames[12] = {"January",   "February", "March",    "April",
                                             "May",       "June",     "July",     "August",
                                             "September", "October",  "November", "December"};

// The field of a unit letter, or null.
std::int32_t* fieldOf(NbDateInts* date, char unit)
{
    switch (unit) {
    case 'y':
        return &date->year;
    case 'm':
        return &date->month;
    case 'd':
        return &date->day;
    case 'h':
        return &date->hour;
    case 'n':
        return &date->minute;
    case 's':
        return &date->second;
    case 'r':
        return &date->millisecond;
    default:
        return nullptr;
    }
}

void reportBadUnit(const char* operation, char unit)
{
    nbpLogError("%s : bad arg#3 '%c'\n", operation, unit);
}

void addToField(std::int32_t* field, int amount)
{
    const std::int64_t sum = std::int64_t{*field} + amount;
    *field = static_cast<std::int32_t>(std::clamp<std::int64_t>(
        sum, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

// J. Meeus, Astronomical Algorithms, chapter 7, whose letters stand here; w is B - D + day.
void jdToDate(double jd, NbDateInts* date)
{
    const double f = jd + 0.5;
    double z = std::floor(f);
    if (z >= 2299161) { // 15 October 1582
        const double a = std::floor((z - 1867216.25) / 36524.25);
        z = z + 1 + a - std::floor(a * 0.25);
    }
    const double b = z + 1524;
    const double c = std::floor((b - 122.1) / 365.25);
    const double w = b - std::floor(365.25 * c);
    const double e = std::floor(w / 30.6001);
    const bool nextYear = e - 1 > 12;
    date->year = nbpTrunc32(nextYear ? c - 4716 + 1 : c - 4716);
    date->month = nbpTrunc32(nextYear ? e - 1 - 12 : e - 1);
    date->day = nbpTrunc32(w - std::floor(30.6001 * e));
    // Deliberate: rounded without a carry into the day, so the last half millisecond of a day is
    // hour 24. With the carry such times get the next day's date, and so do the names and header
    // fields made from them.
    const std::int32_t ms = nbpTrunc32((f - std::floor(f)) * 24 * 3600 * 1000 + 0.5);
    date->hour = ms / 3600000;
    date->minute = (ms / 60000) % 60;
    date->second = (ms / 1000) % 60;
    date->millisecond = ms % 1000;
}

// Days from 1970-01-01 to a Gregorian date, at any distance. Years begin in March here, so that
// the leap day is a year's last; 400 years have 146097 days.
std::int64_t gregorianDays(std::int64_t year, int month, std::int64_t day)
{
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

int daysOfMonth(std::int64_t year, int month)
{
    return static_cast<int>(
        month == 12 ? 31 : gregorianDays(year, month + 1, 1) - gregorianDays(year, month, 1));
}

// Text of bounded length; what does not fit is dropped.
class DateText {
public:
    void put(char c)
    {
        if (size_ + 1 < sizeof text_) text_[size_++] = c;
    }
    void put(std::string_view s)
    {
        for (const char c : s)
            put(c);
    }
    void clear()
    {
        std::fill(std::begin(text_), std::end(text_), '\0');
        size_ = 0;
    }
    const char* get() const { return text_; }

private:
    char text_[256] = {};
    std::size_t size_ = 0;
};

void putNumber(DateText& text, std::int32_t value, std::size_t count, bool zeros)
{
    // Deliberate: below four places the value is taken modulo 1000 and the width is a least one,
    // so "YY" of 1998 is 998. File names are made with it; mended, they change.
    if (count < 4) value %= 1000;
    const int width = static_cast<int>(std::min<std::size_t>(count, 255));
    char digits[256 + 1];
    std::snprintf(digits, sizeof digits, zeros ? "%0*d" : "%*d", width, value);
    text.put(digits);
}

void putMonthName(DateText& text, std::string_view name, bool capitals)
{
    for (const char c : name)
        text.put(capitals ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c);
}
} // namespace

double nbDateIntsToMjd(const NbDateInts* date)
{
    double year = date->year;
    double month = date->month;
    const double day = date->day;
    const double t = (month - 1) / 12 + year;
    if (month <= 2) {
        month += 12;
        year -= 1;
    }
    double b = 0;
    if (day / 365.25 + t >= 1582.78) { // Gregorian
        const double a = std::floor(year / 100);
        b = 2 - a + std::floor(a * 0.25);
    }
    return std::floor(365.25 * year) + std::floor(30.6001 * (month + 1)) - 679006 + day + b +
           static_cast<double>(date->hour) / 24 + static_cast<double>(date->minute) / 24 / 60 +
           static_cast<double>(date->second) / 24 / 60 / 60 +
           static_cast<double>(date->millisecond) / 24 / 60 / 60 / 1000;
}

void nbDateMjdToInts(double mjd, NbDateInts* date)
{
    jdToDate(mjd + mjdZeroAsJd, date);
}

int nbDateAddInts(NbDateInts* date, int amount, char unit, NbDateInts* result)
{
    std::int32_t* field = fieldOf(date, unit);
    if (field == nullptr) {
        reportBadUnit("nbDateAddInts()", unit);
        return 1;
    }
    addToField(field, amount);
    nbDateMjdToInts(nbDateIntsToMjd(date), result);
    return 0;
}

double nbDateAddMjd(double mjd, int amount, char unit)
{
    const double n = amount;
    switch (unit) {
    case 'd':
        return mjd + n;
    case 'h':
        return mjd + n / 24;
    case 'n':
        return mjd + n / 24 / 60;
    case 's':
        return mjd + n / 24 / 3600;
    case 'r':
        return mjd + n / 24 / 3600 / 1000;
    case 'm':
    case 'y': {
        NbDateInts date;
        nbDateMjdToInts(mjd, &date);
        addToField(fieldOf(&date, unit), amount);
        return nbDateIntsToMjd(&date);
    }
    default:
        reportBadUnit("nbDateAddMjd()", unit);
        return 0.0;
    }
}

int nbDateCmpInts(const NbDateInts* a, const NbDateInts* b)
{
    const double difference = nbDateIntsToMjd(a) - nbDateIntsToMjd(b);
    return difference > 0 ? 1 : difference < 0 ? -1 : 0;
}

double nbDateDiffInts(const NbDateInts* a, const NbDateInts* b, char unit)
{
    const auto minus = [&](std::int32_t NbDateInts::*field) {
        return static_cast<double>(a->*field) - static_cast<double>(b->*field);
    };
    const double year = minus(&NbDateInts::year);
    const double month = minus(&NbDateInts::month);
    const double hour = minus(&NbDateInts::hour);
    const double minute = minus(&NbDateInts::minute);
    const double second = minus(&NbDateInts::second);
    const double millisecond = minus(&NbDateInts::millisecond);
    // Deliberate: whole days are truncated toward MJD 0 and not floored, so a span that crosses it
    // (17 November 1858) is a day short. Floored, such spans grow by a day.
    const double days = std::trunc(nbDateIntsToMjd(a)) - std::trunc(nbDateIntsToMjd(b));
    switch (unit) {
    case 'y':
        return year;
    case 'm':
        return 12 * year + month;
    case 'd':
        return days;
    case 'h':
        return 24 * days + hour;
    case 'n':
        return 1440 * days + 60 * hour + minute;
    case 's':
        return 86400 * days + 3600 * hour + 60 * minute + second;
    case 'r':
        return 86400000 * days + 3600000 * hour + 60000 * minute + 1000 * second + millisecond;
    default:
        reportBadUnit("nbDateDiffInts()", unit);
        return 0.0;
    }
}

void nbDateSetInts(NbDateInts* date, int year, int month, int day, int hour, int minute, int second,
                   int millisecond)
{
    *date = {year, month, day, hour, minute, second, millisecond};
}

void nbDateGetNowInts(NbDateInts* date)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc = {};
    gmtime_r(&now, &utc);
    *date = {
        utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, 0};
}

const char* nbDateMjdToStr(double mjd, const char* format)
{
    static DateText text; // the operation's result, valid until the next call
    text.clear();
    if (format == nullptr) format = "YYYY/MM/DD HH:NN:SS.RRR";
    NbDateInts date;
    nbDateMjdToInts(mjd, &date);
    for (std::string_view rest = format; !rest.empty();) {
        const char c = rest.front();
        if (c == '\\') {
            if (rest.size() > 1) text.put(rest[1]);
            rest.remove_prefix(std::min<std::size_t>(rest.size(), 2));
            continue;
        }
        const char unit = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        const std::int32_t* field = fieldOf(&date, unit);
        if (field == nullptr) {
            text.put(c);
            rest.remove_prefix(1);
            continue;
        }
        const std::size_t count = std::min(rest.find_first_not_of(c), rest.size());
        const bool capital = c != unit;
        // A time far outside every calendar has a month without a name.
        if (unit == 'm' && count >= 3 && date.month >= 1 && date.month <= 12) {
            const std::string_view name = monthNames[date.month - 1];
            putMonthName(text, count == 3 ? name.substr(0, 3) : name, capital);
        } else {
            putNumber(text, *field, count, capital);
        }
        rest.remove_prefix(count);
    }
    return text.get();
}

int nbDateIntsToDoy(const NbDateInts* date)
{
    // A month out of range belongs to another year.
    const std::int64_t months = std::int64_t{date->month} - 1;
    const std::int64_t years = (months >= 0 ? months : months - 11) / 12;
    const int month = static_cast<int>(months - years * 12) + 1;
    const std::int64_t first = gregorianDays(date->year, 1, 1);
    return nbpWrap16(gregorianDays(date->year + years, month, date->day) - first + 1);
}

void nbDateDoyToInts(short year, short doy, NbDateInts* date)
{
    std::int64_t y = year;
    std::int64_t day = doy;
    const auto daysOfYear = [&] { return gregorianDays(y + 1, 1, 1) - gregorianDays(y, 1, 1); };
    for (; day < 1; day += daysOfYear())
        --y;
    for (; day > daysOfYear(); ++y)
        day -= daysOfYear();
    int month = 1;
    for (; day > daysOfMonth(y, month); ++month)
        day -= daysOfMonth(y, month);
    date->year = static_cast<std::int32_t>(y);
    date->month = month;
    date->day = static_cast<std::int32_t>(day);
}
