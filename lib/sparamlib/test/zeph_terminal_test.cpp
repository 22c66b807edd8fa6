#include "point_tests.h"

#include <sparamlib/zeph_modal_data.h>
#include <utility/assertion.h>

#include <memory>

namespace {

using Kind = NetworkDataKind;

const double kHalf = std::sqrt(0.5);

// (a, b) in the two modes of a symmetric pair, seen at its terminals: half the sum on the diagonal, half the
// difference off it.
ComplexMatrix AtTerminals(const Complex& even, const Complex& odd) {
    const Complex sum = 0.5 * (even + odd), difference = 0.5 * (even - odd);
    return Matrix_(2, {sum, difference, difference, sum});
}

Complex Reflection(const Complex& z, double reference) {
    return (z - Complex(reference)) / (z + Complex(reference));
}

// A coupled pair of lines: an even mode of 72 ohm and an odd one of 32 ohm, in which the network has the impedances
// 72 (1 + s) / (1 - s) and so on. T takes normalised waves to voltages, X = (T^H)^-1 to currents: P is one.
struct CoupledLines {
    CoupledLines() : point(&ports, 1e9) {
        const double even = std::sqrt(72.0) * kHalf, odd = std::sqrt(32.0) * kHalf;
        ComplexMatrix t = Matrix_(2, {even, odd, even, -odd});
        ComplexMatrix p = IdentityMatrix(2);
        ComplexMatrix s = DiagonalMatrix(Vector_({evenS, oddS}));
        ComplexVector z = Vector_({72, 32});
        point.SetSMatrix(&s, true);
        point.SetZpi(&z, true);
        point.SetTMatrix(&t, true);
        point.SetPMatrix(&p, true);
    }
    Complex EvenZ() const { return 72.0 * ((Complex(1) + evenS) / (Complex(1) - evenS)); }
    Complex OddZ() const { return 32.0 * ((Complex(1) + oddS) / (Complex(1) - oddS)); }

