#include "solution_tests.h"

namespace {

constexpr double kFrequency = 1e9;

// Two ports of one mode each with S, 50 ohm and Gamma; the setup is given by the tests.
struct Plain : CNetworkModalSolution {
    Plain() {
        SetRows(*this, {u"A", u"B"});
        solved = static_cast<CNetworkModalData*>(AddData(kFrequency));
        ComplexMatrix s = Matrix_(2, {{0.1, 0.2}, 0.5, 0.5, {-0.2, 0.1}});
        solved->SetSMatrix(&s, true);
        for (std::int32_t i = 0; i < 2; ++i) {
            solved->SetValue(NetworkDataKind::PortImpedance, Complex(50), i, i);
            solved->SetValue(NetworkDataKind::Gamma, Complex(0.01, 1.5), i, i);
        }
    }
    CNetworkData* Seen(bool raw = false) { return GetData(kFrequency, 0, false, raw); }
    CNetworkModalData* solved;
};

// The same of a field solver, with T and P.
struct Field : FieldPoints {
    Field() {
        SetRows(*this, {u"A", u"B"});
        solved = Add(kFrequency);
        ComplexMatrix s = Matrix_(2, {{0.1, 0.2}, 0.5, 0.5, {-0.2, 0.1}});
        ComplexMatrix t = Matrix_(2, {5, 1, 1, {6, 1}});
        solved->SetSMatrix(&s, true);
        solved->SetTMatrix(&t, true);
        solved->SetPMatrix(&t, true);
        for (std::int32_t i = 0; i < 2; ++i) {
            solved->SetValue(NetworkDataKind::Zpi, Complex(40), i, i);
            solved->SetValue(NetworkDataKind::Zvi, Complex(60), i, i);
            solved->SetValue(NetworkDataKind::Gamma, Complex(1, 30), i, i);
        }
    }
    CNetworkData* Seen() { return GetData(kFrequency, 0, false, false); }
    CZephModalData* solved;
};

const ComplexVector kTargets(2, Complex(75));
const RealVector kDistances(2, 0.01);

TEST(Postprocessing, OfASetupThatIsNotActiveIsTheSolvedPoint) {
    Plain solution;
    CNetworkPostprocSetup setup(solution.GetPortModes());
    solution.SetPostprocSetup(&setup);
    EXPECT_EQ(solution.Seen(), solution.solved);
    solution.SetPostprocSetup(nullptr);
    EXPECT_EQ(solution.GetPostprocSetup(), nullptr);
    EXPECT_EQ(solution.Seen(), solution.solved);
}

TEST(Postprocessing, MovesThePlanesFirstAndRenormalisesThen) {
    struct Case {
        const ComplexVector* targets;
        const RealVector* distances;
    };
    for (const Case& c :
         {Case{&kTargets, &kDistances}, Case{&kTargets, nullptr}, Case{nullptr, &kDistances}}) {
        for (bool isLossless : {false, true}) {
            Plain solution;
            CNetworkPostprocSetup setup(solution.GetPortModes());
            setup.SetDefaults(true, c.targets, c.distances);
            setup.mLosslessDeembed = isLossless;
            solution.SetPostprocSetup(&setup);
            CNetworkModalData expected(*solution.solved);
            if (c.distances) {
                EXPECT_TRUE(expected.Deembed(kDistances, isLossless, true));
            }
            if (c.targets) {
                EXPECT_TRUE(expected.Renormalize(kTargets));
            }
            CNetworkData* seen = solution.Seen();
            ASSERT_TRUE(seen);
            EXPECT_TRUE(Equal(SOf(seen), SOf(&expected)));
            EXPECT_EQ(seen->GetOwner(), &solution);
            EXPECT_EQ(solution.Seen(), seen);
            EXPECT_EQ(solution.Seen(true), solution.solved);
            EXPECT_EQ(SOf(solution.solved)[0][1], Complex(0.5));
            // A copy of the solution post-processes its own points.
            const auto clone = solution.Clone();
            EXPECT_TRUE(Equal(SOf(clone->GetData(kFrequency, 0, false, false)), SOf(&expected)));
        }
    }
}

TEST(Postprocessing, SkipsTheStepsForWhichThereIsNothing) {
    const auto seenWith = [](Plain& solution, const auto& prepare) {
        CNetworkPostprocSetup setup(solution.GetPortModes());
        prepare(setup);
        solution.SetPostprocSetup(&setup);
        CNetworkData* seen = solution.Seen();
        EXPECT_NE(seen, solution.solved);
        return seen;
    };
    Plain solution;
    const ComplexMatrix s = SOf(solution.solved);
    EXPECT_TRUE(
        Equal(SOf(seenWith(solution, [](auto& setup) { setup.mDoRenorm = setup.mDoDeembed = true; })), s));
    EXPECT_TRUE(Equal(SOf(seenWith(solution, [](auto& setup) { setup.mExtrapToDC = true; })), s));
    solution.solved->SetPortImpedance(nullptr, true);
    EXPECT_TRUE(
        Equal(SOf(seenWith(solution, [](auto& setup) { setup.SetDefaults(true, &kTargets, nullptr); })), s));
    solution.solved->SetSMatrix(nullptr, true);
    EXPECT_EQ(seenWith(solution, [](auto& setup) { setup.SetDefaults(true, nullptr, &kDistances); })
                  ->GetSMatrix(false),
              nullptr);
}

TEST(Postprocessing, OfAFieldSolversPointChoosesItsImpedanceAndWritesItIntoThePoint) {
    Field solution;
    CNetworkPostprocSetup setup(solution.GetPortModes());
    setup.SetDefaults(true, &kTargets, &kDistances);
    setup.mPortCharImpeds[1] = NetworkDataKind::Zvi;
    setup.mDoPortRenorm = {true, true};
    solution.SetPostprocSetup(&setup);
    CZephModalData expected(*solution.solved);
    expected.SetPortImpedanceElement(0, Complex(40));
    expected.SetPortImpedanceElement(1, Complex(60));
    EXPECT_TRUE(expected.Deembed(kDistances, true, false));
    EXPECT_TRUE(expected.Renormalize(kTargets));
    auto* seen = dynamic_cast<CZephModalData*>(solution.Seen());
    ASSERT_TRUE(seen);
    EXPECT_TRUE(Equal(SOf(seen), SOf(&expected)));
    EXPECT_EQ(solution.solved->GetValue(NetworkDataKind::PortImpedance, 1, 1), Complex(60));

    // Rows that nobody asked for keep their own impedance, so that nothing changes there.
    Field other;
    setup.mDoPortRenorm = {false, false};
    setup.SetDefaults(true, &kTargets, nullptr);
    other.SetPostprocSetup(&setup);
    EXPECT_LT(LargestDifference(SOf(other.Seen()), SOf(other.solved)), 1e-12);
}

TEST(Postprocessing, GivesTerminalFormsThatStandAlone) {
    const ComplexMatrix transform = Matrix_(2, {0.8, 0.6, -0.6, 0.8});
    Plain plain;
    CNetworkPostprocSetup setup(plain.GetPortModes());
    setup.SetDefaults(false, nullptr, &kDistances);
    plain.SetPostprocSetup(&setup);
    EXPECT_EQ(plain.Seen(), nullptr); // no transform
    plain.solved->SetTerminalTransform(&transform);
    CNetworkModalData copy(*plain.solved);
    EXPECT_TRUE(copy.Deembed(kDistances, true, true));
    auto* form = dynamic_cast<CNetworkTerminalData*>(plain.Seen());
    ASSERT_TRUE(form);
    EXPECT_TRUE(Equal(SOf(form), SOf(copy.GetTerminalData(true))));
    EXPECT_EQ(form->GetModalData(false), nullptr);
    EXPECT_EQ(form->GetOwner(), &plain);
    EXPECT_NE(form->GetYMatrix(true), nullptr);
    EXPECT_EQ(plain.Seen(), form);

    Field field;
    CZephDifferentialPair pair;
    pair.m_PosTerminalIndex = 0;
    pair.m_NegTerminalIndex = 1;
    for (bool hasTargets : {false, true}) {
        CNetworkPostprocSetup terminal(field.GetPortModes());
        terminal.SetDefaults(false, hasTargets ? &kTargets : nullptr, &kDistances);
        terminal.mDiffPairs.push_back(pair);
        field.SetPostprocSetup(&terminal);
        CZephModalData base(*field.solved);
        EXPECT_TRUE(base.Deembed(kDistances, true, false));
        CZephTerminalData expected(&base, hasTargets ? kTargets : ComplexVector(2, Complex(50)), {&pair});
        auto* seen = dynamic_cast<CZephTerminalData*>(field.Seen());
        ASSERT_TRUE(seen);
        EXPECT_TRUE(Equal(SOf(seen), SOf(&expected)));
        EXPECT_EQ(seen->GetModalData(false), nullptr);
        EXPECT_EQ(field.Seen(), seen);
        EXPECT_EQ(field.solved->GetValue(NetworkDataKind::Zpi, 0, 0), Complex(40));
    }
    field.solved->SetTMatrix(nullptr, true);
    field.ClearPostprocessedData();
    EXPECT_EQ(field.Seen(), nullptr);
}

TEST(Postprocessing, RenormalisesOnceByTheSetupAndEveryTimeWithout) {
    Plain with, without;
    CNetworkPostprocSetup setup(with.GetPortModes());
    with.SetPostprocSetup(&setup);
    CNetworkData* before = with.Seen();
    EXPECT_EQ(before, with.solved);
    EXPECT_TRUE(with.RenormalizePorts(kTargets, true));
    EXPECT_TRUE(without.RenormalizePorts(kTargets, true));
    EXPECT_TRUE(Equal(SOf(with.Seen()), SOf(without.Seen())));
    EXPECT_EQ(SOf(with.solved)[0][1], Complex(0.5));
    const ComplexVector hundred(2, Complex(100));
    const ComplexMatrix once = SOf(with.Seen());
    EXPECT_TRUE(with.RenormalizePorts(hundred, true));
    EXPECT_TRUE(Equal(SOf(with.Seen()), once));
    EXPECT_TRUE(without.RenormalizePorts(hundred, true));
    EXPECT_FALSE(Equal(SOf(without.Seen()), once));
    EXPECT_FALSE(without.RenormalizePorts(ComplexVector(3, Complex(50)), true));
}

TEST(Postprocessing, ListsMakeASetupWhereThereIsNone) {
    Plain solution;
    solution.SetPostprocLists({}, {});
    ASSERT_TRUE(solution.GetPostprocSetup());
    EXPECT_EQ(solution.Seen(), solution.solved);
    solution.SetPostprocLists({{1, Complex(75)}}, {{0, 0.01}});
    EXPECT_NE(solution.Seen(), solution.solved);
    EXPECT_EQ(solution.GetPostprocSetup()->GetMatrixSize(), 2);
    // Its own setup again.
    solution.SetPostprocSetup(solution.GetPostprocSetup());
    EXPECT_TRUE(solution.GetPostprocSetup()->IsActive());
}

TEST(Postprocessing, OfInterpolatedPointsStartsFromWhatWasSolved) {
    Plain solution;
    solution.SetSolutionType(SolutionType::InterpolateNeville);
    for (double frequency : {2e9, 3e9}) {
        CNetworkModalData more(*solution.solved);
        io::CBlock block = PointBlock("Frequency=" + std::to_string(frequency) + "\n");
        more.ReadFromBlock(block);
        solution.AddData(&more);
    }
    CNetworkPostprocSetup setup(solution.GetPortModes());
    setup.SetDefaults(true, &kTargets, nullptr);
    solution.SetPostprocSetup(&setup);
    CNetworkData* seen = solution.GetData(1.5e9, 0, true, false);
    CNetworkData* raw = solution.GetData(1.5e9, 0, true, true);
    ASSERT_TRUE(seen && raw);
    EXPECT_NE(seen, raw);
    EXPECT_LT(LargestDifference(SOf(raw), SOf(solution.solved)), 1e-9);
    EXPECT_LT(LargestDifference(SOf(seen), SOf(solution.Seen())), 1e-9);
}

TEST(Postprocessing, IsReadFromASolutionsBlockWithItsOwnCode) {
    const std::string tables = "PortNames('a')\nPortModes(1)\n";
    const std::string setup = "Modes(1)\nDoPortRenorm(false)\nPortCharImpeds('Zpi')\n";
    const std::string twice = "$begin Frequencies\n$begin D\n$end D\n$begin D\n$end D\n$end Frequencies\n";
    struct Case {
        std::string lines;
        std::int32_t code;
        bool hasSetup;
    };
    for (const Case& c : {
             Case{tables, 0, false},
             Case{tables + "$begin Postprocessing\n" + setup + "$end Postprocessing\n", 0, true},
             Case{tables + "$begin Postprocessing\n$end Postprocessing\n", -1, true},
             Case{tables + twice + "$begin Postprocessing\n" + setup + "$end Postprocessing\n", 0, true},
             Case{"PortModes(2000000000, 2000000000)\n$begin Postprocessing\n" + setup +
                      "$end Postprocessing\n",
                  0, true},
         }) {
        CNetworkModalSolution solution;
        io::CBlock block = SolutionBlock(c.lines);
        EXPECT_EQ(solution.ReadFromBlock(block), c.code) << c.lines;
        EXPECT_EQ(solution.GetPostprocSetup() != nullptr, c.hasSetup) << c.lines;
        EXPECT_EQ(Written(solution).find("Postprocessing"), std::string::npos);
    }
}

TEST(DominantData, IsTheTerminalFormOfPortsWithSeveralModes) {
    Plain solution;
    EXPECT_EQ(solution.GetDominantData(kFrequency, 0, false), solution.solved);
    SetRows(solution, {u"A", u"A"});
    EXPECT_EQ(solution.GetDominantData(kFrequency, 0, false), nullptr); // no transform
    const ComplexMatrix transform = IdentityMatrix(2);
    solution.solved->SetTerminalTransform(&transform);
    CNetworkData* form = solution.GetDominantData(kFrequency, 0, false);
    EXPECT_EQ(form, solution.solved->GetTerminalData(false));
    ASSERT_TRUE(form);
    CNetworkPostprocSetup setup(solution.GetPortModes());
    setup.mIsModal = false;
    solution.SetPostprocSetup(&setup);
    EXPECT_TRUE(dynamic_cast<CNetworkTerminalData*>(solution.GetDominantData(kFrequency, 0, false)));
    solution.SetHigherOrderMode(true);
    EXPECT_EQ(solution.GetDominantData(kFrequency, 0, false), nullptr);
    auto terminal = WithPoints<CNetworkTerminalSolution>({1e9});
    EXPECT_EQ(terminal.GetDominantData(1e9, 0, false), terminal.AddData(1e9));
}

} // namespace
