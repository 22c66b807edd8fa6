#include "plain_algebra.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

double Largest(const ComplexMatrix& m) {
    double largest = 0.0;
    for (int k = 0; k < m.Size(); ++k)
        largest = std::max(largest, abs(m.Data()[k]));
    return largest;
}

ComplexMatrix Diagonal(std::initializer_list<Complex> elements) {
    ComplexVector diagonal(int(elements.size()));
    std::copy(elements.begin(), elements.end(), diagonal.Data());
    return DiagonalMatrix(diagonal);
}

TEST(Eigen, VectorsHaveLengthOneAndSolveTheirEquation) {
    RandomMatrices random;
    for (const int n : {1, 2, 3, 5, 8, 16, 33}) {
        ComplexMatrix a = random.Make(n, n, RandomMatrices::Kind::Full);
        a[0][n - 1] *= Complex(1e6); // balancing has something to do
        ComplexVector values;
        ComplexMatrix vectors;
        ASSERT_TRUE(EigenDecompose(a, values, vectors)) << n;
        ASSERT_EQ(values.Size(), n);
        EXPECT_LT(Largest(a * vectors - vectors * DiagonalMatrix(values)), 1e-9 * n) << n;
        for (int j = 0; j < n; ++j) {
            double sum = 0.0;
            for (int i = 0; i < n; ++i)
                sum += norm(vectors[i][j]);
            EXPECT_NEAR(sum, 1.0, 1e-12);
        }
    }
}

TEST(Eigen, RootSquaredIsTheMatrixAndPowersAddUp) {
    RandomMatrices random;
    for (const int n : {1, 2, 4, 9, 20}) {
        // Impedances that are coupled: eigenvalues with a positive real part.
        const ComplexMatrix a = random.Make(n, n, RandomMatrices::Kind::Full) +
                                DiagonalMatrix(ComplexVector(n, Complex(3.0 * n)));
        ComplexMatrix root, half, negativeHalf, inverse;
        ASSERT_TRUE(MatrixSqrt(a, root));
        ASSERT_TRUE(MatrixPower(a, 0.5, half));
        ASSERT_TRUE(MatrixPower(a, -0.5, negativeHalf));
        EXPECT_LT(Largest(root * root - a), 1e-11 * n * n) << n;
        EXPECT_LT(Largest(root - half), 1e-11 * n) << n;
        EXPECT_LT(Largest(half * negativeHalf - IdentityMatrix(n)), 1e-11 * n) << n;
        ASSERT_TRUE(MatrixPower(a, -1.0, inverse));
        EXPECT_LT(Largest(inverse - MatrixInverse(a)), 1e-11) << n;
        ComplexMatrix inPlace = a;
        ASSERT_TRUE(MatrixSqrt(inPlace, inPlace));
        EXPECT_TRUE(SameBits(inPlace, root));
    }
}

TEST(Eigen, PowersOfDiagonalMatricesAreThoseOfTheirElements) {
    const struct {
        double p;
        ComplexMatrix a, power;
    } cases[] = {
        {0.5, Diagonal({{4, 0}, {9, 0}}), Diagonal({{2, 0}, {3, 0}})},
        {-0.5, Diagonal({{4, 0}, {0.25, 0}}), Diagonal({{0.5, 0}, {2, 0}})},
        {-0.5, Diagonal({{0, 0}, {4, 0}}), Diagonal({{0, 0}, {0.5, 0}})}, // zero stays zero
        {0.0, Diagonal({{0, 0}, {-7, 2}}), Diagonal({{0, 0}, {1, 0}})},
        {2.0, Diagonal({{0, 3}, {1, 1}}), Diagonal({{-9, 0}, {0, 2}})},
        {0.5, Diagonal({{-4, 0}, {0, -2}}), Diagonal({{0, 2}, {1, -1}})},
    };
    for (const auto& c : cases) {
        ComplexMatrix x;
        ASSERT_TRUE(MatrixPower(c.a, c.p, x));
        EXPECT_LT(Largest(x - c.power), 1e-14) << c.p;
    }
    EXPECT_TRUE(SameBits(Power({0, 0}, -1), Complex(0, 0)));
    EXPECT_TRUE(SameBits(Power({3, 4}, 0), Complex(1, 0)));
}

// Eigenvalues (1 +- 2i) with the vectors (1, +-i): the root worked out by hand is s + t J, where J swaps the axes.
TEST(Eigen, RootOfARotationIsHalfTheRotation) {
    ComplexMatrix a(2, 2);
    a(1, 1) = a(2, 2) = {1, 0};
    a(1, 2) = {-2, 0};
    a(2, 1) = {2, 0};
    ComplexMatrix x;
    ASSERT_TRUE(MatrixSqrt(a, x));
    const Complex root = sqrt(Complex(1, 2));
    EXPECT_NEAR(x(1, 1).re, root.re, 1e-15);
    EXPECT_NEAR(x(2, 1).re, root.im, 1e-15);
    EXPECT_NEAR(x(1, 2).re, -root.im, 1e-15);
    EXPECT_NEAR(x(2, 2).im, 0.0, 1e-15);
}

TEST(Eigen, WhatHasNoDecompositionLeavesTheResultAlone) {
    const double kInfinity = std::numeric_limits<double>::infinity();
    ComplexMatrix broken(3, 3, {1, 0});
    broken(2, 3) = {0, kInfinity};
    ComplexMatrix nan = broken;
    nan(2, 3) = {std::nan(""), 0};
    for (const ComplexMatrix& a : {ComplexMatrix(2, 3), broken, nan}) {
        ComplexMatrix x(1, 2, {7, 7});
        const ComplexMatrix before = x;
        ComplexVector values(4, {1, 1});
        EXPECT_FALSE(MatrixSqrt(a, x));
        EXPECT_FALSE(MatrixPower(a, -0.5, x));
        EXPECT_FALSE(EigenDecompose(a, values, x));
        EXPECT_TRUE(SameBits(x, before));
        EXPECT_EQ(values.Size(), 4);
    }
    ComplexMatrix empty, x(1, 1);
    ComplexVector values(3);
    EXPECT_TRUE(MatrixSqrt(empty, x));
    EXPECT_TRUE(x.IsEmpty());
    EXPECT_TRUE(EigenDecompose(empty, values, x));
    EXPECT_EQ(values.Size(), 0);
}

TEST(Eigen, AMatrixWithoutAFullSetOfVectorsHasAZeroRoot) {
    ComplexMatrix a(2, 2);
    a(1, 2) = {1, 0}; // both eigenvalues zero, one vector
    ComplexMatrix x;
    ASSERT_TRUE(MatrixSqrt(a, x));
    EXPECT_TRUE(SameBits(x, ComplexMatrix(2, 2)));
}

TEST(Eigen, ThreadsGetTheSameAsOneAlone) {
    RandomMatrices random;
    const ComplexMatrix a = random.Make(24, 24, RandomMatrices::Kind::Full);
    ComplexMatrix expected;
    ASSERT_TRUE(MatrixSqrt(a, expected));
    std::vector<ComplexMatrix> found(4);
    std::vector<std::thread> threads;
    for (ComplexMatrix& x : found) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round)
                MatrixSqrt(a, x);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const ComplexMatrix& x : found)
        EXPECT_TRUE(SameBits(x, expected));
}

} // namespace
