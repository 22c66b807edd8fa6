// Components that only data describes: a host answers from formulas, and the circuit has to be what it is with the same
// component built of elements.
#include "kernel_fixture.h"

#include <fmt/format.h>

#include <cmath>
#include <complex>
#include <functional>
#include <numbers>
#include <utility>

namespace {

using Complex = std::complex<double>;
using Matrix = std::vector<Complex>; // rows first
using Network = std::function<Matrix(double)>;

constexpr double pi = std::numbers::pi;

Complex ohms(double r, double l, double f) {
    return {r, 2 * pi * f * l};
}

// (1 - 50 Y) (1 + 50 Y)^-1 of an admittance matrix.
Matrix scattering(const Matrix& y) {
    const auto n = static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(y.size()))));
    // Both factors commute: solve (1 + 50 Y) S = 1 - 50 Y.
    Matrix a(n * n), s(n * n);
    for (std::size_t i = 0; i < n * n; ++i) {
        const double one = i % (n + 1) == 0;
        a[i] = one + 50.0 * y[i];
        s[i] = one - 50.0 * y[i];
    }
    for (std::size_t p = 0; p < n; ++p)
        for (std::size_t i = 0; i < n; ++i) {
            const Complex factor = i == p ? 1.0 - 1.0 / a[p * n + p] : a[i * n + p] / a[p * n + p];
            for (std::size_t j = 0; j < n; ++j) {
                a[i * n + j] -= factor * a[p * n + j];
                s[i * n + j] -= factor * s[p * n + j];
            }
        }
    return s;
}

Matrix through(double) {
    return {0, 1, 1, 0};
}

// A resistor and a coil in series between two ports, a capacitor at each.
Matrix section(double f) {
    const Complex y = 1.0 / ohms(2, 30e-9, f), c(0, 2 * pi * f * 3e-12);
    return scattering({y + c, -y, -y, y + c});
}
constexpr const char* section_lines = "R{0} {1} m{0} 2\nL{0} m{0} {2} 30n\nCa{0} {1} 0 3p\nCb{0} {2} 0 3p\n";

// One port: a resistor of 20 ohm and a coil.
Matrix coil(double f) {
    return scattering({1.0 / ohms(20, 100e-9, f)});
}

// Two tanks in the way: what a measured band-pass looks like, open for a direct current.
Matrix resonator(double f) {
    if (f == 0)
        return {1, 0, 0, 1};
    const double w = 2 * pi * f;
    const Complex series(0, w * 1e-12), tank = 1e-4 + 1.0 / ohms(0.3, 25e-9, f) + Complex(0, w * 8e-12);
    const Complex sum = 2.0 * series + tank;
    return scattering({series - series * series / sum, -series * series / sum, -series * series / sum,
                       series - series * series / sum});
}

// A ring of four coils with capacitors at the corners: at 1 GHz a quarter of the wave goes through, a quarter aside.
Matrix coupler(double f) {
    const Complex along = 1.0 / ohms(0.5, 5.6e-9, f), across = 1.0 / ohms(0.5, 8e-9, f),
                  c(0, 2 * pi * f * 7.6e-12), own = along + across + c;
    return scattering(
        {own, -along, 0, -across, -along, own, -across, 0, 0, -across, own, -along, -across, 0, -along, own});
}
constexpr const char* coupler_lines = "R1 p1 m1 0.5\nL1 m1 p2 5.6n\nR2 p2 m2 0.5\nL2 m2 p3 8n\nR3 p3 m3 0.5\n"
                                      "L3 m3 p4 5.6n\nR4 p4 m4 0.5\nL4 m4 p1 8n\n"
                                      "C1 p1 0 7.6p\nC2 p2 0 7.6p\nC3 p3 0 7.6p\nC4 p4 0 7.6p\n";

