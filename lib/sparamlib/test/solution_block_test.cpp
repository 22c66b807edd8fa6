#include "solution_tests.h"

#include <sparamlib/solution_factory.h>

namespace {

const std::string kPoint1 = "\t\t$begin DataPoint\n"
                            "\t\t\tFrequency=1e+09\n"
                            "\t\t\tDataType='None'\n"
                            "\t\t\t$begin SMatrix\n"
                            "\t\t\t\tm=1\n"
                            "\t\t\t\tn=1\n"
                            "\t\t\t\t$begin r0\n"
                            "\t\t\t\t\tc(0.5, 0.25)\n"
                            "\t\t\t\t$end r0\n"
                            "\t\t\t$end SMatrix\n"
                            "\t\t$end DataPoint\n";
const std::string kPort = "\t\tPort(ModalEntryName='P1:1', TerminalEntryName='T1', PortName='P1', Mode=1, "
                          "ModeName='TE', TerminalName='t', MatrixIndex=0)\n";

std::string Whole(const std::string& type, const std::string& more) {
    return "$begin SolutionData\n"
           "\tObjectType='" +
           type +
           "'\n"
           "\tSolutionType='Adaptive'\n"
           "\tName='one'\n"
           "\tAdaptivePass=3\n"
           "\t$begin Frequencies\n" +
           kPoint1 +
           "\t$end Frequencies\n"
           "\t$begin Ports\n" +
           kPort +
           "\t$end Ports\n"
           "\t$begin InterpolatedFrequencies\n" +
           kPoint1 +
           "\t$end InterpolatedFrequencies\n"
           "\t$begin NoiseSolution\n"
           "\t\tNoiseSolutionType='NoiseFigure'\n"
           "\t$end NoiseSolution\n" +
           more + "$end SolutionData\n";
}

TEST(SolutionBlock, OfEveryClassIsReadAndWrittenAsItStands) {
    const std::string tables = "\tPortNames('P1')\n\tPortModes(1)\n\tPortTerminals('t1', 't2')\n";
    for (const std::string& text :
         {Whole("Modal", "\tHigherOrderMode=true\n" + tables), Whole("Terminal", tables)}) {
        io::CBlock block;
        ASSERT_TRUE(block.FromText(Wide(text))) << text;
        const auto solution = CreateNetworkSolution(block);
        ASSERT_TRUE(solution);
        EXPECT_EQ(Written(*solution), text);
        EXPECT_EQ(solution->GetData(1e9, 0, false, false)->GetValue(NetworkDataKind::SMatrix, 0, 0),
                  Complex(0.5, 0.25));
        // As an object that writes itself: without the interpolated points.
        CNetworkModalSolution modal;
        CNetworkTerminalSolution terminal;
        const bool isModal = solution->GetObjectType() == ObjectType::Modal;
        CNetworkDataSolution& again = isModal ? static_cast<CNetworkDataSolution&>(modal) : terminal;
        AString binary;
        EXPECT_TRUE(again.FromText(solution->ToBinaryText(binary)));
        EXPECT_EQ(again.GetReadStatus(), 0);
        EXPECT_EQ(Text(again), Written(*solution, false));
        EXPECT_EQ(Text(again).find("Interpolated"), std::string::npos);
    }
}

TEST(SolutionBlock, AnEmptySolutionIsFewItemsAndTheTypeBeyondTheTableIsNotAmongThem) {
    CNetworkModalSolution solution;
    solution.SetEnergyError(0.5);
    const std::string rest = "\tName=''\n\tAdaptivePass=-1\n\tEnergyError=0.5\n\tHigherOrderMode=false\n"
                             "$end SolutionData\n";
    const std::string begin = "$begin SolutionData\n\tObjectType='Modal'\n";
    EXPECT_EQ(Written(solution), begin + "\tSolutionType='None'\n" + rest);
    for (int type : {6, 7, -1}) {
        solution.SetSolutionType(static_cast<SolutionType>(type));
        EXPECT_EQ(Written(solution), begin + rest);
    }
}

TEST(SolutionBlock, DamageAtEachLevelGivesItsCodeAndLeavesTheRest) {
    const std::string port = "$begin Ports\nPort(PortName='P')\n$end Ports\n";
    const std::string s = "$begin SMatrix\nm=1\nn=1\n$begin r0\nc(1)\n$end r0\n$end SMatrix\n";
    const auto point = [](const std::string& lines) {
        return "$begin DataPoint\n" + lines + "$end DataPoint\n";
    };
    const auto points = [](const std::string& lines) {
        return "$begin Frequencies\n" + lines + "$end Frequencies\n";
    };
    struct Case {
        std::string lines;
        std::int32_t code;
        int entries, solved, interpolated;
        bool hasS; // at 1 Hz
    };
    for (const Case& c : {
             Case{"", 0, 0, 0, 0, false},
             Case{port + points(point("Frequency=1\n" + s)), 0, 1, 1, 0, true},
             Case{points(point("Frequency=1\n" + s)) + port, 0, 1, 1, 0, true},
             Case{points(point("Frequency=1\n" + s)), 0, 0, 1, 0, false},
             Case{port + points(point("Frequency=1\n" + s) + point("Frequency=1\n")), 1, 1, 1, 0, true},
             Case{port + points(point("Frequency=1\n") + point("Frequency=1\n" + s)), 1, 1, 1, 0, false},
             // A matrix that doesn't fit costs the point that matrix.
             Case{port + points(point("Frequency=1\n$begin SMatrix\nm=2\nn=2\n$end SMatrix\n")), 0, 1, 1, 0,
                  false},
             Case{port + points(point("Frequency='x'\n" + s)), 0, 1, 1, 0, false},
             Case{port + points("x=1\nDataPoint(1)\n$begin Any\nFrequency=1\n" + s + "$end Any\n"), 0, 1, 1,
                  0, true},
             Case{port + "Frequencies(1)\n", 0, 1, 0, 0, false},
             Case{"$begin Ports\nx=1\n$begin Port\n$end Port\nany()\nPort(Mode='x', 3)\n$end Ports\n", 0, 2,
                  0, 0, false},
             Case{"Ports(1)\n", 0, 0, 0, 0, false},
             Case{port + points(point("Frequency=1\n" + s)) + "$begin InterpolatedFrequencies\n" +
                      point("Frequency=1\n") + point("Frequency=2\n") + point("Frequency=2\n") +
                      "$end InterpolatedFrequencies\n",
                  0, 1, 1, 2, true},
             Case{port + "$begin NoiseSolution\n$begin Frequencies\n" + point("Frequency=1\n") +
                      point("Frequency=1\n") + "$end Frequencies\n$end NoiseSolution\n",
                  0, 1, 0, 0, false},
         }) {
        for (bool isModal : {false, true}) {
            auto modal = WithPoints<CNetworkModalSolution>({7.0});
            auto terminal = WithPoints<CNetworkTerminalSolution>({7.0});
            CNetworkDataSolution& solution = isModal ? static_cast<CNetworkDataSolution&>(modal) : terminal;
            io::CBlock block = SolutionBlock(c.lines);
            EXPECT_EQ(solution.ReadFromBlock(block), c.code) << c.lines;
            EXPECT_EQ(solution.GetMatrixSize(), c.entries) << c.lines;
            EXPECT_EQ(solution.GetNumSolvedFrequencies(), c.solved) << c.lines;
            EXPECT_EQ(solution.GetInterpolatedPoints().Size(), static_cast<std::size_t>(c.interpolated))
                << c.lines;
            CNetworkData* held = solution.GetData(1.0, 0, false, false);
            EXPECT_EQ(held && held->GetSMatrix(false), c.hasS) << c.lines;
        }
    }
}

TEST(SolutionBlock, AFailingPointEndsTheReadingAndTheWriting) {
    struct Failing : CNetworkData {
        using CNetworkData::CNetworkData;
        std::int32_t ReadFromBlock(io::CBlock& block) override {
            CNetworkData::ReadFromBlock(block);
            return m_Frequency == 2.0 ? -7 : 1;
        }
        bool WriteToBlock(io::CBlock& block) override {
            return m_Frequency != 3.0 && CNetworkData::WriteToBlock(block);
        }
    };
    struct FailingPoints : CNetworkModalSolution {
        std::unique_ptr<CNetworkData> CreateData() override { return std::make_unique<Failing>(); }
        std::unique_ptr<CNetworkData> CreateData(double freq) override {
            return std::make_unique<Failing>(this, freq);
        }
    };
    const auto points = [](const char* name, const char* frequencies) {
        std::string lines = std::string("$begin ") + name + "\n";
        for (const char* f = frequencies; *f; ++f)
            lines += std::string("$begin DataPoint\nFrequency=") + *f + "\n$end DataPoint\n";
        return lines + "$end " + name + "\n";
    };
    struct Case {
        std::string lines;
        std::int32_t code;
        std::size_t solved, interpolated;
        bool isHigher; // what stands behind the points
    };
    for (const Case& c : {
             Case{points("Frequencies", "145"), 0, 3, 0, true},
             Case{points("Frequencies", "124") + points("InterpolatedFrequencies", "5"), -7, 1, 0, false},
             Case{points("Frequencies", "1") + points("InterpolatedFrequencies", "529"), -7, 1, 1, false},
         }) {
        FailingPoints solution;
        io::CBlock block = SolutionBlock(c.lines + "HigherOrderMode=true\n");
        EXPECT_EQ(solution.ReadFromBlock(block), c.code) << c.lines;
        EXPECT_EQ(solution.GetSolvedPoints().Size(), c.solved) << c.lines;
        EXPECT_EQ(solution.GetInterpolatedPoints().Size(), c.interpolated) << c.lines;
        EXPECT_EQ(solution.IsHigherOrderMode(), c.isHigher) << c.lines;
    }
    FailingPoints solution;
    solution.AddData(1.0);
    solution.AddData(3.0);
    io::CBlock block(AString(u"SolutionData"));
    EXPECT_FALSE(solution.WriteToBlock(block, true));
    EXPECT_EQ(block.size(), 4u); // what stands before the points
    EXPECT_EQ(solution.TransferBlock(block, false), 1);
    solution.RemoveData(3.0);
    io::CBlock whole(AString(u"SolutionData"));
    EXPECT_EQ(solution.TransferBlock(whole, false), 0);
    EXPECT_EQ(solution.TransferBlock(whole, true), 0);
}

TEST(SolutionBlock, ReadingKeepsWhatItDoesNotSayAndTheEnergyErrorStandsOnlyWithoutPorts) {
    auto solution = WithPoints<CNetworkModalSolution>({1e9});
    solution.SetName(u"kept");
    solution.SetSolutionType(SolutionType::CircuitData);
    solution.SetAdaptivePass(5);
    solution.SetEnergyError(0.25);
    solution.SetNoiseSolution(std::make_unique<CNoiseDataSolution>());
    solution.GetNoiseSolution()->AddData(1e9);
    io::CBlock block =
        SolutionBlock("SolutionType='ZephInterpolatingSweep'\nAdaptivePass='x'\nEnergyError=0.5\n"
                      "$begin Ports\n$end Ports\n");
    EXPECT_EQ(solution.ReadFromBlock(block), 0);
    EXPECT_EQ(solution.GetName(), AString(u"kept"));
    EXPECT_EQ(solution.GetSolutionType(), SolutionType::CircuitData);
    EXPECT_EQ(solution.GetAdaptivePass(), 5);
    EXPECT_EQ(solution.GetEnergyError(), 0.25);
    EXPECT_EQ(solution.GetNoiseSolution()->GetPoints().size(), 1u);
    EXPECT_EQ(solution.GetNumSolvedFrequencies(), 0);
    io::CBlock other = SolutionBlock("SolutionType='adaptive'\nEnergyError=0.5\nName='new'\n");
    EXPECT_EQ(solution.ReadFromBlock(other), 0);
    EXPECT_EQ(solution.GetSolutionType(), SolutionType::Adaptive);
    EXPECT_EQ(solution.GetEnergyError(), 0.5);
    EXPECT_EQ(solution.GetName(), AString(u"new"));
}

TEST(SolutionBlock, PortTablesAreAppendedAndTheEntriesHaveTheLastWord) {
    const std::string tables = "PortNames('x', 1, 'y')\nPortModes(2, 'z', 3)\nPortTerminals('t')\n";
    const std::string ports = "$begin Ports\nPort(PortName='a')\nPort(PortName='a')\n$end Ports\n";
    using Names = std::vector<AString>;
    using Modes = std::vector<std::int32_t>;
    CNetworkModalSolution modal;
    CNetworkTerminalSolution terminal;
    const auto read = [](CNetworkDataSolution& solution, const std::string& lines) {
        io::CBlock block = SolutionBlock(lines);
        EXPECT_EQ(solution.ReadFromBlock(block), 0);
    };
    read(modal, tables);
    EXPECT_EQ(modal.GetPortNames(), (Names{u"x", u"y"}));
    EXPECT_EQ(modal.GetPortModes(), (Modes{2, 3}));
    read(modal, tables);
    EXPECT_EQ(modal.GetPortModes(), (Modes{2, 3, 2, 3}));
    EXPECT_EQ(modal.GetPortTerminals(), (Names{u"t", u"t"}));
    read(modal, tables + ports);
    EXPECT_EQ(modal.GetPortNames(), (Names{u"a"}));
    EXPECT_EQ(modal.GetPortModes(), (Modes{2}));
    read(terminal, tables);
    EXPECT_EQ(terminal.GetPortNames(), Names());
    EXPECT_EQ(terminal.GetNumPorts(), 0);
    read(terminal, tables + ports);
    EXPECT_EQ(terminal.GetPortNames(), (Names{u"a", u"a"}));
    EXPECT_EQ(terminal.GetPortModes(), (Modes{2, 3, 2, 3}));
}

TEST(SolutionBlock, ManyPointsOfAShortTextDoNotMakeLargeMatrices) {
    std::string ports, points;
    for (int i = 0; i < 60; ++i)
        ports += "P()\n";
    for (int i = 0; i < 50; ++i)
        points += "$begin D\nFrequency=" + std::to_string(i) +
                  "\n$begin SMatrix\nm=60 n=60\n$end SMatrix\n$begin Gamma\nn=60\n$end Gamma\n$end D\n";
    CNetworkModalSolution solution;
    io::CBlock block = SolutionBlock("$begin Ports\n" + ports + "$end Ports\n$begin Frequencies\n" + points +
                                     "$end Frequencies\n");
    EXPECT_EQ(solution.ReadFromBlock(block), 0);
    EXPECT_EQ(solution.GetMatrixSize(), 60);
    EXPECT_EQ(solution.GetNumSolvedFrequencies(), 50);
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        EXPECT_EQ(point->GetSMatrix(false), nullptr);
}

} // namespace
