// Circuits with components known by their data, against the same circuits with the components as elements or by a formula.

#include "example_test.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace {

using Complex = std::complex<double>;
using std::numbers::pi;

constexpr const char* kData = "'" FIELD_SOLVED "/data'";

class FieldSolved : public ExampleTest {
protected:
    void Run(const std::string& circuit, const std::string& options) const {
        ASSERT_EQ(Shell("'" KELDA "' run '" + circuit + "' --project . --quiet " + options), 0);
    }
    void RunWithData(const std::string& name) const {
        Run(FIELD_SOLVED "/" + name + ".cir", std::string("--data ") + kData + " 2> err");
    }

    // The same circuit under another name, in which elements take the place of the components.
    void RunWithElements(const std::string& name, const std::vector<std::string>& elements) const {
        std::ifstream from(FIELD_SOLVED "/" + name + ".cir");
        std::ofstream to(m_Folder / "elements.cir");
        std::size_t next = 0;
        for (std::string line; std::getline(from, line);)
            to << (line.starts_with("*% nport") && next < elements.size() ? elements[next++] : line) << '\n';
        to.close();
        ASSERT_EQ(next, elements.size());
        Run("elements.cir", "");
    }

    // One complex column, of which the table has magnitude [dB] and phase [degrees].
    std::vector<Complex> Response(const std::string& file, std::size_t column) const {
        std::vector<Complex> response;
        for (const auto& row : ReadTable(m_Folder / file))
            response.push_back(std::polar(std::pow(10, row.at(column) / 20), row.at(column + 1) * pi / 180));
        return response;
    }

    // Errors are of the largest value.
    void ExpectSameSweep(const std::string& name, std::size_t columns, double tolerance) const {
        for (std::size_t column = 1; column < columns; column += 2)
            ExpectNear(Response("elements.ac.csv", column), Response(name + ".ac.csv", column), tolerance);
    }

    static void ExpectNear(const std::vector<Complex>& expected, const std::vector<Complex>& found,
                           double tolerance) {
        ASSERT_EQ(expected.size(), found.size());
        ASSERT_FALSE(expected.empty());
        double largest = 0, error = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            largest = std::max(largest, std::abs(expected[i]));
            error = std::max(error, std::abs(expected[i] - found[i]));
        }
        EXPECT_LE(error, tolerance * largest);
    }
};

TEST_F(FieldSolved, AnAmplifierBetweenMeasuredNetworksIsTheOneBetweenElements) {
    RunWithData("amplifier");
    RunWithElements("amplifier", {"C1 in x1 47p\nR1 x1 x2 1\nL1 x2 base 12n\nC2 base 0 3.3p",
                                  "R2 coll y1 1.5\nL2 y1 top 22n\nC3 coll out 10p"});
    ExpectSameSweep("amplifier", 9, 1e-9);
    const auto expected = ReadTable(m_Folder / "elements.op.csv"),
               found = ReadTable(m_Folder / "amplifier.op.csv");
    ASSERT_EQ(expected.size(), 1u);
    ASSERT_EQ(found.size(), 1u);
    for (std::size_t i = 0; i < expected[0].size(); ++i)
        EXPECT_NEAR(expected[0][i], found[0][i], 1e-9);
    EXPECT_EQ(ReadAll(m_Folder / "err"), "");
}

TEST_F(FieldSolved, DataOfAnotherReferenceServesBetweenAnyImpedances) {
    RunWithData("filter_75");
    const auto filter = [](const std::string& name, const std::string& a, const std::string& b) {
        const auto tank = [&](const std::string& node) {
            return "C" + name + node + ' ' + node + " 0 150p\nR" + name + node + ' ' + node + " m" + node +
                   " 0.05\nL" + name + node + " m" + node + " 0 15n\n";
        };
        return tank(a) + tank(b) + "C" + name + ' ' + a + ' ' + b + " 6.8p";
    };
    RunWithElements("filter_75", {filter("F1", "a", "own"), filter("F2", "b", "other")});
    ExpectSameSweep("filter_75", 5, 1e-9);
    EXPECT_EQ(ReadAll(m_Folder / "err"), "");
}

TEST_F(FieldSolved, ACableIsKnownBetweenThePointsOfItsData) {
    RunWithData("cable");
    std::vector<Complex> expected;
    for (const auto& row : ReadTable(m_Folder / "cable.ac.csv")) {
        const double f = row[0], w = 2 * pi * f;
        const Complex series(0.1 + 1.5e-4 * std::sqrt(f), w * 375e-9), shunt(1e-9, w * 66.7e-12),
            impedance = std::sqrt(series / shunt), length = 0.5 * std::sqrt(series * shunt),
            load = 1.0 / 150 + Complex(0, w * 4e-12);
        const Complex a = std::cosh(length), b = impedance * std::sinh(length),
                      c = std::sinh(length) / impedance;
        expected.push_back(1.0 / (a + b * load + 50.0 * (c + a * load)));
    }
    ExpectNear(expected, Response("cable.ac.csv", 1), 2e-7);
    EXPECT_EQ(ReadAll(m_Folder / "err"), "");
}

TEST_F(FieldSolved, WithoutDataTheComponentIsNamed) {
    EXPECT_EQ(Shell("'" KELDA "' run '" FIELD_SOLVED "/cable.cir' --project . --quiet 2> err"), 1);
    EXPECT_NE(ReadAll(m_Folder / "err").find("the data of the N-port \"CABLE\" (design \"cable\")"),
              std::string::npos)
        << ReadAll(m_Folder / "err");
    EXPECT_EQ(Shell("'" KELDA "' run '" FIELD_SOLVED "/cable.cir' --project . --data . --quiet 2> err"), 1);
    EXPECT_NE(ReadAll(m_Folder / "err").find("no data for the N-port \"CABLE\" (design \"cable\")"),
              std::string::npos)
        << ReadAll(m_Folder / "err");
}

} // namespace
