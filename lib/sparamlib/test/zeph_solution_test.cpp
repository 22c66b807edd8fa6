#include "sweep_tests.h"

#include <sparamlib/neville_interpolate_visitor.h>
#include <sparamlib/solution_factory.h>
#include <sparamlib/zeph_interpolate_visitor.h>

namespace {

constexpr double kLow = 1e9;
constexpr double kHigh = 3e9;

ComplexMatrix Network(double f) {
    return Resonators(f, 20);
}
ComplexMatrix Transform(double f) {
    return Matrix_(2, {{5.0, 1e-10 * f}, 0.5, {0.3, 1e-10 * f}, 6.0});
}

void Fill(CNetworkData& data, bool isFirst = true) {
    const double f = data.GetFrequency();
    ComplexMatrix s = Network(f), t = Transform(f), p = Transform(0.5 * f);
    data.SetSMatrix(&s, true);
    if (auto* modal = dynamic_cast<CZephModalData*>(&data)) {
        modal->SetTMatrix(&t, true);
        modal->SetPMatrix(&p, true);
        ComplexVector zpi = Vector_({{40, 1e-9 * f}, 45}), zvi = Vector_({60, {65, -1e-9 * f}});
        ComplexVector gamma = Vector_({{0.1, 2e-8 * f}, {0.0, 3e-8 * f}});
        modal->SetZpi(&zpi, true);
        modal->SetZvi(&zvi, true);
        modal->SetGamma(&gamma, true);
        if (isFirst)
            modal->GetYMatrix(true);
    } else if (auto* terminal = dynamic_cast<CZephTerminalData*>(&data)) {
        terminal->SetTMatrix(&t, true);
        terminal->SetPMatrix(&p, true);
    }
}

// Solves what the sweep asks for until it stops.
template <class Solution>
int Solve(Solution& solution, double tolerance = 1e-6, std::int32_t maxBasis = 30) {
    io::CBlock tables = SolutionBlock("PortModes(1, 1)\nReferenceImpedance(50, 0, 60, 0)\n"
                                      "$begin Ports\nPort(PortName='A')\nPort(PortName='B')\n$end Ports\n");
    EXPECT_EQ(solution.ReadFromBlock(tables), 0);
    auto sweep = std::make_unique<CZephInterpolator>(2);
    sweep->m_LowSampleFreq = kLow;
    sweep->m_HighSampleFreq = kHigh;
    sweep->m_ErrorTolerance = tolerance;
    sweep->m_MaxBasisSize = maxBasis;
    sweep->m_NumSamples = 11;
    solution.SetSolutionType(SolutionType::ZephFastSweep);
    double frequency = kHigh;
    int code = kSweepWantsSample;
    while (code == kSweepWantsSample) {
        CNetworkData* point = solution.AddData(frequency);
        Fill(*point);
        EXPECT_TRUE(sweep->AddSample(point, CZephInterpolator::kAllQuantities, true));
        frequency = sweep->NextSampleFrequency(code);
        EXPECT_EQ(frequency > 0.0, code == kSweepWantsSample);
    }
    EXPECT_EQ(sweep->m_BasisSize, solution.GetNumSolvedFrequencies());
    solution.SetInterpolator(std::move(sweep));
    return code;
}

TEST(ZephSweep, AModalOneAnswersAnyFrequencyWithEveryQuantity) {
    CZephModalSolution solution;
    ASSERT_EQ(Solve(solution), kSweepConverged);
    EXPECT_LT(solution.GetNumSolvedFrequencies(), 20);
    for (double f : {1.234e9, 2.05e9, 2.9e9, 3.1e9, 0.9e9}) {
        auto* point = dynamic_cast<CZephModalData*>(solution.GetData(f, 0, true, false));
        ASSERT_TRUE(point);
        EXPECT_EQ(point->GetDataType(), DataType::Interpolated);
        EXPECT_EQ(point->GetOwner(), &solution);
        EXPECT_EQ(solution.GetData(f, 0, false, false), point);
        EXPECT_LT(LargestDifference(SOf(point), Network(f)), 1e-6) << f;
        EXPECT_LT(LargestDifference(*point->GetTMatrix(), Transform(f)), 1e-9) << f;
        EXPECT_LT(LargestDifference(*point->GetPMatrix(), Transform(0.5 * std::max(f, kLow))), 1e-9) << f;
        EXPECT_LT(abs((*point->GetZpi())[0] - Complex(40, 1e-9 * f)), 1e-6) << f;
        EXPECT_LT(abs((*point->GetZvi())[1] - Complex(65, -1e-9 * f)), 1e-6) << f;
        EXPECT_LT(abs((*point->GetGamma())[1] - Complex(0, 3e-8 * f)), 1e-3) << f;
        EXPECT_EQ(point->GetZpv(), nullptr);
        EXPECT_NE(point->GetYMatrix(false), nullptr); // as the first solved point
        EXPECT_EQ(point->GetZMatrix(false), nullptr);
    }
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        EXPECT_TRUE(Equal(SOf(solution.GetData(frequency, 0, true, false)), Network(frequency)));
}

TEST(ZephSweep, ATerminalOneAnswersWithWhatFollowsFromItsTransforms) {
    CZephTerminalSolution solution;
    ASSERT_EQ(Solve(solution), kSweepConverged);
    EXPECT_EQ(solution.GetReferenceImpedance()[1], Complex(60));
    const double f = 1.77e9;
    auto* point = dynamic_cast<CZephTerminalData*>(solution.GetDominantData(f, 0, true));
    ASSERT_TRUE(point);
    EXPECT_LT(LargestDifference(SOf(point), Network(f)), 1e-6);
    CZephTerminalData expected(&solution, f);
    Fill(expected);
    ComplexMatrix x(2, 2), work(2, 2);
    expected.ComputeXMatrix(x);
    expected.ComputePortImpedance(*expected.GetTMatrix(), *expected.GetPMatrix(), &x, work);
    expected.ComputeYFromS(solution.GetReferenceImpedance());
    expected.ComputeZFromS(solution.GetReferenceImpedance());
    EXPECT_LT(LargestDifference(*point->GetPortImpedance(), *expected.GetPortImpedance()), 1e-6);
    EXPECT_LT(LargestDifference(*point->GetYMatrix(false), *expected.GetYMatrix(false)), 1e-6);
    EXPECT_LT(LargestDifference(*point->GetZMatrix(false), *expected.GetZMatrix(false)), 1e-3);
    // A new solved point starts from the sweep.
    EXPECT_LT(LargestDifference(SOf(solution.AddData(1.9e9)), Network(1.9e9)), 1e-6);
    // Neville has no way.
    CNevilleInterpolateVisitor neville;
    EXPECT_EQ(solution.Interpolate(1.8e9, neville, true), nullptr);
}

template <class Solution>
void ExpectTheSameAfterStoring() {
    Solution solution;
    Solve(solution);
    io::CBlock block = BlockFrom(solution);
    const auto read = CreateNetworkSolution(block);
    ASSERT_TRUE(dynamic_cast<Solution*>(read.get()));
    EXPECT_EQ(read->GetSolutionType(), SolutionType::ZephInterpolatingSweep);
    Solution& again = static_cast<Solution&>(*read);
    EXPECT_EQ(again.GetInterpolator()->m_LastBasisFreq, solution.GetInterpolator()->m_LastBasisFreq);
    Solution copy(again);
    for (double f : {1.234e9, 2.05e9, 2.9e9}) {
        const ComplexMatrix& s = SOf(read->GetData(f, 0, true, false));
        EXPECT_LT(LargestDifference(s, SOf(solution.GetData(f, 0, true, false))), 1e-6);
        EXPECT_TRUE(Equal(SOf(copy.GetData(f, 0, true, false)), s));
    }
    io::CBlock secondBlock = BlockFrom(*read);
    const auto second = CreateNetworkSolution(secondBlock);
    EXPECT_EQ(Written(*second), Written(*read));
    EXPECT_EQ(Written(copy), Written(*read));
    EXPECT_EQ(Written(*read->Clone()), Written(*read));
    EXPECT_TRUE(
        Equal(SOf(second->GetData(1.5e9, 0, true, false)), SOf(read->GetData(1.5e9, 0, true, false))));
    // The next frequency comes from the state in which the sweep ended.
    int code = 0;
    EXPECT_EQ(again.GetInterpolator()->RestoreState(code, false), 0.0);
    EXPECT_EQ(code, kSweepDone);
    EXPECT_GT(again.GetInterpolator()->RestoreState(code, true), 0.0);
    EXPECT_TRUE(code == kSweepConverged || code == kSweepWantsSample) << code;
}

TEST(ZephSweep, ReadReplayedAskedAndWrittenIsTheSame) {
    ExpectTheSameAfterStoring<CZephModalSolution>();
    ExpectTheSameAfterStoring<CZephTerminalSolution>();
}

TEST(ZephSweep, ReadInPartHasTheQuantitiesOfTheMask) {
    CZephModalSolution solution;
    Solve(solution);
    io::CBlock block = BlockFrom(solution);
    CZephModalSolution part;
    EXPECT_EQ(part.ReadZephBlock(block, 1 | 16), 0);
    auto* point = static_cast<CZephModalData*>(part.GetData(1.5e9, 0, true, false));
    EXPECT_TRUE(point->GetSMatrix(false) && point->GetGamma());
    EXPECT_FALSE(point->GetZpi() || point->GetZvi() || point->GetTMatrix() || point->GetPMatrix());
}

TEST(ZephSweep, AQuantityThatSomePointsLackIsFittedWhereItStands) {
    CZephModalSolution solution;
    Solve(solution);
    int left = 0;
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        if (left++ % 3 == 1)
            static_cast<CZephModalData*>(point)->SetTMatrix(nullptr, true);
    }
    CZephModalSolution copy(solution);
    auto* point = static_cast<CZephModalData*>(copy.GetData(1.77e9, 0, true, false));
    ASSERT_TRUE(point && point->GetTMatrix());
    EXPECT_LT(LargestDifference(*point->GetTMatrix(), Transform(1.77e9)), 1e-9);
    // A terminal point must have both.
    CZephTerminalSolution terminal;
    Solve(terminal);
    static_cast<CZephTerminalData*>(terminal.GetSolvedPoints().First().point)->SetPMatrix(nullptr, true);
    CZephInterpolator sweep(*terminal.GetInterpolator());
    EXPECT_FALSE(sweep.AddSample(terminal.GetSolvedPoints().First().point, 65535, false));
    EXPECT_TRUE(sweep.AddSample(terminal.GetSolvedPoints().Last().point, 1, false));
    CZephTerminalData empty(&terminal, 2e9);
    CZephInterpolator onlyS(*terminal.GetInterpolator());
    onlyS.AddSample(terminal.GetSolvedPoints().Last().point, 1 | 32, true);
    EXPECT_FALSE(onlyS.FillPoint(&empty));
    EXPECT_TRUE(empty.GetSMatrix(false));
    CNetworkModalData plain(&terminal, 2e9);
    EXPECT_FALSE(onlyS.FillPoint(&plain));
    EXPECT_FALSE(onlyS.AddSample(&plain, 65535, true));
    EXPECT_FALSE(onlyS.AddSample(nullptr, 65535, true));
    EXPECT_EQ(onlyS.m_BasisSize, terminal.GetInterpolator()->m_BasisSize + 1);
}

