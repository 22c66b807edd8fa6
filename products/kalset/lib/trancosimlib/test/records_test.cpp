// The records of a co-simulation and their forms.

#include <trancosimlib/cosim_text.h>
#include <trancosimlib/cosimportdata.h>
#include <trancosimlib/cosimsrcdata.h>

#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_ostring.h>
#include <utility/assertion.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using Rows = std::vector<std::vector<double>>;

COSIMSRCDATA Sources(double step, std::int32_t samples, Rows rows) {
    COSIMSRCDATA data(static_cast<std::int32_t>(rows.size()), samples);
    data.m_TimeStep = step;
    data.m_Data = std::move(rows);
    return data;
}

COSIMPORTDATA Ports(std::int32_t steps, Rows first, Rows second) {
    COSIMPORTDATA data;
    data.m_HasData = true;
    data.m_NumPorts = static_cast<std::int32_t>(first.size());
    data.m_NumSteps = steps;
    data.m_First = std::move(first);
    data.m_Second = std::move(second);
    return data;
}

std::string Text(const io::CStreamio_object& data) {
    AString text;
    return data.ToText(text).ToNarrow(kEncodingUtf8).CStr();
}

std::vector<int> Bytes(const io::CStreamio_object& data) {
    AString text;
    data.ToBinaryText(text);
    return {text.begin(), text.end()};
}

TEST(CosimRecordsTest, ABlockBeginsAsOneValueOfZero) {
    EXPECT_EQ(COSIMSRCDATA().m_Data, (Rows{{0.0}}));
    EXPECT_EQ(COSIMSRCDATA(2, 3).m_Data, (Rows{{0, 0, 0}, {0, 0, 0}}));
    EXPECT_EQ(COSIMSRCDATA(0, 0).m_Data, Rows());
    COSIMPORTDATA ports;
    EXPECT_FALSE(ports.m_HasData);
    EXPECT_EQ(ports.m_NumPorts, 1);
    EXPECT_EQ(ports.m_NumSteps, 1);
    EXPECT_EQ(ports.m_First, (Rows{{0.0}}));
    EXPECT_EQ(ports.m_Second, (Rows{{0.0}}));
}

TEST(CosimRecordsTest, BothFormsHoldTheFieldsInTheirOrder) {
    const COSIMSRCDATA sources = Sources(0.5, 3, {{1, 2, 3}, {-4, 5.5, 0}});
    EXPECT_EQ(Text(sources), "0.5 2 3 1 2 3 -4 5.5 0");
    EXPECT_EQ(Bytes(sources), (std::vector<int>{0,  80, 224, 63, 70, 2,  70,  3,  80, 240, 63, 79,
                                                64, 80, 8,   64, 80, 16, 192, 80, 22, 64,  79, 0}));
    const COSIMPORTDATA ports = Ports(2, {{1, 2}, {0, 0.5}}, {{-1, 0}, {2, 1}});
    EXPECT_EQ(Text(ports), "true 2 2 1 -1 2 0 0 2 0.5 1") << "the two values of a step stand side by side";
    EXPECT_EQ(Bytes(ports), (std::vector<int>{0,  10, 70, 2,  70, 2,  80, 240, 63,  80, 240, 191, 79,
                                              64, 79, 0,  79, 0,  79, 64, 80,  224, 63, 80,  240, 63}));

    COSIMPORTDATA closing = Ports(0, {}, {});
    closing.m_HasData = false;
    EXPECT_EQ(Bytes(closing), (std::vector<int>{0, 11, 70, 0, 70, 0}));
}

TEST(CosimRecordsTest, TheSizeIsNineForEachValueOfOneTable) {
    struct Row {
        std::int32_t rows, length;
        std::uint32_t size;
    };
    for (const Row& row : {Row{0, 0, 20}, Row{1, 1, 29}, Row{4, 1000, 36020}, Row{3, 0, 20},
                           Row{2'000'000'000, 2'000'000'000, 0xFFFFFFFF}, Row{-1, 5, 0}}) {
        COSIMSRCDATA sources(0, 0);
        sources.m_NumSources = row.rows;
        sources.m_NumSamples = row.length;
        COSIMPORTDATA ports;
        ports.m_NumPorts = row.rows;
        ports.m_NumSteps = row.length;
        io::CToken_ostring stream(&io::DefaultDelimiterGrammar());
        EXPECT_EQ(sources.GetBinarySize(stream), row.size);
        EXPECT_EQ(ports.GetBinarySize(stream), row.size);
    }
}

