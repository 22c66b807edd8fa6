#include "point_tests.h"

#include <sparamlib/zeph_modal_data.h>

#include <memory>

namespace {

using Kind = NetworkDataKind;

// A point of two modes with everything that a field solver delivers.
struct SolverPoint {
    SolverPoint() : point(&ports, 1e9) {
        point.SetSMatrix(&s, true);
        point.SetZpi(&zpi, true);
        point.SetZpv(&zpv, true);
        point.SetZvi(&zvi, true);
        point.SetTMatrix(&t, true);
        point.SetPMatrix(&p, true);
    }

    Ports ports{2};
    ComplexMatrix s = Matrix_(2, {{0.25, 0.5}, {0.125, -0.25}, {0.125, -0.25}, {-0.5, 0}});
    ComplexVector zpi = Vector_({60, 40});
    ComplexVector zpv = Vector_({{61, 1}, {41, 1}});
    ComplexVector zvi = Vector_({{62, 2}, {42, 2}});
    ComplexMatrix t = Matrix_(2, {6, 5, 6, {-5, 1}});
    ComplexMatrix p = Matrix_(2, {1, 0, 0, 1});
    CZephModalData point;
};

TEST(ZephModal, AnswersWithTheImpedanceThatTheOwnerPrefersUntilOneIsSet) {
    SolverPoint solver;
    const struct {
        Kind preferred;
        const ComplexVector& impedance;
    } cases[] = {{Kind::Zpi, solver.zpi},
                 {Kind::Zpv, solver.zpv},
                 {Kind::Zvi, solver.zvi},
                 {Kind::PortImpedance, solver.zvi},
                 {static_cast<Kind>(0), solver.zvi}};
    for (const auto& c : cases) {
        solver.ports.preferred = c.preferred;
        EXPECT_EQ((*solver.point.GetPortImpedance())[1], c.impedance[1]);
        EXPECT_EQ(solver.point.GetValue(Kind::PortImpedance, 1, 1), c.impedance[1]);
    }
    solver.point.SetValue(Kind::PortImpedance, 7, 0, 0);
    EXPECT_EQ(solver.point.GetValue(Kind::PortImpedance, 0, 0), Complex(7));
    EXPECT_EQ(solver.point.GetValue(Kind::PortImpedance, 1, 1), Complex()) << "the vector was made of zeros";

    CZephModalData stray(solver.point);
    stray.SetPortImpedance(nullptr, true);
    stray.SetOwner(nullptr);
    EXPECT_EQ(stray.GetPortImpedance(), nullptr);
}

TEST(ZephModal, NeverComputesSAndGivesNothingWithoutIt) {
    SolverPoint solver;
    ComplexMatrix y = Matrix_(2, {0.02, 0, 0, 0.02});
    CZephModalData& point = solver.point;
    EXPECT_EQ(point.GetYMatrix(false), nullptr);
    point.SetSMatrix(nullptr, true);
    point.SetYMatrix(&y, true);
    point.SetZMatrix(&y, true);
    for (const bool create : {false, true}) {
        EXPECT_EQ(point.GetSMatrix(create), nullptr);
        EXPECT_EQ(point.GetYMatrix(create), nullptr) << "though it is held";
        EXPECT_EQ(point.GetZMatrix(create), nullptr);
    }
    point.SetSMatrix(&solver.s, true);
    EXPECT_TRUE(Equal(*point.GetYMatrix(false), y));
}

TEST(ZephModal, ComputesYAndZByThePreferredImpedance) {
    SolverPoint solver;
    solver.ports.preferred = Kind::Zpv;
    CNetworkModalData plain(&solver.ports, 1e9);
    plain.SetSMatrix(&solver.s, true);
    plain.SetPortImpedance(&solver.zpv, true);
    EXPECT_TRUE(Equal(*solver.point.GetYMatrix(true), *plain.GetYMatrix(true)));
    EXPECT_TRUE(Equal(*solver.point.GetZMatrix(true), *plain.GetZMatrix(true)));
    EXPECT_TRUE(solver.point.IsYDerived());
}

// One mode: z = z0 (1 + s) / (1 - s) is 150 ohm, 0.5 at 50 ohm and -0.25 at 250; the column of T grows by the root of 5.
TEST(ZephModal, RenormalisationOfOneModeByHand) {
    Ports ports(1);
    CZephModalData point(&ports, 1e9);
    point.SetValue(Kind::SMatrix, 0.5, 0, 0);
    point.SetValue(Kind::YMatrix, 9, 0, 0);
    point.SetValue(Kind::Zpi, 50, 0, 0);
    point.SetValue(Kind::TMatrix, 2, 0, 0);
    ASSERT_TRUE(point.Renormalize(Vector_({250})));
    EXPECT_NEAR(point.GetValue(Kind::SMatrix, 0, 0).re, -0.25, 1e-15);
    EXPECT_NEAR(point.GetValue(Kind::TMatrix, 0, 0).re, 2 * std::sqrt(5.0), 1e-15);
    EXPECT_EQ(point.GetValue(Kind::PortImpedance, 0, 0), Complex(250));
    EXPECT_EQ(point.GetValue(Kind::Zpi, 0, 0), Complex(50));
    EXPECT_EQ(point.GetValue(Kind::YMatrix, 0, 0), Complex(9)) << "stays as it was";
    ASSERT_TRUE(point.Renormalize(*point.GetPortImpedance()));
    EXPECT_NEAR(point.GetValue(Kind::SMatrix, 0, 0).re, -0.25, 1e-15);
}

TEST(ZephModal, RenormalisationSaysWhatItLacks) {
    const struct {
        const char* name;
        void (*change)(SolverPoint&);
        ComplexVector impedances;
        double columns[2]; // factors that T's columns get
    } cases[] = {
        {"no impedance", [](SolverPoint& s) { s.point.SetZpi(nullptr, true); }, Vector_({15, 10}), {1, 1}},
        {"no S", [](SolverPoint& s) { s.point.SetSMatrix(nullptr, true); }, Vector_({15, 10}), {0.5, 0.5}},
        {"too many", [](SolverPoint&) {}, Vector_({15, 10, 5}), {0.5, 0.5}},
        {"too few", [](SolverPoint&) {}, Vector_({15}), {0.5, 1}},
        {"none", [](SolverPoint&) {}, Vector_({}), {1, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SolverPoint solver;
        c.change(solver);
        EXPECT_FALSE(solver.point.Renormalize(c.impedances));
        for (int i = 0; i < 2; ++i) {
            for (int j = 0; j < 2; ++j)
                EXPECT_EQ(solver.point.GetValue(Kind::TMatrix, i, j), c.columns[j] * solver.t[i][j]);
        }
        if (solver.point.GetSMatrix(false)) {
            EXPECT_TRUE(Equal(*solver.point.GetSMatrix(false), solver.s));
        }
    }
}

TEST(ZephModal, RenormalisationMakesOtherNetworksOfSingularOnesAndSaysTrue) {
    const struct {
        const char* name;
        ComplexMatrix s, result;
    } cases[] = {
        {"a short stays one", Matrix_(1, {-1}), Matrix_(1, {-1})},
        {"an open becomes a short", Matrix_(1, {1}), Matrix_(1, {-1})},
        {"a through becomes two shorts", Matrix_(2, {0, 1, 1, 0}), Matrix_(2, {-1, 0, 0, -1})},
        {"an isolator is what it was", Matrix_(2, {0, 0, 1, 0}), Matrix_(2, {0, 0, 1, 0})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const int n = c.s.Rows();
        Ports ports(n);
        CZephModalData point(&ports, 1e9);
        ComplexMatrix s = c.s;
        ComplexVector z(n, 50);
        point.SetSMatrix(&s, true);
        point.SetZpi(&z, true);
        EXPECT_TRUE(point.Renormalize(ComplexVector(n, n == 1 ? 75 : 50)));
        EXPECT_LT(LargestDifference(*point.GetSMatrix(false), c.result), 1e-15);
    }
    SolverPoint solver;
    EXPECT_TRUE(solver.point.Renormalize(Vector_({0, 50}))) << "an impedance of zero isn't refused";
    EXPECT_TRUE(std::isnan(solver.point.GetValue(Kind::SMatrix, 0, 0).re));
}

TEST(ZephModal, CopiesDeeplyAndWithoutTheForm) {
    SolverPoint solver;
    ASSERT_TRUE(solver.point.GetTerminalData(true));
    CZephModalData copy(solver.point);
    EXPECT_EQ(copy.GetTerminalData(false), nullptr);
    EXPECT_EQ(copy.GetOwner(), &solver.ports);
    solver.point.SetValue(Kind::Zvi, 1, 0, 0);
    solver.point.SetValue(Kind::TMatrix, 1, 0, 0);
    EXPECT_EQ(copy.GetValue(Kind::Zvi, 0, 0), Complex(62, 2));
    EXPECT_TRUE(Equal(*copy.GetTMatrix(), solver.t));
    EXPECT_TRUE(Equal(*copy.GetPMatrix(), solver.p));
    copy = CZephModalData();
    EXPECT_EQ(copy.GetZpi(), nullptr);
    EXPECT_EQ(copy.GetTMatrix(), nullptr);
    EXPECT_EQ(copy.GetOwner(), &solver.ports);
}

TEST(ZephModal, BuildsItsFormOnceInPlaceOfAnotherCachedPoint) {
    SolverPoint solver;
    EXPECT_EQ(solver.point.GetTerminalData(false), nullptr);
    solver.point.SetPostprocessedData(std::make_unique<CNetworkData>());
    EXPECT_EQ(solver.point.GetTerminalData(false), nullptr);
    EXPECT_NE(solver.point.GetPostprocessedData(), &solver.point);
    CZephTerminalData* form = solver.point.GetTerminalData(true);
    ASSERT_TRUE(form);
    EXPECT_EQ(solver.point.GetPostprocessedData(), form);
    EXPECT_EQ(form->GetModalData(false), &solver.point);
    EXPECT_EQ(form->GetOwner(), nullptr);
    EXPECT_EQ(form->GetFrequency(), 1e9);
    CNetworkModalData& base = solver.point;
    EXPECT_EQ(base.GetTerminalData(true), form);
    EXPECT_EQ(solver.point.GetTerminalData({}, Vector_({1, 2}), false), form);
    EXPECT_EQ(solver.point.GetTerminalData({}, Vector_({1, 2}), true), form);
}

TEST(ZephModal, HasNoFormWithoutItsTransforms) {
    const struct {
        const char* name;
        void (*change)(CZephModalData&);
        ComplexVector impedances;
    } cases[] = {
        {"no T", [](CZephModalData& p) { p.SetTMatrix(nullptr, true); }, Vector_({50, 50})},
        {"no P", [](CZephModalData& p) { p.SetPMatrix(nullptr, true); }, Vector_({50, 50})},
        {"neither", [](CZephModalData& p) { p.SetTMatrix(nullptr, true), p.SetPMatrix(nullptr, true); },
         Vector_({50, 50})},
        {"too few impedances", [](CZephModalData&) {}, Vector_({50})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SolverPoint solver;
        c.change(solver.point);
        EXPECT_EQ(solver.point.GetTerminalData({}, c.impedances, true), nullptr);
        if (c.impedances.Size() == 2) {
            EXPECT_EQ(solver.point.GetTerminalData(true), nullptr);
        }
        EXPECT_EQ(solver.point.GetPostprocessedData(), &solver.point);
    }
}

TEST(ZephModal, IsVisitedAsItself) {
    struct Visitor final : INetworkDataVisitor {
        bool Visit(CZephTerminalData&) override { return (terminals++, true); }
        bool Visit(CZephModalData&) override { return (modals++, false); }
        bool Visit(CNetworkModalData&) override { return false; }
        bool Visit(CNetworkTerminalData&) override { return false; }
        bool Visit(CNetworkData&) override { return false; }
        int terminals = 0, modals = 0;
    } visitor;
    SolverPoint solver;
    CNetworkData& modal = solver.point;
    CNetworkData& terminal = *solver.point.GetTerminalData(true);
    EXPECT_FALSE(modal.Accept(visitor));
    EXPECT_TRUE(terminal.Accept(visitor));
    EXPECT_EQ(visitor.modals, 1);
    EXPECT_EQ(visitor.terminals, 1);
}

TEST(ZephModal, StandsToTheLetterAndComesBack) {
    Ports ports(1);
    CZephModalData point(&ports, 2);
    point.SetDataType(DataType::ExactPoint);
    int value = 0;
    for (const Kind kind :
         {Kind::PMatrix, Kind::TMatrix, Kind::Zvi, Kind::Zpv, Kind::Zpi, Kind::Gamma, Kind::SMatrix})
        EXPECT_TRUE(point.SetValue(kind, {double(++value), 0.5}, 0, 0));
    const auto item = [](const std::string& name, const std::string& shape, int number) {
        return "\t$begin " + name + "\n" + shape + "\t\t$begin r0\n\t\t\tc(" + std::to_string(number) +
               ", 0.5)\n\t\t$end r0\n\t$end " + name + "\n";
    };
    const std::string expected = "$begin DataPoint\n\tFrequency=2\n\tDataType='ExactPoint'\n" +
                                 item("SMatrix", "\t\tm=1\n\t\tn=1\n", 7) + item("Gamma", "\t\tn=1\n", 6) +
                                 item("Zpi", "\t\tn=1\n", 5) + item("Zpv", "\t\tn=1\n", 4) +
                                 item("Zvi", "\t\tn=1\n", 3) +
                                 item("TerminalTMatrix", "\t\tm=1\n\t\tn=1\n", 2) +
                                 item("TerminalPMatrix", "\t\tm=1\n\t\tn=1\n", 1) + "$end DataPoint\n";
    EXPECT_EQ(Text(point), expected);
    CZephModalData again(&ports, 0);
    EXPECT_TRUE(again.FromText(Wide(expected)));
    EXPECT_EQ(Text(again), expected);
}

TEST(ZephModal, DropsTheItemThatDoesNotFitAndReadsNoFurther) {
    Ports ports(1);
    const char* names[] = {"Zpi", "Zpv", "Zvi", "TerminalTMatrix", "TerminalPMatrix"};
    const Kind kinds[] = {Kind::Zpi, Kind::Zpv, Kind::Zvi, Kind::TMatrix, Kind::PMatrix};
    for (int bad = 0; bad <= 5; ++bad) {
        std::string lines;
        for (int k = 0; k < 5; ++k)
            lines += std::string("$begin ") + names[k] + "\nm=1\nn=" + (k == bad ? "2" : "1") +
                     "\n$begin r0\nc(8, 0)\n$end r0\n$end " + names[k] + "\n";
        io::CBlock block = PointBlock(lines);
        CZephModalData point(&ports, 0);
        for (const Kind kind : kinds)
            point.SetValue(kind, 3, 0, 0);
        EXPECT_EQ(point.ReadFromBlock(block), bad < 5 ? 1 : 0);
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(point.GetValue(kinds[k], 0, 0), Complex(k < bad    ? 8
                                                              : k == bad ? 0
                                                                         : 3))
                << bad << ", " << k;
    }
}

} // namespace