TEST(ZephSweep, ItsGridBeginsWhereTheSetupSaysAndEndsExactly) {
    struct Case {
        std::int32_t samples;
        bool isFromDC;
        std::vector<double> expected;
    };
    for (const Case& c : {
             Case{1, false, {3e9}},
             Case{2, false, {1e9, 3e9}},
             Case{2, true, {0.0, 3e9}},
             Case{4, true, {0.0, 1e9, 2e9, 3e9}},
             Case{0, false, {3e9}},
             Case{-7, false, {3e9}},
             Case{CZephModalSolution::kMaxGridSize + 1, false, {}},
             Case{2000000000, false, {}},
         }) {
        CZephModalSolution solution;
        Solve(solution, 1.0);
        solution.GetInterpolator()->m_NumSamples = c.samples;
        CNetworkPostprocSetup setup(solution.GetPortModes());
        setup.mExtrapToDC = c.isFromDC;
        solution.SetPostprocSetup(&setup);
        std::vector<double> all, interpolated, solved;
        EXPECT_EQ(solution.GetFrequencies(all, true), static_cast<int>(c.expected.size())) << c.samples;
        EXPECT_EQ(all, c.expected);
        solution.GetInterpolatedFrequencies(interpolated);
        EXPECT_EQ(interpolated, c.expected);
        EXPECT_EQ(solution.GetFrequencies(solved, false), solution.GetNumSolvedFrequencies());
        EXPECT_EQ(solution.GetNumFrequencies(), c.samples);
        double low = 0, high = 0;
        EXPECT_TRUE(solution.GetInterpolationRange(low, high));
        EXPECT_EQ(low, c.isFromDC ? 0.0 : kLow);
        EXPECT_EQ(high, kHigh);
        if (c.samples > CZephModalSolution::kMaxGridSize) {
            const std::string before = Written(solution);
            EXPECT_FALSE(solution.DeembedPorts(Reals({0, 0}), false, false));
            EXPECT_EQ(Written(solution), before);
        }
    }
}

