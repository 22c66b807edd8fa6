#include "plain_tableau.h"
#include "solution_tests.h"

#include "../source/rational_tableau.h"

#include <sparamlib/neville_interpolate_visitor.h>

#include <algorithm>

namespace {

RealVector Ascending(Networks& random, int count) {
    std::vector<double> values;
    for (int i = 0; i < count; ++i)
        values.push_back(random.Between(1e9, 2e9));
    std::sort(values.begin(), values.end());
    RealVector frequencies(count);
    std::copy(values.begin(), values.end(), frequencies.Data());
    return frequencies;
}

std::vector<const ComplexMatrix*> PointersTo(const std::vector<ComplexMatrix>& matrices) {
    std::vector<const ComplexMatrix*> pointers;
    for (const ComplexMatrix& matrix : matrices)
        pointers.push_back(&matrix);
    return pointers;
}

// (r + 2 c - 1 + s (1 + r) + s^2 c) / ((1 + r + c) + s + s^2): with 5 points or more the tableau must hit it.
Complex Rational(double frequency, int r, int c) {
    const Complex s(0.0, frequency / 1e9);
    const Complex top = Complex(r + 2 * c - 1) + Complex(1 + r) * s + Complex(c) * s * s;
    return Quotient(top, Complex(1 + r + c) + s + s * s);
}

ComplexMatrix RationalMatrix(double frequency, int n) {
    ComplexMatrix matrix(n, n);
    for (int r = 0; r < n; ++r) {
        for (int c = 0; c < n; ++c)
            matrix[r][c] = Rational(frequency, r, c);
    }
    return matrix;
}

TEST(Tableau, EqualsTheOneWrittenOutToTheBitForAnySizeAndPlace) {
    Networks random(2);
    for (int n : {1, 2, 3, 4, 5}) {
        for (int m : {1, 2, 3, 7, 40}) {
            const RealVector frequencies = Ascending(random, m);
            std::vector<ComplexMatrix> samples;
            for (int i = 0; i < m; ++i)
                samples.push_back(random.Any(n, 1.0));
            // Elements that are real or nought go another way through the products.
            for (int i = 0; i < m; ++i) {
                samples[static_cast<std::size_t>(i)][0][0].im = 0.0;
                if (n > 2)
                    samples[static_cast<std::size_t>(i)][2][1] = Complex();
            }
            for (double x :
                 {1.5e9, 0.0, 5e9, frequencies[m / 2], frequencies[0] + 5e-07, frequencies[0] + 1e-05}) {
                ComplexMatrix result(n, n), error(n, n), plain(n, n), plainError(n, n);
                const bool isGood = PlainTableau(x, plain, PointersTo(samples), frequencies, plainError);
                ASSERT_EQ(RationalInterpolate(x, result, PointersTo(samples), frequencies, error), isGood);
                if (isGood) {
                    EXPECT_TRUE(Equal(result, plain)) << n << " " << m << " " << x;
                    EXPECT_TRUE(Equal(error, plainError)) << n << " " << m << " " << x;
                }
            }
        }
    }
}

TEST(Tableau, HitsARationalFunctionBetweenAndBeyondItsSamples) {
    for (int m : {5, 6, 9}) {
        RealVector frequencies(m);
        std::vector<ComplexMatrix> samples;
        for (int i = 0; i < m; ++i) {
            frequencies[i] = 1e8 + i * 4e8;
            samples.push_back(RationalMatrix(frequencies[i], 3));
        }
        for (double x : {2.1e8, 1.3e9, 5e7, 1.1 * frequencies[m - 1]}) {
            ComplexMatrix result(3, 3), error(3, 3);
            ASSERT_TRUE(RationalInterpolate(x, result, PointersTo(samples), frequencies, error));
            EXPECT_LT(LargestDifference(result, RationalMatrix(x, 3)), 1e-9) << m << " " << x;
        }
    }
}

TEST(Tableau, RefusesAPoleAndSamplesThatDoNotFit) {
    const ComplexMatrix one = Matrix_(1, {Complex(1.0)}), two = Matrix_(1, {Complex(2.0)});
    const ComplexMatrix larger(2, 2), wide(1, 2);
    ComplexMatrix result(1, 1), error(1, 1);
    // t = (1 - x) d / (2 - x) = 2 (1 + 1e-12) / 1, which is the second sample.
    const double shifted = 1.0 + 1e-12;
    const ComplexMatrix pole = Matrix_(1, {Complex(2.0 * shifted)});
    struct Case {
        const char* what;
        std::vector<const ComplexMatrix*> samples;
        RealVector frequencies;
        bool isGood;
    };
    for (const Case& c : std::vector<Case>{
             {"good", {&one, &two}, Reals({-2.0, 1.0}), true},
             {"pole", {&one, &pole}, Reals({-2.0, -1.0}), false},
             {"none", {}, RealVector(), false},
             {"fewer than frequencies", {&one}, Reals({1.0, 2.0}), false},
             {"first absent", {nullptr, &one}, Reals({1.0, 2.0}), false},
             {"later absent", {&one, nullptr}, Reals({1.0, 2.0}), false},
             {"larger", {&larger, &larger}, Reals({1.0, 2.0}), false},
             {"later of another shape", {&one, &wide}, Reals({1.0, 2.0}), false},
         })
        EXPECT_EQ(RationalInterpolate(0.0, result, c.samples, c.frequencies, error), c.isGood) << c.what;
    // The same in an element behind good ones: nothing of it is given.
    const ComplexMatrix first = Matrix_(2, {Complex(3.0), Complex(4.0), Complex(1.0), Complex(1.0)});
    const ComplexMatrix second =
        Matrix_(2, {Complex(5.0), Complex(5.5), Complex(7.0), Complex(2.0 * shifted)});
    ComplexMatrix wider(2, 2), widerError(2, 2);
    EXPECT_FALSE(RationalInterpolate(0.0, wider, {&first, &second}, Reals({-2.0, -1.0}), widerError));
}

TEST(Parabola, GoesThroughTheNearestPointAndItsNeighboursInsideTheSweep) {
    // Quadratic but for the samples at either end, which only their own neighbourhood sees.
    const auto quadratic = [](double x) { return Complex(1 + x * x, 3 * x); };
    const RealVector frequencies = Reals({0, 1, 3, 4, 6, 7});
    std::vector<ComplexVector> samples;
    for (int i = 0; i < 6; ++i)
        samples.push_back(Vector_({quadratic(frequencies[i])}));
    samples[0][0] += Complex(100);
    samples[5][0] += Complex(100);
    std::vector<const ComplexVector*> pointers;
    for (const ComplexVector& sample : samples)
        pointers.push_back(&sample);
    struct Case {
        double x;
        bool isQuadratic;
    };
    for (const Case& c : {Case{2.5, true}, Case{4.4, true}, Case{3.0, true}, Case{2.0, false},
                          Case{0.1, false}, Case{-1.0, false}, Case{5.5, false}, Case{9.0, false}}) {
        ComplexVector result(1);
        ASSERT_TRUE(QuadraticInterpolate(c.x, result, pointers, frequencies));
        EXPECT_EQ(abs(result[0] - quadratic(c.x)) < 1e-12, c.isQuadratic) << c.x;
    }
    ComplexVector result(1), longer(2);
    pointers[5] = nullptr;
    EXPECT_FALSE(QuadraticInterpolate(3.0, result, pointers, frequencies));
    EXPECT_FALSE(QuadraticInterpolate(3.0, result, {pointers[0], pointers[1]}, Reals({0, 1})));
    EXPECT_FALSE(
        QuadraticInterpolate(3.0, longer, {pointers[0], pointers[1], pointers[2]}, Reals({0, 1, 3})));
}

// A solution of three rows on two ports, with everything that its class of points can hold.
template <class Solution>
Solution Sweep(int points) {
    auto solution = WithRows<Solution>({u"A", u"A", u"B"});
    solution.SetSolutionType(SolutionType::InterpolateNeville);
    for (int i = 0; i < points; ++i) {
        const double frequency = 1e8 + i * 4e8;
        CNetworkData* point = solution.AddData(frequency);
        ComplexMatrix s = RationalMatrix(frequency, 3);
        point->SetSMatrix(&s, true);
        for (std::int32_t r = 0; r < 3; ++r) {
            for (std::int32_t c = 0; c < 3; ++c) {
                point->SetValue(NetworkDataKind::PortImpedance, Complex(50 + r, c), r, c);
                point->SetValue(NetworkDataKind::Gamma, Complex(0.1 * r, c + frequency / 1e9), r, c);
            }
        }
    }
    return solution;
}

TEST(Neville, FillsAModalPointWithWhatItsPointsHold) {
    auto solution = Sweep<CNetworkModalSolution>(7);
    const ComplexMatrix transform = IdentityMatrix(3);
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        static_cast<CNetworkModalData*>(point)->SetTerminalTransform(&transform);
    auto* point = dynamic_cast<CNetworkModalData*>(solution.GetData(1.25e9, 0, true, false));
    ASSERT_TRUE(point);
    EXPECT_LT(LargestDifference(SOf(point), RationalMatrix(1.25e9, 3)), 1e-9);
    EXPECT_EQ(point->GetDataType(), DataType::Interpolated);
    EXPECT_EQ(point->GetOwner(), &solution);
    EXPECT_GT(point->GetAuxValue(), 0.0);
    EXPECT_LT(point->GetAuxValue(), 1e-6);
    EXPECT_LT(abs(point->GetValue(NetworkDataKind::PortImpedance, 2, 2) - Complex(52, 2)), 1e-9);
    EXPECT_LT(abs(point->GetValue(NetworkDataKind::Gamma, 1, 1) - Complex(0.1, 2.25)), 1e-9);
    ASSERT_TRUE(point->GetTerminalTransform());
    EXPECT_LT(LargestDifference(*point->GetTerminalTransform(), transform), 1e-9);
    EXPECT_EQ(solution.GetData(1.25e9, 0, true, false), point);
    EXPECT_EQ(solution.GetData(1.25e9, 0, false, false), point);
    EXPECT_EQ(solution.GetNumFrequencies(), 1);

    // Extrapolated by the same formulas, and at 0 Hz too.
    for (double x : {0.0, 5e7, 3e9})
        EXPECT_LT(LargestDifference(SOf(solution.GetData(x, 0, true, false)), RationalMatrix(x, 3)), 1e-8)
            << x;
}

TEST(Neville, LeavesOutWhatNotAllPointsHoldAndRefusesWithoutImpedances) {
    const ComplexMatrix transform = IdentityMatrix(3);
    auto solution = Sweep<CNetworkModalSolution>(5);
    const auto at = [&](int i) { return static_cast<CNetworkModalData*>(solution.AddData(1e8 + i * 4e8)); };
    at(2)->SetGamma(nullptr, true);
    at(3)->SetTerminalTransform(&transform);
    auto* point = dynamic_cast<CNetworkModalData*>(solution.GetData(1.25e9, 0, true, false));
    ASSERT_TRUE(point);
    EXPECT_EQ(point->GetGamma(), nullptr);
    EXPECT_EQ(point->GetTerminalTransform(), nullptr);
    at(4)->SetPortImpedance(nullptr, true);
    EXPECT_EQ(solution.GetData(1.26e9, 0, true, false), nullptr);
    EXPECT_EQ(solution.GetInterpolatedPoints().Size(), 1u);
}

TEST(Neville, FillsATerminalPointByTheTableauAlone) {
    for (int points : {1, 2, 7}) {
        auto solution = Sweep<CNetworkTerminalSolution>(points);
        auto* point = dynamic_cast<CNetworkTerminalData*>(solution.GetData(1.25e9, 0, true, false));
        ASSERT_TRUE(point) << points;
        ASSERT_TRUE(point->GetGamma() && point->GetPortImpedance());
        EXPECT_LT(abs(point->GetValue(NetworkDataKind::PortImpedance, 1, 2) - Complex(51, 2)), 1e-9);
        if (points == 1) {
            EXPECT_TRUE(Equal(SOf(point), RationalMatrix(1e8, 3)));
        }
        if (points == 7) {
            EXPECT_LT(abs(point->GetValue(NetworkDataKind::Gamma, 1, 2) - Complex(0.1, 3.25)), 1e-9);
        }
    }
    auto solution = Sweep<CNetworkTerminalSolution>(5);
    static_cast<CNetworkTerminalData*>(solution.AddData(5e8))->SetGamma(nullptr, true);
    EXPECT_EQ(solution.GetData(1.25e9, 0, true, false), nullptr);
}

TEST(Neville, NeedsThreeModalPointsButOneForSAlone) {
    for (int points : {1, 2, 3}) {
        auto solution = Sweep<CNetworkModalSolution>(points);
        EXPECT_EQ(solution.GetData(1.25e9, 0, true, false) != nullptr, points == 3);
        CNevilleInterpolateVisitor visitor;
        CNetworkData point(&solution, 1.25e9);
        EXPECT_TRUE(visitor.Visit(&solution, &point));
        EXPECT_FALSE(visitor.Visit(&solution, nullptr));
    }
    CNetworkModalSolution empty;
    CNetworkData point(&empty, 1e9);
    EXPECT_FALSE(CNevilleInterpolateVisitor().Visit(&empty, &point));
}

TEST(Neville, GivesAHeldFrequencyItsMatrixWithNoError) {
    auto solution = Sweep<CNetworkModalSolution>(5);
    for (double x : {5e8, 5e8 + 9e-07, 5e8 - 9e-07}) {
        CNetworkData point(&solution, x);
        ASSERT_TRUE(CNevilleInterpolateVisitor().Visit(&solution, &point));
        EXPECT_TRUE(Equal(SOf(&point), RationalMatrix(5e8, 3))) << x;
        EXPECT_EQ(point.GetAuxValue(), 0.0) << x;
    }
}

TEST(Neville, ComputesTheSOfItsPointsWhereItIsAbsent) {
    auto solution = Sweep<CNetworkModalSolution>(5);
    auto* point = solution.AddData(5e8);
    const ComplexMatrix s = SOf(point);
    point->GetYMatrix(true);
    point->SetSMatrix(nullptr, true);
    ASSERT_TRUE(solution.GetData(1.25e9, 0, true, false));
    EXPECT_LT(LargestDifference(SOf(point), s), 1e-9);
    EXPECT_TRUE(point->IsSDerived());
}

TEST(Neville, FillsAFieldSolversPointByTheImpedanceThatCounts) {
    auto solution = Sweep<FieldPoints>(5);
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        auto& data = static_cast<CZephModalData&>(*point);
        data.SetPortImpedance(nullptr, true);
        for (std::int32_t i = 0; i < 3; ++i) {
            data.SetValue(NetworkDataKind::Zpi, Complex(40 + i), i, i);
            data.SetValue(NetworkDataKind::Zvi, Complex(60 + i), i, i);
            data.SetValue(NetworkDataKind::Zpv, Complex(80 + i), i, i);
        }
        ComplexMatrix t = RationalMatrix(frequency, 3);
        data.SetTMatrix(&t, true);
        data.SetPMatrix(&t, true);
    }
    solution.SetPreferredImpedance(NetworkDataKind::Zvi);
    CZephModalData point(&solution, 1.25e9);
    ASSERT_TRUE(CNevilleInterpolateVisitor().VisitZephModal(&solution, &point));
    for (const ComplexMatrix* matrix :
         {point.GetSMatrix(false), const_cast<ComplexMatrix*>(point.GetTMatrix()),
          const_cast<ComplexMatrix*>(point.GetPMatrix())})
        EXPECT_LT(LargestDifference(*matrix, RationalMatrix(1.25e9, 3)), 1e-8);
    const std::pair<NetworkDataKind, double> impedances[] = {{NetworkDataKind::Zpi, 41},
                                                             {NetworkDataKind::Zvi, 61},
                                                             {NetworkDataKind::Zpv, 81},
                                                             {NetworkDataKind::PortImpedance, 61}};
    for (const auto& [kind, ohms] : impedances)
        EXPECT_LT(abs(point.GetValue(kind, 1, 1) - Complex(ohms)), 1e-9);

