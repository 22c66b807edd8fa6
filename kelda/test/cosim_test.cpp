// `kelda run --cosim-in`: a real engine and circuit, driven by samples from a file.

#include "kelda_process.h"

#include <cmath>
#include <functional>

using namespace kelda_test;

namespace {

// A divider, which follows its source at once, and the current of the source.
constexpr char kDivider[] = "divider\n"
                            "Vin in 0 0\n"
                            "R1 in out 1k\n"
                            "R2 out 0 1k\n"
                            "*% cosim source 0 Vin\n"
                            "*% cosim port 0 v(out) i(Vin)\n"
                            "*% cosim port 1 v(in)\n"
                            ".tran 1u 100u\n"
                            ".end\n";

class CosimTest : public KeldaTest {
protected:
    CosimTest() { Write("divider.cir", kDivider); }

    static double Wave(int row) { return std::sin(row * 0.1); }

    // Rows of a time and one sample, the first time being `first` steps of 1 us.
    std::string Samples(int rows, int first) {
        std::ostringstream text;
        text.precision(17);
        for (int row = 0; row < rows; ++row)
            text << (row + first) * 1e-6 << "," << Wave(row) << "\n";
        return text.str();
    }

    using Rows = std::vector<std::vector<double>>;
    static Rows Table(const std::string& text) {
        Rows rows;
        std::istringstream lines(text);
        std::string line, cell;
        std::getline(lines, line);
        EXPECT_EQ(line, "time [s],port 0 first,port 0 second,port 1 first,port 1 second");
        while (std::getline(lines, line)) {
            rows.emplace_back();
            for (std::istringstream cells(line); std::getline(cells, cell, ',');)
                rows.back().push_back(std::strtod(cell.c_str(), nullptr));
        }
        return rows;
    }