// A line of 75 ohm, 0.1 m, with the loss of its conductors.
struct Line {
    Complex impedance, length; // ohm; propagation constant times length
};
Line line_at(double f) {
    const Complex series = ohms(5 + 1e-4 * std::sqrt(f), 375e-9, f), shunt(1e-5, 2 * pi * f * 66.7e-12);
    return {std::sqrt(series / shunt), 0.1 * std::sqrt(series * shunt)};
}
Matrix lossy_line(double f) {
    const Line line = line_at(f);
    const Complex own = 1.0 / (line.impedance * std::tanh(line.length)),
                  other = -1.0 / (line.impedance * std::sinh(line.length));
    return scattering({own, other, other, own});
}

struct Asked {
    std::string design, instance, parameters;
    std::vector<double> frequencies;
    int capacity;
};

struct Host {
    std::map<std::string, Network> designs;
    std::vector<Asked> asked;
    std::function<int(Asked&, std::vector<double>&)> spoil; // may change an answer, or give another result

    int answer(Asked request, double* output, int* count) {
        asked.push_back(request);
        const auto design = designs.find(request.design);
        if (design == designs.end())
            return 1;
        std::vector<double> numbers;
        for (const double f : request.frequencies) {
            numbers.push_back(f);
            for (const Complex& s : design->second(f))
                numbers.insert(numbers.end(), {s.real(), s.imag()});
        }
        int result = spoil ? spoil(asked.back(), numbers) : 0;
        *count = static_cast<int>(numbers.size());
        if (result == 0 && *count > request.capacity)
            result = 2;
        if (result == 0)
            std::copy(numbers.begin(), numbers.end(), output);
        return result;
    }
};

class NportTest : public KernelTest {
protected:
    NportTest() {
        host() = {.designs = {{"through", through},
                              {"section", section},
                              {"coil", coil},
                              {"resonator", resonator},
                              {"coupler", coupler},
                              {"line", lossy_line}},
                  .asked = {},
                  .spoil = {}};
        const ckt_field_solver_call_back answer =
            [](const char* design, const char* instance, const char* parameters, const double* frequencies,
               int frequency_count, double* output, int capacity, int* output_count) {
                return host().answer(
                    {design, instance, parameters, {frequencies, frequencies + frequency_count}, capacity},
                    output, output_count);
            };
        set_cosim_call_back("FieldSolver", reinterpret_cast<void*>(answer));
    }

    static Host& host() {
        static Host the_host;
        return the_host;
    }

    // A complex vector of a .ac, by its name and unit.
    static std::vector<Complex> response(const Table& ac, const std::string& name, const std::string& unit) {
        const auto &decibels = ac[fmt::format("{} [dB{}]", name, unit)], &degrees = ac[name + " [deg]"];
        std::vector<Complex> values;
        for (std::size_t i = 0; i < decibels.size(); ++i)
            values.push_back(std::polar(std::pow(10, decibels[i] / 20), degrees[i] * pi / 180));
        return values;
    }

    static void expect_near(const std::vector<Complex>& expected, const std::vector<Complex>& found,
                            double tolerance, const std::string& what) {
        ASSERT_EQ(expected.size(), found.size()) << what;
        double largest = 0, error = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            largest = std::max(largest, std::abs(expected[i]));
            error = std::max(error, std::abs(expected[i] - found[i]));
        }
        EXPECT_LE(error, tolerance * largest) << what;
    }

    // Every column of the second result that the first one has as well.
    static void expect_same(const Table& expected, const Table& found, double tolerance) {
        int compared = 0;
        for (const std::string& heading : found.headings()) {
            const std::size_t unit = heading.find(" [");
            const std::string name = heading.substr(0, unit);
            const bool polar = heading.substr(unit).starts_with(" [dB");
            if (std::count(expected.headings().begin(), expected.headings().end(), heading) == 0)
                ADD_FAILURE() << "only with N-ports: " << heading;
            else if (polar)
                expect_near(response(expected, name, heading.substr(unit + 4, 1)),
                            response(found, name, heading.substr(unit + 4, 1)), tolerance, name);
            compared += polar;
        }
        EXPECT_GT(compared, 1);
    }
};

