/*
 * The line of sight and the place of every pixel. Columns go in blocks and all lines through a
 * block, so that what is fixed for its columns stays in the processor's cache; sines and the like
 * have loops of their own, the rest becomes vector code.
 */
#include "drivers/common/nbInGroups.h"
#include "drivers/rdat/nbRdatFile.h"
#include "drivers/rdat/nbRdatLos.h"
#include "geo/nbAstroSight.h"
#include "util/nbNumber.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

constexpr int blockColumns = 32;
using Values = std::array<double, blockColumns>;

// The i-th value of one column, in arrays of a value for each column.
struct OfColumn {
    const Values* values;
    int k;
    double operator[](std::size_t i) const { return values[i][static_cast<std::size_t>(k)]; }
    OfColumn from(std::size_t i) const { return {values + i, k}; }
};

using Vectors = NbVec3s<blockColumns>;

// What is fixed for the columns of a block.
struct Columns {
    int n = 0;
    Values normal1[2], normal2[2], fluctuation[2], coregistration[2];
    Values distortion[rdatDistWidth];
    Values sensorToEf[9];
    Values place[3]; // of the satellite, in equatorial radii
    Values onEllipsoid;
    double f = 0; // axis ratio

    void take(const NbRdatFile& file, int first, int count)
    {
        n = count;
        f = file.sights.f;
        for (int k = 0; k < n; ++k) {
            const auto c = static_cast<std::size_t>(first + k);
            const NbRdatColumn& from = file.columns[c];
            const NbRdatSight& sight = file.sights.columns[c];
            const double satellite[3] = {sight.s.x, sight.s.y, sight.s.z};
            put(from.normal1, k, normal1);
            put(from.normal2, k, normal2);
            put(from.fluctuation, k, fluctuation);
            put(from.coregistration, k, coregistration);
            put(from.distortion, k, distortion);
            put(sight.m, k, sensorToEf);
            put(satellite, k, place);
            onEllipsoid[static_cast<std::size_t>(k)] = sight.c;
        }
    }

private:
    template <class From, std::size_t width>
    static void put(const From& from, int k, Values (&to)[width])
    {
        for (std::size_t i = 0; i < width; ++i)
            to[i][static_cast<std::size_t>(k)] = from[i];
    }
};

// The pixels of one line in a block.
struct Pixels {
    double east[blockColumns]; // line of sight, radian
    double north[blockColumns];
    double lon[blockColumns]; // rdatNone, as the latitude: off the earth
    double lat[blockColumns];
};

// Lines of sight before any correction.
void throwBack(const Columns& columns, const NbVec3& ray, Pixels* out)
{
    double sine[blockColumns];
    double y[blockColumns];
    double z[blockColumns];
    nbpInGroups(columns.n, [&](int k) {
        const NbVec3 v =
            nbpRdatThrownBack(OfColumn{columns.normal1, k}, OfColumn{columns.normal2, k}, ray);
        sine[k] = v.x / std::sqrt(nbpInner(v, v));
        y[k] = v.y;
        z[k] = v.z;
    });
    for (int k = 0; k < columns.n; ++k) {
        out->east[k] = std::asin(sine[k]);
        out->north[k] = -std::atan2(y[k], z[k]);
    }
}

// Fluctuation, misalignment, distortion and coregistration. distort(k, los) is what the file's
// kind of distortion makes of a line of sight.
template <class Distort>
void correctBy(const Columns& columns, const double* misalignment, Pixels* pixels, Distort distort)
{
    nbpInGroups(columns.n, [&](int k) {
        const OfColumn fluctuation = {columns.fluctuation, k};
        const OfColumn coregistration = {columns.coregistration, k};
        const NbRdatAngles los = {.east = pixels->east[k] + fluctuation[0],
                                  .north = pixels->north[k] + fluctuation[1]};
        const NbRdatAngles m = nbpRdatMisalignment(misalignment, los);
        const NbRdatAngles d = distort(OfColumn{columns.distortion, k}, los);
        pixels->east[k] = los.east - m.east - d.east - coregistration[0];
        pixels->north[k] = los.north - m.north - d.north - coregistration[1];
    });
}

void correct(const Columns& columns, const NbRdatNavigation& navigation, Pixels* pixels)
{
    const double* fixed = navigation.misalignment.data();
    switch (navigation.distortionMode) {
    case 1:
        return correctBy(columns, fixed, pixels, [](const OfColumn& d, const NbRdatAngles& los) {
            return nbpRdatMisalignment(d.from(rdatDistEstimated), los);
        });
    case 2:
        return correctBy(columns, fixed, pixels, [](const OfColumn& d, const NbRdatAngles& los) {
            return nbpRdatPolynomial(d.from(rdatDistPolynomial), los.east, los.north);
        });
    case 3:
        return correctBy(columns, fixed, pixels, [](const OfColumn& d, const NbRdatAngles&) {
            return NbRdatAngles{.east = d[rdatDistTable + 1], .north = d[rdatDistTable]};
        });
    default:
        return correctBy(columns, fixed, pixels,
                         [](const OfColumn&, const NbRdatAngles&) { return NbRdatAngles{}; });
    }
}

