// Networks read from and written to files of every form, against networks whose matrices are known.
#include <networkfile/network_file.h>

#include <matrix/linear_algebra.h>
#include <sparamlib/network_modal_solution.h>
#include <sparamlib/solution_factory.h>
#include <streamio/block.h>
#include <testtools/folder_test.h>

#include <cmath>
#include <sstream>

namespace {

using networkfile::Form;
using touchstone::Kind;

// Z of a lossy T of resistors and its S at 50 ohm: series 10 and 20 ohm, shunt 100 ohm.
constexpr double kZ[] = {110, 100, 100, 120};

ComplexMatrix Real(const double (&values)[4]) {
    ComplexMatrix m(2, 2);
    std::copy(std::begin(values), std::end(values), m.Data());
    return m;
}

// S = (Z - z0)(Z + z0)^-1 of one reference.
ComplexMatrix SOfZ(double ohms) {
    ComplexMatrix s;
    const ComplexMatrix z = Real(kZ), reference = DiagonalMatrix(ComplexVector(2, Complex(ohms)));
    EXPECT_EQ(MatrixSolve(z + reference, z - reference, s), kSolved);
    return s;
}

const ComplexMatrix& S(CNetworkDataSolution& solution, double frequency) {
    static const ComplexMatrix kNone;
    CNetworkData* point = solution.GetData(frequency, 0.0, false, false);
    EXPECT_TRUE(point && point->GetSMatrix(false)) << frequency;
    return point && point->GetSMatrix(false) ? *point->GetSMatrix(false) : kNone;
}

void ExpectNear(const ComplexMatrix& a, const ComplexMatrix& b, double tolerance) {
    ASSERT_EQ(a.Size(), b.Size());
    for (int i = 0; i < a.Size(); ++i)
        EXPECT_LE(abs(a.Data()[i] - b.Data()[i]), tolerance) << i;
}

std::string FailureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const networkfile::Error& error) {
        return error.what();
    }
    return "no failure";
}

std::unique_ptr<CNetworkDataSolution> ReadText(const std::string& text, const std::string& name) {
    return networkfile::ReadBytes(text, name).solution;
}

// A solution text of two ports and one point that holds what `items` say.
std::string SolutionText(const std::string& items, const std::string& more = "") {
    return "$begin SolutionData\nObjectType='Modal'\n$begin Ports\n"
           "Port(PortName='in', MatrixIndex=0)\nPort(PortName='out', MatrixIndex=1)\n$end Ports\n"
           "$begin Frequencies\n$begin DataPoint\nFrequency=1e9\n" +
           items + "$end DataPoint\n$end Frequencies\n" + more + "$end SolutionData\n";
}
std::string MatrixText(const std::string& name, const char* a, const char* b, const char* c, const char* d) {
    const auto item = [](const char* v) { return std::string("c(") + v + ", 0)\n"; };
    return "$begin " + name + "\nm=2\nn=2\n$begin r0\n" + item(a) + item(b) + "$end r0\n$begin r1\n" +
           item(c) + item(d) + "$end r1\n$end " + name + "\n";
}
std::string ImpedanceText(const char* ohms) {
    return std::string("$begin PortImpedance\nn=2\n$begin r0\nc(") + ohms + ", 0)\nc(" + ohms +
           ", 0)\n$end r0\n$end PortImpedance\n";
}

TEST(NetworkFileTest, EveryKindOfTouchstoneBecomesSAtItsReference) {
    // The same network in five ways; what version 1 normalises is normalised to 75 ohm. Determinant of Z: 3200.
    struct Row {
        const char* kind;
        double m[4]; // 11 12 21 22
    };
    const double z = 75;
    const Row rows[] = {
        {"Z", {110 / z, 100 / z, 100 / z, 120 / z}},
        {"Y", {120.0 / 3200 * z, -100.0 / 3200 * z, -100.0 / 3200 * z, 110.0 / 3200 * z}},
        {"H", {3200.0 / 120 / z, 100.0 / 120, -100.0 / 120, 1.0 / 120 * z}},
        {"G", {1.0 / 110 * z, -100.0 / 110, 100.0 / 110, 3200.0 / 110 / z}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.kind);
        std::ostringstream text;
        text.precision(17);
        text << "# MHz " << row.kind << " RI R 75\n1 " << row.m[0] << " 0 " << row.m[2] << " 0 " << row.m[1]
             << " 0 " << row.m[3] << " 0\n";
        const auto file = networkfile::ReadBytes(text.str(), "x.s2p");
        EXPECT_EQ(file.form, Form::kTouchstone);
        EXPECT_EQ(static_cast<char>(file.kind), row.kind[0]);
        ExpectNear(S(*file.solution, 1e6), SOfZ(75), 1e-14);
        EXPECT_EQ(file.solution->GetSolutionType(), SolutionType::None);
        EXPECT_EQ(file.solution->GetMatrixEntryName(1), AString("Port2"));
        EXPECT_TRUE(file.solution->RenormalizePorts(ComplexVector(2, Complex(50)), false));
        ExpectNear(S(*file.solution, 1e6), SOfZ(50), 1e-14);
    }
}