struct Circuit {
    const char* what;
    std::string common, nports, elements;
    double tolerance; // of the largest value of a vector
};

void PrintTo(const Circuit& circuit, std::ostream* out) {
    *out << circuit.what;
}

class NportCircuit : public NportTest, public testing::WithParamInterface<Circuit> {};

TEST_P(NportCircuit, IsTheSameAsOneOfElements) {
    const Circuit& circuit = GetParam();
    const auto netlist = [&](const std::string& component) {
        return fmt::format("title\n{}{}.op\n.ac dec 20 1meg 10g\n.model d d(is=1n rs=2 cjo=2p tt=1n)\n"
                           ".model q npn(is=1e-16 bf=120 vaf=60 cje=0.5p cjc=0.3p tf=20p rb=20)\n.end\n",
                           circuit.common, component);
    };
    ASSERT_EQ(CKT_GOOD, run_text(netlist(circuit.elements))) << all_told();
    const Table ac = table("t.ac.csv"), op = table("t.op.csv");
    ASSERT_EQ(CKT_GOOD, run_text(netlist(circuit.nports))) << all_told();
    expect_same(ac, table("t.ac.csv"), circuit.tolerance);
    const Table other = table("t.op.csv");
    for (const std::string& heading : other.headings())
        EXPECT_NEAR(op[heading][0], other[heading][0], 1e-9) << heading << " at the operating point";
    EXPECT_EQ(1.0, told().progress.back());
}

const std::string source = "V1 in 0 dc 0.9 ac 1\nRs in a 30\n";
const std::string between = "*% nport N1 a 0 b 0 design=section\n";
const std::string section_1 = fmt::format(fmt::runtime(section_lines), "x1", "a", "b");
const std::string section_2 = fmt::format(fmt::runtime(section_lines), "x2", "c", "d");

INSTANTIATE_TEST_SUITE_P(
    Circuits, NportCircuit,
    testing::Values(
        Circuit{"ideal through", source + "Rl b 0 75\nCl b 0 1p\n", "*% nport N1 a 0 b 0 design=through\n",
                "Vx a b 0\n", 1e-12},
        Circuit{"section", source + "Rl b 0 75\n", between, section_1, 1e-12},
        Circuit{"diode behind a section", source + "D1 b 0 d\nRl b 0 1k\n", between, section_1, 1e-11},
        Circuit{"diodes on both sides of a through", source + "D1 a 0 d\nD2 b 0 d\nRl b 0 100\n",
                "*% nport N1 a 0 b 0 design=through\n", "Vx a b 0\n", 1e-11},
        Circuit{
            "resonator between diode and transistor",
            "V1 in 0 dc 0 ac 1\nRs in a 50\nVb vb 0 0.8\nRb vb a 1k\nD1 a 0 d\nVcc vcc 0 3\nRb2 vcc b 40k\n"
            "Q1 c b 0 q\nRc vcc c 100\n",
            "*% nport N1 a 0 b 0 design=resonator\n",
            "Ca a t 1p\nCb t b 1p\nRt t 0 10k\nCt t 0 8p\nRlt t tl 0.3\nLt tl 0 25n\n", 1e-11},
        Circuit{
            "coupler with a transistor at its third port",
            "V1 in 0 ac 1\nRs in p1 50\nR9 p2 0 50\nR8 p4 0 50\nVcc vcc 0 5\nRc vcc c 500\nRb vcc p3 30k\n"
            "Q1 c p3 0 q\nC9 p1 0 1p\n",
            "*% nport Coupler p1 0 p2 0 p3 0 p4 0 design=\"coupler\"\n", coupler_lines, 1e-11},
        Circuit{"port between two nodes", source + "D1 b 0 d\nRl b 0 1k\nRm a b 300\n",
                "*% nport N1 a b design = coil\n", "R7 a x7 20\nL7 x7 b 100n\n", 1e-11},
        Circuit{"two of one design and one of another, sources in many places",
                "V1 in 0 dc 1 ac 0.7 40\nRs in a 30\nX1 b c src\nI1 0 d dc 0.1m ac 2m\nD1 b 0 d\nD2 d 0 "
                "d\nR9 d 0 "
                "200\nV3 quiet 0 1\nR3 quiet 0 1\n"
                ".subckt src p q\n.param m=0.25\nR1 p x 10\nV1 x q dc 0.1 ac {m} -70\n.ends\n",
                "*% nport N1 a 0 b 0 design=section\n*% nport N2 c 0 d 0 design=section\n*% nport N3 d b "
                "design=coil\n",
                section_1 + section_2 + "R7 d x7 20\nL7 x7 b 100n\n", 1e-11},
        Circuit{"leak at every node", source + ".option rshunt=1k cshunt=1p\nRl b 0 75\n",
                "*% nport N1 a 0 b 0 design=through\n", "Vx a b 0\n", 1e-12},
        Circuit{"nodes named like numbers and expressions, some kept",
                "V1 in 0 dc 0.9 ac 1\nRs in 1 30\nR2 out+ 0 75\nR3 in- 2 10\nR4 2 0 10\nD1 out+ in- d\n.save "
                "v(1) v(2)\n",
                "*% nport N1 1 0 out+ in- design=through\n",
                "E1 1 x out+ in- 1\nVx x 0 0\n"
                "F2 in- out+ Vx 1\n",
                1e-11}));

