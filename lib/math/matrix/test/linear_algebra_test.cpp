#include "../source/kernels.h"
#include "plain_algebra.h"

#include <matrix/wave_math.h>

#include <gtest/gtest.h>

namespace {

using Kind = RandomMatrices::Kind;

// Sizes around the lanes, the panel and the rows and vectors that are worked on together.
constexpr int kSizes[] = {1, 2, 3, 4, 5, 7, 8, 9, 11, 12, 13, 16, 17, 20, 23, 24, 31, 33, 40, 64, 65};

struct Tally {
    int solved = 0;
    int singular = 0;
};

class MatrixBits : public testing::Test {
protected:
    template <class Check>
    void ForAll(Check check) {
        for (const Kind kind : RandomMatrices::kAll) {
            for (const int n : kSizes) {
                for (int round = 0; round < (n < 10 ? 20 : 3); ++round) {
                    SCOPED_TRACE(testing::Message() << "kind " << int(kind) << ", n " << n);
                    check(kind, n);
                    if (HasFailure())
                        return;
                }
            }
        }
    }

    RandomMatrices random;
};

TEST_F(MatrixBits, FactorsAndPivotsAreThoseOfPlainEliminationAlsoWhereItStops) {
    Tally tally;
    ForAll([&](Kind kind, int n) {
        for (const int m : {n, n + 3, std::max(1, n - 3)}) {
            const ComplexMatrix a = random.Make(m, n, kind);
            ComplexMatrix expected = a;
            std::vector<int> expectedPivots;
            const int result = plain::Factor(expected, expectedPivots);
            ComplexMatrix found = a;
            IndexVector pivots(m, 0);
            ASSERT_EQ(LuFactor(found, pivots), result);
            EXPECT_TRUE(SameBits(found, expected));
            ASSERT_EQ(pivots.Size(), m);
            for (int i = 1; i <= m; ++i)
                EXPECT_EQ(pivots(i), expectedPivots[i]);
            ++(result ? tally.singular : tally.solved);
        }
    });
    EXPECT_GT(tally.solved, 1000);
    EXPECT_GT(tally.singular, 50);
}

TEST_F(MatrixBits, SolutionsAreThoseOfPlainEliminationColumnByColumn) {
    Tally tally;
    ForAll([&](Kind kind, int n) {
        const ComplexMatrix a = random.Make(n, n, kind);
        for (const int columns : {n, 1, random.Choose(40) + 1}) {
            const ComplexMatrix b = random.Make(n, columns, RandomMatrices::kAll[random.Choose(7)]);
            ComplexMatrix expected, found;
            const int result = plain::Solve(a, b, expected);
            ASSERT_EQ(MatrixSolve(a, b, found), result);
            EXPECT_TRUE(SameBits(found, expected));
            ++(result ? tally.singular : tally.solved);
        }
    });
    EXPECT_GT(tally.solved, 1000);
    EXPECT_GT(tally.singular, 50);
}

TEST_F(MatrixBits, EveryProcessorsLoopsGiveTheSame) {
    ForAll([&](Kind kind, int n) {
        const ComplexMatrix a = random.Make(n, n, kind);
        const ComplexMatrix b = random.Make(n, n, kind);
        ComplexMatrix expected = plain::Multiply(a, b);
        ComplexMatrix product(n, n), solution(n, n);
        std::vector<double> work(std::max(kernels::SolveWork(n, n), kernels::MultiplyWork(n, n)));
        for (const kernels::Set* set : {&kernels::kPlain, &kernels::Best(n), &kernels::Best(64)}) {
            set->multiply({n, n, n, a.Data(), b.Data(), product.Data(), work.data()});
            EXPECT_TRUE(SameBits(product, expected));
            const auto outcome = set->solve({n, n, a.Data(), kernels::Take::Plain, b.Data(),
                                             kernels::Take::Plain, solution.Data(), work.data()});
            if (outcome == kernels::Outcome::Solved) {
                ComplexMatrix x;
                EXPECT_EQ(plain::Solve(a, b, x), 0);
                EXPECT_TRUE(SameBits(solution, x));
            }
        }
    });
}

TEST_F(MatrixBits, InversesAreSolutionsForTheIdentity) {
    ForAll([&](Kind kind, int n) {
        const ComplexMatrix a = random.Make(n, n, kind);
        ComplexMatrix expected, found(2, 1);
        const int result = plain::Solve(a, plain::Identity(n), expected);
        EXPECT_TRUE(SameBits(MatrixInverse(a), expected));
        EXPECT_EQ(InvertInto(a, found), result);
        EXPECT_TRUE(SameBits(found, expected));
    });
}

TEST_F(MatrixBits, WaveFractionsAreTheWrittenOutSolves) {
    ForAll([&](Kind kind, int n) {
        const ComplexMatrix m = random.Make(n, n, kind);
        const ComplexMatrix one = plain::Identity(n);
        const struct {
            WaveFraction form;
            ComplexMatrix a, b;
        } cases[] = {{WaveFraction::PlusMinus, one + m, one - m},
                     {WaveFraction::MinusPlus, one - m, one + m},
                     {WaveFraction::PlusOver, m + one, m - one}};
        for (const auto& c : cases) {
            ComplexMatrix expected, found = m;
            const int result = plain::Solve(c.a, c.b, expected);
            EXPECT_EQ(SolveWaveFraction(found, c.form, found), result);
            EXPECT_TRUE(SameBits(found, expected));
        }
    });
}

TEST_F(MatrixBits, ScalingByRootsTakesOneRootOfEachProduct) {
    ForAll([&](Kind kind, int n) {
        const ComplexMatrix m = random.Make(n, n, kind);
        ComplexVector z(n);
        for (int i = 0; i < n; ++i)
            z[i] = i > 0 && random.Choose(2) ? z[i - 1] : random.Element(kind);
        ComplexMatrix times = m, over = m, expectedTimes = m, expectedOver = m;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                const Complex q = plain::Root(plain::Product(z[i], z[j]));
                expectedTimes[i][j] = plain::Product(m[i][j], q);
                expectedOver[i][j] = plain::Guarded(m[i][j], q);
            }
        }
        MultiplyByRoots(times, z);
        DivideByRoots(over, z);
        EXPECT_TRUE(SameBits(times, expectedTimes));
        EXPECT_TRUE(SameBits(over, expectedOver));
    });
}

