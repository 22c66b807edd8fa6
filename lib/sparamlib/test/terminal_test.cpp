#include "point_tests.h"

#include <matrix/linear_algebra.h>

#include <functional>

namespace {

const Complex kNothing;

// A matrix with a root: near a diagonal one with impedances in the right half-plane, and symmetric.
ComplexMatrix Reference(Networks& networks, int n) {
    ComplexMatrix r = networks.Any(n, 20.0 / n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < i; ++j)
            r[i][j] = r[j][i];
        r[i][i] = {networks.Between(40, 90), networks.Between(-20, 20)};
    }
    return r;
}

CNetworkTerminalData SPoint(Ports& ports, ComplexMatrix s, ComplexMatrix r) {
    CNetworkTerminalData point(&ports, 1e9);
    point.SetSMatrix(&s, true);
    point.SetPortImpedance(&r, true);
    return point;
}

CNetworkTerminalData Other(Ports& ports, ComplexMatrix* y, ComplexMatrix* z, ComplexMatrix* r) {
    CNetworkTerminalData point(&ports, 1e9);
    point.SetYMatrix(y, true);
    point.SetZMatrix(z, true);
    point.SetPortImpedance(r, true);
    return point;
}

void ForNetworks(
    const std::function<void(Networks&, Ports&, const ComplexMatrix& s, const ComplexMatrix& r)>& check) {
    Networks networks(23);
    for (int n = 1; n <= 16; ++n) {
        SCOPED_TRACE(n);
        Ports ports(n);
        const ComplexMatrix s = networks.Passive(n);
        ComplexMatrix diagonal(n, n);
        for (int i = 0; i < n; ++i)
            diagonal[i][i] = networks.Between(5, 200);
        check(networks, ports, s, diagonal);
        check(networks, ports, s, Reference(networks, n));
    }
}

TEST(Terminal, ConvertsByTheWrittenFormula) {
    ForNetworks([](Networks&, Ports& ports, const ComplexMatrix& s, const ComplexMatrix& r) {
        const ComplexMatrix one = IdentityMatrix(s.Rows());
        ComplexMatrix root, inverse;
        ASSERT_TRUE(MatrixSqrt(r, root) && MatrixPower(r, -0.5, inverse));
        ComplexMatrix y, w, result;
        MatrixSolve(one + s, one - s, y);
        MatrixSolve(one - s, one + s, w);
        y = (inverse * y) * inverse;
        w = (root * w) * root;
        CNetworkTerminalData point = SPoint(ports, s, r);
        EXPECT_TRUE(Equal(*point.GetYMatrix(true), y));
        EXPECT_TRUE(Equal(*point.GetZMatrix(true), w));
        EXPECT_TRUE(point.IsYDerived() && point.IsZDerived() && !point.IsSDerived());

        const ComplexMatrix fromY = (root * y) * root;
        MatrixSolve(one + fromY, one - fromY, result);
        ComplexMatrix reference = r;
        CNetworkTerminalData yPoint = Other(ports, &y, nullptr, &reference);
        EXPECT_TRUE(Equal(*yPoint.GetSMatrix(true), result));
        EXPECT_TRUE(Equal(*Other(ports, &y, nullptr, nullptr).GetZMatrix(true), MatrixInverse(y)));
        const ComplexMatrix fromZ = (inverse * w) * inverse;
        MatrixSolve(fromZ + one, fromZ - one, result);
        CNetworkTerminalData zPoint = Other(ports, nullptr, &w, &reference);
        EXPECT_TRUE(Equal(*zPoint.GetSMatrix(true), result));
        EXPECT_TRUE(zPoint.IsSDerived());
        EXPECT_TRUE(Equal(*Other(ports, nullptr, &w, nullptr).GetYMatrix(true), MatrixInverse(w)));
    });
}

TEST(Terminal, ConversionsAndRenormalisationsGoThereAndBack) {
    ForNetworks([](Networks& networks, Ports& ports, const ComplexMatrix& s, const ComplexMatrix& r) {
        const int n = s.Rows();
        ComplexMatrix reference = r;
        CNetworkTerminalData point = SPoint(ports, s, r);
        ComplexMatrix y = *point.GetYMatrix(true), z = *point.GetZMatrix(true);
        EXPECT_LT(LargestDifference(*Other(ports, &y, nullptr, &reference).GetSMatrix(true), s), 1e-12);
        EXPECT_LT(LargestDifference(*Other(ports, nullptr, &z, &reference).GetSMatrix(true), s), 1e-12);
        EXPECT_LT(LargestDifference(y * z, IdentityMatrix(n)), 1e-11);

        ASSERT_TRUE(point.RenormalizeMatrix(Reference(networks, n)));
        EXPECT_TRUE(Equal(*point.GetYMatrix(false), y)) << "the same network";
        EXPECT_TRUE(point.IsSDerived());
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), Transpose(*point.GetSMatrix(false))), 1e-12);
        ASSERT_TRUE(point.RenormalizeMatrix(r));
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), s), 1e-12);
    });
}