TEST_F(NportTest, ALossyLineFollowsItsFormula) {
    ASSERT_EQ(CKT_GOOD, run_text("title\nV1 in 0 ac 1\nRs in a 25\n*% NPORT tl a 0 b 0 design=line\n"
                                 "Rl b 0 100\n.ac lin 201 1meg 3g\n"))
        << all_told();
    const Table ac = table("t.ac.csv");
    std::vector<Complex> expected;
    for (const double f : ac["frequency [Hz]"]) {
        const Line line = line_at(f);
        const Complex a = std::cosh(line.length), b = line.impedance * std::sinh(line.length),
                      c = std::sinh(line.length) / line.impedance;
        expected.push_back(1.0 / (a + b / 100.0 + 25.0 * (c + a / 100.0)));
    }
    expect_near(expected, response(ac, "v(b)", "V"), 1e-12, "v(b)");
}

TEST_F(NportTest, DataIsAskedForOnceAndForAllFrequencies) {
    ASSERT_EQ(CKT_GOOD, run_text("title\n" + source +
                                 "*% nport Left a 0 b 0 params=\"w=0.3m\" design=section\n"
                                 "*% nport right b 0 design=coil ; a comment\n"
                                 ".ac lin 3 1k 3k\n.op\n.ac dec 1 1k {f}\n.param f=100k\n"))
        << all_told();
    ASSERT_EQ(2u, host().asked.size());
    const Asked& left = host().asked[0];
    EXPECT_EQ("section Left w=0.3m", left.design + ' ' + left.instance + ' ' + left.parameters);
    EXPECT_EQ("coil right ",
              host().asked[1].design + ' ' + host().asked[1].instance + ' ' + host().asked[1].parameters);
    ASSERT_EQ(6u, left.frequencies.size());
    const double expected[] = {0, 1e3, 2e3, 3e3, 1e4, 1e5};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(expected[i], left.frequencies[i], 1e-9 * expected[i]);
    EXPECT_EQ(6 * (1 + 2 * 4), left.capacity);
    const Table ac = table("t.ac2.csv");
    EXPECT_EQ(left.frequencies[5], ac["frequency [Hz]"].back()) << "to the last bit";
}

