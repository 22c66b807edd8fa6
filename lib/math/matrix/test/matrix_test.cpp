#include "plain_algebra.h"

#include <matrix/cmat.h>

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr double kMost = std::numeric_limits<double>::max();

TEST(ComplexNumber, RootTakesTheBranchOfTheWrittenRule) {
    const struct {
        Complex value, root;
    } cases[] = {
        {{0, 0}, {0, 0}},   {{-0.0, -0.0}, {0, 0}}, {{4, 0}, {2, 0}},        {{3, 4}, {2, 1}},
        {{3, -4}, {2, -1}}, {{-4, 0}, {0, 2}},      {{-4, -0.0}, {-0.0, 2}}, // a negative zero isn't below zero
        {{-3, 4}, {1, 2}},  {{-3, -4}, {1, -2}},    {{0, 2}, {1, 1}},        {{0, -2}, {1, -1}},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(SameBits(sqrt(c.value), c.root)) << c.value.re << ", " << c.value.im;
}

TEST(ComplexNumber, DivisionByZeroGivesTheLargestNumberWhereItIsGuarded) {
    const Complex largest(kMost, kMost);
    Complex x(3, -1);
    EXPECT_TRUE(SameBits(x /= Complex(0, 0), largest));
    EXPECT_TRUE(SameBits(Quotient({0, 0}, {0, -0.0}), largest));
    EXPECT_TRUE(SameBits(1.0 / Complex(0, 0), largest));
    EXPECT_TRUE(SameBits(Quotient({1, 1}, {1e-170, 0}), largest)); // its square vanishes
    EXPECT_TRUE(std::isnan((Complex(3, -1) / Complex(0, 0)).re));
    EXPECT_TRUE(SameBits(Quotient({4, 2}, {0, 2}), Complex(1, -2)));
    EXPECT_TRUE(SameBits(Complex(4, 2) / Complex(0, 2), Complex(1, -2)));
    EXPECT_TRUE(SameBits(4.0 / Complex(0, 2), Complex(0, -2)));
}

TEST(ComplexNumber, OperationsAreTheWrittenFormulas) {
    RandomMatrices random;
    for (const auto kind : RandomMatrices::kAll) {
        for (int round = 0; round < 2000; ++round) {
            const Complex a = random.Element(kind), b = random.Element(kind);
            EXPECT_TRUE(SameBits(a * b, plain::Product(a, b)));
            EXPECT_TRUE(SameBits(Complex(a) *= b, plain::Product(a, b)));
            EXPECT_TRUE(SameBits(a.re * b, Complex(a.re * b.re, a.re * b.im)));
            EXPECT_TRUE(SameBits(Quotient(a, b), plain::Guarded(a, b)));
            EXPECT_TRUE(SameBits(a / b, plain::Unguarded(a, b)));
            EXPECT_TRUE(SameBits(sqrt(a), plain::Root(a)));
            EXPECT_TRUE(SameBits(abs(a), plain::Magnitude(a)));
        }
    }
}

TEST(VectorValue, CopiesHaveStorageOfTheirOwnAndAssignmentKeepsStorageThatFits) {
    RealVector a(3, 1.5);
    RealVector b = a;
    b[0] = 7;
    EXPECT_EQ(a[0], 1.5);
    EXPECT_EQ(a(1), 1.5);
    const double* storage = b.Data();
    b = a;
    EXPECT_EQ(b.Data(), storage);
    b = RealVector(1, 2.0);
    EXPECT_EQ(b.Size(), 1);
    a = RealVector();
    EXPECT_EQ(a.Size(), 0);
    EXPECT_EQ(a.Data(), nullptr);
    const ComplexVector zeros(2);
    EXPECT_TRUE(SameBits(zeros[1], Complex(0, 0)));
    EXPECT_THROW(IndexVector(-1), std::bad_array_new_length);
    IndexVector index(2, 9);
    index.resize(2);
    EXPECT_EQ(index(2), 9);
    index.resize(5);
    EXPECT_EQ(index.Size(), 5);
}

TEST(MatrixValue, CopiesHaveStorageOfTheirOwnAndAssignmentKeepsStorageThatFits) {
    ComplexMatrix a(2, 3, {1, -1});
    a(2, 3) = {5, 0};
    EXPECT_EQ(a[1][2], Complex(5, 0));
    EXPECT_EQ(a[1], a.Data() + 3);
    ComplexMatrix b = a;
    b[0][0] = {};
    EXPECT_EQ(a(1, 1), Complex(1, -1));
    const Complex* storage = b.Data();
    b = a;
    EXPECT_EQ(b.Data(), storage);
    EXPECT_TRUE(SameBits(b, a));
    b = ComplexMatrix(3, 2);
    EXPECT_EQ(b.Rows(), 3);
    EXPECT_EQ(b[2], b.Data() + 4);
    const ComplexMatrix moved = std::move(a);
    EXPECT_EQ(moved(2, 3), Complex(5, 0));
    EXPECT_TRUE(a.IsEmpty());
    a = moved;
    EXPECT_TRUE(SameBits(a, moved));
    b = ComplexMatrix();
    EXPECT_EQ(b.Data(), nullptr);
    EXPECT_THROW(ComplexMatrix(-1, 2), std::bad_array_new_length);
    EXPECT_THROW(ComplexMatrix(65536, 65536), std::bad_array_new_length);
}

TEST(MatrixValue, SumsDifferencesAndTransposes) {
    RandomMatrices random;
    const ComplexMatrix a = random.Make(3, 4, RandomMatrices::Kind::Full);
    const ComplexMatrix b = random.Make(3, 4, RandomMatrices::Kind::Full);
    const ComplexMatrix sum = a + b, difference = a - b, t = Transpose(a), h = ConjugateTranspose(a);
    ASSERT_EQ(t.Rows(), 4);
    ASSERT_EQ(h.Columns(), 3);
    for (int i = 1; i <= 3; ++i) {
        for (int j = 1; j <= 4; ++j) {
            EXPECT_TRUE(SameBits(sum(i, j), a(i, j) + b(i, j)));
            EXPECT_TRUE(
                SameBits(difference(i, j), Complex(a(i, j).re - b(i, j).re, a(i, j).im - b(i, j).im)));
            EXPECT_TRUE(SameBits(t(j, i), a(i, j)));
            EXPECT_TRUE(SameBits(h(j, i), Complex(a(i, j).re, -a(i, j).im)));
        }
    }
}

TEST(MatrixValue, TimesAVectorSumsOverTheColumnsInOrder) {
    RandomMatrices random;
    const ComplexMatrix a = random.Make(5, 3, RandomMatrices::Kind::Mixed);
    ComplexMatrix column = random.Make(3, 1, RandomMatrices::Kind::Mixed);
    ComplexVector x(3);
    for (int i = 0; i < 3; ++i)
        x[i] = column[i][0];
    const ComplexVector product = a * x;
    const ComplexMatrix expected = plain::Multiply(a, column);
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(SameBits(product[i], expected[i][0]));
}

std::string asked;

TEST(VectorAssertion, NamesTheIndexThatIsOutOfRange) {
    SetAssertQuestion([](AssertBox, const char* text) {
        asked += text;
        return AssertAnswer::Retry;
    });
    assertsOff = false;
    RealVector v(2, 0.0);
    const struct {
        const char* expression;
        std::function<void()> access;
    } cases[] = {
        {"0<=i", [&] { (void)&v[-1]; }},
        {"i < n_", [&] { (void)&v[2]; }},
        {"1<=i", [&] { (void)&v(0); }},
        {"i <= n_", [&] { (void)&v(3); }},
    };
    for (const auto& c : cases) {
        asked.clear();
        c.access();
        EXPECT_NE(asked.find(c.expression), asked.npos) << asked;
        EXPECT_NE(asked.find("math/matrix/vec"), asked.npos) << asked;
    }
    asked.clear();
    v[1] = v(1);
    EXPECT_EQ(asked, "");
    assertsOff = true;
    SetAssertQuestion(nullptr);
}

} // namespace