void place(const Columns& columns, Pixels* pixels)
{
    Vectors sen;
    for (int k = 0; k < columns.n; ++k)
        sen.put(k, nbpAstroSensor(std::sin(pixels->north[k]), std::cos(pixels->north[k]),
                                  std::sin(pixels->east[k]), std::cos(pixels->east[k])));
    Vectors p;
    double discriminant[blockColumns];
    double away[blockColumns];
    double distance[blockColumns];
    double sine[blockColumns];
    nbpInGroups(columns.n, [&](int k) {
        const OfColumn satellite = {columns.place, k};
        const NbAstroMeeting at = nbpAstroMeet(
            OfColumn{columns.sensorToEf, k}, {satellite[0], satellite[1], satellite[2]},
            columns.onEllipsoid[static_cast<std::size_t>(k)], columns.f, sen.at(k));
        p.put(k, at.p);
        discriminant[k] = at.discriminant;
        away[k] = at.away;
        distance[k] = std::sqrt(nbpInner(at.p, at.p));
        sine[k] = at.p.z / distance[k];
    });
    for (int k = 0; k < columns.n; ++k) {
        pixels->lon[k] = rdatNone;
        pixels->lat[k] = rdatNone;
        const NbAstroMeeting at = {p.at(k), discriminant[k], away[k]};
        if (!at.good()) continue;
        nbpAstroPlace(at.p, distance[k], sine[k], columns.f, &pixels->lon[k], &pixels->lat[k]);
        pixels->lon[k] = nbpRdatTo360(pixels->lon[k]);
    }
}

// Widens the bounds of the file by the places of some pixels.
void bound(const Pixels& pixels, int n, NbRdatFile* file)
{
    for (int k = 0; k < n; ++k) {
        if (pixels.lat[k] == rdatNone) continue;
        file->lonMin = std::min(file->lonMin, pixels.lon[k]);
        file->lonMax = std::max(file->lonMax, pixels.lon[k]);
        file->latMin = std::min(file->latMin, pixels.lat[k]);
        file->latMax = std::max(file->latMax, pixels.lat[k]);
    }
}

// Step of the first angle from line to line. The file's step has the size; the sign is that in
// which the angle really changes, so that what lies between two lines lies between their places.
float signedLineStep(const NbRdatFile& file)
{
    const int c = file.header.columns / 2;
    const double change = file.first[file.at(c, file.header.lines - 1)] - file.first[file.at(c, 0)];
    const float step = nbpToFloat(file.header.lineStep);
    return change * static_cast<double>(step) < 0 ? -step : step;
}

} // namespace

const NbRdatSights& nbpRdatSights(NbRdatFile* file)
{
    NbRdatSights& sights = file->sights;
    if (sights.eqR == nb_Astro_eqR && sights.plR == nb_Astro_plR) return sights;
    sights.eqR = nb_Astro_eqR;
    sights.plR = nb_Astro_plR;
    sights.f = nbpAstroAxisRatio();
    sights.columns.resize(file->columns.size());
    for (std::size_t c = 0; c < sights.columns.size(); ++c) {
        const NbRdatColumn& column = file->columns[c];
        NbRdatSight& sight = sights.columns[c];
        std::copy_n(column.sensorToEf, 9, sight.m);
        sight.s = nbpAstroInRadii(column.positionEf);
        sight.c = nbpAstroOnEllipsoid(sight.s, sights.f);
    }
    return sights;
}

void nbpRdatLocate(NbRdatFile* file)
{
    nbpRdatSights(file);
    for (NbArray<double>* plane : {&file->first, &file->second, &file->lon, &file->lat})
        plane->resize(file->words.size());
    std::vector<NbVec3> rays;
    for (const NbRdatLine& line : file->lines)
        rays.push_back(nbpRdatRay(line));
    Columns columns;
    Pixels pixels;
    const int width = file->header.columns;
    for (int c = 0; c < width; c += blockColumns) {
        columns.take(*file, c, std::min(blockColumns, width - c));
        for (int l = 0; l < file->header.lines; ++l) {
            throwBack(columns, rays[static_cast<std::size_t>(l)], &pixels);
            correct(columns, file->header.navigation, &pixels);
            place(columns, &pixels);
            bound(pixels, columns.n, file);
            const std::size_t at = file->at(c, l);
            std::copy_n(pixels.north, columns.n, &file->first[at]);
            std::copy_n(pixels.east, columns.n, &file->second[at]);
            std::copy_n(pixels.lon, columns.n, &file->lon[at]);
            std::copy_n(pixels.lat, columns.n, &file->lat[at]);
        }
    }
    file->refFirst = file->first[0];
    file->refSecond = file->second[0];
    file->lineStep = signedLineStep(*file);
}