TEST(NetworkFileTest, MixedModesBecomeTheSinglePortsThatTheyWereMadeOf) {
    // Two separate one-ports with reflections 0.5 and 0.1 as a pair: the modes are their half sum and half difference.
    const std::string text =
        "[Version] 2.0\n# Hz S RI R 50\n[Number of Ports] 2\n[Two-Port Data Order] 12_21\n"
        "[Number of Frequencies] 1\n[Mixed-Mode Order] D1,2 C1,2\n[Network Data]\n"
        "1 0.3 0 0.2 0 0.2 0 0.3 0\n[End]\n";
    const auto solution = ReadText(text, "pair.s2p");
    ExpectNear(S(*solution, 1), Real({0.5, 0, 0, 0.1}), 1e-15);
}

TEST(NetworkFileTest, NoiseKeepsItsSourceWhenItsReferenceIsAnother) {
    const auto solution =
        ReadText("# GHz S RI R 50\n1 0 0 1 0 1 0 0 0\n2 0 0 1 0 1 0 0 0\n0.5 1.5 0.25 90 0.4\n", "amp.s2p");
    ASSERT_TRUE(solution->GetNoiseSolution());
    const auto& points = solution->GetNoiseSolution()->GetPoints();
    ASSERT_EQ(points.size(), 1u);
    double figure, magnitude, angle, resistance;
    points.begin()->second->GetValues(figure, magnitude, angle, resistance);
    EXPECT_EQ(points.begin()->first, 0.5e9);
    EXPECT_EQ(figure, 1.5);
    EXPECT_NEAR(magnitude, 0.25, 1e-15);
    EXPECT_NEAR(angle, 90, 1e-12);
    EXPECT_NEAR(resistance, 20, 1e-12);
    const auto back = networkfile::ReadBytes(networkfile::Write(*solution, "b.s2p").bytes, "b.s2p");
    EXPECT_EQ(back.solution->GetNoiseSolution()->GetPoints().size(), 1u);
}

TEST(NetworkFileTest, WhatIsWrittenInAnyFormIsReadAgainTheSame) {
    const auto solution = ReadText("# GHz S RI R 50\n0.1 0.1 0.7 -0.3 0.01 1e-17 0 0.2 0.3333333333333333\n"
                                   "3 0.4 -0.1 0.9 0.2 0 0 -0.25 0\n",
                                   "a.s2p");
    for (const char* name : {"b.sol", "b.SOLB", "b.s2p", "b.ts"}) {
        SCOPED_TRACE(name);
        const auto written = networkfile::Write(*solution, name);
        EXPECT_TRUE(written.warnings.empty());
        for (const char* asName : {name, "-"}) { // by the name and by the content
            const auto file = networkfile::ReadBytes(written.bytes, asName);
            EXPECT_EQ(file.form, *networkfile::FormOfName(name));
            for (double frequency : {1e8, 3e9})
                ExpectNear(S(*file.solution, frequency), S(*solution, frequency), 0);
        }
    }
    for (Kind kind : {Kind::Y, Kind::Z})
        for (auto format : {touchstone::Format::DecibelAngle, touchstone::Format::MagnitudeAngle}) {
            const auto written =
                networkfile::Write(*solution, "c.s2p", {kind, format, touchstone::Version::V2_0});
            ExpectNear(S(*ReadText(written.bytes, "c.s2p"), 1e8), S(*solution, 1e8), 1e-12);
        }
}