    // That the ports follow the first `samples` samples and then hold the last one.
    static void ExpectDriven(const Rows& rows, int samples) {
        ASSERT_EQ(rows.size(), 100u);
        for (int k = 0; k < 100; ++k) {
            double value = Wave(std::min(k, samples - 1));
            const auto& row = rows[static_cast<std::size_t>(k)];
            ASSERT_EQ(row.size(), 5u);
            EXPECT_NEAR(row[0], (k + 1) * 1e-6, 1e-15);
            EXPECT_NEAR(row[1], value / 2, 1e-6) << "in step " << k;
            EXPECT_NEAR(row[2], -value / 2000, 1e-9) << "in step " << k;
            EXPECT_NEAR(row[3], value, 1e-6) << "in step " << k;
            EXPECT_EQ(row[4], 0);
        }
    }
};

TEST_F(CosimTest, SamplesDriveTheCircuitAndItsPortsAreWrittenWhateverTheBlocks) {
    struct Case {
        std::string samples;
        int count;
        Words more;
        std::string says;
    };
    const std::string held = "the samples end with their time ";
    for (const Case& c : {
             Case{Samples(100, 1),
                  100,
                  {},
                  "co-simulation: 100 steps of 1e-06 s to 0.0001 s, 1 source, 2 ports"},
             Case{Samples(100, 1), 100, {"--cosim-block", "1"}, ""},
             Case{Samples(100, 1), 100, {"--cosim-block", "7"}, ""},
             Case{Samples(100, 0), 100, {"--cosim-block", "1000000"}, ""},
             Case{"time [s], u(t)\r\n" + Samples(100, 1), 100, {"--json"}, ""},
             Case{"\xEF\xBB\xBFt,u\n\n" + Samples(60, 1) + "\n\n",
                  60,
                  {"--cosim-block", "7"},
                  held + "6e-05 s"},
             Case{Samples(1, 1), 1, {}, held + "1e-06 s, from there on the sources hold their last values"},
             Case{Samples(130, 0), 100, {}, "the circuit takes 100 of 130 samples"},
         }) {
        Write("in.csv", c.samples);
        Words words{"run", "divider.cir", "--cosim-in", "in.csv", "--cosim-out", "out.csv"};
        words.insert(words.end(), c.more.begin(), c.more.end());
        Finished run = Run({words});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        ExpectDriven(Table(ReadAll(m_Folder / "out.csv")), c.count);
        EXPECT_TRUE(Exists("divider.tran.csv"));
    }
}

TEST_F(CosimTest, ThePortsOfOneRunAreSamplesForTheNext) {
    Write("in.csv", Samples(100, 1));
    ASSERT_EQ(Run({{"run", "divider.cir", "--cosim-in", "in.csv", "--cosim-out", "out.csv"}}).status, 0);
    std::string four = kDivider;
    for (const char* name : {"V2", "V3", "V4"})
        four.insert(four.find(".tran"), std::string(name) + " " + name + " 0 0\nR" + name + " " + name +
                                            " 0 1k\n*% cosim source " + std::to_string(name[1] - '1') + " " +
                                            name + "\n");
    Write("four.cir", four);
    Finished run = Run({{"run", "four.cir", "--cosim-in", "out.csv", "--cosim-out", "-", "--quiet"}});
    EXPECT_EQ(run.status, 0) << run.err;
    Rows first = Table(ReadAll(m_Folder / "out.csv")), second = Table(run.out);
    ASSERT_EQ(second.size(), first.size());
    for (std::size_t k = 0; k < first.size(); ++k)
        EXPECT_NEAR(second[k][3], first[k][1], 1e-6);
}

TEST_F(CosimTest, WhatIsWrongWithTheSamplesIsToldWithFileAndLine) {
    struct Case {
        std::string samples;
        std::string says;
    };
    for (const Case& c : {
             Case{"", "in.csv: no samples were found"},
             Case{"time,u\n", "in.csv: no samples were found"},
             Case{"1e-6\n", "in.csv:1: one column was found"},
             Case{"1e-6;1\n", "in.csv:1: one column was found"},
             Case{"t,u\n1e-6,1\n2e-6,one\n", "in.csv:3: \"one\" was found in column 2, a number is expected"},
             Case{"t,u\n1e-6,1\n2e-6,\n", "in.csv:3: \"\" was found in column 2"},
             Case{"1e-6,inf\n", "in.csv:1: \"inf\" was found in column 2"},
             Case{"1e-6,1\n\n2e-6,1,1\n", "in.csv:3: 3 columns were found, 2 are expected as in line 1"},
             Case{"1e-6,1\n2e-6,1\n4e-6,1\n", "in.csv:3: the time is 4e-06 s, 3e-06 s is expected"},
             Case{"1e-6,1\n2e-6,1\n2e-6,1\n", "in.csv:3: the time 2e-06 s comes after 2e-06 s"},
             Case{"1e-6,1\n3e-6,1\n",
                  "in.csv:2: the time is 3e-06 s, 2e-06 s is expected by the circuit's step"},
             Case{"3e-6,1\n4e-6,1\n",
                  "in.csv:1: the time is 3e-06 s, the first one is expected to be 0 or the"},
             Case{"1e-6,1,1\n", "in.csv:1: the file has samples for 2 source(s), the circuit has 1"},
         }) {
        Write("in.csv", c.samples);
        Finished run = Run({{"run", "divider.cir", "--cosim-in", "in.csv"}});
        EXPECT_EQ(run.status, 1) << c.samples;
        EXPECT_NE(run.err.find("kelda: " + c.says), std::string::npos) << run.err;
    }
}

TEST_F(CosimTest, WhatCannotBeRunSaysWhy) {
    Write("in.csv", Samples(100, 1));
    Write("plain.cir", "divider\nVin in 0 1\nR1 in 0 1k\n.tran 1u 100u\n.end\n");
    Write("bad.cir",
          std::string(kDivider).insert(std::string(kDivider).find(".tran"), "*% cosim port 2 v(none)\n"));
    const std::string fault = "kelda: ";
    struct Case {
        Words words;
        int status;
        std::string says;
    };
    for (const Case& c : {
             Case{{"divider.cir"}, 1, "the circuit's sources are driven from outside: --cosim-in"},
             Case{{"plain.cir", "--cosim-in", "in.csv"}, 1, "error: the circuit has no co-simulation"},
             Case{
                 {"bad.cir", "--cosim-in", "in.csv", "--cosim-block", "10"}, 1, "the circuit has no v(none)"},
             Case{{"divider.cir", "--cosim-in", "none.csv"}, 1, "kelda: none.csv: No such file or directory"},
             Case{{"divider.cir", "--cosim-in", "in.csv", "--cosim-out", "none/out.csv"},
                  1,
                  "kelda: can't write to none/out.csv: No such file or directory"},
             Case{{"divider.cir", "--cosim-in", "in.csv", "--cosim-out", "/dev/full", "--cosim-block", "10"},
                  1,
                  "kelda: can't write to /dev/full: No space left on device; the job was aborted"},
             Case{{"divider.cir", "--cosim-in", "in.csv", "--cosim-out", "./in.csv"},
                  1,
                  "kelda: --cosim-out names ./in.csv, which is an input of this job"},
             Case{{"divider.cir", "--cosim-out", "out.csv"}, 2, "--cosim-out requires --cosim-in"},
             Case{{"divider.cir", "--cosim-in", "in.csv", "--cosim-block", "0"}, 2, "--cosim-block"},
             Case{{"divider.cir", "--cosim-in", "in.csv", "--cosim-out", "-"}, 2, "only with --quiet"},
         }) {
        Words words{"run"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        Finished run = Run({words});
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    }
    EXPECT_EQ(ReadAll(m_Folder / "in.csv"), Samples(100, 1));
}

// A job that takes long: a circuit of two million steps, one a block.
class LongCosimTest : public CosimTest {
protected:
    LongCosimTest() {
        std::string endless = kDivider;
        Write("endless.cir", endless.replace(endless.find("100u"), 4, "2"));
        Write("in.csv", Samples(100, 1));
    }
    const Words m_Words{"run",         "endless.cir", "--cosim-in",    "in.csv",
                        "--cosim-out", "out.csv",     "--cosim-block", "1"};
    bool PortsCome() const { return ReadAll(m_Folder / "out.csv").size() > 1000; }
};

TEST_F(LongCosimTest, AnInterruptionEndsTheJobAndLeavesWhatWasWritten) {
    KeldaProcess kelda(m_Folder, {m_Words});
    pid_t engine = kelda.Engine();
    EXPECT_TRUE(Eventually([&] { return PortsCome(); }));
    kelda.Signal(SIGINT);
    EXPECT_EQ(kelda.Wait(), 130);
    EXPECT_NE(kelda.Err().find("kelda: interrupted; the job was aborted"), std::string::npos) << kelda.Err();
    EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
    EXPECT_TRUE(PortsCome());
}

TEST_F(LongCosimTest, ALostEngineIsReportedWithItsSignal) {
    KeldaProcess kelda(m_Folder, {m_Words});
    pid_t engine = kelda.Engine();
    EXPECT_TRUE(Eventually([&] { return PortsCome(); }));
    SendSignal(engine, SIGKILL);
    EXPECT_EQ(kelda.Wait(), 3);
    EXPECT_NE(kelda.Err().find("SIGKILL"), std::string::npos) << kelda.Err();
}

} // namespace
