#include "drivers/gvar/nbGvarTime.h"

#include "drivers/gvar/nbGvar.h"
#include "geo/nbDate.h"

#include <cmath>
#include <cstdint>

namespace {

struct Fields {
    int year, dayOfYear, hour, minute, second, millisecond;
};

Fields split(double bcd)
{
    // Sixteen digits of 0 to 15 stay far below 2^63.
    auto rest = bcd > 0 && bcd < 1e18 ? static_cast<std::int64_t>(bcd) : std::int64_t{0};
    const auto take = [&](std::int64_t unit) {
        const auto digits = static_cast<int>(rest / unit % 32768);
        rest %= unit;
        return digits;
    };
    Fields f{};
    f.year = take(1000000000000);
    f.dayOfYear = take(1000000000);
    f.hour = take(10000000);
    f.minute = take(100000);
    f.second = take(1000);
    f.millisecond = take(1);
    return f;
}

NbDateInts dateOf(const Fields& f)
{
    NbDateInts date{};
    nbDateDoyToInts(static_cast<short>(f.year), static_cast<short>(f.dayOfYear), &date);
    date.hour = f.hour;
    date.minute = f.minute;
    date.second = f.second;
    date.millisecond = f.millisecond;
    return date;
}

double milliseconds(double bcd)
{
    const Fields f = split(bcd);
    NbDateInts day{};
    nbDateDoyToInts(static_cast<short>(f.year), static_cast<short>(f.dayOfYear), &day);
    const double hours = nbDateIntsToMjd(&day) * 24 + f.hour;
    return ((hours * 60 + f.minute) * 60 + f.second) * 1000 + f.millisecond;
}

} // namespace

double nbpGvarBcd(std::span<const std::byte> bytes)
{
    std::int64_t value = 0;
    for (const std::byte byte : bytes) {
        const auto b = std::to_integer<std::int64_t>(byte);
        value = value * 100 + (b >> 4) * 10 + (b & 15);
    }
    return static_cast<double>(value);
}

// Whole milliseconds of an MJD are exact in a double, and so is their difference.
double nbpGvarTimeDiff(double a, double b)
{
    return (milliseconds(a) - milliseconds(b)) / 1000;
}

double nbpGvarMjd(double bcd)
{
    const NbDateInts date = dateOf(split(bcd));
    return nbDateIntsToMjd(&date);
}

void nbpBcdTimeToInt(double bcd, int32_t* ymdhmsr)
{
    const NbDateInts date = dateOf(split(bcd));
    ymdhmsr[0] = date.year;
    ymdhmsr[1] = date.month;
    ymdhmsr[2] = date.day;
    ymdhmsr[3] = date.hour;
    ymdhmsr[4] = date.minute;
    ymdhmsr[5] = date.second;
    ymdhmsr[6] = date.millisecond;
}