TEST(CosimRecordsTest, EveryBlockComesBackFromBothForms) {
    const double most = std::numeric_limits<double>::max(), least = std::numeric_limits<double>::denorm_min();
    const Rows rows[] = {{},
                         {{}},
                         {{}, {}, {}},
                         {{0}},
                         {{1, -2.5}, {most, least}},
                         Rows(7, std::vector<double>(300, 1 / 3.0))};
    for (const Rows& data : rows) {
        const auto length = static_cast<std::int32_t>(data.empty() ? 0 : data[0].size());
        const COSIMSRCDATA sources = Sources(1e-9, length, data);
        const COSIMPORTDATA ports = Ports(length, data, Rows(data.rbegin(), data.rend()));
        for (bool binary : {false, true}) {
            // What stood in the record before doesn't show.
            COSIMSRCDATA sourcesBack(3, 4);
            COSIMPORTDATA portsBack = Ports(2, {{9, 9}, {8, 8}}, {{7, 7}, {6, 6}});
            AString text;
            EXPECT_TRUE(
                sourcesBack.FromText(binary ? sources.ToBinaryText(text) : sources.ToText(text, 0, 17)));
            EXPECT_EQ(sourcesBack.m_TimeStep, 1e-9);
            EXPECT_EQ(sourcesBack.m_NumSources, sources.m_NumSources);
            EXPECT_EQ(sourcesBack.m_NumSamples, length);
            EXPECT_EQ(sourcesBack.m_Data, data);
            EXPECT_TRUE(portsBack.FromText(binary ? ports.ToBinaryText(text) : ports.ToText(text, 0, 17)));
            EXPECT_TRUE(portsBack.m_HasData);
            EXPECT_EQ(portsBack.m_NumPorts, ports.m_NumPorts);
            EXPECT_EQ(portsBack.m_NumSteps, length);
            EXPECT_EQ(portsBack.m_First, ports.m_First);
            EXPECT_EQ(portsBack.m_Second, ports.m_Second);

            EXPECT_EQ(AString(MakeCosimText(sources).View()), sources.ToBinaryText(text));
            EXPECT_EQ(AString(MakeCosimText(ports).View()), ports.ToBinaryText(text));
            EXPECT_TRUE(ReadCosimText(platform::UniqueBstr(text).Get(), portsBack));
            EXPECT_EQ(portsBack.m_Second, ports.m_Second);
        }
    }
}

TEST(CosimRecordsTest, ATextThatIsNoBlockFailsAndLeavesAnEmptyOne) {
    for (const char* text : {"", "1e-9", "1e-9 1", "1e-9 -1 1 5", "1e-9 1 -1", "1e-9 2 2 1 2 3",
                             "1e-9 2147483647 2147483647 1 2 3", "1e-9 2147483647 0", "1e-9 1 2147483647 1",
                             "1e-9 99999999999 1 1", "1e-9 1 1 'x'", "1e-9 1.5", "$begin 'A'\n$end 'A'",
                             "true 1 1 1 1", "(", "\x01\x02"}) {
        COSIMSRCDATA data(2, 2);
        EXPECT_FALSE(data.FromText(AString(text))) << text;
        EXPECT_EQ(data.m_NumSources, 0) << text;
        EXPECT_EQ(data.m_NumSamples, 0) << text;
        EXPECT_TRUE(data.m_Data.empty()) << text;
    }
    for (const char* text :
         {"", "true", "true 1 2 1 2 3", "true -1 0", "true 0 -1", "true 2147483647 2147483647 1 2",
          "true 2147483647 0", "1 1 1 1 1", "true 1 1 'x' 1", "false 1"}) {
        COSIMPORTDATA data = Ports(1, {{1}}, {{1}});
        EXPECT_FALSE(data.FromText(AString(text))) << text;
        EXPECT_FALSE(data.m_HasData) << text;
        EXPECT_EQ(data.m_NumPorts, 0) << text;
        EXPECT_TRUE(data.m_First.empty() && data.m_Second.empty()) << text;
    }
}

// The assertions that a test has met, in place of the question.
std::vector<std::string> g_Questions;

AssertAnswer Note(AssertBox, const char* text) {
    g_Questions.emplace_back(text);
    return AssertAnswer::Retry;
}

TEST(CosimRecordsTest, WritingAssertsThatEveryRowHasTheDeclaredLength) {
    COSIMSRCDATA sources = Sources(1, 2, {{1, 2}, {3}});
    COSIMPORTDATA ports = Ports(2, {{1, 2}}, {{3}});
    COSIMPORTDATA missing = Ports(1, {{1}, {2}}, {{3}});
    assertsOff = false;
    AssertQuestion former = SetAssertQuestion(Note);
    for (const io::CStreamio_object* data :
         std::initializer_list<const io::CStreamio_object*>{&sources, &ports, &missing})
        Text(*data);
    sources.m_Data[1].push_back(4);
    Text(sources);
    SetAssertQuestion(former);
    assertsOff = true;
    ASSERT_EQ(g_Questions.size(), 3u);
    EXPECT_NE(g_Questions[0].find("products/kalset/lib/trancosimlib/cosimsrcdata"), std::string::npos);
    EXPECT_NE(g_Questions[0].find("68"), std::string::npos) << g_Questions[0];
    for (int i : {1, 2}) {
        EXPECT_NE(g_Questions[i].find("products/kalset/lib/trancosimlib/cosimportdata"), std::string::npos);
        EXPECT_NE(g_Questions[i].find("69"), std::string::npos) << g_Questions[i];
    }
}

TEST(CosimRecordsTest, AFaultSaysWhatWasFoundAndWhatIsExpected) {
    constexpr double kInfinite = std::numeric_limits<double>::infinity();
    struct Row {
        COSIMSRCDATA data;
        const char* words;
    };
    const Row rows[] = {
        {Sources(1e-9, 0, {}), "no samples"},
        {Sources(1e-9, 0, {{}}), "no samples"},
        {Sources(1e-9, 2, {{1, 2}, {3}}), "2 of 2 samples"},
        {Sources(0, 1, {{1}}), "time step is 0"},
        {Sources(-1, 1, {{1}}), "time above 0"},
        {Sources(kInfinite, 1, {{1}}), "time step is inf"},
        {Sources(1e-9, 2, {{1, 2}, {3, kInfinite}}), "sample 1 of source 1"},
        {Sources(1e-9, 2, {{-kInfinite * 0, 2}}), "sample 0 of source 0"},
    };
    for (const Row& row : rows)
        EXPECT_NE(row.data.Fault().find(row.words), std::string::npos) << row.data.Fault();
    EXPECT_EQ(Sources(1e-9, 2, {{1, 2}, {3, 4}}).Fault(), "");
    EXPECT_EQ(Sources(1e-9, 2, {}).Fault(), "") << "a circuit may have ports only";
}

} // namespace
