/**
 * Points per second of the main projections, whole lines of a grid at a time, as the converter
 * asks for them. With NB_BENCH_PROJ defined (and -lproj) the same lines go through libproj, in
 * radians and km, so that no unit conversion is in its figures.
 */
#include "geo/nbProj.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>
#include <vector>

#ifdef NB_BENCH_PROJ
#include <proj.h>
#endif

namespace {
constexpr int columns = 1000;
constexpr int rows = 100;

struct Case {
    const char* name;
    const char* libproj; // the same map plane, km
    NbProjType type;
    std::int16_t ellipsoid;
    double stdLon, stdLat1, stdLat2;
};
constexpr Case cases[] = {
    {"disk", "+proj=nsper +h=35785.863 +lon_0=140 +lat_0=0 +R=6378.14", NB_PROJ_DISK, 0, 140, 0, 0},
    {"stereographic", "+proj=stere +lat_0=90 +lon_0=140 +R=6378.14", NB_PROJ_PS, 0, 140, 90, 0},
    {"stereographicEll", "+proj=stere +lat_0=90 +lon_0=140 +a=6378.14 +e=0.0822719", NB_PROJ_PS, 1,
     140, 90, 0},
    {"lambert", "+proj=lcc +lat_1=30 +lat_2=60 +lat_0=0 +lon_0=140 +R=6378.14", NB_PROJ_LAMB, 0,
     140, 30, 60},
    {"lambertEll", "+proj=lcc +lat_1=30 +lat_2=60 +lat_0=0 +lon_0=140 +a=6378.14 +e=0.0822719",
     NB_PROJ_LAMB, 1, 140, 30, 60},
    {"mercator", "+proj=merc +lon_0=140 +R=6378.14", NB_PROJ_MERC, 0, 140, 0, 0},
    {"mercatorEll", "+proj=merc +lon_0=140 +a=6378.14 +e=0.0822719", NB_PROJ_MERC, 1, 140, 0, 0},
    {"grid", "+proj=eqc +lon_0=140 +R=6378.14", NB_PROJ_GRID, 0, 140, 0, 0},
};

NbProjPara makeMap(const Case& c)
{
    NbProjPara para{};
    para.prjType = static_cast<std::int16_t>(c.type);
    para.ellipsoid = c.ellipsoid;
    para.stdLon = c.stdLon;
    para.stdLat1 = c.stdLat1;
    para.stdLat2 = c.stdLat2;
    para.height = 35785.863;
    para.baseX = columns / 2;
    para.baseY = rows / 2;
    para.baseLon = 140;
    para.baseLat = 30;
    para.stepX = c.type == NB_PROJ_GRID ? 0.05 : 5;
    para.stepY = c.type == NB_PROJ_GRID ? 0.5 : 50;
    return para;
}

void count(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * rows * columns);
}

void toEarth(benchmark::State& state, const Case& c)
{
    NbProjPara para = makeMap(c);
    std::vector<float> x(columns), y(columns);
    std::vector<double> lon(columns), lat(columns);
    for (int i = 0; i < columns; ++i)
        x[static_cast<std::size_t>(i)] = static_cast<float>(i);
    for (auto _ : state) {
        for (int row = 0; row < rows; ++row) {
            y.assign(columns, static_cast<float>(row));
            nbProjXYToLonLat(x.data(), y.data(), lon.data(), lat.data(), columns, &para);
            benchmark::DoNotOptimize(lat.data());
        }
    }
    count(state);
}

// Longitude and latitude of a column and a row: 50 degrees by 50.
double lonOf(int column)
{
    return 115 + 0.05 * column;
}
double latOf(int row)
{
    return 55 - 0.5 * row;
}

void toMap(benchmark::State& state, const Case& c)
{
    NbProjPara para = makeMap(c);
    std::vector<double> lon(columns), lat(columns);
    std::vector<float> x(columns), y(columns);
    for (int i = 0; i < columns; ++i)
        lon[static_cast<std::size_t>(i)] = lonOf(i);
    for (auto _ : state) {
        for (int row = 0; row < rows; ++row) {
            lat.assign(columns, latOf(row));
            nbProjLonLatToXY(lon.data(), lat.data(), x.data(), y.data(), columns, &para);
            benchmark::DoNotOptimize(y.data());
        }
    }
    count(state);
}

#ifdef NB_BENCH_PROJ
void libproj(benchmark::State& state, const Case& c, PJ_DIRECTION direction)
{
    constexpr double radPerDegree = 3.141592653589793 / 180;
    PJ* pj = proj_create(PJ_DEFAULT_CTX, c.libproj);
    std::vector<double> u(columns), v(columns);
    const PJ_COORD middle = proj_trans(pj, PJ_FWD, proj_coord(140 * radPerDegree, 0.5, 0, 0));
    for (auto _ : state) {
        for (int row = 0; row < rows; ++row) {
            for (int i = 0; i < columns; ++i) {
                const bool forward = direction == PJ_FWD;
                const auto k = static_cast<std::size_t>(i);
                u[k] = forward ? lonOf(i) * radPerDegree : 5.0 * (i - columns / 2);
                v[k] = forward ? latOf(row) * radPerDegree : middle.xy.y - 50.0 * (row - rows / 2);
            }
            proj_trans_generic(pj, direction, u.data(), sizeof(double), columns, v.data(),
                               sizeof(double), columns, nullptr, 0, 0, nullptr, 0, 0);
            benchmark::DoNotOptimize(v.data());
        }
    }
    count(state);
    proj_destroy(pj);
}
#endif

// Names are "mercator/toEarth" and "mercator/toEarth/libproj".
const bool registered = [] {
    for (const Case& c : cases) {
        const std::string name = c.name;
        benchmark::RegisterBenchmark((name + "/toEarth").c_str(), toEarth, c);
#ifdef NB_BENCH_PROJ
        benchmark::RegisterBenchmark((name + "/toEarth/libproj").c_str(), libproj, c, PJ_INV);
#endif
        benchmark::RegisterBenchmark((name + "/toMap").c_str(), toMap, c);
#ifdef NB_BENCH_PROJ
        benchmark::RegisterBenchmark((name + "/toMap/libproj").c_str(), libproj, c, PJ_FWD);
#endif
    }
    return true;
}();
} // namespace