TEST_F(NportTest, AlwaysTheSameResultsAreWritten) {
    const std::string netlist = "title\n" + source + between +
                                "D1 b 0 d\nR1 b 0 50\n.model d d(is=1n)\n"
                                ".ac dec 5 1meg 1g\n";
    ASSERT_EQ(CKT_GOOD, run_text(netlist)) << all_told();
    const Table all = table("t.ac.csv");
    EXPECT_EQ(
        (std::vector<std::string>{"frequency [Hz]", "v(in) [dBV]", "v(in) [deg]", "v(a) [dBV]", "v(a) [deg]",
                                  "v(b) [dBV]", "v(b) [deg]", "i(v1) [dBA]", "i(v1) [deg]"}),
        all.headings());
    // A second analysis has the sources back, and a list of vectors takes nothing away from the ports.
    ASSERT_EQ(CKT_GOOD,
              run_text(netlist + ".ac dec 5 1meg 1g\n.save i(V1) v(b)\n.save @r1[resistance] @d1[gd]\n"
                                 ".meas ac most max vdb(b)\n.meas ac other find vdb(b) at={2e6*3}\n"))
        << all_told();
    for (const char* file : {"t.ac.csv", "t.ac2.csv"}) {
        const Table ac = table(file);
        expect_near(response(all, "v(b)", "V"), response(ac, "v(b)", "V"), 1e-14, file);
        expect_near(response(all, "i(v1)", "A"), response(ac, "i(v1)", "A"), 1e-14, file);
        EXPECT_EQ(0,
                  std::count_if(ac.headings().begin(), ac.headings().end(), [](const std::string& heading) {
                      return heading.starts_with("v(a)") || heading.find("_nport_") != heading.npos;
                  }));
    }
    const auto& gain = all["v(b) [dBV]"];
    const double most = *std::max_element(gain.begin(), gain.end());
    EXPECT_TRUE(says(CKT_INFORMATION, fmt::format("most                =  {:.6e}", most))) << all_told();
    EXPECT_TRUE(says(CKT_WARNING, "isn't evaluated in a circuit with N-ports")) << all_told();
    EXPECT_FALSE(says(CKT_INFORMATION, "other")) << all_told();
}

TEST_F(NportTest, ADirectSweepHasTheNportAsItIsAtZero) {
    const std::string netlist = "title\n" + source + "D1 b 0 d\n.model d d(is=1n)\n.dc V1 0 2 0.1\n";
    ASSERT_EQ(CKT_GOOD, run_text(netlist + section_1)) << all_told();
    const std::vector<double> expected = table("t.dc.csv")["v(b) [V]"];
    ASSERT_EQ(CKT_GOOD, run_text(netlist + between)) << all_told();
    const std::vector<double> found = table("t.dc.csv")["v(b) [V]"];
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(expected[i], found[i], 1e-9);
    EXPECT_EQ(std::vector<double>{0}, host().asked[0].frequencies);
}

TEST_F(NportTest, WhereDataSaysNothingOfZeroTheLowestFrequencyCounts) {
    const std::string netlist = "title\n" + source + between + "D1 b 0 d\n.model d d(is=1n cjo=1p)\n";
    const std::string sweep = ".op\n.ac dec 5 1k 1g\n";
    ASSERT_EQ(CKT_GOOD, run_text(netlist + sweep));
    const Table ac = table("t.ac.csv");
    const auto expect_warning = [&](const std::string& why) {
        EXPECT_TRUE(
            says(CKT_WARNING, "t.cir:4: N-port \"N1\": " + why +
                                  "; in the operating point it has the real part of its data at 1000 Hz"))
            << all_told();
        expect_same(ac, table("t.ac.csv"), 1e-8);
    };
    host().spoil = [](Asked& request, std::vector<double>&) { return request.frequencies[0] == 0 ? 4 : 0; };
    ASSERT_EQ(CKT_GOOD, run_text(netlist + sweep)) << all_told();
    expect_warning("the data says nothing of 0 Hz");
    for (const auto& [place, value] : {std::pair(1, double(NAN)), std::pair(2, 0.5)}) {
        host().spoil = [place = place, value = value](Asked&, std::vector<double>& numbers) {
            numbers[static_cast<std::size_t>(place)] = value;
            return 0;
        };
        ASSERT_EQ(CKT_GOOD, run_text(netlist + sweep)) << all_told();
        expect_warning("what the data says of 0 Hz isn't real");
    }
    host().spoil = [](Asked&, std::vector<double>&) { return 4; };
    EXPECT_EQ(CKT_NO_DATA, run_text(netlist + ".op\n"));
    EXPECT_TRUE(says(CKT_ERROR, "(result 4)")) << all_told();
}

