#include "point_tests.h"

#include <matrix/linear_algebra.h>

#include <functional>

namespace {

const Complex kNothing;

// The conversions as they are written down, element by element and column by column.
namespace plain {

Complex Root(const ComplexVector& z, int i, int j) {
    return sqrt(z[i] * z[j]);
}

ComplexMatrix MultiplyByRoots(ComplexMatrix m, const ComplexVector& z) {
    for (int i = 0; i < m.Rows(); ++i) {
        for (int j = 0; j < m.Columns(); ++j)
            m[i][j] = m[i][j] * Root(z, i, j);
    }
    return m;
}

ComplexMatrix DivideByRoots(ComplexMatrix m, const ComplexVector& z) {
    for (int i = 0; i < m.Rows(); ++i) {
        for (int j = 0; j < m.Columns(); ++j)
            m[i][j] /= Root(z, i, j);
    }
    return m;
}

ComplexMatrix Solve(ComplexMatrix a, const ComplexMatrix& b) {
    const int n = a.Rows();
    ComplexMatrix x(n, n);
    IndexVector pivots;
    if (LuFactor(a, pivots) != 0)
        return x;
    for (int column = 0; column < n; ++column) {
        ComplexVector work(n);
        for (int i = 0; i < n; ++i)
            work[i] = b[i][column];
        LuSolve(a, pivots, work);
        for (int i = 0; i < n; ++i)
            x[i][column] = work[i];
    }
    return x;
}

ComplexMatrix Fraction(const ComplexMatrix& m) { // (I + m)^-1 (I - m)
    const ComplexMatrix one = IdentityMatrix(m.Rows());
    return Solve(one + m, one - m);
}

ComplexMatrix YFromS(const ComplexMatrix& s, const ComplexVector& z) {
    return DivideByRoots(Fraction(s), z);
}
ComplexMatrix ZFromS(const ComplexMatrix& s, const ComplexVector& z) {
    const ComplexMatrix one = IdentityMatrix(s.Rows());
    return MultiplyByRoots(Solve(one - s, one + s), z);
}
ComplexMatrix SFromY(const ComplexMatrix& y, const ComplexVector& z) {
    return Fraction(MultiplyByRoots(y, z));
}
ComplexMatrix SFromZ(const ComplexMatrix& z, const ComplexVector& impedance) {
    const ComplexMatrix one = IdentityMatrix(z.Rows());
    const ComplexMatrix w = DivideByRoots(z, impedance);
    return Solve(w + one, w - one);
}

} // namespace plain

// A point of a network with one impedance for each row, from one of its matrices.
CNetworkModalData Point(Ports& ports, NetworkDataKind kind, ComplexMatrix matrix, ComplexVector impedance) {
    CNetworkModalData point(&ports, 1e9);
    if (kind == NetworkDataKind::SMatrix)
        point.SetSMatrix(&matrix, true);
    else if (kind == NetworkDataKind::YMatrix)
        point.SetYMatrix(&matrix, true);
    else
        point.SetZMatrix(&matrix, true);
    point.SetPortImpedance(&impedance, true);
    return point;
}

CNetworkModalData SPoint(Ports& ports, const ComplexMatrix& s, const ComplexVector& impedance) {
    return Point(ports, NetworkDataKind::SMatrix, s, impedance);
}

// Every number of ports with real impedances and with complex ones.
void ForNetworks(const std::function<void(Networks&, Ports&, const ComplexVector&)>& check) {
    Networks networks(17);
    for (int n = 1; n <= 16; ++n) {
        Ports ports(n);
        SCOPED_TRACE(n);
        check(networks, ports, networks.RealImpedances(n));
        check(networks, ports, networks.ComplexImpedances(n));
    }
}

TEST(Modal, ConvertsByTheWrittenFormulaToTheBit) {
    ForNetworks([](Networks& networks, Ports& ports, const ComplexVector& z) {
        const int n = z.Size();
        const ComplexMatrix any = networks.Any(n, 0.7);
        CNetworkModalData s = SPoint(ports, any, z);
        EXPECT_TRUE(Equal(*s.GetYMatrix(true), plain::YFromS(any, z)));
        EXPECT_TRUE(Equal(*s.GetZMatrix(true), plain::ZFromS(any, z)));
        CNetworkModalData y = Point(ports, NetworkDataKind::YMatrix, any, z);
        EXPECT_TRUE(Equal(*y.GetSMatrix(true), plain::SFromY(any, z)));
        CNetworkModalData yOnly = Point(ports, NetworkDataKind::YMatrix, any, z);
        EXPECT_TRUE(Equal(*yOnly.GetZMatrix(true), MatrixInverse(any)));
        CNetworkModalData zOnly = Point(ports, NetworkDataKind::ZMatrix, any, z);
        EXPECT_TRUE(Equal(*zOnly.GetSMatrix(true), plain::SFromZ(any, z)));
        CNetworkModalData zToY = Point(ports, NetworkDataKind::ZMatrix, any, z);
        EXPECT_TRUE(Equal(*zToY.GetYMatrix(true), MatrixInverse(any)));
    });
}

TEST(Modal, ConvertsFromTheFirstChoiceThatIsThere) {
    Ports ports(1);
    const ComplexVector z = Vector_({50.0});
    ComplexMatrix s = Matrix_(1, {0.5}), y = Matrix_(1, {0.04}), impedance = Matrix_(1, {200.0});
    CNetworkModalData point(&ports, 0);
    point.SetPortImpedance(const_cast<ComplexVector*>(&z), true);
    point.SetYMatrix(&y, true);
    point.SetZMatrix(&impedance, true);
    EXPECT_NEAR((*point.GetSMatrix(true))[0][0].re, -1.0 / 3.0, 1e-15) << "from Y";
    point.SetSMatrix(&s, true);
    point.SetYMatrix(nullptr, true);
    EXPECT_NEAR((*point.GetYMatrix(true))[0][0].re, 1.0 / 150.0, 1e-17) << "from S";
    point.SetZMatrix(nullptr, true);
    point.SetYMatrix(&y, true);
    EXPECT_NEAR((*point.GetZMatrix(true))[0][0].re, 150.0, 1e-12) << "from S";
    EXPECT_EQ(point.GetZMatrix(true), point.GetZMatrix(false)) << "kept";
}

TEST(Modal, ComputesOnlyWhenAskedAndMarksWhatItComputed) {
    Ports ports(2);
    CNetworkModalData point = SPoint(ports, Matrix_(2, {0.5, 0, 0, 0.5}), Vector_({50, 50}));
    EXPECT_EQ(point.GetYMatrix(false), nullptr);
    EXPECT_EQ(point.GetZMatrix(false), nullptr);
    EXPECT_FALSE(point.IsYDerived() || point.IsZDerived() || point.IsSDerived());
    point.GetYMatrix(true);
    point.GetZMatrix(true);
    EXPECT_TRUE(point.IsYDerived() && point.IsZDerived());
    EXPECT_FALSE(point.IsSDerived());

    CNetworkModalData empty(&ports, 0);
    EXPECT_EQ(empty.GetSMatrix(false), nullptr);
    ASSERT_TRUE(empty.GetSMatrix(true));
    EXPECT_TRUE(empty.IsSDerived());
    EXPECT_TRUE(Equal(*empty.GetSMatrix(true), ComplexMatrix(2, 2)));
}

TEST(Modal, RenormalisesThereAndBackByWayOfTheSameNetwork) {
    ForNetworks([](Networks& networks, Ports& ports, const ComplexVector& z) {
        const ComplexMatrix s = networks.Any(z.Size(), 0.6 / z.Size());
        const ComplexVector other = networks.ComplexImpedances(z.Size());
        CNetworkModalData point = SPoint(ports, s, z);
        const ComplexMatrix impedance = *point.GetZMatrix(true);
        ASSERT_TRUE(point.Renormalize(other));
        EXPECT_FALSE(point.IsSDerived()) << "primary, as it was";
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), plain::SFromZ(impedance, other)), 1e-12);
        EXPECT_TRUE(Equal(*point.GetZMatrix(false), impedance));
        ASSERT_TRUE(point.Renormalize(z));
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), s), 1e-12);
    });
}