TEST(ZephSweep, DeembeddingMakesItDiscreteOnItsGrid) {
    for (bool isLossless : {false, true}) {
        CZephModalSolution solution, reference;
        Solve(solution);
        Solve(reference);
        const RealVector distances = Reals({0.01, 0.02});
        ASSERT_TRUE(solution.DeembedPorts(distances, isLossless, false));
        EXPECT_EQ(solution.GetSolutionType(), SolutionType::DiscreteSweep);
        EXPECT_EQ(solution.GetInterpolator(), nullptr);
        ASSERT_EQ(solution.GetNumSolvedFrequencies(), 11);
        EXPECT_TRUE(solution.GetInterpolatedPoints().IsEmpty());
        int i = 0;
        for (const auto [frequency, point] : solution.GetSolvedPoints()) {
            EXPECT_EQ(frequency, i++ * (2e9 / 10) + 1e9);
            CZephModalData expected(&reference, frequency);
            ASSERT_TRUE(reference.GetInterpolator()->FillPoint(&expected));
            EXPECT_TRUE(expected.Deembed(distances, isLossless, false));
            EXPECT_TRUE(Equal(SOf(point), SOf(&expected))) << frequency;
            EXPECT_EQ(solution.GetData(frequency, 0, false, false), point);
        }
        EXPECT_EQ(solution.GetData(1.23e9, 0, true, false), nullptr);
        // A discrete sweep has its points de-embedded.
        const ComplexMatrix before = SOf(solution.GetData(1e9, 0, false, false));
        EXPECT_TRUE(solution.DeembedPorts(distances, isLossless, false));
        EXPECT_FALSE(Equal(SOf(solution.GetData(1e9, 0, false, false)), before));
        EXPECT_TRUE(solution.DeembedPorts(Reals({1}), isLossless, false)); // even if nothing changes
    }
}

