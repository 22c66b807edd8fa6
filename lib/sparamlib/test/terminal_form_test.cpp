#include "point_tests.h"

#include <bit>

namespace {

const double kHalf = std::sqrt(0.5);

// A coupled pair of lines at one port: an even mode of 60 ohm and an odd one of 40 ohm, which the transform takes to
// the two terminals. With the unitary transform the terminals have half the sum on the diagonal and half the
// difference off it.
struct CoupledPair {
    explicit CoupledPair(const ComplexMatrix& transform) : point(&ports, 1e9) {
        point.SetSMatrix(&s, true);
        point.SetPortImpedance(&impedance, true);
        point.SetGamma(&gamma, true);
        point.SetTerminalTransform(&transform);
    }
    CoupledPair() : CoupledPair(Matrix_(2, {kHalf, kHalf, kHalf, -kHalf})) {}

    Ports ports{2}; // one port with two modes
    ComplexMatrix s = Matrix_(2, {{0.5, 0.25}, 0, 0, {0.125, -0.5}});
    ComplexVector impedance = Vector_({60, 40});
    ComplexVector gamma = Vector_({{0.5, 3}, {1, 2}});
    CNetworkModalData point;
};

TEST(TerminalForm, OfACoupledPairHasTheHalfSumsAndDifferences) {
    CoupledPair pair;
    EXPECT_EQ(pair.point.GetTerminalData(false), nullptr);
    CNetworkTerminalData* form = pair.point.GetTerminalData(true);
    ASSERT_TRUE(form);
    EXPECT_EQ(pair.point.GetTerminalData(true), form);
    EXPECT_EQ(form->GetModalData(false), &pair.point);
    EXPECT_EQ(form->GetOwner(), &pair.ports);
    EXPECT_EQ(form->GetFrequency(), 1e9);
    const auto sums = [](Complex even, Complex odd) {
        const Complex sum = 0.5 * (even + odd), difference = 0.5 * (even - odd);
        return Matrix_(2, {sum, difference, difference, sum});
    };
    EXPECT_LT(LargestDifference(*form->GetSMatrix(false), sums({0.5, 0.25}, {0.125, -0.5})), 1e-15);
    EXPECT_LT(LargestDifference(*form->GetPortImpedance(), sums(60, 40)), 1e-13);
    EXPECT_LT(LargestDifference(*form->GetGamma(), sums({0.5, 3}, {1, 2})), 1e-15);
    EXPECT_TRUE(Equal(*form->GetTransform(), *pair.point.GetTerminalTransform()));
    EXPECT_FALSE(form->IsSDerived());
}

TEST(TerminalForm, GivesItsElementsByTheModalPoint) {
    CoupledPair pair;
    EXPECT_NEAR(pair.point.GetValue(NetworkDataKind::TerminalSMatrix, 0, 0).re, 0.3125, 1e-15);
    EXPECT_NEAR(pair.point.GetValue(NetworkDataKind::TerminalPortImpedance, 0, 1).re, 10.0, 1e-13);
    EXPECT_NEAR(pair.point.GetValue(NetworkDataKind::TerminalGamma, 1, 1).im, 2.5, 1e-15);
    const ComplexMatrix z = *pair.point.GetZMatrix(true);
    const Complex terminal = 0.5 * (z[0][0] - z[1][1]);
    EXPECT_LT(abs(pair.point.GetValue(NetworkDataKind::TerminalZMatrix, 0, 1) - terminal), 1e-12);
    const ComplexMatrix y = *pair.point.GetYMatrix(true);
    EXPECT_LT(abs(pair.point.GetValue(NetworkDataKind::TerminalYMatrix, 0, 0) - 0.5 * (y[0][0] + y[1][1])),
              1e-15);
    EXPECT_EQ(pair.point.GetValue(NetworkDataKind::TerminalSMatrix, 2, 0), Complex());
    pair.point.SetTerminalTransform(nullptr);
    CNetworkModalData without(pair.point);
    EXPECT_EQ(CNetworkModalData(&pair.ports, 0).GetValue(NetworkDataKind::TerminalSMatrix, 0, 0), Complex());
}

// T = (2, 0; 0, 1): T S T^H quadruples S11, T Y T^-1 leaves a diagonal as it is.
TEST(TerminalForm, IsBuiltByTheConjugateAndKeptByTheInverse) {
    CoupledPair pair(Matrix_(2, {{0, 2}, 0, 0, 1}));
    CNetworkTerminalData* form = pair.point.GetTerminalData(true);
    EXPECT_EQ((*form->GetSMatrix(false))[0][0], Complex(2, 1));
    EXPECT_EQ((*form->GetPortImpedance())[0][0], Complex(240));
    const ComplexMatrix y = *pair.point.GetYMatrix(true);
    EXPECT_LT(LargestDifference(*form->GetYMatrix(false), y), 1e-17);
    EXPECT_FALSE(form->IsYDerived());
    ASSERT_TRUE(pair.point.Renormalize(Vector_({60, 40})));
    EXPECT_LT(LargestDifference(*form->GetSMatrix(false), pair.s), 1e-15) << "by the inverse now";
    EXPECT_LT(LargestDifference(*form->GetPortImpedance(), Matrix_(2, {240, 0, 0, 40})), 1e-13);
}

TEST(TerminalForm, FollowsTheModalPointsConversionsAndRenormalisation) {
    CoupledPair pair;
    CNetworkTerminalData* form = pair.point.GetTerminalData(true);
    EXPECT_EQ(form->GetZMatrix(false), nullptr);
    const ComplexMatrix* z = form->GetZMatrix(true);
    ASSERT_TRUE(z) << "the modal point computed its own and brought it here";
    EXPECT_TRUE(form->IsZDerived());
    EXPECT_TRUE(pair.point.GetZMatrix(false));
    ASSERT_TRUE(pair.point.Renormalize(Vector_({100, 50})));
    EXPECT_LT(LargestDifference(*form->GetPortImpedance(), Matrix_(2, {75, 25, 25, 75})), 1e-13);
    const ComplexMatrix& s = *pair.point.GetSMatrix(false);
    EXPECT_LT(abs((*form->GetSMatrix(false))[0][1] - 0.5 * (s[0][0] - s[1][1])), 1e-15);

    const ComplexMatrix before = *form->GetSMatrix(false);
    ASSERT_TRUE(pair.point.Deembed(Reals({0.1}), false, true));
    EXPECT_TRUE(Equal(*form->GetSMatrix(false), before)) << "de-embedding doesn't touch it";
}

TEST(TerminalForm, WithoutATransformIsLeftOrMadeOfZeros) {
    CoupledPair pair;
    CNetworkTerminalData* form = pair.point.GetTerminalData(true);
    const ComplexMatrix before = *form->GetSMatrix(false);
    pair.point.SetTerminalTransform(nullptr);
    ASSERT_TRUE(pair.point.Renormalize(Vector_({100, 50})));
    EXPECT_TRUE(Equal(*form->GetSMatrix(false), before));
    pair.point.GetZMatrix(true);
    ASSERT_TRUE(form->GetZMatrix(false));
    EXPECT_TRUE(IsZero(*form->GetZMatrix(false)));
}

TEST(TerminalForm, IsTheWrittenProductToTheBit) {
    Networks networks(31);
    for (int n = 1; n <= 9; ++n) {
        SCOPED_TRACE(n);
        Ports ports(n);
        CNetworkModalData point(&ports, 1e9);
        ComplexMatrix s = networks.Any(n, 1), transform = networks.Any(n, 1);
        ComplexVector z = networks.ComplexImpedances(n), gamma = networks.ComplexImpedances(n);
        transform[0][0] = 0.0; // sums of zeros, the second one of a negative
        gamma[n - 1] = {-0.0, 0.0};
        if (n == 9)
            transform[1][1].im = std::numeric_limits<double>::infinity();
        point.SetSMatrix(&s, true);
        point.SetPortImpedance(&z, true);
        point.SetGamma(&gamma, true);
        point.SetTerminalTransform(&transform);
        const CNetworkTerminalData* form = point.GetTerminalData(true);
        ASSERT_TRUE(form);
        const ComplexMatrix conjugate = ConjugateTranspose(transform);
        const auto equalBits = [](const ComplexMatrix& a, const ComplexMatrix& b) {
            const auto bits = [](double x) { return std::isnan(x) ? 0 : std::bit_cast<std::uint64_t>(x); };
            return std::equal(a.Data(), a.Data() + a.Size(), b.Data(),
                              [&](const Complex& x, const Complex& y) {
                                  return bits(x.re) == bits(y.re) && bits(x.im) == bits(y.im);
                              });
        };
        EXPECT_TRUE(equalBits(*form->GetPortImpedance(), (transform * DiagonalMatrix(z)) * conjugate));
        EXPECT_TRUE(equalBits(*form->GetGamma(), (transform * DiagonalMatrix(gamma)) * conjugate));
        EXPECT_TRUE(equalBits(*point.GetTerminalData(true)->GetSMatrix(false), (transform * s) * conjugate));
    }
}

TEST(TerminalForm, WantsEverythingThatItIsMadeOf) {
    const auto fails = [](auto&& take) {
        CoupledPair pair;
        take(pair.point);
        EXPECT_EQ(pair.point.GetTerminalData(true), nullptr);
        EXPECT_EQ(pair.point.GetValue(NetworkDataKind::TerminalSMatrix, 0, 0), Complex());
        EXPECT_EQ(pair.point.GetTerminalData(false), nullptr);
    };
    ComplexMatrix large(3, 3, 1.0);
    ComplexVector three(3, 1.0);
    fails([](CNetworkModalData& point) { point.SetTerminalTransform(nullptr); });
    fails([](CNetworkModalData& point) { point.SetSMatrix(nullptr, true); });
    fails([](CNetworkModalData& point) { point.SetGamma(nullptr, true); });
    fails([](CNetworkModalData& point) { point.SetPortImpedance(nullptr, true); });
    fails([&](CNetworkModalData& point) { point.SetTerminalTransform(&large); });
    fails([&](CNetworkModalData& point) { point.SetSMatrix(&large, true); });
    fails([&](CNetworkModalData& point) { point.SetGamma(&three, true); });
    fails([&](CNetworkModalData& point) { point.SetPortImpedance(&three, true); });
}

TEST(TerminalForm, ComputesNothingItselfWhileItsModalPointLives) {
    CoupledPair pair;
    CNetworkTerminalData copy(*pair.point.GetTerminalData(true));
    EXPECT_EQ(copy.GetModalData(true), &pair.point);
    EXPECT_EQ(copy.GetYMatrix(true), nullptr) << "the modal point doesn't keep copies up to date";
    EXPECT_TRUE(copy.IsYDerived());
    EXPECT_TRUE(pair.point.GetYMatrix(false)) << "but it was asked";
    EXPECT_FALSE(copy.Renormalize(Vector_({50, 50})));
    EXPECT_TRUE(copy.GetSMatrix(false));
}

TEST(TerminalForm, StandsAloneWhenItsModalPointGoesFirst) {
    auto pair = std::make_unique<CoupledPair>();
    CNetworkTerminalData copy(*pair->point.GetTerminalData(true));
    std::unique_ptr<CNetworkTerminalData> form = pair->point.ReleaseTerminalData();
    EXPECT_EQ(pair->point.GetTerminalData(false), nullptr);
    EXPECT_EQ(form->GetModalData(false), &pair->point);
    Ports ports(2);
    form->SetOwner(&ports);
    copy.SetOwner(&ports);
    pair.reset();
    for (CNetworkTerminalData* point : {form.get(), &copy}) {
        EXPECT_EQ(point->GetModalData(false), nullptr);
        ASSERT_TRUE(point->GetZMatrix(true));
        EXPECT_FALSE(IsZero(*point->GetZMatrix(true)));
        EXPECT_TRUE(point->Renormalize(Vector_({50, 50})));
    }
    EXPECT_TRUE(Equal(*form->GetSMatrix(false), *copy.GetSMatrix(false)));
}

TEST(TerminalForm, OfACopiedModalPointIsBoundToTheCopy) {
    CoupledPair pair;
    CNetworkTerminalData* form = pair.point.GetTerminalData(true);
    CNetworkModalData copy(pair.point);
    CNetworkTerminalData* copied = copy.GetTerminalData(false);
    ASSERT_TRUE(copied);
    EXPECT_NE(copied, form);
    EXPECT_EQ(copied->GetModalData(false), &copy);
    EXPECT_EQ(form->GetModalData(false), &pair.point);
    EXPECT_TRUE(Equal(*copied->GetSMatrix(false), *form->GetSMatrix(false)));
    copied->GetYMatrix(true);
    EXPECT_TRUE(copied->GetYMatrix(false));
    EXPECT_EQ(form->GetYMatrix(false), nullptr);

    CNetworkModalData assigned(&pair.ports, 0);
    assigned = copy;
    EXPECT_EQ(assigned.GetTerminalData(false)->GetModalData(false), &assigned);
    assigned = CNetworkModalData();
    EXPECT_EQ(assigned.GetTerminalData(false), nullptr);
}

} // namespace