TEST_F(NportTest, AnalysesThatCantHaveItFailAndTheOthersRun) {
    const std::string others[] = {".tran 1n 10n", ".noise v(b) v1 dec 1 1k 1meg", ".pz in 0 b 0 vol pz"};
    for (const std::string& other : others) {
        EXPECT_EQ(CKT_ANALYSIS_FAILED, run_text("title\n" + source + between + "R1 b 0 50\nC1 b 0 1p\n" +
                                                other + "\n.ac dec 1 1k 1meg\n"))
            << all_told();
        EXPECT_TRUE(says(CKT_ERROR, "t.cir:7: the analysis \"" + other + "\" failed: the N-port \"N1\" at " +
                                        folder.string() + "/t.cir:4 has data over frequency only"))
            << all_told();
        EXPECT_EQ(4u, table("t.ac.csv")["frequency [Hz]"].size());
    }
}

TEST_F(NportTest, ACircuitWithoutASolutionIsToldByItsFrequency) {
    // Two ports of it are joined by a through, and again by a through.
    host().designs["now and then"] = [](double f) { return f < 1.5e6 ? Matrix(4) : through(f); };
    EXPECT_EQ(
        CKT_ANALYSIS_FAILED,
        run_text("title\n" + source +
                 "*% nport N1 a 0 b 0 design=\"now and then\"\n*% nport N2 a 0 b 0 design=\"now and then\"\n"
                 "R1 b 0 50\n.ac lin 3 1meg 3meg\n.op\n"));
    EXPECT_TRUE(says(CKT_ERROR, "with the N-ports the circuit has no single solution at 2000000 Hz"))
        << all_told();
    EXPECT_FALSE(table("t.op.csv")["v(a) [V]"].empty());
}

TEST_F(NportTest, WithoutAClientThereIsNoData) {
    const std::string netlist = "title\n" + source + between + "R1 b 0 50\n.ac dec 1 1k 1meg\n";
    set_cosim_call_back("FieldSolver", nullptr);
    EXPECT_EQ(CKT_NO_DATA, run_text(netlist));
    EXPECT_TRUE(
        says(CKT_ERROR, "t.cir:4: the data of the N-port \"N1\" (design \"section\") comes from a client"))
        << all_told();
    EXPECT_EQ(1, run_line({"tarvok", write("t.cir", netlist).string(), "--quiet"}));
}

struct Failure {
    const char* what;
    std::function<int(Asked&, std::vector<double>&)> spoil;
    std::string words;
    std::size_t questions;
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.what;
}

class FailingData : public NportTest, public testing::WithParamInterface<Failure> {};

TEST_P(FailingData, EndsTheJobAndIsToldWithComponentAndDesign) {
    host().spoil = GetParam().spoil;
    EXPECT_EQ(CKT_NO_DATA, run_text("title\n" + source + between + "R1 b 0 50\n.ac lin 2 1k 2k\n"));
    EXPECT_TRUE(
        says(CKT_ERROR, "t.cir:4: no data for the N-port \"N1\" (design \"section\"): " + GetParam().words))
        << all_told();
    EXPECT_EQ(GetParam().questions, host().asked.size());
    EXPECT_TRUE(results().empty());
}

template <int Result>
int give(Asked&, std::vector<double>&) {
    return Result;
}