// With a diagonal reference a terminal point is a modal one.
TEST(Terminal, AgreesWithAModalPointWhereTheReferenceIsDiagonal) {
    Networks networks(5);
    for (int n = 1; n <= 8; ++n) {
        SCOPED_TRACE(n);
        Ports ports(n);
        ComplexMatrix s = networks.Passive(n);
        ComplexVector z = networks.RealImpedances(n), other = networks.RealImpedances(n);
        CNetworkTerminalData terminal = SPoint(ports, s, DiagonalMatrix(z));
        CNetworkModalData modal(&ports, 1e9);
        modal.SetSMatrix(&s, true);
        modal.SetPortImpedance(&z, true);
        EXPECT_LT(LargestDifference(*terminal.GetYMatrix(true), *modal.GetYMatrix(true)), 1e-14);
        EXPECT_LT(LargestDifference(*terminal.GetZMatrix(true), *modal.GetZMatrix(true)), 1e-9);
        EXPECT_TRUE(terminal.Renormalize(other) && modal.Renormalize(other));
        EXPECT_LT(LargestDifference(*terminal.GetSMatrix(false), *modal.GetSMatrix(false)), 1e-13);

        ComplexVector gamma = networks.ComplexImpedances(n);
        for (int i = 0; i < n; ++i)
            gamma[i] = {gamma[i].re / 1000, gamma[i].im / 40};
        ComplexMatrix diagonal = DiagonalMatrix(gamma);
        terminal.SetGamma(&diagonal, true);
        modal.SetGamma(&gamma, true);
        const RealVector distances(n, 0.013);
        for (bool lossless : {false, true}) {
            EXPECT_TRUE(terminal.DeembedTerminals(distances, lossless) &&
                        modal.Deembed(distances, lossless, true));
            EXPECT_LT(LargestDifference(*terminal.GetSMatrix(false), *modal.GetSMatrix(false)), 1e-13);
            EXPECT_LT(LargestDifference(*terminal.GetYMatrix(false), *modal.GetYMatrix(false)), 1e-13);
        }
        EXPECT_TRUE(terminal.IsYDerived() && terminal.IsZDerived()) << "they stay computed";
        EXPECT_FALSE(modal.IsYDerived() || modal.IsZDerived());
        const RealVector delays(n, 0.1e-9);
        EXPECT_TRUE(terminal.DeembedByDelay(delays) && modal.DeembedByDelay(delays));
        EXPECT_LT(LargestDifference(*terminal.GetSMatrix(false), *modal.GetSMatrix(false)), 1e-13);
    }
}

TEST(Terminal, EveryTerminalsPlaneMovesByTheWholeOfGamma) {
    Ports ports(2);
    CNetworkTerminalData point = SPoint(ports, ComplexMatrix(2, 2, 1.0), IdentityMatrix(2));
    const double k0 = 6.283185307179586 * 1e9 / 299792458.0;
    ComplexMatrix gamma = Matrix_(2, {{0, 2 / k0}, {0, 1 / k0}, 0, {0.5 / k0, 1 / k0}});
    point.SetGamma(&gamma, true);
    ASSERT_TRUE(point.DeembedTerminals(Reals({0.1, 0.2}), false));
    // Exponents: 0.4j for the first, 0.1 + 0.2j for the second.
    const ComplexMatrix& s = *point.GetSMatrix(false);
    EXPECT_LT(abs(s[0][0] - Complex(std::cos(0.8), std::sin(0.8))), 1e-15);
    EXPECT_LT(abs(s[0][1] - std::exp(0.1) * Complex(std::cos(0.6), std::sin(0.6))), 1e-15);
    EXPECT_LT(abs(s[1][1] - std::exp(0.2) * Complex(std::cos(0.4), std::sin(0.4))), 1e-15);
    ASSERT_TRUE(point.DeembedTerminals(Reals({-0.1, -0.2}), false));
    EXPECT_LT(LargestDifference(*point.GetSMatrix(false), ComplexMatrix(2, 2, 1.0)), 1e-15);
}