TEST(NetworkFileTest, EachErrorNamesTheFileAndTheLine) {
    struct Row {
        const char* name;
        std::string bytes;
        const char* failure; // how it begins
    };
    const std::string good = SolutionText(MatrixText("SMatrix", "0", "1", "1", "0"));
    const Row rows[] = {
        {"a.s2p", "# GHz S RI R 50\n1 0 0 1 0 1 0 x 0\n", "a.s2p:2: "},
        {"a.s2p", "", "a.s2p:"},
        {"a.s1p", "# Hz Y RI R 50\n1 -1 0\n", "a.s1p: there is no S at 1 Hz: "},
        {"a.s2p", "# Hz H RI R 1\n1 -1 0 0 0 0 0 1 0\n", "a.s2p: there is no S at 1 Hz: "},
        {"-", "$begin A\n$begin B\nx=1\n\xFF\n", "standard input:4: not UTF-8"},
        {"a.sol", "$begin A\nx=1\ny=\n$end A\n", "a.sol:"},
        {"a.sol", good.substr(0, good.size() - 20), "a.sol:"},
        {"a.sol", "$begin A\nx=1\n$end A\n", "a.sol: no solution"},
        {"a.sol", "", "a.sol: no solution"},
        {"a.solb", std::string("\0\x10nonsense", 10), "a.solb:"},
    };
    for (const Row& row : rows) {
        const std::string failure = FailureOf([&] { networkfile::ReadBytes(row.bytes, row.name); });
        EXPECT_TRUE(failure.starts_with(row.failure)) << row.failure << " is not: " << failure;
    }
    EXPECT_EQ(FailureOf([] { networkfile::Read("/nowhere/a.s2p"); }),
              "/nowhere/a.s2p: No such file or directory");
}

TEST(NetworkFileTest, WhatAFileCantSayIsRefused) {
    const auto twoReferences = [] {
        CNetworkModalSolution solution;
        CMatrixEntry entry(u"P", 0);
        solution.SetMatrixEntries({&entry}, true);
        for (double frequency : {1.0, 2.0}) {
            solution.AddData(frequency)->SetValue(NetworkDataKind::SMatrix, 0.5, 0, 0);
            solution.AddData(frequency)->SetValue(NetworkDataKind::PortImpedance, 50 * frequency, 0, 0);
        }
        return solution.Clone();
    };
    const auto through = [] {
        return ReadText(SolutionText(MatrixText("SMatrix", "0", "1", "1", "0") + ImpedanceText("50")), "-");
    };
    const auto empty = [] { return std::make_unique<CNetworkModalSolution>(); };
    struct Row {
        std::function<std::unique_ptr<CNetworkDataSolution>()> make;
        const char* name;
        Kind kind;
        const char* failure;
    };
    const Row rows[] = {
        {through, "a.s3p", Kind::S, "a.s3p: the name says 3 ports, and the network has 2"},
        {through, "a.txt", Kind::S, "a.txt: the name says no form"},
        {through, "a.s2p", Kind::Y, "a.s2p: there is no Y at 1000000000 Hz"},
        {through, "a.s2p", Kind::Z, "a.s2p: there is no Z at 1000000000 Hz"},
        {twoReferences, "a.s1p", Kind::S, "a.s1p: the port impedances change at 2 Hz"},
        {empty, "a.s1p", Kind::S, "a.s1p: the solution has no ports or no points"},
    };
    for (const Row& row : rows) {
        const std::string failure =
            FailureOf([&] { networkfile::Write(*row.make(), row.name, {.kind = row.kind, .version = {}}); });
        EXPECT_TRUE(failure.starts_with(row.failure)) << row.failure << " is not: " << failure;
    }
    // Where impedances don't matter, or are those that everybody has, the file is written.
    EXPECT_EQ(FailureOf([&] {
                  networkfile::Write(*twoReferences(), "a.s1p",
                                     {.kind = Kind::Z, .version = touchstone::Version::V2_0});
              }),
              "no failure");
    const auto unstated = ReadText(SolutionText(MatrixText("SMatrix", "0", "1", "1", "0")), "-");
    const auto written = networkfile::Write(*unstated, "a.s2p");
    ASSERT_EQ(written.warnings.size(), 1u);
    ExpectNear(S(*ReadText(written.bytes, "a.s2p"), 1e9), Real({0, 1, 1, 0}), 0);
}

class NetworkInFolder : public testtools::FolderTest {
protected:
    NetworkInFolder() : FolderTest("tarvok_networkfile") {}
    std::string Put(const std::string& name, const std::string& bytes) const {
        Write(name, bytes);
        return (m_Folder / name).string();
    }
};

std::unique_ptr<CNetworkDataSolution> AsEngine(const std::u16string& text) {
    io::CBlock block;
    EXPECT_TRUE(block.FromText(AString(text)));
    return CreateNetworkSolution(block);
}