TEST(ZephSweep, RenormalisingATerminalOneStartsFromTheReferenceThatWasRead) {
    CZephTerminalSolution solution;
    const ComplexVector reference = Vector_({50, 60}), target = Vector_({75, 25});
    Solve(solution);
    CNetworkData* between = solution.GetData(1.5e9, 0, true, false);
    CZephTerminalData expected(*static_cast<CZephTerminalData*>(between));
    std::vector<CZephTerminalData> solved;
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        solved.push_back(*static_cast<CZephTerminalData*>(point));
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(solution.RenormalizePorts(target, false));
        EXPECT_TRUE(expected.RenormalizeVectors(reference, target));
        EXPECT_TRUE(Equal(SOf(between), SOf(&expected)));
        std::size_t i = 0;
        for (const auto [frequency, point] : solution.GetSolvedPoints()) {
            EXPECT_TRUE(solved[i].RenormalizeVectors(reference, target));
            EXPECT_TRUE(Equal(SOf(point), SOf(&solved[i++])));
        }
    }
    // The sweep is that of the renormalised points.
    CZephInterpolator sweep(*solution.GetInterpolator());
    sweep.Replay(solution.GetSolvedPoints(), CZephInterpolator::kAllQuantities);
    CZephTerminalData renormalised(&solution, 1.7e9);
    EXPECT_TRUE(sweep.FillPoint(&renormalised));
    EXPECT_TRUE(Equal(SOf(solution.GetData(1.7e9, 0, true, false)), SOf(&renormalised)));
    EXPECT_GT(LargestDifference(SOf(&renormalised), Network(1.7e9)), 0.1);
    EXPECT_TRUE(solution.RenormalizePorts(Vector_({1}), false)); // no point takes it
}

TEST(ZephSweep, RenormalisingAModalOneGoesByTheSetup) {
    CZephModalSolution solution;
    Solve(solution);
    CNetworkData* point = solution.GetData(1.5e9, 0, true, false);
    CZephModalData expected(*static_cast<CZephModalData*>(point));
    EXPECT_TRUE(expected.Renormalize(Vector_({50, 50})));
    EXPECT_TRUE(solution.RenormalizePorts(Vector_({50, 50}), true));
    CNetworkData* seen = solution.GetData(1.5e9, 0, true, false);
    EXPECT_NE(seen, point);
    EXPECT_TRUE(Equal(SOf(seen), SOf(&expected)));
    EXPECT_EQ(seen->GetOwner(), &solution);
}

