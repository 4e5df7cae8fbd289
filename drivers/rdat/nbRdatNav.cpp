#include "drivers/rdat/nbRdatFile.h"
#include "drivers/rdat/nbRdatSimplex.h"
#include "geo/nbAstroSight.h"
#include "geo/nbAstroUtl.h"
#include "geo/nbMatrix.h"
#include "geo/nbVector.h"
#include "sat/nbNavInfo.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float noPositionF = -9999.0F;

// Place of an image position; false, and rdatNone twice, when it has none. The sights are those
// of the file's columns.
bool toEarth(const NbRdatFile& file, const NbRdatSights& sights, float pixel, float line,
             double* lon, double* lat)
{
    *lon = rdatNone;
    *lat = rdatNone;
    const int c = nbpNearest32(static_cast<double>(pixel));
    const int l = nbpNearest32(static_cast<double>(line));
    if (!file.inside(c, l) || file.columns.empty()) return false;
    const std::size_t at = file.at(c, l);
    const float first = (line - static_cast<float>(l)) * file.lineStep + nbpToFloat(file.first[at]);
    const float second = (pixel - static_cast<float>(c)) * nbpToFloat(file.header.pixelStep) +
                         nbpToFloat(file.second[at]);
    const auto ew = static_cast<double>(first);
    const auto ns = static_cast<double>(second);
    const NbRdatSight& sight = sights.columns[static_cast<std::size_t>(c)];
    const NbAstroMeeting met =
        nbpAstroMeet(sight.m, sight.s, sight.c, sights.f,
                     nbpAstroSensor(std::sin(ew), std::cos(ew), std::sin(ns), std::cos(ns)));
    if (!met.good()) return false;
    nbpAstroPlace(met.p, sights.f, lon, lat);
    return true;
}

// Squared distance in degrees between a place and that of a position.
double getDist(const NbRdatFile& file, const NbRdatSights& sights, double lon, double lat,
               const NbRdatPoint& at)
{
    double lon2 = 0;
    double lat2 = 0;
    toEarth(file, sights, nbpToFloat(at.pixel), nbpToFloat(at.line), &lon2, &lat2);
    double dl = nbpRdatTo360(lon) - nbpRdatTo360(lon2);
    if (dl > 180)
        dl = 360 - dl;
    else if (dl < -180)
        dl = dl + 360;
    const double dp = lat - lat2;
    return dl * dl + dp * dp;
}

// Earth to image, with what is fixed for the file.
class EarthToImage {
public:
    EarthToImage(const NbRdatFile& file, const NbRdatSights& sights) : file_(file), sights_(sights)
    {
        if (file.columns.empty()) return;
        middle_ = &file.columns[file.columns.size() / 2];
        nbTransMat(middle_->sensorToEf, 3, 3, efToSensor_);
    }

    bool locate(double lon, double lat, float* pixel, float* line) const
    {
        const double east = nbpRdatTo360(lon);
        const bool bounded = east >= file_.lonMin && east <= file_.lonMax && lat >= file_.latMin &&
                             lat <= file_.latMax;
        if (middle_ == nullptr || !bounded) return false;
        double first = 0;
        double second = 0;
        // A place that the middle column does not see has no guess, so no pixel is near.
        nbAstroLonLatToLos(efToSensor_, middle_->positionEf, east, lat, &first, &second);
        const int c = nbpNearest32((second - file_.refSecond) / file_.header.pixelStep);
        const int l = nbpNearest32((first - file_.refFirst) / static_cast<double>(file_.lineStep));
        int nearC = 0;
        int nearL = 0;
        if (!nearest(east, lat, c, l, &nearC, &nearL)) return false;

        NbRdatVertex vertices[3] = {{{nearC + 0.0, nearL - 0.1}},
                                    {{nearC - 0.1, nearL + 0.1}},
                                    {{nearC + 0.1, nearL + 0.1}}};
        NbRdatPoint best;
        if (!nbpRdatSimplex(
                vertices, file_.header.columns, file_.header.lines,
                [&](const NbRdatPoint& at) { return getDist(file_, sights_, east, lat, at); },
                &best))
            return false;
        *pixel = nbpToFloat(best.pixel);
        *line = nbpToFloat(best.line);
        return true;
    }

private:
    // The pixel nearest to a place among those around a guess. A line that brings nothing nearer
    // ends the search. Deliberate: lines off the earth before the first one on it do not, or a
    // strip along the limb would be missing in every map.
    bool nearest(double lon, double lat, std::int64_t c, std::int64_t l, int* nearC,
                 int* nearL) const
    {
        constexpr int around = 5;
        const auto columnFrom = static_cast<int>(std::max<std::int64_t>(c - around, 0));
        const auto columnTo =
            static_cast<int>(std::min<std::int64_t>(c + around, file_.header.columns - 1));
        const auto lineFrom = static_cast<int>(std::max<std::int64_t>(l - around, 0));
        const auto lineTo =
            static_cast<int>(std::min<std::int64_t>(l + around, file_.header.lines - 1));
        constexpr double farthest = 999999.0;
        double smallest = farthest;
        for (int line = lineFrom; line <= lineTo; ++line) {
            bool nearer = false;
            for (int column = columnFrom; column <= columnTo; ++column) {
                const std::size_t at = file_.at(column, line);
                const double dLon = file_.lon[at] - lon;
                const double dLat = file_.lat[at] - lat;
                const double distance = dLon * dLon + dLat * dLat;
                if (!(distance < smallest)) continue;
                smallest = distance;
                *nearC = column;
                *nearL = line;
                nearer = true;
            }
            if (!nearer && smallest < farthest) break;
        }
        return smallest < farthest;
    }