TEST_F(NetworkInFolder, TheEngineGetsATextThatIsGoodAsItStandsAndAllElseRewritten) {
    const std::string s = MatrixText("SMatrix", "0.1", "0.2", "0.3", "0.4") + ImpedanceText("75");
    const std::string good = "! a remark\n" + SolutionText(s);
    EXPECT_EQ(networkfile::ReadForEngine(Put("a.sol", good)), AString(good));

    struct Row {
        const char* what;
        std::string name, bytes;
        ComplexMatrix s;
    };
    const Row rows[] = {
        {"binary", "b.solb", networkfile::Write(*ReadText(good, "-"), "b.solb").bytes,
         Real({0.1, 0.2, 0.3, 0.4})},
        {"behind something else", "c.sol", "version=1\n" + good, Real({0.1, 0.2, 0.3, 0.4})},
        {"Z only", "d.sol",
         SolutionText(MatrixText("ZMatrix", "110", "100", "100", "120") + ImpedanceText("75")), SOfZ(75)},
        {"matched Y only", "e.sol",
         SolutionText(MatrixText("YMatrix", "0.02", "0", "0", "0.02") + ImpedanceText("50")),
         Real({0, 0, 0, 0})},
        {"Touchstone", "f.s2p", "# GHz S RI R 75\n1 0.1 0 0.3 0 0.2 0 0.4 0\n", Real({0.1, 0.2, 0.3, 0.4})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto solution = AsEngine(networkfile::ReadForEngine(Put(row.name, row.bytes)));
        ASSERT_TRUE(solution);
        ExpectNear(S(*solution, 1e9), row.s, 1e-15);
    }
    for (const std::string& bytes :
         {SolutionText(MatrixText("YMatrix", "1", "0", "0", "1")), SolutionText(ImpedanceText("75")),
          SolutionText(MatrixText("YMatrix", "-0.02", "0", "0", "0.02") + ImpedanceText("50"))})
        EXPECT_NE(FailureOf([&] {
                      networkfile::ReadForEngine(Put("g.sol", bytes));
                  }).find("g.sol: there is no S at 1000000000 Hz: "),
                  std::string::npos);
}

TEST_F(NetworkInFolder, TheEngineGetsAnIdealThroughAsItIs) {
    const double half = 1 / std::sqrt(2.0);
    struct Row {
        const char *what, *bytes;
        ComplexMatrix s; // at 50 ohm
    };
    const Row rows[] = {
        {"at the engine's reference", "# GHz S RI R 50\n1 0 0 1 0 1 0 0 0\n", Real({0, 1, 1, 0})},
        {"at another one", "# GHz S RI R 75\n1 0 0 1 0 1 0 0 0\n", Real({0, 1, 1, 0})},
        // A transformer of 1 to sqrt(2), matched between 25 and 50 ohm.
        {"a transformer", "# GHz S RI R 25 50\n1 0 0 1 0 1 0 0 0\n",
         Real({-1.0 / 3, 2 * half * 2 / 3, 2 * half * 2 / 3, 1.0 / 3})},
        {"a short and an open", "# GHz S RI R 75\n1 -1 0 0 0 0 0 1 0\n", Real({-1, 0, 0, 1})},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto solution = AsEngine(networkfile::ReadForEngine(Put("a.s2p", row.bytes)));
        ASSERT_TRUE(solution);
        solution->RenormalizePorts(ComplexVector(2, Complex(50)), true);
        ExpectNear(S(*solution, 1e9), row.s, 1e-15);
    }
}

TEST_F(NetworkInFolder, HowASolutionIsToBePresentedGoesWithIt) {
    auto solution =
        ReadText(SolutionText(MatrixText("ZMatrix", "110", "100", "100", "120") + ImpedanceText("75")), "-");
    auto& modal = dynamic_cast<CNetworkModalSolution&>(*solution);
    CNetworkPostprocSetup setup(modal.GetPortModes());
    const ComplexVector fifties(2, Complex(50));
    setup.SetDefaults(true, &fifties, nullptr);
    modal.SetPostprocSetup(&setup);
    const std::string text = networkfile::Write(*solution, "a.sol").bytes;
    ExpectNear(S(*ReadText(text, "a.sol"), 1e9), SOfZ(50), 1e-14);
    ExpectNear(S(*AsEngine(networkfile::ReadForEngine(Put("a.sol", text))), 1e9), SOfZ(50), 1e-14);
    ExpectNear(S(*ReadText(networkfile::Write(*solution, "a.s2p").bytes, "a.s2p"), 1e9), SOfZ(50), 1e-14);
}

} // namespace