TEST(Modal, ReciprocalAndPassiveNetworksStaySo) {
    ForNetworks([](Networks& networks, Ports& ports, const ComplexVector& z) {
        const int n = z.Size();
        const ComplexMatrix s = networks.Passive(n);
        const ComplexVector reals = networks.RealImpedances(n);
        CNetworkModalData point = SPoint(ports, s, reals);
        const auto isSymmetric = [](const ComplexMatrix& m) {
            double size = 0.0;
            for (int k = 0; k < m.Size(); ++k)
                size = std::max(size, abs(m.Data()[k]));
            return LargestDifference(m, Transpose(m)) <= 1e-12 * size;
        };
        // The power that a network takes from any excitation.
        const auto isPassive = [&](const ComplexMatrix& m,
                                   const std::function<double(Complex, Complex)>& power) {
            for (int trial = 0; trial < 20; ++trial) {
                ComplexVector x(n);
                for (int i = 0; i < n; ++i)
                    x[i] = networks.Number(1);
                const ComplexVector y = m * x;
                double taken = 0.0;
                for (int i = 0; i < n; ++i)
                    taken += power(x[i], y[i]);
                if (taken < -1e-12)
                    return false;
            }
            return true;
        };
        const auto waves = [](Complex a, Complex b) { return norm(a) - norm(b); };
        const auto voltages = [](Complex v, Complex i) { return v.re * i.re + v.im * i.im; };
        EXPECT_TRUE(isSymmetric(*point.GetYMatrix(true)) && isSymmetric(*point.GetZMatrix(true)));
        EXPECT_TRUE(isPassive(s, waves));
        EXPECT_TRUE(isPassive(*point.GetYMatrix(true), voltages));
        EXPECT_TRUE(isPassive(*point.GetZMatrix(true), voltages));
        ASSERT_TRUE(point.Renormalize(z));
        EXPECT_TRUE(isSymmetric(*point.GetSMatrix(false)));
        ASSERT_TRUE(point.Renormalize(networks.RealImpedances(n)));
        EXPECT_TRUE(isSymmetric(*point.GetSMatrix(false)));
        EXPECT_TRUE(isPassive(*point.GetSMatrix(false), waves));
    });
}