TEST(Terminal, DeembeddingWantsWhatItNeeds) {
    Ports ports(2);
    struct Case {
        bool gamma, s;
        int count;
        bool terminals, byDelay;
    };
    for (const Case& c : {Case{true, true, 2, true, true}, Case{false, true, 2, false, true},
                          Case{true, false, 2, false, false}, Case{true, true, 1, false, false},
                          Case{true, true, 3, false, false}}) {
        CNetworkTerminalData point(&ports, 1e9);
        ComplexMatrix m(2, 2, 0.25);
        if (c.gamma)
            point.SetGamma(&m, true);
        if (c.s)
            point.SetSMatrix(&m, true);
        const RealVector values(c.count, 1e-10);
        EXPECT_EQ(point.DeembedTerminals(values, false), c.terminals);
        EXPECT_EQ(point.DeembedByDelay(values), c.byDelay);
        EXPECT_FALSE(point.Deembed(values, false, true));
    }
    CNetworkTerminalData lone;
    EXPECT_FALSE(lone.DeembedTerminals(RealVector(), false));
    EXPECT_FALSE(lone.DeembedByDelay(RealVector()));
}

TEST(Terminal, RenormaliseSetsTheDiagonalAndKeepsTheRest) {
    Ports ports(2);
    const ComplexMatrix s = Matrix_(2, {0.1, 0.2, 0.2, 0.1});
    const ComplexMatrix r = Matrix_(2, {60, 10, 10, 70});
    struct Case {
        ComplexVector impedances;
        bool result;
        ComplexMatrix expected;
    };
    for (const Case& c : {
             Case{Vector_({50, 80}), true, Matrix_(2, {50, 10, 10, 80})},
             Case{Vector_({{0, 1e-10}, 80}), true, Matrix_(2, {60, 10, 10, 80})},
             Case{Vector_({0, 0}), true, r},
             Case{Vector_({50}), false, r},
             Case{Vector_({50, 50, 50}), false, r},
             Case{ComplexVector(), false, r},
         }) {
        CNetworkTerminalData point = SPoint(ports, s, r);
        EXPECT_EQ(point.Renormalize(c.impedances), c.result);
        EXPECT_TRUE(Equal(*point.GetPortImpedance(), c.expected));
        ASSERT_TRUE(point.GetSMatrix(false));
        if (!c.result) {
            EXPECT_TRUE(Equal(*point.GetSMatrix(false), s));
        }
    }
}

TEST(Terminal, RenormaliseByAMatrixTakesItAsItIs) {
    Ports ports(2);
    const ComplexMatrix s = Matrix_(2, {0.1, 0.2, 0.2, 0.1});
    CNetworkTerminalData point = SPoint(ports, s, Matrix_(2, {60, 10, 10, 70}));
    EXPECT_FALSE(point.RenormalizeMatrix(ComplexMatrix(3, 3)));
    EXPECT_FALSE(point.RenormalizeMatrix(ComplexMatrix(2, 3)));
    EXPECT_TRUE(Equal(*point.GetSMatrix(false), s));
    const ComplexMatrix withZero = Matrix_(2, {0, 0, 0, 50});
    EXPECT_TRUE(point.RenormalizeMatrix(withZero));
    EXPECT_TRUE(Equal(*point.GetPortImpedance(), withZero));
    EXPECT_NEAR((*point.GetSMatrix(false))[0][0].re, 1.0, 1e-15) << "nothing flows into no impedance";
}

TEST(Terminal, RenormaliseWantsWhatItNeeds) {
    Ports ports(2);
    ComplexMatrix m = Matrix_(2, {0.5, 0.1, 0.1, 0.5});
    ComplexMatrix wide(2, 3, 50.0);
    struct Case {
        const char* name;
        ComplexMatrix *s, *y, *r;
    };
    for (const Case& c : {Case{"no S", nullptr, &m, &m}, Case{"no R", &m, nullptr, nullptr},
                          Case{"no R, but Y", &m, &m, nullptr}, Case{"R of another shape", &m, &m, &wide},
                          Case{"Y of another shape", &m, &wide, &m}}) {
        SCOPED_TRACE(c.name);
        CNetworkTerminalData point(&ports, 0);
        point.SetSMatrix(c.s, true);
        point.SetYMatrix(c.y, true);
        point.SetPortImpedance(c.r, true);
        EXPECT_FALSE(point.Renormalize(Vector_({50, 50})));
        EXPECT_FALSE(point.RenormalizeMatrix(m));
        EXPECT_EQ(point.GetSMatrix(false) != nullptr, c.s != nullptr);
    }
}

