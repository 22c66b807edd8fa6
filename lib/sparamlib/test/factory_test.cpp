#include "solution_tests.h"

#include <sparamlib/solution_factory.h>

namespace {

std::unique_ptr<CNetworkDataSolution> Made(const std::string& lines) {
    io::CBlock block = SolutionBlock(lines);
    return CreateNetworkSolution(block);
}

TEST(Factory, ChoosesTheClassByKeywordOrNumber) {
    struct Case {
        const char* lines;
        int type; // 0: none
    };
    for (const Case& c : {
             Case{"ObjectType='Modal'\n", 1},
             Case{"ObjectType='terMINAL'\n", 2},
             Case{"ObjectType='zephmodal'\n", 3},
             Case{"ObjectType='ZephTerminal'\n", 4},
             Case{"A(3, 0, 'n', 0)\n", 3},
             Case{"A(4)\n", 4},
             Case{"ObjectType='None'\nA(1, 0, 'n', 0)\n", 0},
             Case{"ObjectType='Other'\nA(2, 0, 'n', 0)\n", 2},
             Case{"ObjectType='Other'\n", 0},
             Case{"", 0},
             Case{"A(1, 0, 'n', 0)\n", 1},
             Case{"A(2)\n", 2},
             Case{"A(0, 0, 'n', 0)\n", 0},
             Case{"A(5, 0, 'n', 0)\n", 0},
             Case{"A(-1)\n", 0},
             Case{"A('Modal')\n", 0},
             Case{"A()\n", 0},
             Case{"A=1\n", 0},
         }) {
        const auto solution = Made(c.lines);
        ASSERT_EQ(solution != nullptr, c.type != 0) << c.lines;
        if (!solution)
            continue;
        EXPECT_EQ(static_cast<int>(solution->GetObjectType()), c.type) << c.lines;
        EXPECT_EQ(dynamic_cast<CNetworkModalSolution*>(solution.get()) != nullptr, c.type % 2 == 1);
        EXPECT_EQ(dynamic_cast<CZephModalSolution*>(solution.get()) != nullptr, c.type == 3) << c.lines;
        EXPECT_EQ(dynamic_cast<CZephTerminalSolution*>(solution.get()) != nullptr, c.type == 4) << c.lines;
    }
}

TEST(Factory, GivesASolutionThatCouldBeReadInPartOnly) {
    const auto solution =
        Made("ObjectType='Modal'\nName='part'\n$begin Postprocessing\n$end Postprocessing\n");
    ASSERT_TRUE(solution);
    EXPECT_EQ(solution->GetName(), AString(u"part"));
}

constexpr const char* kEntries = "$begin Ps\n"
                                 "p('P1:1', 'T1', 'P1', 1, 'TE', 't', 9)\n"
                                 "x=1\n"
                                 "q('P1:2', 'T2', 'P1', 2, 'TM', 'u', 9)\n"
                                 "$end Ps\n";

TEST(Compact, AModalSolutionHasItsVectorsOnceForEachRow) {
    const auto solution = Made(std::string("A(1, 3, 'small', 2)\n") + kEntries +
                               "$begin Fs\n"
                               "f(1e9, 1, 1, 1, 1, 1, 1,  50, 1, 0.1, 2,"
                               " 11, 1, 111, 1, 211, 1, 311, 1,  12, 1, 112, 1, 212, 1, 312, 1,"
                               " 75, 2, 0.3, 4,"
                               " 21, 1, 121, 1, 221, 1, 321, 1,  22, 1, 122, 1, 222, 1, 322, 1)\n"
                               "$begin Other\n$end Other\n"
                               "g(2e9, 0, 0, 0, 0, 0, 0)\n"
                               "$end Fs\n");
    ASSERT_TRUE(solution);
    EXPECT_EQ(solution->GetName(), AString(u"small"));
    EXPECT_EQ(solution->GetSolutionType(), SolutionType::CircuitData);
    EXPECT_EQ(solution->GetAdaptivePass(), 2);
    ASSERT_EQ(solution->GetMatrixSize(), 2);
    const CMatrixEntry& entry = *solution->GetMatrixEntry(1);
    EXPECT_EQ(entry.m_ModalEntryName, AString(u"P1:2"));
    EXPECT_EQ(entry.m_TerminalEntryName, AString(u"T2"));
    EXPECT_EQ(entry.m_AliasName, AString(u"T2"));
    EXPECT_EQ(entry.m_PortName, AString(u"P1"));
    EXPECT_EQ(entry.m_Mode, 2);
    EXPECT_EQ(entry.m_ModeName, AString(u"TM"));
    EXPECT_EQ(entry.m_TerminalName, AString(u"u"));
    EXPECT_EQ(entry.m_MatrixIndex, 1);
    EXPECT_EQ(solution->GetNumModes(0), 2);

    auto* point = dynamic_cast<CNetworkModalData*>(solution->GetData(1e9, 0, false, false));
    ASSERT_TRUE(point);
    EXPECT_TRUE(Equal(SOf(point), Matrix_(2, {{11, 1}, {12, 1}, {21, 1}, {22, 1}})));
    EXPECT_EQ(point->GetValue(NetworkDataKind::YMatrix, 1, 0), Complex(121, 1));
    EXPECT_EQ(point->GetValue(NetworkDataKind::ZMatrix, 0, 1), Complex(212, 1));
    EXPECT_EQ(point->GetValue(NetworkDataKind::PortImpedance, 1, 1), Complex(75, 2));
    EXPECT_EQ(point->GetValue(NetworkDataKind::Gamma, 0, 0), Complex(0.1, 2));
    ASSERT_TRUE(point->GetTerminalTransform());
    EXPECT_EQ((*point->GetTerminalTransform())[1][0], Complex(321, 1));
    EXPECT_EQ(solution->GetData(2e9, 0, false, false)->GetSMatrix(false), nullptr);
    EXPECT_EQ(solution->GetNumSolvedFrequencies(), 2);
}

TEST(Compact, ATerminalSolutionHasThemForEachElementAndTakesNoTransform) {
    const auto solution = Made(std::string("A(2, 0, 'n', -1)\n") + kEntries +
                               "$begin Fs\n"
                               "f(1e9, 1, 0, 0, 1, 1, 1,"
                               " 11, 0, 111, 0, 1, 0, 311, 0,  12, 0, 112, 0, 2, 0, 312, 0,"
                               " 21, 0, 121, 0, 3, 0, 321, 0,  22, 0, 122, 0, 4, 0, 322, 0)\n"
                               "$end Fs\n$begin PP\nS=2\nPR(1, 0, 1, 0)\n$end PP\n");
    ASSERT_TRUE(solution);
    auto* point = dynamic_cast<CNetworkTerminalData*>(solution->GetData(1e9, 0, false, false));
    ASSERT_TRUE(point && point->GetPortImpedance() && point->GetGamma());
    EXPECT_TRUE(Equal(*point->GetPortImpedance(), Matrix_(2, {11, 12, 21, 22})));
    EXPECT_TRUE(Equal(*point->GetGamma(), Matrix_(2, {111, 112, 121, 122})));
    EXPECT_TRUE(Equal(SOf(point), Matrix_(2, {1, 2, 3, 4})));
    EXPECT_EQ(point->GetTransform(), nullptr);
}

TEST(Compact, DamagedPointsKeepWhatStandsBeforeTheDamage) {
    struct Case {
        const char* point;
        int solved;
        Complex first, last; // of S
    };
    for (const Case& c : {
             Case{"f(5, 1, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8)", 1, {1, 2}, {7, 8}},
             Case{"f(5, 1, 0, 0, 0, 0, 0, 1, 2, 3)", 1, {1, 2}, {}},
             Case{"f(5, 1, 0, 0, 0, 0, 0, 1, 2, 3, 4, 'x', 6, 7, 8)", 1, {1, 2}, {}},
             Case{"f(5, 1, 0, 0)", 1, {}, {}},
             Case{"f(5, -1, 'x', 0, 0, 0, 0, 1, 2)", 1, {}, {}},
             Case{"f(5)", 1, {}, {}},
             Case{"f('x', 1, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8)", 0, {}, {}},
             Case{"f()", 0, {}, {}},
             Case{"f(5, 1, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8)\ng(5, 1, 0, 0, 0, 0, 0, 9, 9)",
                  1,
                  {9, 9},
                  {7, 8}},
         }) {
        const auto solution =
            Made(std::string("A(1, 0, 'n', 0)\n") + kEntries + "$begin Fs\n" + c.point + "\n$end Fs\n");
        ASSERT_TRUE(solution);
        EXPECT_EQ(solution->GetNumSolvedFrequencies(), c.solved) << c.point;
        CNetworkData* point = solution->GetData(5, 0, false, false);
        if (!point)
            continue;
        EXPECT_EQ(point->GetValue(NetworkDataKind::SMatrix, 0, 0), c.first) << c.point;
        EXPECT_EQ(point->GetValue(NetworkDataKind::SMatrix, 1, 1), c.last) << c.point;
    }
    EXPECT_EQ(Made("A(1, 0, 'n', 0)\n$begin Fs\nf(5, 1, 0, 0, 0, 0, 0, 1, 2)\n$end Fs\n")
                  ->GetNumSolvedFrequencies(),
              1);
    EXPECT_EQ(Made(std::string("A(1, 0, 'n', 0)\n") + kEntries)->GetMatrixSize(), 2);
}

TEST(Compact, AShortPointDoesNotMakeLargeMatrices) {
    std::string entries;
    for (int i = 0; i < 60; ++i)
        entries += "p()\n";
    const auto solution = Made("A(1, 0, 'n', 0)\n$begin Ps\n" + entries +
                               "$end Ps\n$begin Fs\nf(5, 1, 1, 1, 1, 1, 1, 2, 3)\n$end Fs\n");
    EXPECT_EQ(solution->GetData(5, 0, false, false)->GetSMatrix(false), nullptr);
}

TEST(Compact, PostProcessingComesIntoForceWithAsManyValuesAsThereAreRowsAndPorts) {
    struct Case {
        const char* entries;
        const char* lines;
        bool hasImpedances, hasDistances, isLossless;
    };
    const char* one = "$begin Ps\np('a', 'a', 'a')\n$end Ps\n";
    const char* two = "$begin Ps\np('a', 'a', 'a')\np('a', 'a', 'a')\n$end Ps\n"; // one port of two rows
    for (const Case& c : {
             Case{one, "S=1\nPR(75, 1)\nPD(true, 0.5)\n", true, true, true},
             Case{one, "S=1\nPR(75, 1)\n", true, false, false},
             Case{one, "S=1\nPD(false, 0.5)\n", false, true, false},
             Case{one, "S=1\nPD(true)\n", false, true, true},
             Case{one, "PR(75, 1)\nPD(true, 0.5)\n", false, false, true},
             Case{one, "S=2\nPR(75, 1)\nPD(true, 0.5)\n", false, false, true},
             Case{one, "S=-1\nPR(75, 1)\n", false, false, false},
             Case{one, "S=2000000000\nPR(75, 1)\n", false, false, false},
             Case{two, "S=1\nPR(75, 1)\nPD(true, 0.5)\n", false, true, true},
             Case{two, "S=2\nPR(75, 1, 75, 1)\nPD(true, 0.5)\n", true, false, true},
         }) {
        const auto solution =
            Made(std::string("A(1, 0, 'n', 0)\n") + c.entries + "$begin PP\n" + c.lines + "$end PP\n");
        const auto* setup = static_cast<CNetworkModalSolution&>(*solution).GetPostprocSetup();
        ASSERT_TRUE(setup) << c.lines;
        EXPECT_TRUE(setup->mIsModal) << c.lines;
        EXPECT_EQ(setup->GetDefaultImpedances() != nullptr, c.hasImpedances) << c.lines;
        if (setup->GetDefaultImpedances()) {
            EXPECT_EQ((*setup->GetDefaultImpedances())[0], Complex(75, 1)) << c.lines;
        }
        EXPECT_EQ(setup->GetDeembedDistances() != nullptr, c.hasDistances) << c.lines;
        EXPECT_EQ(setup->mLosslessDeembed, c.isLossless) << c.lines;
        EXPECT_EQ(setup->IsRenormActive(), c.hasImpedances) << c.lines;
    }
    const auto without = Made(std::string("A(1, 0, 'n', 0)\n") + one);
    EXPECT_EQ(static_cast<CNetworkModalSolution&>(*without).GetPostprocSetup(), nullptr);
}

} // namespace