// The classical networks that have no Y or no Z.
TEST(Modal, SingularNetworksGetZerosAndMayBecomeOthersWhenRenormalised) {
    const double third = 1.0 / 3.0;
    constexpr bool kZeros = true, kSome = false;
    struct Case {
        const char* name;
        ComplexMatrix s;
        bool y, z;           // whether they come out as zeros
        ComplexMatrix at100; // S after renormalisation from 50 to 100 ohm
    };
    const auto circulant = [](Complex a, Complex b, Complex c) {
        return Matrix_(3, {a, b, c, c, a, b, b, c, a});
    };
    for (const Case& c : {
             Case{"open", Matrix_(1, {1}), kZeros, kZeros, Matrix_(1, {1})},
             Case{"match", Matrix_(1, {0}), kSome, kSome, Matrix_(1, {-third})},
             Case{"isolator", Matrix_(2, {0, 0, 1, 0}), kSome, kSome,
                  Matrix_(2, {-third, 0, 8.0 / 9, -third})},
             Case{"circulator", circulant(0, 0, 1), kSome, kZeros, circulant(-3.0 / 13, 4.0 / 13, 12.0 / 13)},
             // Not what they are at 100 ohm: the same through, -1 still, and so on.
             Case{"short", Matrix_(1, {-1}), kZeros, kZeros, Matrix_(1, {1})},
             Case{"through", Matrix_(2, {0, 1, 1, 0}), kZeros, kZeros, IdentityMatrix(2)},
             Case{"crossed through", Matrix_(2, {0, -1, -1, 0}), kZeros, kZeros, IdentityMatrix(2)},
             Case{"junction of four",
                  Matrix_(4, {-0.5, 0.5, 0.5, 0.5, 0.5, -0.5, 0.5, 0.5, 0.5, 0.5, -0.5, 0.5, 0.5, 0.5, 0.5,
                              -0.5}),
                  kZeros, kZeros, IdentityMatrix(4)},
             // Singular but for a rounding: what is solved has elements of 1e14 and more.
             Case{"tee", circulant(-third, 2 * third, 2 * third), kSome, kZeros, ComplexMatrix(3, 3)},
             Case{"series tee",
                  Matrix_(3, {third, 2 * third, -2 * third, 2 * third, third, 2 * third, -2 * third,
                              2 * third, third}),
                  kZeros, kSome, IdentityMatrix(3)},
             Case{"transformer", Matrix_(2, {-0.8, 0.6, 0.6, 0.8}), kSome, kSome, ComplexMatrix(2, 2)},
         }) {
        SCOPED_TRACE(c.name);
        const int n = c.s.Rows();
        Ports ports(n);
        CNetworkModalData point = SPoint(ports, c.s, ComplexVector(n, 50.0));
        EXPECT_EQ(IsZero(*point.GetYMatrix(true)), c.y);
        EXPECT_EQ(IsZero(*point.GetZMatrix(true)), c.z);
        EXPECT_TRUE(point.Renormalize(ComplexVector(n, 100.0)));
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), c.at100), 1e-14);
        EXPECT_EQ(point.GetValue(NetworkDataKind::YMatrix, 0, 0), (*point.GetYMatrix(false))[0][0]);
    }
}