// The S of the first solved point.
struct AsSolved : CInterpolateVisitor {
    bool VisitZephModal(CZephModalSolution* solution, CZephModalData* data) override {
        data->SetSMatrix(solution->GetSolvedPoints().First().point->GetSMatrix(false), true);
        return true;
    }
};

TEST(ZephSolution, AtDCItIsRealAndSnapsIfTheSetupSaysSo) {
    struct Case {
        SolutionType type;
        bool hasSetup, isSnapped, hasDC;
        double frequency;
        bool isReal;
    };
    for (const Case& c : {
             Case{SolutionType::ZephFastSweep, true, false, false, 0.0, true},
             Case{SolutionType::ZephInterpolatingSweep, true, true, false, 0.0, true},
             Case{SolutionType::ZephFastSweep, true, true, true, 0.0, false},
             Case{SolutionType::ZephFastSweep, false, true, false, 0.0, false},
             Case{SolutionType::ZephFastSweep, true, true, false, 1e8, false},
             Case{SolutionType::DiscreteSweep, true, true, false, 0.0, false},
         }) {
        FieldPoints solution;
        SetRows(solution, {u"A", u"B"});
        ComplexMatrix s = Matrix_(2, {{0.9995, 1}, {-0.9995, 1}, {0.0005, 1}, {0.5, 1}});
        solution.Add(c.hasDC ? 0.0 : 1e8)->SetSMatrix(&s, true);
        AsSolved visitor;
        solution.SetSolutionType(SolutionType::InterpolateNeville);
        solution.Interpolate(0.0, visitor, true);
        solution.SetSolutionType(c.type);
        CNetworkPostprocSetup setup(solution.GetPortModes());
        setup.mDoDCSnapping = c.isSnapped;
        setup.mDCSnapTolerance = 1e-3;
        if (c.hasSetup)
            solution.SetPostprocSetup(&setup);
        CNetworkData* point = solution.GetData(c.frequency, 0, false, false);
        ASSERT_TRUE(point);
        if (c.isReal)
            s = c.isSnapped ? Matrix_(2, {1, -1, 0, 0.5}) : Matrix_(2, {0.9995, -0.9995, 0.0005, 0.5});
        EXPECT_TRUE(Equal(SOf(point), s)) << static_cast<int>(c.type) << c.hasSetup << c.isSnapped << c.hasDC;
    }
}

// As the engine takes a reply to its kernel: every frequency, a reference of 50 ohm, every frequency again.
template <class Solution, class Change>
std::vector<ComplexMatrix> Replied(const Change& change, const std::vector<double>& frequencies) {
    Solution solver;
    Solve(solver);
    io::CBlock block = BlockFrom(solver);
    change(block);
    const auto reply = CreateNetworkSolution(block);
    std::vector<ComplexMatrix> matrices;
    for (double f : frequencies)
        SOf(reply->GetData(f, 1e-5, true, false));
    EXPECT_TRUE(reply->RenormalizePorts(ComplexVector(2, Complex(50)), true));
    for (double f : frequencies)
        matrices.push_back(SOf(reply->GetData(f, 1e-5, true, false)));
    return matrices;
}