INSTANTIATE_TEST_SUITE_P(
    Results, FailingData,
    testing::Values(
        Failure{"no data", give<1>, "the client has no data (result 1)", 1},
        Failure{"never enough room", give<2>, "the client gives more data than it says (result 2)", 1},
        Failure{"not readable", give<3>, "the client failed, or its reply can't be read (result 3)", 1},
        Failure{"no point", give<4>,
                "the client failed, or its data says nothing of a frequency that is needed (result 4)", 2},
        Failure{"the client's own", give<-7>, "the client failed (result -7)", 1},
        Failure{"three ports instead of two",
                [](Asked& request, std::vector<double>& numbers) {
                    numbers.assign(request.frequencies.size() * 19, 0.0);
                    return 0;
                },
                "the line has 2 ports, the client's data has 3", 2},
        Failure{"one port instead of two",
                [](Asked& request, std::vector<double>& numbers) {
                    numbers.assign(request.frequencies.size() * 3, 0.0);
                    return 0;
                },
                "the line has 2 ports, the client's data has 1", 1},
        Failure{"another frequency",
                [](Asked&, std::vector<double>& numbers) {
                    numbers[9] = 999;
                    return 0;
                },
                "the client's data is for 999 Hz, asked were 1000 Hz", 1},
        Failure{"no number",
                [](Asked&, std::vector<double>& numbers) {
                    numbers[12] = NAN;
                    return 0;
                },
                "the client's data at 1000 Hz holds no number", 1}));

struct BadLine {
    const char* what;
    std::string lines, words;
};

void PrintTo(const BadLine& line, std::ostream* out) {
    *out << line.what;
}

class BadNport : public NportTest, public testing::WithParamInterface<BadLine> {};

TEST_P(BadNport, IsToldInWordsWithItsLine) {
    EXPECT_EQ(CKT_BAD_NETLIST,
              run_text("title\n" + source + GetParam().lines + "R1 b 0 50\n.ac lin 2 1k 2k\n"));
    EXPECT_TRUE(says(CKT_ERROR, GetParam().words)) << all_told();
    EXPECT_TRUE(host().asked.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Lines, BadNport,
    testing::Values(
        BadLine{"no name", "*% nport design=x\n", "t.cir:4: \"nport design=x\": it has no name"},
        BadLine{"a name of other characters", "*% nport N.1 a 0 design=x\n",
                "the name \"N.1\" has other characters"},
        BadLine{"no node", "*% nport N1 design=x\n", "t.cir:4: \"nport N1 design=x\": 0 nodes, a pair"},
        BadLine{"odd count of nodes", "*% nport N1 a 0 b design=x\n",
                "3 nodes, a pair for each port is expected"},
        BadLine{"one node twice", "*% nport N1 a 0 GND 0 design=x\n", "both nodes of port 2 are \"GND\""},
        BadLine{"no proper node", "*% nport N1 a {x} design=x\n", "\"{x}\" is no node"},
        BadLine{"no design", "*% nport N1 a 0 params=x\n", "it has no design"},
        BadLine{"empty design", "*% nport N1 a 0 design=\"\"\n", "it has no design"},
        BadLine{"no value", "*% nport N1 a 0 design=\n", "\"design\" has no value"},
        BadLine{"open quote", "*% nport N1 a 0 design=\"x\n", "the quoted text has no end"},
        BadLine{"unknown key", "*% nport N1 a 0 design=x file=y\n", "\"file\" isn't known here"},
        BadLine{"key twice", "*% nport N1 a 0 design=x design=y\n", "\"design\" is given twice"},
        BadLine{"node behind a key", "*% nport N1 a 0 design=x b 0\n", "\"b\" isn't expected here"},
        BadLine{"name twice", "*% nport N1 a 0 design=x\n*% nport n1 b 0 design=x\n",
                "t.cir:5: \"nport n1 b 0 design=x\": there is an N-port \"n1\" already, at "},
        BadLine{"within a subcircuit", ".subckt s a\n*% nport N1 a 0 design=x\n.ends\n", "t.cir:5: "},
        BadLine{"within a condition", ".if (1)\n*% nport N1 a 0 design=x\n.endif\n", "t.cir:5: "}));

} // namespace