TEST(Modal, AnImpedanceOfZeroIsNotRefused) {
    Ports ports(2);
    CNetworkModalData point = SPoint(ports, Matrix_(2, {0.5, 0.25, 0.25, 0.5}), Vector_({50, 0}));
    const Complex largest(Complex::kDividedByZero, Complex::kDividedByZero);
    const ComplexMatrix& y = *point.GetYMatrix(true);
    for (auto [i, j] : {std::pair{0, 1}, {1, 0}, {1, 1}})
        EXPECT_EQ(y[i][j], largest);
    EXPECT_GT(y[0][0].re, 0.0);
    const ComplexMatrix& z = *point.GetZMatrix(true);
    for (auto [i, j] : {std::pair{0, 1}, {1, 0}, {1, 1}})
        EXPECT_EQ(z[i][j], kNothing);
}

TEST(Modal, DataThatIsAbsentOrOfTheWrongShapeGivesZeros) {
    Ports ports(2);
    ComplexMatrix m = Matrix_(2, {0.5, 0.1, 0.2, 0.3});
    ComplexMatrix large(3, 3, 1.0);
    ComplexVector three(3, 50.0);
    for (bool withImpedance : {false, true}) {
        SCOPED_TRACE(withImpedance ? "three impedances" : "no impedances");
        for (int from = 0; from < 3; ++from) {
            CNetworkModalData point(&ports, 0);
            if (withImpedance)
                point.SetPortImpedance(&three, true);
            (point.*std::array{&CNetworkData::SetSMatrix, &CNetworkData::SetYMatrix,
                               &CNetworkData::SetZMatrix}[from])(&m, true);
            if (from != 0) {
                EXPECT_TRUE(IsZero(*point.GetSMatrix(true)));
            } else {
                EXPECT_TRUE(IsZero(*point.GetYMatrix(true)) && IsZero(*point.GetZMatrix(true)));
            }
            EXPECT_EQ(point.GetSMatrix(true)->Rows(), 2);
        }
    }
    for (auto set : {&CNetworkData::SetSMatrix, &CNetworkData::SetYMatrix, &CNetworkData::SetZMatrix}) {
        for (auto get : {&CNetworkData::GetSMatrix, &CNetworkData::GetYMatrix, &CNetworkData::GetZMatrix}) {
            CNetworkModalData point = SPoint(ports, m, Vector_({50, 50}));
            point.SetSMatrix(nullptr, true);
            (point.*set)(&large, true);
            EXPECT_FALSE(point.Deembed(Reals({1, 1}), false, false));
            const ComplexMatrix* result = (point.*get)(true);
            EXPECT_TRUE(Equal(*result, large) || Equal(*result, ComplexMatrix(2, 2)));
        }
    }
    CNetworkModalData lone;
    lone.SetPortImpedance(&three, true);
    lone.SetSMatrix(&large, true);
    EXPECT_EQ(lone.GetYMatrix(true)->Size(), 0);
    EXPECT_FALSE(lone.Renormalize(three));
}