TEST(ZephSweep, AnswersOnTheFieldSolversRoadAtFiftyOhm) {
    const std::vector<double> frequencies{0.0, 1.234e9, 3e9, 3.2e9};
    const auto asItIs = [](io::CBlock&) {};
    const auto modal = Replied<CZephModalSolution>(asItIs, frequencies);
    const auto terminal = Replied<CZephTerminalSolution>(asItIs, frequencies);
    for (std::size_t i = 1; i < frequencies.size(); ++i) {
        CZephModalSolution owner;
        SetRows(owner, {u"A", u"B"});
        CZephModalData point(&owner, frequencies[i]);
        Fill(point);
        EXPECT_TRUE(point.Renormalize(ComplexVector(2, Complex(50))));
        EXPECT_LT(LargestDifference(modal[i], SOf(&point)), 1e-5) << frequencies[i];
        CZephTerminalData form(&owner, frequencies[i]);
        Fill(form);
        EXPECT_TRUE(form.RenormalizeVectors(Vector_({50, 60}), ComplexVector(2, Complex(50))));
        EXPECT_LT(LargestDifference(terminal[i], SOf(&form)), 1e-5) << frequencies[i];
    }
    // With a setup that is asked for DC the last S is real, and snaps.
    for (bool isSnapped : {false, true}) {
        const auto withSetup = [isSnapped](io::CBlock& block) {
            CNetworkPostprocSetup setup({1, 1});
            setup.mExtrapToDC = true;
            setup.mDoDCSnapping = isSnapped;
            setup.mDCSnapTolerance = 10.0;
            const io::CBlockPtr stored(new io::CBlock(AString(u"Postprocessing")));
            EXPECT_TRUE(setup.WriteToBlock(*stored.Get()));
            block.Add(stored);
        };
        const auto replied = Replied<CZephModalSolution>(withSetup, frequencies);
        for (int e = 0; e < 4; ++e) {
            EXPECT_EQ(replied[0].Data()[e].im, 0.0);
            EXPECT_EQ(replied[0].Data()[e].re == 1.0, isSnapped);
        }
        EXPECT_TRUE(Equal(replied[1], modal[1]));
    }
}

TEST(ZephSolution, ServesTerminalPointsAnewAndKeepsTheEarlierOnes) {
    FieldPoints solution;
    SetRows(solution, {u"A", u"B"});
    CZephModalData* solved = solution.Add(1e9);
    Fill(*solved);
    solution.SetModalData(false);
    auto* first = dynamic_cast<CZephTerminalData*>(solution.GetData(1e9, 0, false, true));
    auto* second = dynamic_cast<CZephTerminalData*>(solution.GetDominantData(1e9, 0, false));
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
    EXPECT_EQ(solved->GetPostprocessedData(), second);
    for (CZephTerminalData* served : {first, second}) {
        EXPECT_EQ(served->GetOwner(), &solution);
        EXPECT_TRUE(Equal(SOf(served), Network(1e9)));
        EXPECT_TRUE(Equal(*served->GetPMatrix(), *solved->GetPMatrix()));
        EXPECT_TRUE(Equal(*served->GetYMatrix(false), *solved->GetYMatrix(false)));
        EXPECT_EQ(served->GetZMatrix(false), nullptr);
        EXPECT_EQ(served->GetTMatrix(), nullptr);
    }
    // With a setup that decides, and the points stay good.
    CNetworkPostprocSetup setup(solution.GetPortModes());
    solution.SetPostprocSetup(&setup);
    EXPECT_EQ(solution.GetData(1e9, 0, false, false), solved);
    EXPECT_TRUE(Equal(SOf(second), Network(1e9)));
}

TEST(ZephSolution, GivesDominantDataByModesAndTerminals) {
    struct Case {
        bool hasModes, hasTerminals, isModal, hasT;
        char expected; // n: null, p: the point, t: its terminal form
    };
    for (const Case& c : {Case{false, false, true, true, 'p'}, Case{false, true, true, true, 't'},
                          Case{false, true, true, false, 'n'}, Case{true, false, true, true, 'n'},
                          Case{true, true, true, true, 't'}, Case{true, true, false, true, 't'}}) {
        io::CBlock block = SolutionBlock(c.hasTerminals ? "PortTerminals('t')\n" : "");
        FieldPoints solution;
        solution.ReadFromBlock(block);
        if (c.hasModes)
            SetRows(solution, {u"A", u"A"});
        else
            SetRows(solution, {u"A", u"B"});
        solution.SetModalData(c.isModal);
        CZephModalData* solved = solution.Add(1e9);
        Fill(*solved);
        if (!c.hasT)
            solved->SetTMatrix(nullptr, true);
        CNetworkData* point = solution.GetDominantData(1e9, 0, false);
        EXPECT_EQ(point == nullptr, c.expected == 'n');
        EXPECT_EQ(point == solved, c.expected == 'p');
        EXPECT_EQ(dynamic_cast<CZephTerminalData*>(point) != nullptr, c.expected == 't');
        if (point) {
            EXPECT_EQ(point->GetOwner(), &solution);
        }
    }
}

