#pragma once
/**
 * Navigation of single points by an opened scene, for the tests of the drivers' navigation.
 */

struct Position {
    float pixel, line;
    int bits;
};
template <class Scene>
Position toImage(const Scene& scene, double lon, double lat, double height = 0)
{
    Position p{};
    p.bits = scene.object.LonLatHgtToPixLinInfo(scene.p(), &lon, &lat, &height, &p.pixel, &p.line,
                                                nullptr, 1);
    return p;
}

struct Place {
    double lon, lat;
    int bits;
};
template <class Scene>
Place toEarth(const Scene& scene, float pixel, float line)
{
    Place e{};
    e.bits = scene.object.PixLinToLonLatInfo(scene.p(), &pixel, &line, &e.lon, &e.lat, nullptr, 1);
    return e;
}