TEST(Terminal, AReferenceWithoutARootLeavesNoS) {
    Ports ports(2);
    ComplexMatrix m = Matrix_(2, {0.5, 0.1, 0.1, 0.5});
    ComplexMatrix wide(2, 3, 50.0), bad(2, 2, std::nan(""));
    for (ComplexMatrix* r : {static_cast<ComplexMatrix*>(nullptr), &wide, &bad}) {
        for (bool fromY : {false, true}) {
            CNetworkTerminalData point = Other(ports, fromY ? &m : nullptr, fromY ? nullptr : &m, r);
            EXPECT_EQ(point.GetSMatrix(true), nullptr);
            EXPECT_EQ(point.GetSMatrix(false), nullptr);
            EXPECT_TRUE(point.IsSDerived());
            EXPECT_EQ(point.GetValue(NetworkDataKind::SMatrix, 0, 0), kNothing);
        }
        CNetworkTerminalData point(&ports, 0);
        point.SetSMatrix(&m, true);
        point.SetPortImpedance(r, true);
        EXPECT_EQ(IsZero(*point.GetYMatrix(true)), r != nullptr) << "without R it is the normalised one";
        EXPECT_EQ(IsZero(*point.GetZMatrix(true)), r != nullptr);
    }
    CNetworkTerminalData point = SPoint(ports, m, Matrix_(2, {50, 0, 0, 50}));
    EXPECT_FALSE(point.RenormalizeMatrix(bad));
    EXPECT_EQ(point.GetSMatrix(false), nullptr);
}

TEST(Terminal, WithoutDataConversionsGiveZeros) {
    Ports ports(2);
    CNetworkTerminalData point(&ports, 0);
    for (auto get : {&CNetworkData::GetSMatrix, &CNetworkData::GetYMatrix, &CNetworkData::GetZMatrix}) {
        EXPECT_EQ((point.*get)(false), nullptr);
        CNetworkTerminalData asked(&ports, 0);
        ASSERT_TRUE((asked.*get)(true));
        EXPECT_TRUE(Equal(*(asked.*get)(true), ComplexMatrix(2, 2)));
    }
    ComplexMatrix s = Matrix_(2, {0.5, 0, 0, 0}); // y = 1/3 and 1, unscaled without a reference
    point.SetSMatrix(&s, true);
    EXPECT_LT(LargestDifference(*point.GetYMatrix(true), Matrix_(2, {1.0 / 3, 0, 0, 1})), 1e-15);
    EXPECT_LT(LargestDifference(*point.GetZMatrix(true), Matrix_(2, {3, 0, 0, 1})), 1e-15);
    ComplexMatrix through = Matrix_(2, {0, 1, 1, 0});
    CNetworkTerminalData singular = SPoint(ports, through, IdentityMatrix(2));
    EXPECT_TRUE(IsZero(*singular.GetYMatrix(true)) && IsZero(*singular.GetZMatrix(true)));
    EXPECT_TRUE(singular.RenormalizeMatrix(IdentityMatrix(2)));
    EXPECT_TRUE(Equal(*singular.GetSMatrix(false), IdentityMatrix(2))) << "another network";
}

TEST(Terminal, ACopyIsDeep) {
    Ports ports(2);
    CNetworkTerminalData point = SPoint(ports, Matrix_(2, {1, 2, 3, 4}), Matrix_(2, {50, 0, 0, 50}));
    ComplexMatrix gamma = Matrix_(2, {1, 0, 0, 2});
    point.SetGamma(&gamma, true);
    CNetworkTerminalData copy(point);
    EXPECT_EQ(Text(copy), Text(point));
    EXPECT_EQ(copy.GetOwner(), &ports);
    EXPECT_NE(copy.GetGamma(), point.GetGamma());
    EXPECT_NE(copy.GetPortImpedance(), point.GetPortImpedance());
    copy = CNetworkTerminalData();
    EXPECT_EQ(copy.GetGamma(), nullptr);
    EXPECT_EQ(copy.GetPortImpedance(), nullptr);
}

} // namespace