TEST(ZephSolution, OfADiscreteSweepCountsAsOneOnlyByTerminalPoints) {
    for (int samples : {19, 20, 500}) {
        FieldPoints solution;
        SetRows(solution, {u"A", u"B"});
        solution.SetSolutionType(SolutionType::DiscreteSweep);
        for (int i = 0; i < samples; ++i)
            solution.Add(1e6 * i);
        EXPECT_FALSE(solution.HasMinimumDiscreteSamples());
        EXPECT_FALSE(solution.IsUniformFromDC());
        solution.SetModalData(false);
        EXPECT_EQ(solution.HasMinimumDiscreteSamples(), samples >= 20);
        EXPECT_EQ(solution.IsUniformFromDC(), samples >= 500);
    }
}

TEST(ZephSolution, NamesTerminalRowsByTheirPairsElseByPortAndTerminal) {
    const auto pair = [](const std::string& port, const std::string& names, int positive, int negative) {
        return "$begin Pair\nPortName='" + port + "' DiffName='d" + names + "' CommonName='c" + names +
               "' PosTerminalIndex=" + std::to_string(positive) +
               " NegTerminalIndex=" + std::to_string(negative) + "\n$end Pair\n";
    };
    io::CBlock block = SolutionBlock(
        "PortModes(1, 1, 1, 2)\nPortTerminals('a', 'x', 'y')\n"
        "$begin Ports\nPort(PortName='A')\nPort(PortName='P')\nPort(PortName='P')\nPort(PortName='Q')\n$end "
        "Ports\n"
        "$begin DifferentialPairs\nany=1\n" +
        pair("p", "0", 1, 2) + pair("P", "1", 2, 1) + pair("P", "2", 1, 2) + pair("A", "3", 3, 1) +
        "$end DifferentialPairs\n");
    CZephTerminalSolution solution;
    ASSERT_EQ(solution.ReadFromBlock(block), 0);
    const char16_t* names[] = {u"A:a", u"c1", u"d1", u"Q:", u"Q:"};
    ASSERT_EQ(solution.GetMatrixSize(), 5);
    for (unsigned row = 0; row < 5; ++row) {
        const CMatrixEntry& entry = *solution.GetMatrixEntry(row);
        EXPECT_EQ(entry.m_TerminalEntryName, AString(names[row]));
        EXPECT_EQ(entry.m_AliasName, AString(names[row]));
        EXPECT_EQ(entry.m_Mode, row == 4 ? 2 : 1);
    }
}

TEST(ZephSolution, InterpolatesByItsTypeAndItsSweep) {
    for (int type = 0; type <= 7; ++type) {
        for (bool hasSweep : {false, true}) {
            CZephModalSolution modal;
            Solve(modal);
            CZephTerminalSolution terminal;
            Solve(terminal);
            for (const auto [frequency, point] : modal.GetSolvedPoints())
                static_cast<CZephModalData*>(point)->SetYMatrix(nullptr, true);
            modal.SetSolutionType(static_cast<SolutionType>(type));
            terminal.SetSolutionType(static_cast<SolutionType>(type));
            if (!hasSweep) {
                modal.SetInterpolator(nullptr);
                terminal.SetInterpolator(nullptr);
            }
            const bool isSweep = type == 5 || type == 6;
            EXPECT_EQ(modal.GetData(1.5e9, 0, true, false) != nullptr, hasSweep ? isSweep : type == 4)
                << type;
            EXPECT_EQ(terminal.GetData(1.5e9, 0, true, false) != nullptr, hasSweep && isSweep) << type;
            CNevilleInterpolateVisitor neville;
            EXPECT_EQ(modal.Interpolate(1.6e9, neville, true) != nullptr,
                      !hasSweep && (type == 2 || type == 4))
                << type;
            CZephInterpolateVisitor sweep;
            EXPECT_EQ(modal.Interpolate(1.7e9, sweep, true) != nullptr, hasSweep) << type;
            auto plain = WithPoints<CNetworkModalSolution>({1e9, 2e9, 3e9});
            plain.SetSolutionType(static_cast<SolutionType>(type));
            CNetworkModalData data(&plain, 1.5e9);
            EXPECT_FALSE(sweep.Visit(&plain, &data));
            EXPECT_FALSE(sweep.VisitModal(&plain, &data));
        }
    }
}

