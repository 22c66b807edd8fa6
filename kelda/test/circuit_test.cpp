// The program with the real engine and real circuits.

#include "kelda_process.h"

using namespace kelda_test;

namespace {

constexpr char kLowPass[] = "low pass\n"
                            "V1 in 0 dc 0 ac 1 pulse(0 1 0 1n 1n 1u 2u)\n"
                            "R1 in out 1k\n"
                            "C1 out 0 1n\n"
                            ".tran 10n 10u\n"
                            ".ac dec 5 1k 1meg\n"
                            ".end\n";

class CircuitTest : public KeldaTest {
protected:
    CircuitTest() { Write("low pass.cir", kLowPass); }

    std::string Lines(const Words& names) const {
        std::string lines;
        for (const std::string& name : names)
            lines += (m_Folder / name).string() + "\n";
        return lines;
    }
};

TEST_F(CircuitTest, AGoodRunListsItsResultFilesOnStandardOutput) {
    Finished run = Run({{"run", "low pass.cir"}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, Lines({"low pass.tran.csv", "low pass.ac.csv", "low pass.raw"}));
    EXPECT_TRUE(run.err.starts_with("Analyzing..." + (m_Folder / "low pass.cir").string() +
                                    "\nAnalyzing done....\ndone in "))
        << run.err;
    EXPECT_TRUE(Exists("low pass.raw"));
}

TEST_F(CircuitTest, ResultsGoToTheProjectAndNamesMayHoldAnyCharacterInAnyLocale) {
    std::string name = "ünï 'c' [1] $x 電";
    Write(name + ".cir", kLowPass);
    std::filesystem::create_directory(m_Folder / "größe");
    for (const char* locale : {"C", "C.UTF-8"}) {
        Finished run = Run({{"run", name + ".cir", "--project", "größe"}, {{"LC_ALL", locale}}});
        EXPECT_EQ(run.status, 0) << run.err;
        std::string stem = "größe/" + name;
        EXPECT_EQ(run.out, Lines({stem + ".tran.csv", stem + ".ac.csv", stem + ".raw"}));
        EXPECT_TRUE(Exists(stem + ".raw"));
    }
}

TEST_F(CircuitTest, WhatCannotBeRunIsReportedByNameAndReason) {
    Write("bad.cir", "bad\nR1 a b\n.op\n.end\n");
    Write("idle.cir", "nothing to do\nR1 a 0 1\n.end\n");
    std::filesystem::create_directory(m_Folder / "folder");
    struct Case {
        Words arguments;
        std::string says;
    };
    for (const Case& c : std::initializer_list<Case>{
             {{"missing.cir"}, "missing.cir\": No such file or directory"},
             {{"folder"}, "folder\": it is a directory"},
             {{"bad.cir"}, "bad.cir:2: "},
             {{"idle.cir"}, "idle.cir: no analysis"},
             {{"low pass.cir", "--project", "nowhere"}, "nowhere\": there is no such directory"},
             {{"low pass.cir", "--project", "bad.cir"}, "bad.cir\": it isn't a directory"},
             {{"x\xff.cir"}, "isn't UTF-8"}}) {
        Words arguments{"run"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        Finished run = Run({arguments});
        EXPECT_EQ(run.status, 1) << c.says;
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    }
}

TEST_F(CircuitTest, InJsonEveryLineIsAnEventFromTheStartToTheEnd) {
    Finished run = Run({{"run", "--json", "low pass.cir"}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    std::vector<Json> lines = JsonLines(run.out);
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(lines.front(), (Json{{"event", "started"},
                                   {"job", 1},
                                   {"circuit", (m_Folder / "low pass.cir").string()},
                                   {"project", m_Folder.string()}}));
    double progress = -1;
    std::size_t results = 0, messages = 0;
    for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
        if (lines[i]["event"] == "progress") {
            EXPECT_GT(lines[i]["value"].get<double>(), progress);
            progress = lines[i]["value"];
        } else if (lines[i]["event"] == "message") {
            EXPECT_EQ(lines[i]["severity"], "information");
            ++messages;
        } else {
            EXPECT_EQ(lines[i]["event"], "result");
            EXPECT_TRUE(std::filesystem::exists(lines[i]["path"].get<std::string>()));
            ++results;
        }
    }
    EXPECT_EQ(progress, 1);
    EXPECT_EQ(results, 3u);
    EXPECT_EQ(messages, 2u) << "the job's beginning and its end";
    EXPECT_EQ(lines.back()["event"], "done");
    EXPECT_EQ(lines.back()["code"], 0);
    EXPECT_GT(lines.back()["seconds"].get<double>(), 0);
}

TEST_F(CircuitTest, AnAnalysisThatWouldTakeDaysIsInterrupted) {
    Write("days.cir",
          "days\nV1 in 0 sin(0 1 1meg)\nR1 in out 1k\nC1 out 0 1n\n.save v(out)\n.tran 1n 1000 0 1n\n.end\n");
    KeldaProcess kelda(m_Folder, {{"run", "--json", "days.cir"}});
    EXPECT_TRUE(Eventually([&] { return kelda.Out().find("\"progress\"") != std::string::npos; }));
    pid_t engine = kelda.Engine();
    kelda.Signal(SIGINT);
    EXPECT_EQ(kelda.Wait(), 130);
    EXPECT_EQ(JsonLines(kelda.Out()).back()["event"], "aborted");
    EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
    EXPECT_FALSE(Exists("days.raw"));
}

} // namespace