TEST(Modal, RenormaliseTakesWhatFits) {
    Ports single(3);
    Ports multiple({1, 2});
    struct Case {
        Ports* ports;
        ComplexVector impedances;
        bool result;
        ComplexVector expected;
    };
    const ComplexVector before = Vector_({50, 60, 70});
    for (const Case& c : {
             Case{&single, Vector_({1, 2, 3}), true, Vector_({1, 2, 3})},
             Case{&single, Vector_({1, 2}), false, before},
             Case{&single, Vector_({1, 2, 3, 4}), false, before},
             Case{&single, ComplexVector(), false, before},
             Case{&multiple, Vector_({1, 2}), true, Vector_({1, 2, 2})},
             Case{&multiple, Vector_({1, 2, 3}), true, Vector_({1, 2, 3})},
             Case{&multiple, Vector_({1}), false, before},
             Case{&single, Vector_({0, {0, 1e-10}, {-1e-10, 0}}), true, before},
             Case{&single, Vector_({1.1e-10, {0, -1.1e-10}, {8e-11, 8e-11}}), true,
                  Vector_({1.1e-10, {0, -1.1e-10}, {8e-11, 8e-11}})},
             Case{&single, Vector_({std::nan(""), 2, 3}), true, Vector_({50, 2, 3})},
         }) {
        const ComplexMatrix s = Networks(1).Passive(3);
        CNetworkModalData point = SPoint(*c.ports, s, before);
        EXPECT_EQ(point.Renormalize(c.impedances), c.result);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ((*point.GetPortImpedance())[i], c.expected[i]);
        EXPECT_EQ(Equal(*point.GetSMatrix(false), s), !c.result) << "S is left alone by what fails";
    }
    CNetworkModalData without(&single, 0);
    EXPECT_FALSE(without.Renormalize(Vector_({1, 2, 3})));
    EXPECT_EQ(without.GetYMatrix(false), nullptr);
}

TEST(Modal, RenormaliseOfAPointWithoutSMarksItComputed) {
    Ports ports(1);
    CNetworkModalData point = Point(ports, NetworkDataKind::YMatrix, Matrix_(1, {0.02}), Vector_({50}));
    EXPECT_TRUE(point.Renormalize(Vector_({100})));
    EXPECT_TRUE(point.IsSDerived());
    EXPECT_NEAR((*point.GetSMatrix(false))[0][0].re, -1.0 / 3.0, 1e-15);
    EXPECT_FALSE(point.IsYDerived());
}

// A line of length l has S21 = exp(-gamma l): distances that come to l leave a through.
TEST(Modal, DeembeddingTakesALineAway) {
    Ports ports(2);
    const double k0 = 6.283185307179586 * 1e9 / 299792458.0;
    const Complex gamma(2.0, 45.0);
    const Complex through = {std::exp(-0.06) * std::cos(1.35), -std::exp(-0.06) * std::sin(1.35)};
    struct Case {
        bool lossless, normalized;
        Complex s21;
    };
    for (const Case& c : {Case{false, false, 1.0}, Case{false, true, 1.0}, Case{true, false, std::exp(-0.06)},
                          Case{true, true, std::exp(-0.06)}}) {
        CNetworkModalData point = SPoint(ports, Matrix_(2, {0, through, through, 0}), Vector_({50, 50}));
        ComplexVector g(2, c.normalized ? Complex(gamma.re / k0, gamma.im / k0) : gamma);
        point.SetGamma(&g, true);
        ASSERT_TRUE(point.Deembed(Reals({0.01, 0.02}), c.lossless, c.normalized));
        EXPECT_LT(abs((*point.GetSMatrix(false))[1][0] - c.s21), 1e-14);
        EXPECT_LT(abs((*point.GetSMatrix(false))[0][1] - c.s21), 1e-14);
    }
}

