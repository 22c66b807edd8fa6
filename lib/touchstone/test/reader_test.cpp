#include <touchstone/touchstone.h>

#include <gtest/gtest.h>

namespace touchstone {
namespace {

using Complex = std::complex<double>;
using Values = std::vector<Complex>;

struct Good {
    const char* name;
    std::string text;
    int ports; // by the file's name
    std::vector<double> frequencies;
    Values values;
    Values references;
    std::vector<std::string> warnings = {}; // each a part of the text, with its line in front
};

const Values kTwoPort{{1, 2}, {3, 4}, {5, 6}, {7, 8}};
const std::string kTwoPortKeywords =
    "[Number of Ports] 2\n[Two-Port Data Order] 12_21\n[Number of Frequencies] 1\n";

TEST(TouchstoneReader, TakesTheFormatAndItsDialects) {
    const Good cases[] = {
        {"one port", "# Hz S RI R 50\n1 0.5 -0.25\n2 0 1\n", 1, {1, 2}, {{0.5, -0.25}, {0, 1}}, {50}},
        {"defaults of an empty option line", "#\n1.5 2 90\n", 1, {1.5e9}, {{0, 2}}, {50}},
        {"no option line", "! x\n1 2 -90\n", 1, {1e9}, {{0, -2}}, {50}, {"2: no option line"}},
        {"case, tabs, any order", "#\tr\t75 ri  mHz s\n\t1\t2\t3\n", 1, {1e6}, {{2, 3}}, {75}},
        {"two ports have columns first", "# Hz S RI R 50\n1 1 2 5 6 3 4 7 8\n", 2, {1}, kTwoPort, {50, 50}},
        {"decibels, all angles exact",
         "# THz S DB\n1 20 0 -20 90 0 180 0 -90\n",
         2,
         {1e12},
         {{10, 0}, {-1, 0}, {0, 0.1}, {0, -1}},
         {50, 50}},
        {"no decibels at all", "# Hz S DB\n1 -inf 0\n", 1, {1}, {0}, {50}, {"2: -inf dB"}},
        {"exponents and signs", "# Hz S RI\n+1.E+001 -.5e-001 +2E0\n", 1, {10}, {{-0.05, 2}}, {50}},
        {"wrapped anywhere",
         "# Hz S RI\n1 1 0 2 0\n3 0 4 0 5 0 6 0\n! between\n\n7 0 8 0 9 ! behind\n0\n2 1 0 1 0 1 0 1 0 1 0 1 "
         "0 1 0 1 0 1 0",
         3,
         {1, 2},
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 1, 1, 1, 1, 1, 1, 1, 1},
         {50, 50, 50}},
        {"byte order mark, CR LF, Latin-1",
         "\xEF\xBB\xBF! \xB5W\r\n# Hz S RI\r\n1 2 3\r\n",
         1,
         {1},
         {{2, 3}},
         {50}},
        {"CR alone", "!a\r# Hz S RI\r1 2 3\r2 2 3", 1, {1, 2}, {{2, 3}, {2, 3}}, {50}},
        {"only the first option line counts",
         "# Hz S RI R 1\n# GHz Z MA\n1 2 3\n# kHz\n2 2 3\n",
         1,
         {1, 2},
         {{2, 3}, {2, 3}},
         {1},
         {"2: line 1 counts"}},
        {"one reference for each port", "# Hz S RI R 50 75\n1 1 2 5 6 3 4 7 8\n", 2, {1}, kTwoPort, {50, 75}},
        {"a complex reference", "# Hz R (50-5j) RI\n1 2 3\n", 1, {1}, {{2, 3}}, {{50, -5}}, {"1: complex"}},
        {"complex references",
         "# Hz R 50+5i 1e1-2E0j RI\n1 1 2 5 6 3 4 7 8\n",
         2,
         {1},
         kTwoPort,
         {{50, 5}, {10, -2}},
         {"1: complex"}},
        {"Z of version 1", "# Hz Z RI R 75\n1 2 4\n", 1, {1}, {{150, 300}}, {75}},
        {"Y of version 1", "# Hz Y RI R 10\n1 2 4\n", 1, {1}, {{0.2, 0.4}}, {10}},
        {"H of version 1", "# Hz H RI R 10\n1 1 0 2 0 3 0 4 0\n", 2, {1}, {10, 3, 2, 0.4}, {10, 10}},
        {"G of version 1", "# Hz G RI R 10\n1 1 0 2 0 3 0 4 0\n", 2, {1}, {0.1, 3, 2, 40}, {10, 10}},
        {"ports by the lines",
         "# Hz S RI\n1 1 0 2 0 3 0 4 0\n2 1 0 2 0 3 0 4 0\n",
         0,
         {1, 2},
         {1, 3, 2, 4, 1, 3, 2, 4},
         {50, 50}},
        {"ports by wrapped lines",
         "# Hz S RI\n1 1 0 2 0 3 0\n4 0 5 0 6 0\n\n7 0 8 0 9 0\n2 1 0 2 0 3 0\n4 0 5 0 6 0\n7 0 8 0 9 0",
         0,
         {1, 2},
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3, 4, 5, 6, 7, 8, 9},
         {50, 50, 50}},
        {"frequencies nearest to their digits",
         "# GHz S RI\n75.175 1 0\n0.0751751e+3 1 0\n",
         1,
         {75175e6, 75175.1e6},
         {1, 1},
         {50}},
        {"version 2",
         "[version] 2.0\n# Hz Z RI R 10\n" + kTwoPortKeywords +
             "[Reference] 50\n 75\n[Network Data]\n1 1 2 3 4 5 6 7 8\n[End]\n! bye\n",
         0,
         {1},
         kTwoPort,
         {50, 75}},
        {"version 2 with frequencies anywhere",
         "[Version] 2.1\n# Hz S RI R 5\n[number_of  ports] 1 ! one\n[Number of Frequencies] 2\n[Network "
         "Data]\n1 2 3 2\n4 5\n[End]",
         1,
         {1, 2},
         {{2, 3}, {4, 5}},
         {5}},
        {"a lower triangle",
         "[Version] 2.0\n# Hz S RI\n[Number of Ports] 3\n[Number of Frequencies] 1\n[Matrix Format] "
         "lower\n[Network Data]\n1 1 0\n2 0 3 0\n4 0 5 0 6 0\n[End]",
         0,
         {1},
         {1, 2, 4, 2, 3, 5, 4, 5, 6},
         {50, 50, 50}},
        {"an upper triangle",
         "[Version] 2.0\n# Hz S RI\n[Number of Ports] 3\n[Number of Frequencies] 1\n[Matrix Format] "
         "Upper\n[Network Data]\n1 1 0 2 0 3 0 4 0 5 0 6 0\n[End]",
         0,
         {1},
         {1, 2, 3, 2, 4, 5, 3, 5, 6},
         {50, 50, 50}},
        {"a triangle of two ports needs no order",
         "[Version] 2.0\n# Hz S RI\n[Number of Ports] 2\n[Number of Frequencies] 1\n[Matrix Format] "
         "Upper\n[Network Data]\n1 1 0 2 0 3 0\n[End]",
         0,
         {1},
         {1, 2, 2, 3},
         {50, 50}},
        {"information is left aside",
         "[Version] 2.0\n# Hz S RI\n[Number of Ports] 1\n[Number of Frequencies] 1\n[Begin "
         "Information]\n[Date] x\n12\n[End Information]\n[Network Data]\n1 2 3\n[End]",
         0,
         {1},
         {{2, 3}},
         {50}},
        {"version 2 with gaps",
         "[Version] 2.0\n# Hz S RI R 1 2\n[Number of Ports] 2\n[Two-Port Data Order] 12_21\n[Network "
         "Data]\n1 1 2 3 4 5 6 7 8\n",
         3,
         {1},
         kTwoPort,
         {1, 2},
         {"2: [Reference]", "3: name says 3 ports", "5: [Number of Frequencies] is missing",
          "7: [End] is missing"}},
        {"version 1 by keyword",
         "[Version] 1.0\n# Hz S RI\n1 2 3\n",
         1,
         {1},
         {{2, 3}},
         {50},
         {"1: no keywords"}},
    };
    for (const Good& good : cases) {
        SCOPED_TRACE(good.name);
        try {
            const File file = Read(good.text, good.ports);
            EXPECT_EQ(file.network.frequencies, good.frequencies);
            EXPECT_EQ(file.network.values, good.values);
            EXPECT_EQ(file.network.references, good.references);
            ASSERT_EQ(file.warnings.size(), good.warnings.size());
            for (std::size_t i = 0; i < good.warnings.size(); ++i) {
                const std::string& text = good.warnings[i];
                EXPECT_EQ(file.warnings[i].line, std::stoi(text));
                EXPECT_NE(file.warnings[i].text.find(text.substr(text.find(' ') + 1)), std::string::npos)
                    << file.warnings[i].text;
            }
        } catch (const Error& error) {
            ADD_FAILURE() << error.Line() << ": " << error.what();
        }
    }
}

} // namespace
} // namespace touchstone