const std::string kPoints = "$begin Ports\nPort(PortName='A')\n$end Ports\n$begin Frequencies\n";
std::string StoredPoint(double frequency) {
    return "$begin DataPoint\nFrequency=" + std::to_string(frequency) +
           "\n$begin SMatrix\nm=1\nn=1\n$begin r0\nc(0.5, " + std::to_string(0.1 * frequency) +
           ")\n$end r0\n$end SMatrix\n$end DataPoint\n";
}

TEST(ZephSolution, ADamagedBasisFailsAsStatedAndNeverCrashes) {
    std::string thousands = kPoints;
    for (int i = 0; i < 3000; ++i)
        thousands += StoredPoint(i);
    thousands += "$end Frequencies\n";
    const std::string three =
        kPoints + StoredPoint(1) + StoredPoint(2) + StoredPoint(3) + "$end Frequencies\n";
    struct Case {
        const char* what;
        std::string lines;
        const char* basis;
        int held;        // of the basis
        bool isAnswered; // at 1.5 Hz
    };
    for (const Case& c : {
             Case{"whole", three, "LowSampleFreq=1\nHighSampleFreq=3\nLastBasisFreq=2\n", 3, true},
             Case{"nothing in it", three, "", 3, true}, // no band: an assertion
             Case{"band of no width", three, "LowSampleFreq=1\nHighSampleFreq=1\n", 3, true},
             Case{"band upside down", three, "LowSampleFreq=3\nHighSampleFreq=1\nLastBasisFreq=3\n", 3, true},
             Case{"no room", three, "MaxBasisSize=0\nLowSampleFreq=1\nHighSampleFreq=3\n", 3, true},
             Case{"less than no room", three, "MaxBasisSize=-2000000000\nLastBasisFreq=2\n", 3, true},
             Case{"room for two billion", three,
                  "MaxBasisSize=2000000000\nBasisSize=2000000000\nNumSamples=2000000000\nLowSampleFreq=1\n"
                  "HighSampleFreq=3\nLastBasisFreq=3\n",
                  3, true},
             Case{"far too many points", thousands,
                  "MaxBasisSize=4\nLowSampleFreq=1\nHighSampleFreq=3\nLastBasisFreq=3\n", 3000, true},
             Case{"the last one at nearly nothing", three,
                  "LowSampleFreq=1\nHighSampleFreq=3\nLastBasisFreq=1e-300\n", 3, true},
             Case{"no points", "$begin Ports\nPort(PortName='A')\n$end Ports\n",
                  "BasisSize=7\nLowSampleFreq=1\nHighSampleFreq=3\nLastBasisFreq=3\n", 0, false},
             Case{"no entries", "$begin Frequencies\n" + StoredPoint(1) + "$end Frequencies\n",
                  "LowSampleFreq=1\nHighSampleFreq=3\nLastBasisFreq=1\n", 1, true},
             Case{"of other kinds", three, "MaxBasisSize='many'\nLowSampleFreq='x'\nBasisSize(3)\n", 3, true},
         }) {
        io::CBlock block =
            SolutionBlock(c.lines + "$begin InterpolationBasis\n" + c.basis + "$end InterpolationBasis\n");
        CZephModalSolution modal;
        EXPECT_EQ(modal.ReadFromBlock(block), 0) << c.what;
        ASSERT_TRUE(modal.GetInterpolator()) << c.what;
        EXPECT_EQ(modal.GetSolutionType(), SolutionType::ZephInterpolatingSweep) << c.what;
        EXPECT_EQ(modal.GetInterpolator()->m_BasisSize, c.held) << c.what;
        CNetworkData* point = modal.GetData(1.5, 0, true, false);
        EXPECT_EQ(point != nullptr, c.isAnswered) << c.what;
        CZephInterpolateVisitor visitor;
        modal.Interpolate(1.75, visitor, true);
        CZephTerminalSolution terminal;
        EXPECT_EQ(terminal.ReadFromBlock(block), 0) << c.what;
        EXPECT_EQ(terminal.GetData(1.5, 0, true, false), nullptr) << c.what; // no T and P
        EXPECT_EQ(terminal.AddData(1.25), nullptr) << c.what;
        for (CNetworkDataSolution* solution :
             {static_cast<CNetworkDataSolution*>(&modal), static_cast<CNetworkDataSolution*>(&terminal)}) {
            solution->RenormalizePorts(Vector_({50}), true);
            solution->DeembedPorts(Reals({1}), true, true);
            EXPECT_EQ(Written(*solution->Clone()).empty(), false);
        }
    }
}

} // namespace