    auto* third = solution.Add(9e8);
    third->SetZpv(nullptr, true);
    CZephModalData another(&solution, 1.25e9);
    EXPECT_FALSE(CNevilleInterpolateVisitor().VisitZephModal(&solution, &another));
    for (const auto [frequency, data] : solution.GetSolvedPoints())
        static_cast<CZephModalData*>(data)->SetZpv(nullptr, true);
    third->SetTMatrix(nullptr, true);
    EXPECT_FALSE(CNevilleInterpolateVisitor().VisitZephModal(&solution, &another));
    third->SetSMatrix(nullptr, true);
    EXPECT_FALSE(CNevilleInterpolateVisitor().Visit(&solution, &another));
}

TEST(Neville, TheVisitorItselfRefusesEverythingAndNothingIsKept) {
    auto modal = Sweep<CNetworkModalSolution>(5);
    auto terminal = Sweep<CNetworkTerminalSolution>(5);
    CInterpolateVisitor refusal;
    EXPECT_EQ(modal.Interpolate(1.25e9, refusal, true), nullptr);
    EXPECT_EQ(terminal.Interpolate(1.25e9, refusal, true), nullptr);
    EXPECT_EQ(modal.CNetworkDataSolution::Interpolate(1.25e9, refusal, true), nullptr);
    EXPECT_TRUE(modal.GetInterpolatedPoints().IsEmpty());
    EXPECT_TRUE(terminal.GetInterpolatedPoints().IsEmpty());
}

TEST(Neville, TheBaseOfAllSolutionsInterpolatesInsideItsRangeOnly) {
    auto solution = Sweep<CNetworkModalSolution>(5);
    CNevilleInterpolateVisitor visitor;
    struct Case {
        double x;
        bool outside;
        bool isGood;
    };
    for (const Case& c : {Case{1e8, false, false}, Case{1.7e9, false, false}, Case{1e8 + 1, false, true},
                          Case{5e7, false, false}, Case{5e7, true, true}, Case{1e8, true, true}})
        EXPECT_EQ(solution.CNetworkDataSolution::Interpolate(c.x, visitor, c.outside) != nullptr, c.isGood)
            << c.x;
    CNetworkData* held = solution.GetData(1.25e9, 0, true, false);
    EXPECT_EQ(solution.Interpolate(1.25e9, visitor, false), held);
    solution.SetSolutionType(SolutionType::Adaptive);
    EXPECT_EQ(solution.CNetworkDataSolution::Interpolate(1.3e9, visitor, true), nullptr);
}

} // namespace
