#include "tools/scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr double equatorialKm = 6378.137;
constexpr double polarKm = 6356.7523;
constexpr double distanceKm = 42164.0;

struct Vector {
    double x, y, z;
};

double dot(const Vector& a, const Vector& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector unit(const Vector& a)
{
    const double length = std::sqrt(dot(a, a));
    return {a.x / length, a.y / length, a.z / length};
}

double hypot2(double a, double b)
{
    return std::sqrt(a * a + b * b);
}

} // namespace

SunDirection sunDirection(double mjd)
{
    const double days = mjd - 51544.5; // from noon of 1 January 2000
    const double meanLon = 280.460 + 0.9856474 * days;
    const double anomaly = (357.528 + 0.9856003 * days) * degree;
    const double lon =
        (meanLon + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2 * anomaly)) * degree;
    const double tilt = (23.439 - 0.0000004 * days) * degree;
    const double ascension = std::atan2(std::cos(tilt) * std::sin(lon), std::cos(lon));
    const double declination = std::asin(std::sin(tilt) * std::sin(lon));
    const double sidereal = (280.46062 + 360.98564737 * days) * degree; // of Greenwich
    const double east = ascension - sidereal;
    return {std::cos(declination) * std::cos(east), std::cos(declination) * std::sin(east),
            std::sin(declination)};
}

Scene::Scene(const SynthHisd& disk, const std::vector<LandRing>& land)
    : disk_(disk.resolved()), weather_(disk.subLon), land_(land, disk.subLon),
      infrared_(disk.band >= 7), vapour_(disk.band >= 8 && disk.band <= 10)
{
    // Physical values fall or rise evenly enough with the count for a walk along both.
    const int levels = 1 << disk_.validBits;
    std::vector<std::pair<double, int>> values;
    for (int count = 0; count < levels; ++count) {
        const double value = disk_.physical(count);
        if (!std::isnan(value)) values.emplace_back(value, count);
    }
    std::ranges::sort(values);
    lowest_ = values.front().first;
    constexpr std::size_t entries = 65536;
    step_ = (values.back().first - lowest_) / (entries - 1);
    countOf_.resize(entries);
    std::size_t at = 0;
    for (std::size_t i = 0; i < entries; ++i) {
        const double value = lowest_ + step_ * static_cast<double>(i);
        while (at + 2 < values.size() && values[at + 1].first < value)
            ++at;
        const auto [low, lowCount] = values[at];
        const auto [high, highCount] = values[at + 1];
        const double part = std::clamp((value - low) / (high - low), 0.0, 1.0);
        countOf_[i] = static_cast<float>(lowCount + part * (highCount - lowCount));
    }
    for (int column = 1; column <= disk_.columns; ++column) {
        const double x =
            (column - static_cast<double>(disk_.coff)) / (disk_.cfac / 65536.0) * degree;
        sinX_.push_back(std::sin(x));
        cosX_.push_back(std::cos(x));
    }
}

double Scene::physicalToCount(double value) const
{
    const double place = std::clamp((value - lowest_) / step_, 0.0, 65535.0);
    return static_cast<double>(countOf_[static_cast<std::size_t>(std::lround(place))]);
}

double Scene::value(const Cover& cover, double cosSun, double cosView, double cosGlint, float land,
                    float shade) const
{
    const double slant = 1 / std::max(cosView, 0.12) - 1; // further air masses on the way
    const double temperature = static_cast<double>(cover.temperature);
    if (vapour_) return 216 + 0.42 * (std::min(temperature, 290.0) - 216) - 1.6 * slant;
    if (infrared_) return temperature - 2.6 * std::min(slant, 6.0);
    const double light = std::max(cosSun, 0.0) + 0.004;
    double bright = static_cast<double>(cover.reflectance * (1 + shade));
    // The sun mirrored in open water.
    const double open = (1 - std::min(static_cast<double>(cover.height) * 3, 1.0)) *
                        (1 - static_cast<double>(land));
    bright += 0.10 * open * std::exp((cosGlint - 1) * 22);
    return light * bright +
           (0.018 + 0.012 * std::min(slant, 5.0)) * std::sqrt(std::max(cosSun, 0.0));
}