TEST(Modal, DeembeddingByPlusAndMinusGivesTheStart) {
    ForNetworks([](Networks& networks, Ports& ports, const ComplexVector& z) {
        const int n = z.Size();
        const ComplexMatrix s = networks.Passive(n);
        ComplexVector gamma(n);
        RealVector there(n), back(n);
        for (int i = 0; i < n; ++i) {
            gamma[i] = {networks.Between(0, 1), networks.Between(0.5, 3)};
            there[i] = networks.Between(-0.05, 0.05);
            back[i] = -there[i];
        }
        CNetworkModalData point = SPoint(ports, s, z);
        point.SetGamma(&gamma, true);
        const ComplexMatrix y = *point.GetYMatrix(true);
        const ComplexMatrix impedance = *point.GetZMatrix(true);
        ASSERT_TRUE(point.Deembed(there, false, true));
        EXPECT_FALSE(point.IsYDerived() || point.IsZDerived()) << "they are primary now";
        EXPECT_TRUE(Equal(*point.GetYMatrix(false), plain::YFromS(*point.GetSMatrix(false), z)));
        EXPECT_TRUE(Equal(*point.GetZMatrix(false), plain::ZFromS(*point.GetSMatrix(false), z)));
        ASSERT_TRUE(point.Deembed(back, false, true));
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), s), 1e-14);
        EXPECT_LT(LargestDifference(*point.GetYMatrix(false), y), 1e-12);
        EXPECT_LT(LargestDifference(*point.GetZMatrix(false), impedance), 1e-9);
        ASSERT_TRUE(point.DeembedByDelay(there) && point.DeembedByDelay(back));
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), s), 1e-6) << "some 1e8 radians each way";
        ASSERT_TRUE(point.Deembed(there, true, true));
        for (int k = 0; k < s.Size(); ++k)
            EXPECT_NEAR(abs(point.GetSMatrix(false)->Data()[k]), abs(s.Data()[k]), 1e-6)
                << "only phases change";
    });
}

TEST(Modal, ADelayTurnsThePhase) {
    Ports ports(2);
    CNetworkModalData point = SPoint(ports, Matrix_(2, {0.5, 1, 1, 0.5}), Vector_({50, 50}));
    ComplexVector gamma(2, Complex(3, 4));
    point.SetGamma(&gamma, true);
    ASSERT_TRUE(point.DeembedByDelay(Reals({0.25e-9, 0.0}))); // a quarter of the period
    const ComplexMatrix expected = Matrix_(2, {-0.5, {0, 1}, {0, 1}, 0.5});
    EXPECT_LT(LargestDifference(*point.GetSMatrix(false), expected), 1e-15);
}