    Ports ports{2};
    Complex evenS{0.5, 0.25}, oddS{-0.125, 0.5};
    CZephModalData point;
};

CZephDifferentialPair Pair(int positive, int negative) {
    CZephDifferentialPair pair;
    pair.m_PosTerminalIndex = positive;
    pair.m_NegTerminalIndex = negative;
    return pair;
}

TEST(ZephTerminal, OfCoupledLinesHasTheHalfSumsAndDifferences) {
    CoupledLines lines;
    const CZephTerminalData form(&lines.point);
    CZephTerminalData& mutableForm = const_cast<CZephTerminalData&>(form);
    EXPECT_LT(LargestDifference(*form.GetPortImpedance(), AtTerminals(72, 32)), 1e-13);
    EXPECT_LT(LargestDifference(*mutableForm.GetZMatrix(false), AtTerminals(lines.EvenZ(), lines.OddZ())),
              1e-12);
    EXPECT_LT(LargestDifference(*mutableForm.GetYMatrix(false),
                                AtTerminals(1.0 / lines.EvenZ(), 1.0 / lines.OddZ())),
              1e-16);
    EXPECT_LT(LargestDifference(*mutableForm.GetSMatrix(false),
                                AtTerminals(Reflection(lines.EvenZ(), 50), Reflection(lines.OddZ(), 50))),
              1e-15);
    EXPECT_FALSE(mutableForm.IsSDerived());
    ComplexMatrix x;
    form.ComputeXMatrix(x);
    EXPECT_LT(LargestDifference(ConjugateTranspose(x) * *form.GetTMatrix(), *form.GetPMatrix()), 1e-15);
}

TEST(ZephTerminal, RefersSToTheGivenImpedances) {
    CoupledLines lines;
    CZephTerminalData fifty(&lines.point), stated(&lines.point, Vector_({50, 50}), {});
    EXPECT_TRUE(Equal(*stated.GetSMatrix(false), *fifty.GetSMatrix(false)));
    CZephTerminalData other(&lines.point, Vector_({20, 90}), {});
    CNetworkModalData plain(&lines.ports, 1e9); // the same network, by its Z
    ComplexMatrix z = AtTerminals(lines.EvenZ(), lines.OddZ());
    ComplexVector impedances = Vector_({20, 90});
    plain.SetZMatrix(&z, true);
    plain.SetPortImpedance(&impedances, true);
    EXPECT_LT(LargestDifference(*other.GetSMatrix(false), *plain.GetSMatrix(true)), 1e-14);
    EXPECT_TRUE(Equal(*other.GetZMatrix(false), *fifty.GetZMatrix(false)));
    ASSERT_TRUE(fifty.RenormalizeVectors(Vector_({50, 50}), impedances));
    EXPECT_LT(LargestDifference(*fifty.GetSMatrix(false), *plain.GetSMatrix(true)), 1e-14);
}

// The difference sees twice the odd mode's impedance, the common quantity half the even mode's.
TEST(ZephTerminal, OfAPairHasDifferenceAndCommonQuantity) {
    CoupledLines lines;
    for (const bool swapped : {false, true}) {
        const CZephDifferentialPair pair = swapped ? Pair(1, 0) : Pair(0, 1);
        const int d = swapped ? 1 : 0, c = 1 - d;
        ComplexVector impedances(2);
        impedances[d] = 100;
        impedances[c] = 25;
        CZephTerminalData form(&lines.point, impedances, {&pair});
        const auto diagonal = [&](const Complex& difference, const Complex& common) {
            ComplexMatrix m(2, 2);
            m[d][d] = difference;
            m[c][c] = common;
            return m;
        };
        const Complex difference = 2.0 * lines.OddZ(), common = 0.5 * lines.EvenZ();
        EXPECT_LT(LargestDifference(*form.GetPortImpedance(), diagonal(64, 36)), 1e-13);
        EXPECT_LT(LargestDifference(*form.GetZMatrix(false), diagonal(difference, common)), 1e-12);
        EXPECT_LT(LargestDifference(*form.GetSMatrix(false),
                                    diagonal(Reflection(difference, 100), Reflection(common, 25))),
                  1e-15);
        EXPECT_TRUE(Equal(*form.GetPMatrix(), *lines.point.GetPMatrix())) << "P is left alone";
        // Terminal values are D times the pair's.
        const ComplexMatrix back = Matrix_(2, swapped ? std::initializer_list<Complex>{1, -0.5, 1, 0.5}
                                                      : std::initializer_list<Complex>{0.5, 1, -0.5, 1});
        EXPECT_LT(LargestDifference(back * *form.GetTMatrix(), *lines.point.GetTMatrix()), 1e-15);
    }
}

TEST(ZephTerminal, LeavesOtherTerminalsOutOfAPair) {
    Networks networks(3);
    Ports ports(5);
    CZephModalData point(&ports, 1e9);
    ComplexMatrix t = networks.Any(5, 1), p = IdentityMatrix(5);
    point.SetTMatrix(&t, true);
    point.SetPMatrix(&p, true);
    const CZephDifferentialPair first = Pair(3, 1), second = Pair(0, 4);
    const CZephTerminalData form(&point, ComplexVector(5, 50), {&first, &second});
    const ComplexMatrix& paired = *form.GetTMatrix();
    for (int j = 0; j < 5; ++j) {
        EXPECT_LT(abs(paired[3][j] - (t[3][j] - t[1][j])), 1e-15);
        EXPECT_LT(abs(paired[1][j] - 0.5 * (t[3][j] + t[1][j])), 1e-15);
        EXPECT_LT(abs(paired[0][j] - (t[0][j] - t[4][j])), 1e-15);
        EXPECT_LT(abs(paired[4][j] - 0.5 * (t[0][j] + t[4][j])), 1e-15);
        EXPECT_EQ(paired[2][j], t[2][j]);
    }
}

TEST(ZephTerminal, TakesNoPairIfOneHasNoSuchTerminals) {
    CoupledLines lines;
    const CZephDifferentialPair good = Pair(0, 1);
    for (const auto& [p, q] : {std::pair{-1, -1}, {0, -1}, {-1, 1}, {0, 2}, {2, 0}, {2147483647, 0}}) {
        const CZephDifferentialPair bad = Pair(p, q);
        const CZephTerminalData form(&lines.point, Vector_({50, 50}), {&good, &bad});
        EXPECT_TRUE(Equal(*form.GetTMatrix(), *lines.point.GetTMatrix())) << p << ", " << q;
    }
    const CZephTerminalData form(&lines.point, Vector_({50, 50}), {nullptr, &good});
    EXPECT_TRUE(Equal(*form.GetTMatrix(), *lines.point.GetTMatrix()));
}

TEST(ZephTerminal, HoldsWhatCanBeComputed) {
    const struct {
        const char* name;
        void (*change)(CZephModalData&);
        ComplexVector impedances;
        bool hasR, hasS;
    } cases[] = {
        {"everything", [](CZephModalData&) {}, Vector_({50, 50}), true, true},
        {"no S", [](CZephModalData& p) { p.SetSMatrix(nullptr, true); }, Vector_({50, 50}), true, false},
        {"too few impedances", [](CZephModalData&) {}, Vector_({50}), true, false},
        {"no T", [](CZephModalData& p) { p.SetTMatrix(nullptr, true); }, Vector_({50, 50}), false, false},
        {"no P", [](CZephModalData& p) { p.SetPMatrix(nullptr, true); }, Vector_({50, 50}), false, false},
        {"no owner", [](CZephModalData& p) { p.SetOwner(nullptr); }, Vector_({50, 50}), false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CoupledLines lines;
        c.change(lines.point);
        CZephTerminalData form(&lines.point, c.impedances, {});
        EXPECT_EQ(form.GetPortImpedance() != nullptr, c.hasR);
        EXPECT_EQ(form.GetSMatrix(false) != nullptr, c.hasS);
        EXPECT_EQ(form.GetYMatrix(true) != nullptr, c.hasS);
        EXPECT_EQ(form.GetZMatrix(true) != nullptr, c.hasS);
        if (c.hasR) {
            EXPECT_LT(LargestDifference(*form.GetPortImpedance(), AtTerminals(72, 32)), 1e-13);
        }
    }
}

TEST(ZephTerminal, HasZerosWhereAStepIsSingular) {
    CoupledLines lines;
    lines.point.SetValue(Kind::SMatrix, -1, 0, 0); // the even mode shorted
    CZephTerminalData shorted(&lines.point);
    EXPECT_TRUE(IsZero(*shorted.GetYMatrix(false)));
    EXPECT_LT(LargestDifference(*shorted.GetZMatrix(false), AtTerminals(0, lines.OddZ())), 1e-13);
    EXPECT_LT(LargestDifference(*shorted.GetSMatrix(false), AtTerminals(-1, Reflection(lines.OddZ(), 50))),
              1e-14);
    ComplexMatrix t(2, 2);
    lines.point.SetTMatrix(&t, true);
    CZephTerminalData form(&lines.point);
    EXPECT_TRUE(IsZero(*form.GetPortImpedance()));
    EXPECT_TRUE(IsZero(*form.GetZMatrix(false)));
}

std::string asked;

TEST(ZephTerminal, AssertsItsDataByTheirNames) {
    SetAssertQuestion([](AssertBox, const char* text) {
        asked += text;
        return AssertAnswer::Retry;
    });
    assertsOff = false;
    const auto expect = [](std::initializer_list<const char*> texts, auto&& use) {
        asked.clear();
        use();
        for (const char* text : texts)
            EXPECT_NE(asked.find(text), asked.npos) << text << " in " << asked;
        EXPECT_EQ(asked.empty(), texts.size() == 0) << asked;
    };
    CoupledLines lines;
    expect({}, [&] { CZephTerminalData form(&lines.point); });
    expect({"baseData != 0", "lib/sparamlib/source/ZephTerminalData"},
           [] { CZephTerminalData form(nullptr); });
    expect({"baseData->GetTMatrix() != 0", "baseData->GetPMatrix() != 0"}, [] {
        CZephModalData bare;
        CZephTerminalData form(&bare);
    });
    expect({"m_SMatrix != 0"}, [] {
        CZephTerminalData point;
        point.ComputeYFromS(Vector_({50}));
        EXPECT_EQ(point.GetYMatrix(false), nullptr);
    });
    expect({"m_SMatrix != 0"}, [] {
        CZephTerminalData point;
        point.ComputeZFromS(Vector_({50}));
        EXPECT_EQ(point.GetZMatrix(false), nullptr);
    });
    assertsOff = true;
    SetAssertQuestion(nullptr);
}

TEST(ZephTerminal, WantsAnImpedanceForEachRow) {
    Networks networks(11);
    Ports three(3);
    CZephTerminalData point(&three, 1e9);
    ComplexMatrix matrix = networks.Passive(3);
    const ComplexVector z = networks.RealImpedances(3);
    point.SetSMatrix(&matrix, true);
    EXPECT_FALSE(point.RenormalizeVectors(z, ComplexVector(4, 50)));
    EXPECT_FALSE(point.RenormalizeVectors(ComplexVector(4, 50), z));
    EXPECT_TRUE(Equal(*point.GetSMatrix(false), matrix));
    point.ComputeYFromS(ComplexVector(4, 50));
    point.ComputeZFromS(ComplexVector(4, 50));
    EXPECT_TRUE(IsZero(*point.GetYMatrix(false)) && IsZero(*point.GetZMatrix(false)));
    CZephTerminalData empty;
    EXPECT_FALSE(empty.RenormalizeVectors({}, {}));
    // A through, of which I + S is singular, becomes matched ports: a wrong network, and true.
    Ports ports(2);
    CZephTerminalData through(&ports, 1e9);
    ComplexMatrix s = Matrix_(2, {0, 1, 1, 0});
    through.SetSMatrix(&s, true);
    EXPECT_TRUE(through.RenormalizeVectors(Vector_({50, 50}), Vector_({50, 50})));
    EXPECT_LT(LargestDifference(*through.GetSMatrix(false), IdentityMatrix(2)), 1e-15);
}

TEST(ZephTerminal, MovesItsPlanesByDelaysOnly) {
    Ports ports(1);
    CZephTerminalData point(&ports, 0.25);
    point.SetValue(Kind::SMatrix, 0.5, 0, 0);
    point.SetValue(Kind::PortImpedance, 50, 0, 0);
    point.SetValue(Kind::ZMatrix, 150, 0, 0);
    EXPECT_FALSE(point.Deembed(Reals({1}), false, false));
    EXPECT_FALSE(point.DeembedTerminals(Reals({1}), false));
    ASSERT_TRUE(point.DeembedByDelay(Reals({1}))); // a quarter turn, twice
    EXPECT_LT(abs(point.GetValue(Kind::SMatrix, 0, 0) - Complex(-0.5)), 1e-15);
    EXPECT_LT(abs(point.GetValue(Kind::ZMatrix, 0, 0) - Complex(50.0 / 3)), 1e-13);
}

TEST(ZephTerminal, LosesWhatItWouldHaveToCompute) {
    CoupledLines lines;
    CZephTerminalData form(&lines.point);
    form.SetOwner(&lines.ports);
    ASSERT_TRUE(form.DeembedByDelay(Reals({0, 0})));
    EXPECT_TRUE(form.GetSMatrix(false));
    EXPECT_EQ(form.GetYMatrix(false), nullptr) << "asked of the modal point, which doesn't bring it";
    EXPECT_EQ(form.GetYMatrix(true), nullptr);
    CZephTerminalData other(&lines.point);
    other.SetOwner(&lines.ports);
    EXPECT_FALSE(other.Renormalize(Vector_({75, 75})));
    EXPECT_EQ(other.GetSMatrix(true), nullptr);
    EXPECT_EQ(other.GetYMatrix(false) != nullptr, true);
}

TEST(ZephTerminal, StandsAloneWhenItsModalPointGoesFirst) {
    auto lines = std::make_unique<CoupledLines>();
    CZephTerminalData form(&lines->point);
    CZephTerminalData copy(form);
    EXPECT_EQ(copy.GetModalData(false), &lines->point);
    EXPECT_TRUE(Equal(*copy.GetTMatrix(), *form.GetTMatrix()));
    EXPECT_TRUE(Equal(*copy.GetPMatrix(), *form.GetPMatrix()));
    const Complex evenS = Reflection(lines->EvenZ(), 50);
    lines.reset();
    Ports ports(2);
    form.SetOwner(&ports);
    EXPECT_EQ(form.GetModalData(false), nullptr);
    form.SetYMatrix(nullptr, true);
    ComplexMatrix r = DiagonalMatrix(Vector_({50, 50}));
    form.SetPortImpedance(&r, true);
    ASSERT_TRUE(form.GetYMatrix(true));
    const ComplexMatrix& y = *form.GetYMatrix(true);
    const Complex even = y[0][0] + y[0][1]; // (1 - s) / (1 + s) / 50
    EXPECT_LT(abs(even - 0.02 * ((Complex(1) - evenS) / (Complex(1) + evenS))), 1e-15);
}

TEST(ZephTerminal, StandsToTheLetterAndComesBack) {
    Ports ports(1);
    CZephTerminalData point(&ports, 2);
    point.SetValue(Kind::SMatrix, 0.5, 0, 0);
    point.SetValue(Kind::PortImpedance, 50, 0, 0);
    point.SetValue(Kind::PMatrix, 4, 0, 0);
    point.SetValue(Kind::TMatrix, 3, 0, 0);
    const auto item = [](const std::string& name, const std::string& number) {
        return "\t$begin " + name + "\n\t\tm=1\n\t\tn=1\n\t\t$begin r0\n\t\t\tc(" + number +
               ", 0)\n\t\t$end r0\n\t$end " + name + "\n";
    };
    const std::string expected = "$begin DataPoint\n\tFrequency=2\n\tDataType='None'\n" +
                                 item("SMatrix", "0.5") + item("TMatrix", "3") + item("PMatrix", "4") +
                                 "$end DataPoint\n";
    EXPECT_EQ(Text(point), expected);
    CZephTerminalData again(&ports, 0);
    EXPECT_TRUE(again.FromText(Wide(expected)));
    EXPECT_EQ(Text(again), expected);
    EXPECT_EQ(again.GetPortImpedance(), nullptr);

    const std::string badS = "$begin SMatrix\nm=9\n$end SMatrix\n",
                      badT = "$begin TMatrix\nm=9\n$end TMatrix\n";
    io::CBlock block = PointBlock(badS + item("PMatrix", "5"));
    EXPECT_EQ(again.ReadFromBlock(block), 0) << "T and P decide";
    EXPECT_EQ(again.GetSMatrix(false), nullptr);
    EXPECT_EQ(again.GetValue(Kind::PMatrix, 0, 0), Complex(5));
    block = PointBlock(badT + item("PMatrix", "6"));
    EXPECT_EQ(again.ReadFromBlock(block), 1);
    EXPECT_EQ(again.GetTMatrix(), nullptr);
    EXPECT_EQ(again.GetValue(Kind::PMatrix, 0, 0), Complex(5));
}

TEST(ZephPair, StandsToTheLetterAndComesBack) {
    CZephDifferentialPair pair = Pair(2, 5);
    pair.m_PortName = u"P1";
    pair.m_DiffName = u"d";
    pair.m_CommonName = u"c";
    io::CBlock block(u"Pair");
    EXPECT_TRUE(pair.WriteToBlock(block));
    EXPECT_EQ(Text(block), "$begin Pair\n"
                           "\tPortName='P1'\n"
                           "\tDiffName='d'\n"
                           "\tPosTerminalIndex=2\n"
                           "\tCommonName='c'\n"
                           "\tNegTerminalIndex=5\n"
                           "$end Pair\n");
    CZephDifferentialPair again;
    EXPECT_EQ(again.m_PosTerminalIndex, -1);
    EXPECT_EQ(again.ReadFromBlock(block), 0);
    EXPECT_EQ(again, pair);
    io::CBlock partial;
    ASSERT_TRUE(partial.FromText(u"$begin Pair\nnegterminalindex=1\nPosTerminalIndex='x'\n$end Pair\n"));
    EXPECT_EQ(again.ReadFromBlock(partial), 0);
    EXPECT_EQ(again.m_NegTerminalIndex, 1);
    EXPECT_EQ(again.m_PosTerminalIndex, 2);
    EXPECT_FALSE(again == pair);
    for (AString CZephDifferentialPair::*name :
         {&CZephDifferentialPair::m_PortName, &CZephDifferentialPair::m_DiffName,
          &CZephDifferentialPair::m_CommonName}) {
        CZephDifferentialPair other = pair;
        other.*name = u"other";
        EXPECT_FALSE(other == pair);
    }
}

TEST(ZephPair, SaysThatItsBlockHasErrors) {
    io::CBlock block;
    EXPECT_FALSE(block.FromText(u"$begin Pair\nPosTerminalIndex=3\nPortName=\n$end Pair\n"));
    CZephDifferentialPair pair;
    EXPECT_EQ(pair.ReadFromBlock(block), -1);
    EXPECT_EQ(pair.m_PosTerminalIndex, 3);
    EXPECT_FALSE(pair.WriteToBlock(block));
}

} // namespace