void Scene::line(int line, std::span<std::uint16_t> counts) const
{
    const double y = (line - static_cast<double>(disk_.loff)) / (disk_.lfac / 65536.0) * degree;
    const double sinY = std::sin(y);
    const double cosY = std::cos(y);
    constexpr double flat = equatorialKm * equatorialKm / (polarKm * polarKm);
    constexpr double behind = distanceKm * distanceKm - equatorialKm * equatorialKm;
    const double a = cosY * cosY + flat * sinY * sinY;
    const double mjd =
        disk_.startMjd + (disk_.endMjd - disk_.startMjd) * (line - 1) / disk_.diskLines;
    const SunDirection s = sunDirection(mjd);
    // Frame of the view: x from the earth's centre to the satellite.
    const double c0 = std::cos(disk_.subLon * degree);
    const double s0 = std::sin(disk_.subLon * degree);
    const Vector sun{c0 * s.x + s0 * s.y, c0 * s.y - s0 * s.x, s.z};

    const int top = (1 << disk_.validBits) - 1;
    const double space = infrared_ ? (disk_.slope < 0 ? top : 0) : physicalToCount(0);
    std::uint32_t random = 2463534242U ^ (static_cast<std::uint32_t>(line) * 747796405U);
    float before = 0; // height of the cloud one and two columns to the west
    float before2 = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double along = distanceKm * cosX_[i] * cosY;
        const double root = along * along - a * behind;
        double count = space;
        if (root >= 0) {
            const double length = (along - std::sqrt(root)) / a;
            const Vector view{length * cosX_[i] * cosY, -length * sinX_[i] * cosY, length * sinY};
            const Vector point{distanceKm - view.x, -view.y, -view.z};
            const double across = hypot2(point.x, point.y);
            Place place;
            const double dLon = std::atan2(point.y, point.x) / degree;
            const double lat = std::atan(flat * point.z / across) / degree;
            const Vector up = unit({point.x, point.y, flat * point.z});
            const Vector toSatellite = unit({view.x, view.y, view.z});
            const double cosSun = dot(up, sun);
            const double cosView = dot(up, toSatellite);
            place.dLon = static_cast<float>(dLon);
            place.lat = static_cast<float>(lat);
            place.land = land_.at(place.dLon, place.lat);
            place.cosSun = static_cast<float>(cosSun);
            const Cover cover = weather_.at(place);
            double cosGlint = -1;
            float shade = 0;
            if (!infrared_) {
                const Vector mirrored{2 * cosSun * up.x - sun.x, 2 * cosSun * up.y - sun.y,
                                      2 * cosSun * up.z - sun.z};
                cosGlint = dot(mirrored, toSatellite);
                // Slopes that face the sun are brighter: rising eastward under a western sun.
                const double east =
                    (-sun.x * std::sin(dLon * degree) + sun.y * std::cos(dLon * degree));
                shade = std::clamp(static_cast<float>(-east) * 2.2F * (cover.height - before2),
                                   -0.25F, 0.25F);
                before2 = before;
                before = cover.height;
            }
            count = physicalToCount(value(cover, cosSun, cosView, cosGlint, place.land, shade));
        }
        // Noise of two counts at most, of one mostly.
        const std::uint32_t r = nextRandom(random);
        count += static_cast<double>((r >> 8) & 1023U) / 512 +
                 static_cast<double>((r >> 20) & 1023U) / 512 - 2;
        counts[i] = static_cast<std::uint16_t>(std::lround(std::clamp(count, 0.0, double(top))));
        // Far off the limb nothing is scanned.
        const double off = sinX_[i] * sinX_[i] + sinY * sinY;
        if (root < 0 && off > 0.1565 * 0.1565) counts[i] = disk_.outsideCount;
    }
}
