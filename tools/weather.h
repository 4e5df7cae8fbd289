#pragma once
/**
 * An invented summer day over the western Pacific: what covers the earth at a place.
 */
#include "tools/noise.h"

#include <span>
#include <vector>

// Longitudes count from the sub-satellite point, so that no seam lies in sight.
struct Place {
    float dLon = 0; // degree
    float lat = 0;
    float land = 0;   // share of land
    float cosSun = 0; // cosine of the sun's zenith angle
};

// What the imager sees looking straight down.
struct Cover {
    float temperature = 0; // of the radiating surface, K
    float reflectance = 0; // under an overhead sun, 0 to 1
    float height = 0;      // of the cloud top, 0 (none) to 1 (tropopause)
};

// Soft ellipses summed over the earth in sight.
class SoftMap {
public:
    struct Region {
        float lon, lat; // centre, degree
        float halfWidth, halfHeight;
        float strength;
    };
    SoftMap(std::span<const Region> regions, float centreLon);
    float at(float dLon, float lat) const;

private:
    static constexpr int perDegree = 2;
    static constexpr int halfWidth = 85; // degree
    static constexpr int halfHeight = 82;
    static constexpr int columns = 2 * halfWidth * perDegree + 1;
    static constexpr int rows = 2 * halfHeight * perDegree + 1;
    std::vector<float> cells_;
};

class Weather {
public:
    explicit Weather(double subLon);
    Cover at(const Place& place) const;

private:
    // A whirl: air turned about a centre, most at the centre.
    struct Whirl {
        float dLon, lat; // degree
        float radius;    // degree of latitude
        float turn;      // radian at the centre, counterclockwise
        float tail;      // direction in which the comma's tail leaves, radian; comma below 0: none
        float comma;     // strength of the comma cloud
    };
    struct Flow { // position on the ground as the noise sees it
        float u, v;
    };

    void wind(float x, float y, float cosLat, Flow* flow, float* comma) const;
    float typhoon(float x, float y, float* eye) const;
    void ground(const Place& place, float* temperature, float* reflectance) const;

    float subLon_;
    SoftMap deserts_, highlands_, rains_, highs_, sheets_;
    std::vector<Whirl> whirls_;
    Noise bend_{11}, large_{23}, fine_{37}, streak_{41}, cell_{53}, soil_{67};
};
