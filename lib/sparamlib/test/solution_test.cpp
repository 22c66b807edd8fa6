#include "solution_tests.h"

#include <utility/assertion.h>

#include <cmath>

namespace {

using Modal = CNetworkModalSolution;
using Terminal = CNetworkTerminalSolution;

// Gives `point` for every interpolation, filled, and counts the requests.
struct Fixed : CInterpolateVisitor {
    bool VisitModal(CNetworkModalSolution*, CNetworkModalData* data) override {
        return ++requests > 0 && data->SetValue(NetworkDataKind::SMatrix, Complex(7.0), 0, 0);
    }
    int requests = 0;
};

TEST(Solution, AFrequencyIsFoundWithinToleranceSolvedPointsFirstAndTheLowestOfThem) {
    auto solution = WithPoints<Modal>({0.0, 1e9, 1e9 + 10, 2e9, 5e9 + 0.5, -3.0});
    Fixed visitor;
    for (double frequency : {1.5e9, 2e9 - 3, 2e9 + 1.5})
        ASSERT_TRUE(solution.Interpolate(frequency, visitor, false));
    constexpr double kNone = -1.0;
    struct Case {
        double frequency, tolerance, found;
    };
    for (const Case& c : {
             Case{1e9, 0, 1e9},
             Case{1e9 + 10, 0, 1e9 + 10},
             Case{1e9 + 10, 10, 1e9}, // not the nearest
             Case{1e9 + 12, 20, 1e9},
             Case{1e9 - 1.25, 0, kNone}, // the tolerance is a billionth of the frequency
             Case{1e9 - 0.75, 0, 1e9},
             Case{5e9, 0, 5e9 + 0.5},
             Case{2e9 - 3, 4, 2e9}, // solved before interpolated
             Case{2e9 - 3, 0, 2e9 - 3},
             Case{2e9 + 1.5, 0, 2e9},
             Case{1.5e9, 1, 1.5e9},
             Case{0.0, 0, 0.0},
             Case{1e-12, 0, kNone},
             Case{0.5, 0.5, 0.0},
             Case{-3.0, 0, -3.0}, // a tolerance of exactly 0
             Case{-3.5, 0, kNone},
             Case{-3.5, 0.5, -3.0},
             Case{std::nan(""), 1e12, kNone},
             Case{7e9, -1.0, kNone},
         }) {
        const CNetworkData* point = solution.GetData(c.frequency, c.tolerance, false, false);
        EXPECT_EQ(point ? point->GetFrequency() : kNone, c.found) << c.frequency << " " << c.tolerance;
    }
}

TEST(Solution, WithoutSolvedPointsGivesNothing) {
    auto solution = WithRows<Modal>({u"P1"});
    solution.SetSolutionType(SolutionType::InterpolateNeville);
    Fixed visitor;
    ASSERT_TRUE(solution.Interpolate(1e9, visitor, false));
    EXPECT_EQ(solution.GetData(1e9, 0, true, false), nullptr);
    double low = 1, high = 2;
    EXPECT_TRUE(solution.GetInterpolationRange(low, high));
    EXPECT_EQ(low, 0.0);
    EXPECT_EQ(high, 0.0);
    EXPECT_FALSE(solution.IsUniformFromDC());
    EXPECT_FALSE(solution.HasMinimumDiscreteSamples());
}

TEST(Solution, OnlyTheTypeForItInterpolates) {
    for (int type = -1; type <= 7; ++type) {
        auto solution = WithPoints<Terminal>({1e9, 2e9, 3e9});
        solution.SetSolutionType(static_cast<SolutionType>(type));
        EXPECT_EQ(solution.GetData(1.5e9, 0, true, false) != nullptr, type == 4) << type;
        EXPECT_EQ(solution.GetData(1.6e9, 0, false, false), nullptr) << type;
        double low = 0, high = 0;
        EXPECT_EQ(solution.GetInterpolationRange(low, high), type >= 4 && type <= 6) << type;
        EXPECT_EQ(low, 1e9);
        EXPECT_EQ(high, 3e9);
    }
    // A class whose discrete sweeps may be interpolated.
    struct Discrete : Terminal {
        bool SupportsDiscreteInterpolation() const override { return true; }
    } discrete;
    SetRows(discrete, {u"P1"});
    discrete.AddData(1e9)->SetValue(NetworkDataKind::SMatrix, Complex(1), 0, 0);
    discrete.SetSolutionType(SolutionType::DiscreteSweep);
    EXPECT_TRUE(discrete.GetData(1.5e9, 0, true, false));
}

TEST(Solution, ASolvedPointTakesTheInterpolatedPointsPlaceAndAHeldOneStays) {
    auto solution = WithPoints<Modal>({1e9});
    Fixed visitor;
    solution.Interpolate(2e9, visitor, false);
    CNetworkModalData data(nullptr, 2e9);
    data.SetAuxValue(5.0);
    CNetworkData* added = solution.AddData(&data);
    ASSERT_TRUE(added);
    EXPECT_EQ(added->GetAuxValue(), 0.0);
    EXPECT_EQ(added->GetOwner(), &solution);
    EXPECT_TRUE(solution.GetInterpolatedPoints().IsEmpty());
    EXPECT_EQ(solution.AddData(&data), added);
    EXPECT_EQ(solution.AddData(2e9), added);
    solution.Interpolate(3e9, visitor, false);
    EXPECT_NE(solution.AddData(3e9), nullptr);
    EXPECT_EQ(FrequenciesOf(solution.GetSolvedPoints()), (std::vector<double>{1e9, 2e9, 3e9}));
    EXPECT_TRUE(solution.GetInterpolatedPoints().IsEmpty());
    EXPECT_EQ(solution.AddData(static_cast<const CNetworkData*>(nullptr)), nullptr);

    solution.Interpolate(2e9, visitor, false);
    EXPECT_TRUE(solution.RemoveData(2e9)); // the solved one
    EXPECT_EQ(solution.GetInterpolatedPoints().Size(), 1u);
    EXPECT_TRUE(solution.RemoveData(2e9));
    EXPECT_FALSE(solution.RemoveData(2e9));
}

TEST(Solution, CountsAndListsItsFrequencies) {
    auto solution = WithPoints<Modal>({3e9, 1e9, 2e9});
    EXPECT_EQ(solution.GetNumFrequencies(), 3);
    Fixed visitor;
    for (double frequency : {2.5e9, 2e9, 0.5e9})
        solution.Interpolate(frequency, visitor, false);
    solution.RemoveData(2.5e9);
    EXPECT_EQ(solution.GetNumFrequencies(), 2);
    EXPECT_EQ(solution.GetNumSolvedFrequencies(), 3);
    std::vector<double> out{9.0};
    EXPECT_EQ(solution.GetFrequencies(out, true), 5);
    EXPECT_EQ(out, (std::vector<double>{9.0, 0.5e9, 1e9, 2e9, 3e9}));
    EXPECT_EQ(solution.GetFrequencies(out, false), 8);
    EXPECT_EQ(out.back(), 3e9);
    out.clear();
    EXPECT_EQ(solution.GetInterpolatedFrequencies(out), 2);
    EXPECT_EQ(out, (std::vector<double>{0.5e9, 2e9}));
    EXPECT_EQ(solution.GetFrequencyData(1e9), nullptr);
}

TEST(Solution, KnowsAnEvenSweepFromZeroAndOneWithEnoughSamples) {
    struct Case {
        int points;
        double start, step, shift; // of the last
        bool isUniform, isEnough;
    };
    for (const Case& c : {
             Case{500, 0, 1e6, 0, true, true},
             Case{499, 0, 1e6, 0, false, true},
             Case{500, 1, 1e6, 0, false, true},
             Case{500, 0, 1e6, 0.9e-05, true, true},
             Case{500, 0, 1e6, 1.2e-05, false, true},
             Case{20, 0, 1e6, 0, false, true},
             Case{19, 0, 1e6, 0, false, false},
         }) {
        auto solution = WithRows<Modal>({u"P1"});
        solution.SetSolutionType(SolutionType::DiscreteSweep);
        for (int i = 0; i < c.points; ++i)
            solution.AddData(c.start + i * c.step + (i == c.points - 1 ? c.shift : 0.0));
        EXPECT_EQ(solution.IsUniformFromDC(), c.isUniform) << c.points << " " << c.shift;
        EXPECT_EQ(solution.HasMinimumDiscreteSamples(), c.isEnough) << c.points;
        solution.SetHigherOrderMode(true); // no dominant data
        EXPECT_FALSE(solution.IsUniformFromDC() || solution.HasMinimumDiscreteSamples());
        solution.SetHigherOrderMode(false);
        solution.SetSolutionType(SolutionType::Adaptive);
        EXPECT_FALSE(solution.IsUniformFromDC() || solution.HasMinimumDiscreteSamples());
    }
}

TEST(Solution, FindsItsRowsByTheirNames) {
    CMatrixEntry first(u"P1", 2, 7), second(u"P2", 9);
    first.m_ModalEntryName = u"P1:2";
    second.m_ModalEntryName = u"p1";
    second.m_TerminalEntryName = u"T2";
    const std::vector<CMatrixEntry*> entries{&first, nullptr, &second};
    Modal modal;
    modal.SetMatrixEntries(entries, true);
    Terminal terminal;
    terminal.SetMatrixEntries({new CMatrixEntry(first), new CMatrixEntry(second)}, false);
    struct Case {
        const wchar16* name;
        int inModal, inTerminal;
    };
    for (const Case& c : {Case{u"P1", 0, 0}, Case{u"p2", 1, -1}, Case{u"P1:2", 0, -1}, Case{u"t2", 1, -1},
                          Case{u"T2", 1, 1}, Case{u"P3", -1, -1}, Case{u"", -1, -1}}) {
        const CMatrixEntry* entry = modal.FindMatrixEntry(c.name);
        EXPECT_EQ(entry ? entry->m_MatrixIndex : -1, c.inModal) << Narrow(AString(c.name));
        entry = terminal.FindMatrixEntry(c.name);
        EXPECT_EQ(entry ? entry->m_MatrixIndex : -1, c.inTerminal) << Narrow(AString(c.name));
    }
    EXPECT_EQ(modal.GetMatrixEntryName(0), AString(u"P1:2"));
    EXPECT_EQ(terminal.GetMatrixEntryName(1), AString(u"T2"));
    EXPECT_EQ(modal.CNetworkDataSolution::GetMatrixEntryName(1), AString(u"P2"));
    EXPECT_EQ(modal.GetMatrixEntry(2), nullptr);
    EXPECT_EQ(modal.AddData(1e9)->GetMatrixEntry(0), modal.GetMatrixEntry(0));

    const auto before = SetAssertQuestion(Ignore);
    EXPECT_EQ(modal.GetMatrixEntryName(2), AString());
    EXPECT_EQ(terminal.GetMatrixEntryName(2), AString());
    SetAssertQuestion(before);
    modal.SetMatrixEntries({}, true);
    EXPECT_EQ(modal.GetMatrixSize(), 0);
}

TEST(Solution, MovesAndRenormalisesAllItsPointsAndSaysIfOneRefused) {
    const auto make = [] {
        auto solution = WithPoints<Modal>({1e9, 2e9, 3e9});
        Fixed visitor;
        solution.Interpolate(2.5e9, visitor, false);
        for (const CFrequencyMap* points : {&solution.GetSolvedPoints(), &solution.GetInterpolatedPoints()}) {
            for (const auto [frequency, point] : *points) {
                point->SetValue(NetworkDataKind::SMatrix, Complex(0.5), 0, 0);
                point->SetValue(NetworkDataKind::PortImpedance, Complex(50), 0, 0);
                point->SetValue(NetworkDataKind::Gamma, Complex(0, 1), 0, 0);
            }
        }
        return solution;
    };
    const auto changed = [](const Modal& solution) {
        int count = 0;
        for (const CFrequencyMap* points : {&solution.GetSolvedPoints(), &solution.GetInterpolatedPoints()}) {
            for (const auto [frequency, point] : *points)
                count += point->GetValue(NetworkDataKind::SMatrix, 0, 0) == Complex(0.5) ? 0 : 1;
        }
        return count;
    };
    const auto each = [&](const auto& operation) {
        for (bool withInterpolated : {false, true}) {
            auto solution = make();
            EXPECT_TRUE(operation(solution, withInterpolated));
            EXPECT_EQ(changed(solution), withInterpolated ? 4 : 3);
            solution = make();
            auto* refusing = static_cast<CNetworkModalData*>(solution.AddData(1e9));
            refusing->SetGamma(nullptr, true);
            refusing->SetPortImpedance(nullptr, true);
            EXPECT_FALSE(operation(solution, withInterpolated));
            EXPECT_EQ(changed(solution), withInterpolated ? 3 : 2);
        }
    };
    each([](Modal& s, bool all) { return s.DeembedPorts(Reals({0.01}), false, all); });
    each([](Modal& s, bool all) { return s.DeembedPortsByDelay(Reals({1e-11}), all); });
    each([](Modal& s, bool all) { return s.DeembedPortsByLength(Reals({0.01}), Reals({4}), all); });
    each([](Modal& s, bool all) { return s.RenormalizePorts(Vector_({Complex(75)}), all); });

    auto byLength = make(), byDelay = make();
    EXPECT_TRUE(byLength.DeembedPortsByLength(Reals({0.01}), Reals({4}), false));
    EXPECT_TRUE(byDelay.DeembedPortsByDelay(Reals({0.01 * (std::sqrt(4.0) / 299792458.0)}), false));
    EXPECT_TRUE(Equal(SOf(byLength.AddData(2e9)), SOf(byDelay.AddData(2e9))));
    EXPECT_FALSE(byLength.DeembedPortsByLength(Reals({0.01}), Reals({4, 1}), false));
}

TEST(Solution, ACopyIsDeepAndKeepsEverything) {
    auto modal = WithPoints<Modal>({1e9, 2e9});
    modal.SetName(u"one");
    modal.SetSolutionType(SolutionType::Adaptive);
    modal.SetAdaptivePass(4);
    modal.SetNoiseSolution(std::make_unique<CNoiseDataSolution>());
    modal.GetNoiseSolution()->AddData(1e9);
    Fixed visitor;
    modal.Interpolate(1.5e9, visitor, false)->SetAuxValue(0.25);
    const auto clone = modal.Clone();
    EXPECT_EQ(Written(*clone), Written(modal));
    EXPECT_EQ(clone->GetData(1.5e9, 0, false, false)->GetAuxValue(), 0.25);
    for (const CFrequencyMap* points : {&clone->GetSolvedPoints(), &clone->GetInterpolatedPoints()}) {
        for (const auto [frequency, point] : *points)
            EXPECT_EQ(point->GetOwner(), clone.get());
    }
    clone->AddData(1e9)->SetValue(NetworkDataKind::SMatrix, Complex(9), 0, 0);
    clone->GetMatrixEntry(0)->m_PortName = u"other";
    clone->GetNoiseSolution()->RemoveData(1e9);
    EXPECT_EQ(modal.GetData(1e9, 0, false, false)->GetValue(NetworkDataKind::SMatrix, 0, 0), Complex(1));
    EXPECT_EQ(modal.GetMatrixEntry(0)->m_PortName, AString(u"P1"));
    EXPECT_EQ(modal.GetNoiseSolution()->GetPoints().size(), 1u);
    const Modal& self = modal;
    const std::string before = Written(modal);
    modal = self;
    EXPECT_EQ(Written(modal), before);
    modal.ClearNoiseSolution();
    EXPECT_EQ(modal.GetNoiseSolution(), nullptr);
}

TEST(Solution, TakesPointsOfAnotherClassByWhatAllPointsHave) {
    auto modal = WithPoints<Modal>({1e9});
    modal.AddData(1e9)->SetValue(NetworkDataKind::PortImpedance, Complex(75), 0, 0);
    auto terminal = WithRows<Terminal>({u"P1"});
    CNetworkData* copy = terminal.AddData(modal.AddData(1e9));
    EXPECT_TRUE(dynamic_cast<CNetworkTerminalData*>(copy));
    EXPECT_EQ(copy->GetValue(NetworkDataKind::SMatrix, 0, 0), Complex(1));
    EXPECT_EQ(copy->GetValue(NetworkDataKind::PortImpedance, 0, 0), Complex());
    auto back = modal.CopyData(copy);
    EXPECT_TRUE(dynamic_cast<CNetworkModalData*>(back.get()));
    EXPECT_EQ(back->GetOwner(), &modal);
    EXPECT_EQ(terminal.CopyData(nullptr)->GetOwner(), nullptr);
}

TEST(Solution, IsVisitedByItsClass) {
    struct Names : INetworkSolutionVisitor {
        bool Visit(CZephTerminalSolution&) override { return false; }
        bool Visit(CZephModalSolution&) override { return false; }
        bool Visit(CNetworkModalSolution&) override { return !(name = "modal").empty(); }
        bool Visit(CNetworkTerminalSolution&) override { return !(name = "terminal").empty(); }
        bool Visit(CNetworkDataSolution&) override { return !(name = "base").empty(); }
        std::string name;
    } names;
    Modal modal;
    Terminal terminal;
    EXPECT_TRUE(modal.Accept(names));
    EXPECT_EQ(names.name, "modal");
    EXPECT_TRUE(terminal.Accept(names));
    EXPECT_EQ(names.name, "terminal");
    EXPECT_TRUE(modal.CNetworkDataSolution::Accept(names));
    EXPECT_EQ(names.name, "base");
}

TEST(PortTables, NeighbouringModesMergeAndTerminalsDoNot) {
    auto modal = WithRows<Modal>({u"a", u"a", u"b", u"a", u"A"});
    EXPECT_EQ(modal.GetPortNames(), (std::vector<AString>{u"a", u"b", u"a", u"A"}));
    EXPECT_EQ(modal.GetPortModes(), (std::vector<std::int32_t>{2, 1, 1, 1}));
    EXPECT_TRUE(modal.HasMultipleModes());
    EXPECT_EQ(modal.GetNumModes(0), 2);
    EXPECT_EQ(modal.GetNumModes(4), 0);
    EXPECT_EQ(WithRows<Modal>({u"a", u"b", u"a"}).GetNumPorts(), 3);
    EXPECT_FALSE(WithRows<Modal>({u"a", u"b", u"a"}).HasMultipleModes());
    const auto terminal = WithRows<Terminal>({u"a", u"a", u"b"});
    EXPECT_EQ(terminal.GetNumPorts(), 3);
    EXPECT_EQ(terminal.GetNumModes(0), 0); // no counts
}

// A solution that was read from a block with these tables.
template <class Solution>
Solution WithTables(const std::string& lines) {
    Solution solution;
    io::CBlock block = SolutionBlock(lines);
    EXPECT_EQ(solution.ReadFromBlock(block), 0);
    return solution;
}

TEST(PortTables, MakeTheEntriesAnewWithinWhatTheyHold) {
    auto modal = WithTables<Modal>("PortNames('a', 'b', 'c')\nPortModes(2, 1, -4)\n");
    EXPECT_EQ(modal.GetNumPorts(), 3);
    modal.BuildMatrixEntries();
    ASSERT_EQ(modal.GetMatrixSize(), 3);
    EXPECT_TRUE(modal.HasMultipleModes());
    const int expected[3][2] = {{1, 0}, {2, 0}, {1, 1}}; // mode and index
    for (unsigned row = 0; row < 3; ++row) {
        EXPECT_EQ(modal.GetMatrixEntry(row)->m_Mode, expected[row][0]);
        EXPECT_EQ(modal.GetMatrixEntry(row)->m_MatrixIndex, expected[row][1]);
        EXPECT_EQ(modal.GetMatrixEntry(row)->m_TerminalEntryName, AString(row < 2 ? u"a" : u"b"));
    }
    const auto before = SetAssertQuestion(Ignore);
    for (const char* lines : {"PortNames('a')\nPortModes(1, 1)\n", "PortNames('a', 'b')\nPortModes(1)\n"}) {
        modal = WithTables<Modal>(lines);
        modal.BuildMatrixEntries();
        EXPECT_EQ(modal.GetMatrixSize(), 1) << lines;
    }
    SetAssertQuestion(before);
    modal = WithTables<Modal>("PortNames('a', 'b')\nPortModes(2000000000, 2000000000)\n");
    modal.BuildMatrixEntries();
    EXPECT_EQ(modal.GetMatrixSize(), 0);

    // Terminals' names come from entries only, so that the table is the entries' again.
    auto terminal =
        WithTables<Terminal>("PortNames('x')\nPortModes(2, 1)\n"
                             "$begin Ports\nPort(PortName='a')\nPort(PortName='b')\n$end Ports\n");
    terminal.BuildMatrixEntries();
    ASSERT_EQ(terminal.GetMatrixSize(), 3);
    const int indices[3] = {1, 1, 3};
    for (unsigned row = 0; row < 3; ++row) {
        EXPECT_EQ(terminal.GetMatrixEntry(row)->m_MatrixIndex, indices[row]);
        EXPECT_EQ(terminal.GetMatrixEntry(row)->m_Mode, 0);
    }
}

} // namespace