TEST(Modal, DeembeddingWantsWhatItNeeds) {
    Ports single(3);
    Ports multiple({1, 2});
    Ports negative({4, -1});
    Ports huge({2147483647, 2147483647});
    negative.size = huge.size = 3;
    struct Case {
        const char* name;
        Ports* ports;
        bool gamma, s;
        int count;
        bool result;
    };
    for (const Case& c : {
             Case{"one for each row", &single, true, true, 3, true},
             Case{"too few", &single, true, true, 2, false},
             Case{"too many", &single, true, true, 4, false},
             Case{"no gamma", &single, false, true, 3, false},
             Case{"no S", &single, true, false, 3, false},
             Case{"one for each port", &multiple, true, true, 2, true},
             Case{"rows where ports are wanted", &multiple, true, true, 3, false},
             Case{"an owner whose ports don't come to the rows", &negative, true, true, 2, false},
             Case{"an owner with more modes than rows", &huge, true, true, 2, false},
         }) {
        SCOPED_TRACE(c.name);
        CNetworkModalData point(c.ports, 1e9);
        ComplexMatrix s = Networks(2).Passive(3);
        ComplexVector gamma(3, Complex(1, 2));
        if (c.s)
            point.SetSMatrix(&s, true);
        if (c.gamma)
            point.SetGamma(&gamma, true);
        const RealVector values(c.count, 1e-10);
        EXPECT_EQ(point.Deembed(values, false, false), c.result);
        EXPECT_EQ(point.DeembedByDelay(values), c.result);
        EXPECT_EQ(c.s && Equal(*point.GetSMatrix(false), s), c.s && !c.result)
            << "S is left alone by what fails";
    }
    CNetworkModalData point = SPoint(multiple, ComplexMatrix(3, 3, 1.0), Vector_({50, 50, 50}));
    ComplexVector gamma(3, Complex(0, 1));
    point.SetGamma(&gamma, true);
    ASSERT_TRUE(point.Deembed(Reals({0.0, 0.5}), false, false));
    const ComplexMatrix& s = *point.GetSMatrix(false);
    EXPECT_EQ(s[0][0], Complex(1.0));
    EXPECT_EQ(s[1][2], s[2][1]);
    EXPECT_NEAR(s[0][2].im, std::sin(0.5), 1e-15);
    EXPECT_NEAR(s[1][1].im, std::sin(1.0), 1e-15);
}

TEST(Modal, SetsSingleImpedances) {
    Ports ports(2);
    CNetworkModalData point(&ports, 0);
    point.SetPortImpedanceElement(2, 1.0);
    EXPECT_EQ(point.GetPortImpedance(), nullptr);
    point.SetPortImpedanceElement(1, 25.0);
    EXPECT_EQ((*point.GetPortImpedance())[1], Complex(25.0));
    CNetworkModalData lone;
    lone.SetPortImpedanceElement(0, 1.0);
    EXPECT_EQ(lone.GetPortImpedance(), nullptr);
}

TEST(Modal, AValueIsConvertedOnDemand) {
    Ports ports(1);
    CNetworkModalData point = Point(ports, NetworkDataKind::ZMatrix, Matrix_(1, {150.0}), Vector_({50.0}));
    EXPECT_NEAR(point.GetValue(NetworkDataKind::SMatrix, 0, 0).re, 0.5, 1e-15);
    EXPECT_NEAR(point.GetValue(NetworkDataKind::YMatrix, 0, 0).re, 1.0 / 150.0, 1e-16);
    EXPECT_NEAR(point.GetValue(NetworkDataKind::Vswr, 0, 0).re, 3.0, 1e-14);
}

TEST(Modal, ACopyIsDeepAndHasNoPostprocessedPoint) {
    Ports ports(2);
    CNetworkModalData point = SPoint(ports, Matrix_(2, {1, 2, 3, 4}), Vector_({50, 75}));
    ComplexMatrix transform = IdentityMatrix(2);
    ComplexVector gamma = Vector_({1, 2});
    point.SetTerminalTransform(&transform);
    point.SetGamma(&gamma, true);
    auto processed = std::make_unique<CNetworkData>();
    CNetworkData* address = processed.get();
    point.SetPostprocessedData(std::move(processed));
    EXPECT_EQ(point.GetPostprocessedData(), address);

    CNetworkModalData copy(point);
    EXPECT_EQ(copy.GetOwner(), &ports);
    EXPECT_EQ(copy.GetPostprocessedData(), &copy);
    EXPECT_EQ(Text(copy), Text(point));
    EXPECT_NE(copy.GetGamma(), point.GetGamma());
    copy = CNetworkModalData();
    EXPECT_EQ(copy.GetPortImpedance(), nullptr);
    EXPECT_EQ(copy.GetGamma(), nullptr);
    EXPECT_EQ(copy.GetTerminalTransform(), nullptr);
    EXPECT_EQ(copy.GetOwner(), &ports);
    const CNetworkModalData& self = point;
    point = self;
    EXPECT_EQ(point.GetPostprocessedData(), address);
    EXPECT_EQ(point.ReleasePostprocessedData().get(), address);
    EXPECT_EQ(point.GetPostprocessedData(), &point);
}

} // namespace