TEST_F(MatrixBits, ProductsOfAnyShapeAreSummedInOrder) {
    ForAll([&](Kind kind, int n) {
        const ComplexMatrix a = random.Make(random.Choose(20) + 1, n, kind);
        const ComplexMatrix b = random.Make(n, random.Choose(20) + 1, kind);
        EXPECT_TRUE(SameBits(a * b, plain::Multiply(a, b)));
    });
}

// The sum of all bits of many results, as this test first gave them.
TEST_F(MatrixBits, AreTheSameOnEveryMachineAndInEveryBuild) {
    std::uint64_t sum = 0;
    const auto add = [&sum](const ComplexMatrix& x) {
        for (int k = 0; k < x.Size(); ++k) {
            for (const double part : {x.Data()[k].re, x.Data()[k].im}) {
                std::uint64_t bits;
                std::memcpy(&bits, &part, sizeof(bits));
                sum = (sum ^ bits) * 0x9E3779B97F4A7C15u;
            }
        }
    };
    for (const Kind kind : {Kind::Full, Kind::Real, Kind::Mixed}) {
        for (const int n : kSizes) {
            ComplexMatrix m = random.Make(n, n, kind);
            ComplexVector z(n);
            for (int i = 0; i < n; ++i)
                z[i] = random.Element(kind);
            SolveWaveFraction(m, WaveFraction::PlusMinus, m);
            DivideByRoots(m, z);
            add(m);
            add(m * MatrixInverse(m));
        }
    }
    EXPECT_EQ(sum, 7381753544480113887u);
}

