#include "sweep_tests.h"

#include <sparamlib/adaptive_sweep.h>

namespace {

template <class Solution>
Solution Dense(int count, const std::function<ComplexMatrix(double)>& s, double low = 1e9,
               double high = 3e9) {
    auto solution = WithRows<Solution>({u"in", u"out"});
    for (int i = 0; i < count; ++i) {
        const double f = low + (high - low) * i / (count - 1);
        ComplexMatrix matrix = s(f);
        solution.AddData(f)->SetSMatrix(&matrix, true);
    }
    return solution;
}

// Rational networks are met to rounding once the fit has as many samples as they have order.
TEST(AdaptiveSweep, ReproducesNetworksOfKnownOrder) {
    struct Case {
        const char* name;
        std::function<ComplexMatrix(double)> s;
        double low;
    };
    for (const Case& c : {
             Case{"filter of order 6", [](double f) { return Ladder(f, 3, 0, 0.7, 0, 0.5); }, 1e8},
             Case{"filter from DC", [](double f) { return Ladder(f, 3, 0, 0.7, 0, 0.5); }, 0.0},
             Case{"lossy line in 5 sections", [](double f) { return Ladder(f, 5, 0.02, 0.1, 0.01, 0.1); },
                  1e8},
             Case{"resonators", [](double f) { return Resonators(f, 20); }, 1e9},
             Case{"sharp resonators", [](double f) { return Resonators(f, 300); }, 1e9},
         }) {
        auto dense = Dense<CNetworkModalSolution>(2001, c.s, c.low);
        const AdaptiveSweep sweep =
            RunAdaptiveSweep(dense, {.tolerance = 1e-10, .maxBasis = 40, .passes = 2});
        ASSERT_TRUE(sweep.solution) << sweep.fault;
        EXPECT_EQ(sweep.end, AdaptiveSweepEnd::Converged) << c.name;
        EXPECT_LT(sweep.largestError, 1e-9) << c.name << " with " << sweep.samples.size() << " samples";
        EXPECT_EQ(sweep.samples.size(), static_cast<std::size_t>(sweep.solution->GetNumSolvedFrequencies()));
    }
}

TEST(AdaptiveSweep, TellsItsSamplesInTheOrderTakenAndWritesItsBasis) {
    auto dense = Dense<CNetworkModalSolution>(201, [](double f) { return Resonators(f, 20); });
    for (const auto [frequency, point] : dense.GetSolvedPoints()) {
        ComplexVector z = Vector_({50, 75}), gamma = Vector_({{0, frequency * 2e-8}, {0, frequency * 3e-8}});
        static_cast<CNetworkModalData*>(point)->SetPortImpedance(&z, true);
        static_cast<CNetworkModalData*>(point)->SetGamma(&gamma, true);
    }
    const AdaptiveSweep once = RunAdaptiveSweep(dense, {.tolerance = 1e-3});
    const AdaptiveSweep twice = RunAdaptiveSweep(dense, {.tolerance = 1e-3, .passes = 2});
    EXPECT_EQ(once.end, AdaptiveSweepEnd::Converged);
    ASSERT_GE(once.samples.size(), 4u);
    EXPECT_GT(twice.samples.size(), once.samples.size());
    EXPECT_EQ(once.samples[0].frequency, 3e9);
    EXPECT_EQ(once.samples[1].frequency, 1e9);
    EXPECT_EQ(once.samples[2].frequency, 2e9);
    EXPECT_FALSE(once.samples[1].error);
    EXPECT_LT(*once.samples.back().error, 1e-3);
    EXPECT_GE(*once.samples[once.samples.size() - 2].error, 1e-3);
    EXPECT_LT(twice.largestError, 1e-9);

    io::CBlock block = BlockFrom(*once.solution);
    CZephModalSolution read;
    EXPECT_EQ(read.ReadFromBlock(block), 0);
    EXPECT_EQ(read.GetNumFrequencies(), 201);
    double largest = 0.0;
    for (const auto [frequency, point] : dense.GetSolvedPoints()) {
        auto* answer = static_cast<CZephModalData*>(read.GetData(frequency, 0, true, false));
        ASSERT_TRUE(answer);
        largest = std::max(largest, LargestDifference(SOf(answer), SOf(point)));
        EXPECT_LT(abs((*answer->GetPortImpedance())[1] - Complex(75)), 1e-9);
        EXPECT_LT(abs((*answer->GetGamma())[1] - Complex(0, frequency * 3e-8)), 1e-9 * frequency);
    }
    EXPECT_EQ(largest, once.largestError);
    EXPECT_TRUE(read.RenormalizePorts(Vector_({50, 50}), true));
    EXPECT_TRUE(read.GetData(1.5e9, 0, true, false));
}

TEST(AdaptiveSweep, EndsWhereThereIsNoMoreToTake) {
    const auto noise = [](double f) {
        Networks random(static_cast<unsigned>(f / 1e5));
        return random.Any(2, 0.5);
    };
    auto noisy = Dense<CNetworkModalSolution>(30, noise);
    AdaptiveSweep sweep = RunAdaptiveSweep(noisy, {.tolerance = 1e-6, .maxBasis = 8});
    EXPECT_EQ(sweep.end, AdaptiveSweepEnd::BasisFull);
    EXPECT_EQ(sweep.samples.size(), 8u);
    sweep = RunAdaptiveSweep(noisy, {.tolerance = 1e-6, .maxBasis = 8000});
    EXPECT_TRUE(sweep.end == AdaptiveSweepEnd::NoMoreData || sweep.end == AdaptiveSweepEnd::Failed);
    auto few = Dense<CNetworkModalSolution>(2, noise);
    EXPECT_EQ(RunAdaptiveSweep(few, {}).end, AdaptiveSweepEnd::NoMoreData);
    // A terminal solution with single ports is as good.
    auto terminal = Dense<CNetworkTerminalSolution>(101, [](double f) { return Resonators(f, 20); });
    for (const auto [frequency, point] : terminal.GetSolvedPoints())
        point->SetValue(NetworkDataKind::PortImpedance, Complex(50), 0, 0);
    EXPECT_EQ(RunAdaptiveSweep(terminal, {}).end, AdaptiveSweepEnd::Converged);
}

TEST(AdaptiveSweep, SaysWhatItCannotSweep) {
    struct Case {
        const char* what;
        std::function<void(CNetworkTerminalSolution&)> spoil;
        const char* fault;
    };
    for (const Case& c : {
             Case{"one point", [](auto& dense) { dense.RemoveData(1e9), dense.RemoveData(2e9); }, "two"},
             Case{"negative", [](auto& dense) { dense.AddData(-1.0); }, "negative"},
             Case{"no S", [](auto& dense) { dense.AddData(1.5e9); }, "no S"},
             Case{"reference",
                  [](auto& dense) {
                      dense.GetSolvedPoints().First().point->SetValue(NetworkDataKind::PortImpedance, 5, 0,
                                                                      1);
                  },
                  "reference"},
         }) {
        auto dense = Dense<CNetworkTerminalSolution>(3, [](double f) { return Resonators(f, 20); });
        c.spoil(dense);
        const AdaptiveSweep sweep = RunAdaptiveSweep(dense, {});
        EXPECT_FALSE(sweep.solution) << c.what;
        EXPECT_NE(sweep.fault.find(c.fault), std::string::npos) << c.what << ": " << sweep.fault;
    }
}

} // namespace