    const NbRdatFile& file_;
    const NbRdatSights& sights_;
    const NbRdatColumn* middle_ = nullptr;
    double efToSensor_[9] = {};
};

// Geometry of a point at the time and from the place of its column. A point without a position
// leaves its record as it is.
void setPointInfo(const NbRdatFile& file, float pixel, double lon, double lat, NbPointInfo* info)
{
    const int c = nbpNearest32(static_cast<double>(pixel));
    if (file.columns.empty() || c < 0 || c >= file.header.columns) return;
    const NbRdatColumn& column = file.columns[static_cast<std::size_t>(c)];
    if (column.mjd > 0) nbNavSetPointInfo(column.mjd, column.positionEf, lon, lat, info);
}

} // namespace

int nbpRdatPixLinToLos(void* p, float pixel, float line, double* first, double* second)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    const int c = nbpNearest32(static_cast<double>(pixel));
    const int l = nbpNearest32(static_cast<double>(line));
    if (!file.inside(c, l) || file.columns.empty()) return -1;
    *first = file.first[file.at(c, l)];
    *second = file.second[file.at(c, l)];
    return 0;
}

int nbpRdatCalcPointOnEarthJ2k(void* p, int column, const double* radii, double first,
                               double second, double* out)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    if (column < 0 || static_cast<std::size_t>(column) >= file.columns.size()) return -1;
    const NbRdatColumn& at = file.columns[static_cast<std::size_t>(column)];
    const double req = radii[0];
    const double q = 1 - (1 - radii[1] / req);
    double sensor[3];
    double u[3];
    double s[3];
    nbAstroLosToSen(first, second, sensor);
    nbMultMat(at.sensorToJ2k, sensor, 3, 3, 1, u);
    for (int i = 0; i < 3; ++i)
        s[i] = at.position[i] / req;
    const double a = u[0] * u[0] + u[1] * u[1] + (u[2] / q) * (u[2] / q);
    const double b = u[0] * s[0] + u[1] * s[1] + u[2] * s[2] / (q * q);
    const double c = s[0] * s[0] + s[1] * s[1] + (s[2] / q) * (s[2] / q) - 1;
    const double d = b * b - a * c;
    const double t =
        d < 0 ? -nbVectorInnerProduct(s, u) / nbVectorMag2(u) : -(std::sqrt(d) + b) / a;
    for (int i = 0; i < 3; ++i)
        out[i] = (t * u[i] + s[i]) * req;
    return 0;
}

int nbRdatPixLinToLonLatInfo(void* p, const float* pixel, const float* line, double* lon,
                             double* lat, NbPointInfo* info, int n)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    const NbRdatSights& sights = nbpRdatSights(nbpRdatFile(p));
    int result = 0;
    for (int i = 0; i < n; ++i) {
        if (!toEarth(file, sights, pixel[i], line[i], &lon[i], &lat[i])) result = NB_NAV_INPUT;
        if (info != nullptr) setPointInfo(file, pixel[i], lon[i], lat[i], &info[i]);
    }
    return result;
}

int nbRdatLonLatHgtToPixLinInfo(void* p, const double* lon, const double* lat, const double*,
                                float* pixel, float* line, NbPointInfo* info, int n)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    const EarthToImage earth(file, nbpRdatSights(nbpRdatFile(p)));
    int failed = 0;
    for (int i = 0; i < n; ++i) {
        if (!earth.locate(lon[i], lat[i], &pixel[i], &line[i])) {
            pixel[i] = noPositionF;
            line[i] = noPositionF;
            ++failed;
        }
        if (info != nullptr) setPointInfo(file, pixel[i], lon[i], lat[i], &info[i]);
    }
    return n > 0 && failed == n ? -1 : failed;
}

int nbRdatGetSatPosEf(void* p, double, double* position)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    if (file.columns.empty()) return -1;
    nbAstroJ2000ToEf(file.columns[0].mjd, file.columns[0].position, position);
    return 0;
}

int nbRdatGetSatAtt(void* p, double, double* attitude)
{
    const NbRdatFile& file = *nbpRdatFile(p);
    if (file.columns.empty()) return -1;
    std::copy_n(file.columns[0].attitude, 3, attitude);
    return 0;
}
