#include "geo/nbAstroUtl.h"
#include "tests/support/support.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Matrix = std::array<double, 9>;

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180;
constexpr double arcsec = degree / 3600;
constexpr double j2000Mjd = 51544.5;

Matrix operator*(const Matrix& a, const Matrix& b)
{
    Matrix out{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t k = 0; k < 3; ++k)
                out[3 * i + j] += a[3 * i + k] * b[3 * k + j];
    return out;
}

Matrix transpose(const Matrix& m)
{
    return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]};
}

Matrix rotation3(double a)
{
    return {std::cos(a), std::sin(a), 0, -std::sin(a), std::cos(a), 0, 0, 0, 1};
}

Matrix rotation2(double a)
{
    return {std::cos(a), 0, -std::sin(a), 0, 1, 0, std::sin(a), 0, std::cos(a)};
}

Matrix npMatrixJ2k(double mjd)
{
    Matrix m;
    nbAstroCalcNpMatrixJ2k(mjd, m.data());
    return m;
}

struct Angles {
    double longitude, obliquity; // arcseconds
};

// The nutation that the J2000 matrix holds, by taking the precession of Lieske et al. (1977)
// off it.
Angles nutationOf(double mjd)
{
    const double t = (mjd - j2000Mjd) / 36525;
    const double zeta = (2306.2181 * t + 0.30188 * t * t + 0.017998 * t * t * t) * arcsec;
    const double z = (2306.2181 * t + 1.09468 * t * t + 0.018203 * t * t * t) * arcsec;
    const double theta = (2004.3109 * t - 0.42665 * t * t - 0.041833 * t * t * t) * arcsec;
    const Matrix precession = rotation3(-z) * rotation2(theta) * rotation3(-zeta);
    const Matrix n = npMatrixJ2k(mjd) * transpose(precession);
    return {std::copysign(std::hypot(n[1], n[2]), -n[1]) / arcsec, (n[7] - n[5]) / 2 / arcsec};
}

// Five multiples, then sine, its part in T, cosine, its part in T.
using SeriesRow = std::array<double, 9>;

std::vector<SeriesRow> readSeries()
{
    std::vector<SeriesRow> rows;
    std::ifstream in(NIMBEX_TEST_DATA "/nutation1980.txt");
    for (std::string line; std::getline(in, line);) {
        if (line[0] == '#') continue;
        std::istringstream text(line);
        for (double& number : rows.emplace_back())
            text >> number;
    }
    EXPECT_EQ(rows.size(), 106u);
    return rows;
}

// The published theory: its series and its polynomials for the five arguments, arcseconds.
Angles publishedNutation(double mjd)
{
    static const std::vector<SeriesRow> rows = readSeries();
    const double t = (mjd - j2000Mjd) / 36525;
    const std::array<double, 5> arguments = {
        485866.733 + 1717915922.633 * t + 31.310 * t * t + 0.064 * t * t * t,
        1287099.804 + 129596581.224 * t - 0.577 * t * t - 0.012 * t * t * t,
        335778.877 + 1739527263.137 * t - 13.257 * t * t + 0.011 * t * t * t,
        1072261.307 + 1602961601.328 * t - 6.891 * t * t + 0.019 * t * t * t,
        450160.280 - 6962890.539 * t + 7.455 * t * t + 0.008 * t * t * t,
    };
    Angles sum{};
    for (const SeriesRow& row : rows) {
        double angle = 0;
        for (std::size_t i = 0; i < arguments.size(); ++i)
            angle += row[i] * arguments[i] * arcsec;
        sum.longitude += (row[5] + row[6] * t) * std::sin(angle) * 1e-4;
        sum.obliquity += (row[7] + row[8] * t) * std::cos(angle) * 1e-4;
    }
    return sum;
}

using FrameChange = void (*)(double, const double*, double*);

} // namespace

TEST(AstroFrames, EveryPairIsARotationAndItsInverse)
{
    const std::array<std::array<FrameChange, 2>, 5> pairs = {
        {{nbAstroTodToEf, nbAstroEfToTod},
         {nbAstro50mToTod, nbAstroTodTo50m},
         {nbAstro50mToEf, nbAstroEfTo50m},
         {nbAstroJ2000ToTod, nbAstroTodToJ2000},
         {nbAstroJ2000ToEf, nbAstroEfToJ2000}}};
    for (const double mjd : {33282.423, 43509.0, 51544.5, 60000.123}) {
        for (std::size_t k = 0; k < pairs.size(); ++k) {
            Matrix axes;
            for (std::size_t i = 0; i < 3; ++i) {
                const double axis[3] = {i == 0 ? 1.0 : 0, i == 1 ? 1.0 : 0, i == 2 ? 1.0 : 0};
                double back[3];
                pairs[k][0](mjd, axis, &axes[3 * i]);
                pairs[k][1](mjd, &axes[3 * i], back);
                for (std::size_t j = 0; j < 3; ++j)
                    EXPECT_NEAR(back[j], axis[j], 1e-14) << mjd << " pair " << k;
            }
            // Orthonormal and right-handed. The nutation matrix of second order is one to the
            // third power of its angles, 1e-12.
            const Matrix square = axes * transpose(axes);
            for (std::size_t i = 0; i < 9; ++i)
                EXPECT_NEAR(square[i], i % 4 == 0, 2e-12) << mjd << " pair " << k;
            EXPECT_NEAR(axes[0] * axes[4] - axes[1] * axes[3], axes[8], 2e-12);
        }
    }
}

