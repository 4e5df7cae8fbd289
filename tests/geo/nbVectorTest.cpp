#include "geo/nbVector.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

namespace {
constexpr double pi = std::numbers::pi;
constexpr double x[3] = {1, 0, 0};
constexpr double y[3] = {0, 1, 0};
constexpr double z[3] = {0, 0, 1};
constexpr double minusY[3] = {0, -1, 0};

void expectVector(const double* v, double v0, double v1, double v2)
{
    EXPECT_DOUBLE_EQ(v[0], v0);
    EXPECT_DOUBLE_EQ(v[1], v1);
    EXPECT_DOUBLE_EQ(v[2], v2);
}
} // namespace

TEST(Vector, LengthsAndProducts)
{
    const double a[3] = {2, 3, 6}; // length 7
    const double b[3] = {1, -2, 4};
    double out[3];
    EXPECT_EQ(nbVectorMag(a), 7);
    EXPECT_EQ(nbVectorMag2(a), 49);
    EXPECT_EQ(nbVectorInnerProduct(a, b), 20);
    nbVectorOuterProduct(a, b, out);
    expectVector(out, 24, -2, -7);
    nbVectorOuterProductUnit(y, x, out);
    expectVector(out, 0, 0, -1);
    double c[3] = {2, 3, 6};
    nbVectorUnit(c, c);
    expectVector(c, 2.0 / 7, 3.0 / 7, 6.0 / 7);
    const double zero[3] = {};
    nbVectorUnit(zero, out);
    EXPECT_TRUE(std::isnan(out[0]));
}

// Deliberate: only the upper side of the cosine is limited.
TEST(VectorAngle, RoundingAboveOneGivesZeroAndBelowMinusOneNoNumber)
{
    const double diagonal[3] = {1, 1, 0};
    EXPECT_DOUBLE_EQ(nbVectorAngle(x, diagonal), pi / 4);
    EXPECT_DOUBLE_EQ(nbVectorAngle(y, minusY), pi);
    // A vector and its 0.2-fold, whose quotient is 1 + 2^-52 in double.
    const double a[3] = {0.1, -0.9, -0.9};
    const double along[3] = {0.2 * 0.1, -0.2 * 0.9, -0.2 * 0.9};
    const double against[3] = {-along[0], -along[1], -along[2]};
    ASSERT_GT(nbVectorInnerProduct(a, along) / std::sqrt(nbVectorMag2(a) * nbVectorMag2(along)), 1);
    EXPECT_EQ(nbVectorAngle(a, along), 0);
    EXPECT_TRUE(std::isnan(nbVectorAngle(a, against)));
}

// Seen from the tip of the axis the angle runs clockwise from the reference.
TEST(VectorAzimuthAngle, GoesAroundTheAxisThroughTwoPi)
{
    const double high[3] = {0, -3, 5};
    EXPECT_DOUBLE_EQ(nbVectorAzimuthAngle(minusY, z, x), pi / 2);
    EXPECT_DOUBLE_EQ(nbVectorAzimuthAngle(high, z, x), pi / 2);
    EXPECT_DOUBLE_EQ(nbVectorAzimuthAngle(y, z, x), 3 * pi / 2);
    const double thirty[3] = {std::sqrt(3.0), -1, 0};
    EXPECT_NEAR(nbVectorAzimuthAngle(thirty, z, x), pi / 6, 1e-15);
    EXPECT_EQ(nbVectorAzimuthAngle(x, z, x), 0);
    EXPECT_EQ(nbVectorAzimuthAngle(z, z, x), 0);
    EXPECT_EQ(nbVectorAzimuthAngle(x, z, z), 0);
}
