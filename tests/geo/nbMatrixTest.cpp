#include "geo/nbMatrix.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

using Values = std::vector<double>;

TEST(Matrix, SumsProductsAndTransposes)
{
    const Values a = {1, 2, 3, 4, 5, 6};    // 2 x 3
    const Values b = {7, 8, 9, 10, 11, 12}; // 3 x 2
    Values product(4, -1);
    nbMultMat(a.data(), b.data(), 2, 3, 2, product.data());
    EXPECT_EQ(product, (Values{58, 64, 139, 154}));
    Values out(6);
    nbSumMat(a.data(), b.data(), 2, 3, out.data());
    EXPECT_EQ(out, (Values{8, 10, 12, 14, 16, 18}));
    nbSubMat(b.data(), a.data(), 2, 3, out.data());
    EXPECT_EQ(out, Values(6, 6));
    nbTransMat(a.data(), 2, 3, out.data());
    EXPECT_EQ(out, (Values{1, 4, 2, 5, 3, 6}));
    nbCopyMat(a.data(), 2, 3, out.data());
    EXPECT_EQ(out, a);
}

TEST(Matrix, NothingIsWrittenForNoRows)
{
    Values out = {7};
    nbMultMat(out.data(), out.data(), 0, 1, 1, out.data());
    nbSumMat(out.data(), out.data(), -5, 1, out.data());
    EXPECT_EQ(nbInvMat(out.data(), -1, out.data()), 0);
    EXPECT_EQ(out[0], 7);
}

TEST(InvMat, SwapsRowsWhereTheDiagonalIsZero)
{
    const Values a = {0, 1, 2, 1, 0, 3, 4, -3, 8};
    // D. Lay, Linear Algebra and Its Applications, section 2.2, example 7.
    const Values inverse = {-4.5, 7, -1.5, -2, 4, -1, 1.5, -2, 0.5};
    Values out(9);
    ASSERT_EQ(nbInvMat(a.data(), 3, out.data()), 0);
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(out[i], inverse[i], 1e-14) << i;
}

// The second difference matrix (2 on the diagonal, -1 beside it) of order n has the inverse
// min(i, j) (n + 1 - max(i, j)) / (n + 1); its rows are turned round here, so its columns are.
TEST(InvMat, LargeMatrixWithEveryRowMoved)
{
    constexpr std::size_t n = 20;
    Values a(n * n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        double* row = a.data() + (i + 7) % n * n;
        row[i] = 2;
        if (i > 0) row[i - 1] = -1;
        if (i + 1 < n) row[i + 1] = -1;
    }
    Values out(n * n);
    ASSERT_EQ(nbInvMat(a.data(), n, out.data()), 0);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            const double low = static_cast<double>(std::min(i, j) + 1);
            const double high = static_cast<double>(std::max(i, j) + 1);
            EXPECT_NEAR(out[i * n + (j + 7) % n], low * (n + 1 - high) / (n + 1), 1e-13);
        }
}

TEST(InvMat, SingularMatrixIsRefused)
{
    const Values a = {1, 2, 3, 2, 4, 6, 1, 1, 1};
    Values out(9);
    EXPECT_EQ(nbInvMat(a.data(), 3, out.data()), -1);
}