TEST(LinearAlgebra, TakesTheFirstOfRowsWithEqualMagnitude) {
    ComplexMatrix a(3, 3);
    a(1, 1) = {1, 0};
    a(2, 1) = {0, -2};
    a(3, 1) = {2, 0};
    a(1, 2) = a(2, 3) = a(3, 2) = {1, 0};
    IndexVector pivots;
    EXPECT_EQ(LuFactor(a, pivots), kSolved);
    EXPECT_EQ(pivots(1), 2);
}

TEST(LinearAlgebra, SaysWhyThereIsNoSolutionAndLeavesZeros) {
    ComplexMatrix zeroColumn(3, 3, Complex(1, 1));
    for (int i = 1; i <= 3; ++i) {
        zeroColumn(i, 2) = {};
        zeroColumn(i, i) += Complex(i, 0);
    }
    zeroColumn(2, 2) = {};
    const struct {
        const char* name;
        ComplexMatrix a, b;
        int result;
    } cases[] = {
        {"an empty matrix", ComplexMatrix(), ComplexMatrix(0, 2, {}), kWrongShape},
        {"more rows than columns", ComplexMatrix(3, 2, {1, 0}), ComplexMatrix(3, 4, {1, 0}), kWrongShape},
        {"a zero matrix", ComplexMatrix(2, 2), ComplexMatrix(2, 1, {1, 0}), kSingular},
        {"a zero column", zeroColumn, ComplexMatrix(3, 5, {1, 0}), kSingular},
        {"a magnitude that vanishes", ComplexMatrix(1, 1, {1e-170, 0}), ComplexMatrix(1, 1, {1, 0}),
         kSingular},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ComplexMatrix x(1, 7, {9, 9});
        EXPECT_EQ(MatrixSolve(c.a, c.b, x), c.result);
        EXPECT_TRUE(SameBits(x, ComplexMatrix(c.a.Columns(), c.b.Columns())));
        ComplexMatrix inverse(1, 7, {9, 9});
        EXPECT_EQ(InvertInto(c.a, inverse), c.result);
        EXPECT_TRUE(SameBits(inverse, ComplexMatrix(c.a.Columns(), c.a.Rows())));
        EXPECT_TRUE(SameBits(MatrixInverse(c.a), inverse));
    }
    ComplexMatrix empty;
    IndexVector pivots;
    EXPECT_EQ(LuFactor(empty, pivots), kSolved);
    EXPECT_EQ(pivots.Size(), 0);
}

TEST(LinearAlgebra, ASolutionMayReplaceItsMatrixOrItsRightSide) {
    RandomMatrices random;
    const ComplexMatrix a = random.Make(6, 6, Kind::Full);
    const ComplexMatrix b = random.Make(6, 3, Kind::Full);
    ComplexMatrix expected;
    plain::Solve(a, b, expected);
    ComplexMatrix intoB = b;
    const Complex* storage = intoB.Data();
    EXPECT_EQ(MatrixSolve(a, intoB, intoB), kSolved);
    EXPECT_TRUE(SameBits(intoB, expected));
    EXPECT_EQ(intoB.Data(), storage);
    ComplexMatrix intoA = a;
    EXPECT_EQ(MatrixSolve(intoA, b, intoA), kSolved);
    EXPECT_TRUE(SameBits(intoA, expected));
}

TEST(LinearAlgebra, AProductMayReplaceAFactorWhenTheOtherIsDiagonal) {
    RandomMatrices random;
    const ComplexMatrix a = random.Make(5, 5, Kind::Full);
    ComplexVector diagonal(5);
    for (int i = 0; i < 5; ++i)
        diagonal[i] = random.Element(Kind::Full);
    const ComplexMatrix d = DiagonalMatrix(diagonal);
    ComplexMatrix left = a, right = a;
    MultiplyInto(left, left, d);
    EXPECT_TRUE(SameBits(left, plain::Multiply(a, d)));
    MultiplyInto(right, d, right);
    EXPECT_TRUE(SameBits(right, plain::Multiply(d, a)));
}

} // namespace
