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
        {"lines that look like fewer ports",
         "# Hz S RI\n1 1 2\n5 6 3\n4 7 8\n",
         2,
         {1},
         kTwoPort,
         {50, 50},
         {"2: says 2 ports, the lines of the first frequency 1"}},
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
         {"2: [Reference]", "3: name says 3 ports, [Number of Ports] 2",
          "5: [Number of Frequencies] is missing", "7: [End] is missing"}},
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

TEST(TouchstoneReader, TakesNoise) {
    const auto data = [](const std::string& noise) {
        return "1 0 0 0 0 0 0 0 0\n2 0 0 0 0 0 0 0 0\n" + noise;
    };
    const auto version2 = [](const std::string& option, const std::string& rest) {
        return "[Version] 2.0\n" + option +
               "[Number of Ports] 2\n[Two-Port Data Order] 21_12\n[Number of Frequencies] 2\n"
               "[Number of Noise Frequencies] 2\n[Reference] 1 2\n[Network Data]\n" +
               rest + "[End]\n";
    };
    const std::string noise = "0.5 0.3 0.5 180 0.2\n2 0.4 1 90 0.1\n";
    const std::string cases[] = {
        "# kHz R 20\n" + data("! noise\n" + noise),
        "# kHz R 20\n1 0 0 0 0\n0 0 0 0\n2 0 0 0 0\n0 0 0 0\n" + noise,
        version2("# kHz R 20\n", data("[Noise Data]\n0.5 0.3 0.5 180 4 2 0.4\n1 90 2\n")),
    };
    const std::vector<NoiseParameters> expected = {{500, 0.3, {-0.5, 0}, 4}, {2000, 0.4, {0, 1}, 2}};
    for (const std::string& text : cases) {
        SCOPED_TRACE(text);
        const Network network = Read(text, 2).network;
        EXPECT_EQ(network.frequencies, (std::vector<double>{1000, 2000}));
        EXPECT_EQ(network.noise, expected);
        EXPECT_EQ(network.noiseReference, 20);
    }
}

TEST(TouchstoneReader, TakesMixedModes) {
    using Mode = MixedModeTerm::Mode;
    const Network network = Read("[Version] 2.0\n# Hz S RI\n[Number of Ports] 3\n[Mixed-Mode Order] D2,1 s3\n"
                                 "  c2,1 ! pairs\n[Number of Frequencies] 1\n[Network Data]\n"
                                 "1 1 0 2 0 3 0 4 0 5 0 6 0 7 0 8 0 9 0\n[End]\n")
                                .network;
    const std::vector<MixedModeTerm> expected = {
        {Mode::Differential, 2, 1}, {Mode::Single, 3}, {Mode::Common, 2, 1}};
    EXPECT_EQ(network.mixedMode, expected);
    EXPECT_EQ(network.At(0, 1, 2), 6.0);
}

struct Bad {
    std::string text;
    int ports;
    int line;
    std::string part;
};