TEST(AstroFrames, TheEarthTurnsEastByTheSiderealAngle)
{
    const double theta = nbAstroCalcThetaG(46895.0) * degree;
    const double tod[3] = {std::cos(theta + 0.3), std::sin(theta + 0.3), 5};
    double ef[3];
    nbAstroTodToEf(46895.0, tod, ef);
    EXPECT_NEAR(ef[0], std::cos(0.3), 1e-12);
    EXPECT_NEAR(ef[1], std::sin(0.3), 1e-12);
    EXPECT_EQ(ef[2], 5);
}

TEST(AstroFrames, J2000MatrixIsThatOfErfa)
{
    // The published test case of eraPnm80, MJD 50123.9999. The mean longitudes and the obliquity
    // have fewer digits here, 4e-8 of the nutation.
    const Matrix erfa = {
        0.9999995831934611169,     0.8373654045728124011e-3,  0.3639121916933106191e-3,
        -0.8373804896118301316e-3, 0.9999996485439674092,     0.4130202510421549752e-4,
        -0.3638774789072144473e-3, -0.4160674085851722359e-4, 0.9999999329310274805};
    const Matrix m = npMatrixJ2k(50123.9999);
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(m[i], erfa[i], 1e-10) << i;
}

TEST(AstroFrames, NutationOf1987IsThatOfMeeus)
{
    const Angles n = nutationOf(46895.0); // example 22.a
    EXPECT_NEAR(n.longitude, -3.788, 6e-4);
    EXPECT_NEAR(n.obliquity, 9.443, 6e-4);
}

TEST(AstroFrames, NutationIsThePublishedSeriesInOtherArguments)
{
    // The arguments were rounded apart: 1e-4 degree of the node is 3e-5" of the nutation.
    for (double mjd = 33282; mjd < 70000; mjd += 411.7) {
        const Angles n = nutationOf(mjd);
        const Angles published = publishedNutation(mjd);
        ASSERT_NEAR(n.longitude, published.longitude, 5e-5) << mjd;
        ASSERT_NEAR(n.obliquity, published.obliquity, 5e-5) << mjd;
    }
}

TEST(AstroFrames, TheTermOfTwiceTheMoonHasNoPartInTime)
{
    // The published part is -0.00005 T cos 2M in obliquity. Around 1600, with T near -4, it is
    // 0.0002"; correlated with cos 2M over two centuries it shows in full when it is missing.
    double with = 0;
    double weight = 0;
    for (double mjd = j2000Mjd - 5 * 36525; mjd < j2000Mjd - 3 * 36525; mjd += 17.3) {
        const double t = (mjd - j2000Mjd) / 36525;
        const double wave =
            t * std::cos(2 * (218.316646 + 481267.8812 * t - 0.0014664 * t * t) * degree);
        with += (publishedNutation(mjd).obliquity - nutationOf(mjd).obliquity) * wave;
        weight += wave * wave;
    }
    EXPECT_NEAR(with / weight, -5e-5, 1e-5);
}

TEST(AstroFrames, BothChainsMeetInTheFrameOfDate)
{
    // From 1950 to J2000 by the rotation of the Explanatory Supplement (1992), 3.59. What is
    // left is the motion of the older equinox, 1.3" a century from 0.5" in 1950, about the pole,
    // and the change of precession and nutation theory below 0.3".
    const Matrix standish = {0.9999256782, -0.0111820611, -0.0048579477,
                             0.0111820610, 0.9999374784,  -0.0000271765,
                             0.0048579479, -0.0000271474, 0.9999881997};
    for (const double mjd : {43509.0, 46895.0, 51544.5, 60000.0}) {
        Matrix np50;
        nbAstroCalcNpMatrix(mjd, np50.data());
        const Matrix rest = npMatrixJ2k(mjd) * standish * transpose(np50);
        EXPECT_NEAR(rest[5] / arcsec, 0, 0.3) << mjd;
        EXPECT_NEAR(rest[6] / arcsec, 0, 0.3) << mjd;
        EXPECT_NEAR(rest[1] / arcsec, 0, 1.5) << mjd;
    }
}