TEST(TouchstoneReader, ErrorsSayTheirLineWhatWasFoundAndExpected) {
    const auto version2 = [](const std::string& rest, const std::string& option = "# Hz S RI") {
        return "[Version] 2.0\n" + option + "\n[Number of Ports] 1\n[Number of Frequencies] 2\n" + rest;
    };
    const auto modes = [](const std::string& order, const std::string& reference = "50 50 50") {
        return "[Version] 2.0\n# Hz S RI\n[Number of Ports] 3\n[Reference] " + reference +
               "\n[Mixed-Mode Order] " + order + "\n[Network Data]\n1 1 0 2 0 3 0 4 0 5 0 6 0 7 0 8 0 9 0\n";
    };
    const Bad cases[] = {
        {"", 1, 1, "found the end of the text"},
        {"! nothing\n# Hz\n\n", 1, 4, "found the end of the text"},
        {"\n# Hz S RU R 50\n", 1, 2, "a format (RI, MA, DB) or R and references, found \"RU\""},
        {"# Hz S kHz\n", 1, 1, "its unit once, found \"kHz\""},
        {"# S Z\n", 1, 1, "kind of parameters once"},
        {"# MA DB\n", 1, 1, "format once"},
        {"# R 50 R 50\n", 1, 1, "reference once"},
        {"# R\n", 1, 1, "behind R, found the end of the option line"},
        {"# R RI\n", 1, 1, "reference in ohm, found \"RI\""},
        {"# R 50j\n", 1, 1, "found \"50j\""},
        {"# R 50+j\n", 1, 1, "found \"50+j\""},
        {"# R 50+-5j\n", 1, 1, "found \"50+-5j\""},
        {"# R 50+5\n", 1, 1, "found \"50+5\""},
        {"# R -50\n", 1, 1, "above 0 ohm, found -50"},
        {"# R 0+5j\n", 1, 1, "above 0 ohm, found 0+5j"},
        {"# R inf\n", 1, 1, "above 0 ohm, found inf"},
        {"# S R 50 75\n1 0 0\n", 3, 1, "one reference or 3, one for each port, found 2"},
        {"# Z R 50 75\n1 0 0\n", 2, 1, "Z parameters are normalised in version 1, found several"},
        {"# Y R 50+1j\n1 0 0\n", 2, 1, "found a complex one"},
        {"!\n# H\n1 0 0\n", 1, 2, "H parameters are of 2 ports, found 1"},
        {"# Hz S RI\n1 0 x1\n", 1, 2, "a number, found \"x1\""},
        {"# Hz S RI\n1 0 1,0\n", 1, 2, "a number, found \"1,0\""},
        {"# Hz S RI\n1 0 +-1\n", 1, 2, "found \"+-1\""},
        {"# Hz S RI\n1 0 1e\n", 1, 2, "found \"1e\""},
        {"# Hz S RI\n1 0 \xB5\n", 1, 2, "found \"\\xB5\""},
        {"# Hz S RI\n1 0 " + std::string(50, 'a'), 1, 2, std::string(40, 'a') + "...\""},
        {"# Hz S RI\n1 0 nan\n", 1, 2, "finite number, found \"nan\""},
        {"# Hz S RI\n1 0 1e999\n", 1, 2, "finite number, found \"1e999\""},
        {"# Hz S DB\n1 -inf -inf\n", 1, 2, "finite number"},
        {"# Hz S DB\n1 7000 0\n", 1, 2, "range of numbers"},
        {"# Hz Z RI R 1e9\n\n1 1e307 0\n", 1, 3, "range of numbers"},
        {"# GHz S RI\n1e307 0 0\n", 1, 2, "finite frequency"},
        {"# Hz S RI\n-1 0 0\n", 1, 2, "at least 0, found \"-1\""},
        {"# Hz S RI\n1 0 0\n! c\r\n1 0 0\n", 1, 4, "above the 1 Hz before it, found 1 Hz"},
        {"# kHz S RI\r1 0 0\r0.5 0 0\r", 1, 3, "above the 1000 Hz before it, found 500 Hz"},
        {"# Hz S RI\n1 0 0 0\n", 1, 2,
         "a new line behind the 3 numbers of 1 ports at the frequency on line 2, found \"0\""},
        {"# Hz S RI\n1 0 0 0 0 0 0 0\n2 0 0 0 0 0 0 0 0\n", 2, 3, "the frequency on line 2, found \"0\""},
        {"# Hz S RI\n1 0 0 0 0 0 0 0\n", 2, 3,
         "9 numbers of 2 ports at the frequency on line 2, found 8 and then the end"},
        {"# Hz S RI\n1 0 0\n[End]\n", 1, 3, "no keywords, found \"[End]\""},
        {"# Hz S RI\n1 0 0\n", 2000000000, 3, "8000000000000000001 numbers"},
        {"# Hz S RI\n1 0\n", 0, 2, "n, found 2"},
        {"# Hz S RI\n1 0 0 0 0\n", 0, 2, "n, found 5"},
        {"1 0 0\n# Hz\n", 1, 2, "option line before the data"},
        {"# S RI\n2 0 0 0 0 0 0 0 0\n1 0 0 0 0\n2 0 0 0\n", 2, 5,
         "5 noise parameters at the frequency on line 4, found 4"},
        {"# S RI\n2 0 0 0 0 0 0 0 0\n1 0 0 0 0\n1 0 0 0 0\n", 2, 4, "above the 1000000000 Hz"},
        {"# S RI\n2 0 0 0 0 0 0 0 0\n1 0 0 0 0\n2 0 0 0 0 0\n", 2, 4, "behind 5 noise parameters"},
        {"# S RI\n2 0 0 0 0 0 0 0 0\n1 0 0 0\n", 2, 3, "above the 2000000000 Hz"},
        {"# S R 1+1j\n2 0 0 0 0 0 0 0 0\n1 0 0 0 0\n", 2, 1, "a real reference on the option line for noise"},
        {"# S R 1e300\n2 0 0 0 0 0 0 0 0\n1 0 0 0 1e300\n", 2, 3, "noise resistance"},
        {"[Version] 3.0\n", 1, 1, "2.0 or 2.1, found \"3.0\""},
        {"[Version]\n", 1, 1, "found nothing"},
        {"[Version] 2.0 2.1\n", 1, 1, "end of the line, found \"2.1\""},
        {"[Version 2.0\n", 1, 1, "a keyword in brackets, found \"[Version 2.0\""},
        {"[Number of Ports] 1\n", 1, 1, "[Version] 2.0 or 2.1 before keywords, found \"[Number of Ports]\""},
        {version2("[Colour] 1"), 1, 5, "a keyword of the format, found \"[Colour]\""},
        {version2("\n[Number of-Ports] 1"), 1, 6, "once, found it on line 3 already"},
        {version2("[Matrix Format] Diagonal"), 1, 5, "Full, Lower or Upper, found \"Diagonal\""},
        {version2("[Reference]\n\n[Network Data]\n"), 1, 5,
         "references in ohm behind [Reference], found nothing"},
        {version2("[Reference] 1 2\n[Network Data]\n1 0 0\n"), 1, 5, "one reference or 1"},
        {version2("[Begin Information]\n[End]\n"), 1, 5, "[End Information] behind"},
        {version2("1 0 0\n"), 1, 5, "[Network Data] before the data, found \"1\""},
        {version2("[Noise Data]\n"), 1, 5, "[Network Data] first"},
        {version2("[Network Data]\n[End]\n"), 1, 6, "network data, found \"[End]\""},
        {version2("[Network Data]\n1 0 0\n[End]\n"), 1, 7, "frequencies, 2, found 1"},
        {version2("[Network Data]\n1 0 0 2 0 0 3 0 0\n[End]\n"), 1, 6, "frequencies, 2, found \"3\""},
        {version2("[Network Data]\n1 0 0 2 0\n[End]\n"), 1, 7,
         "3 numbers of 1 ports at the frequency on line 6, found 2 and then \"[End]\""},
        {version2("[Network Data]\n1 0 0\n2 0 0\n[Reference] 1\n"), 1, 8, "[Noise Data] or [End]"},
        {version2("[Network Data]\n1 0 0\n2 0 0\n[Noise Data]\n"), 1, 8,
         "noise data of 2 ports only, found 1"},
        {version2("[Network Data]\n1 0 0\n2 0 0\n[End]\n3"), 1, 9, "nothing behind [End], found \"3\""},
        {version2("[Number of Noise Frequencies] 1\n[Network Data]\n1 0 0\n2 0 0\n[End]"), 1, 9,
         "frequencies, 1, found 0"},
        {"[Version] 2.0\n[Number of Ports] 0\n", 1, 2, "from 1 to 2147483647, found \"0\""},
        {"[Version] 2.0\n[Number of Ports] 1.5\n", 1, 2, "found \"1.5\""},
        {"[Version] 2.0\n[Number of Ports]\n", 1, 2, "found nothing"},
        {"[Version] 2.0\n[Network Data]\n", 1, 2, "[Number of Ports] before"},
        {"[Version] 2.0\n[Number of Ports] 2\n[Network Data]\n", 1, 3, "[Two-Port Data Order] before"},
        {"[Version] 2.0\n[Number of Ports] 2147483647\n[Number of Frequencies] 9999999999999999999\n[Network "
         "Data]\n1 2 3\n",
         0, 6, "9223372028264841219 numbers of 2147483647 ports"},
        {modes("D1"), 0, 5, "found \"D1\""},
        {modes("X1"), 0, 5, "found \"X1\""},
        {modes("S1 S2"), 0, 5, "3 mixed-mode terms, one for each port, found 2"},
        {modes("S1 S2 S4"), 0, 5, "S4 names no ports of 1 to 3"},
        {modes("S1 S2 S2"), 0, 5, "S2 stands twice"},
        {modes("S1 D2,2 C2,3"), 0, 5, "D2,2 names no ports"},
        {modes("D1,2 D2,3 C1,2"), 0, 5, "a port of the mixed-mode term D2,3"},
        {modes("S1 D2,3 C3,2"), 0, 5, "port 2 is neither"},
        {modes("S1 D1,2 C1,2"), 0, 5, "port 1 is neither"},
        {modes("S1 D2,3 C2,3", "50 50 75"), 0, 5, "D2,3 have different references"},
    };
    for (const Bad& bad : cases) {
        SCOPED_TRACE(bad.text);
        try {
            Read(bad.text, bad.ports);
            ADD_FAILURE() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.Line(), bad.line) << error.what();
            EXPECT_NE(std::string(error.what()).find(bad.part), std::string::npos) << error.what();
        }
    }
}

TEST(TouchstoneName, SaysThePorts) {
    const std::pair<const char*, int> names[] = {
        {"a.s4p", 4},  {"/x.y/a.S12P", 12}, {"a.b.z2p", 2}, {"a.ts", 0},
        {"s2p", 0},    {"a.s2p/b", 0},      {"a.sp", 0},    {"a.s0p", 0},
        {"a.s-2p", 0}, {"a.sNp", 0},        {"a.s2px", 0},  {"", 0},
        {"a.x2p", 0},  {"a.s2 p", 0},       {"a.h2p", 2},   {"a.s99999999999p", 0},
    };
    for (const auto& [name, ports] : names)
        EXPECT_EQ(PortsOfName(name), ports) << name;
}

} // namespace
} // namespace touchstone
