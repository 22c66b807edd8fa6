// A job as a whole: its progress, its result files, one job after another, the command line.
#include "kernel_fixture.h"

#include <fmt/format.h>

#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

class Job : public KernelTest {
protected:
    void expect_good_progress() const {
        const std::vector<double>& progress = told().progress;
        ASSERT_FALSE(progress.empty());
        EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end())) << "it never falls";
        EXPECT_GE(progress.front(), 0);
        EXPECT_EQ(1, progress.back());
        EXPECT_EQ(1, std::count(progress.begin(), progress.end(), 1.0)) << "the end comes once";
    }
};

const std::string divider = "divider\nV1 in 0 dc 2 ac 1\nR1 in out 1k\nR2 out 0 1k\n"; // 4 lines

TEST_F(Job, EveryAnalysisRunsInItsOrderAndHasItsShareOfTheProgress) {
    ASSERT_EQ(CKT_GOOD, run_text(divider + ".ac lin 101 1 1k\n.op\n.tran 1u 100u\n.ac dec 10 1 10\n"))
        << all_told();
    expect_good_progress();
    for (const double border : {0.25, 0.5, 0.75})
        EXPECT_EQ(1, std::count(told().progress.begin(), told().progress.end(), border)) << border;
    EXPECT_EQ((std::vector<std::string>{"t.ac.csv", "t.ac2.csv", "t.op.csv", "t.raw", "t.tran.csv"}),
              results());
    for (const std::string& name : results())
        EXPECT_TRUE(says(CKT_INFORMATION, "result file: " + (folder / name).string())) << all_told();
    EXPECT_EQ(101u, table("t.ac.csv")["frequency [Hz]"].size());
    EXPECT_EQ(11u, table("t.ac2.csv")["frequency [Hz]"].size());
    EXPECT_EQ((std::vector<double>{1}), table("t.op.csv")["v(out) [V]"]);
}

TEST_F(Job, EveryKindOfAnalysisMovesTheProgressAndEndsAtOne) {
    for (const char* analysis :
         {".op", ".dc V1 0 1 0.01", ".dc V1 0 1 0.1 V2 0 1 0.1", ".ac dec 10 1 1meg", ".tran 1u 1m",
          ".noise v(out) V1 dec 10 1 1meg", ".tf v(out) V1", ".sp lin 100 1 100"}) {
        SCOPED_TRACE(analysis);
        ASSERT_EQ(CKT_GOOD, run_text(fmt::format("all\nV1 in 0 dc 0 ac 1 portnum 1 z0 50\nV2 b 0 0\n"
                                                 "R1 in out 1k\nR2 out b 1k\n{}\n",
                                                 analysis)))
            << all_told();
        expect_good_progress();
        const bool sweeps =
            std::string_view(analysis).find_first_of("0123456789") != std::string_view::npos &&
            !std::string_view(analysis).starts_with(".tf");
        if (sweeps) {
            EXPECT_GT(told().progress.size(), 20u);
        }
    }
}

TEST_F(Job, AnAnalysisThatFailsLeavesTheOthersTheirResults) {
    EXPECT_EQ(CKT_ANALYSIS_FAILED, run_text(divider + ".dc V9 0 1 1\n.op\n"));
    EXPECT_TRUE(says(CKT_ERROR, "t.cir:5: the analysis")) << all_told();
    EXPECT_EQ((std::vector<std::string>{"t.op.csv", "t.raw"}), results());
}

TEST_F(Job, TheRawFileHoldsTheBitsOfTheTable) {
    ASSERT_EQ(CKT_GOOD, run_text(divider + "C1 out 0 1n\n.tran 10n 10u uic\n.save v(out) i(v1)\n"))
        << all_told();
    const Table csv = table("t.tran.csv");
    EXPECT_EQ((std::vector<std::string>{"time [s]", "v(out) [V]", "i(v1) [A]"}), csv.headings());
    std::ifstream file(folder / "t.raw", std::ios::binary);
    const std::string raw{std::istreambuf_iterator<char>(file), {}};
    const std::size_t points = csv["time [s]"].size();
    EXPECT_NE(std::string::npos, raw.find(fmt::format("No. Variables: 3\nNo. Points: {}\n", points)));
    EXPECT_NE(std::string::npos,
              raw.find("Variables:\n\t0\ttime\ttime\n\t1\tv(out)\tvoltage\n\t2\ti(v1)\tcurrent\nBinary:\n"));
    const std::size_t values = raw.find("Binary:\n") + 8;
    ASSERT_EQ(raw.size(), values + points * 3 * sizeof(double));
    for (std::size_t i = 0; i < points; ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            double value = 0;
            std::memcpy(&value, raw.data() + values + (3 * i + k) * sizeof value, sizeof value);
            ASSERT_EQ(csv[csv.headings()[k]][i], value) << i;
        }
}

TEST_F(Job, AListOfVectorsToSaveMayBeLong) {
    std::string netlist = divider + ".tran 1u 10u\n.save";
    for (int i = 0; i < 1500; ++i)
        netlist += fmt::format(" v(n{})", i);
    netlist += '\n';
    for (int i = 0; i < 1500; ++i)
        netlist += fmt::format("R_{0} in n{0} 1k\nRg_{0} n{0} 0 1k\n", i);
    ASSERT_EQ(CKT_GOOD, run_text(netlist)) << all_told();
    const Table csv = table("t.tran.csv");
    ASSERT_EQ(1501u, csv.headings().size());
    EXPECT_EQ("v(n1499) [V]", csv.headings().back());
    EXPECT_NEAR(1, csv["v(n1499) [V]"].back(), 1e-9);
}

TEST_F(Job, MeasurementsAreToldEvenIfTheirVectorsAreNotSaved) {
    ASSERT_EQ(CKT_GOOD, run_text(divider + ".tran 1u 100u\n.save v(in)\n"
                                           ".meas tran doubled avg par('2*v(in)') from=10u to=90u\n"))
        << all_told();
    EXPECT_TRUE(says(CKT_INFORMATION, "doubled")) << all_told();
    EXPECT_TRUE(says(CKT_INFORMATION, "4.0000")) << all_told();
    EXPECT_EQ((std::vector<std::string>{"time [s]", "v(in) [V]"}), table("t.tran.csv").headings());
}

TEST_F(Job, PathsMayHoldBlanksAndAnyLetters) {
    write("größe 1/模型/parts.lib",
          ".lib typical\n.include values.inc\n.endl\n.lib fast\nR1 in out 1\n.endl\n");
    write("größe 1/模型/values.inc", "R1 in out {half}\n");
    write("größe 1/half value.inc", ".param half=1k\n");
    const auto netlist = write("größe 1/mein kreis.cir", "title\n.include half value.inc\n"
                                                         ".lib \"模型/parts.lib\" typical\n"
                                                         "V1 in 0 2\nR2 out 0 1k\n.op\n");
    set_project_path(nullptr);
    ASSERT_EQ(CKT_GOOD, run(netlist)) << all_told();
    EXPECT_EQ((std::vector<double>{1}), table("größe 1/mein kreis.op.csv")["v(out) [V]"]);

    const auto project = folder / "результат 2";
    std::filesystem::create_directory(project);
    set_project_path(project.c_str());
    ASSERT_EQ(CKT_GOOD, run(netlist)) << all_told();
    EXPECT_EQ((std::vector<double>{1}), table("результат 2/mein kreis.op.csv")["v(out) [V]"]);
}

TEST_F(Job, ANetlistMayComeFromAnyEditor) {
    const std::string lines =
        "t\xc3\xaftle\r\nV1 in 0 2\r\nR1 in out\r\n+ 1k\r\nR2 out 0 1k\r\n.OP\r\n.END\r\n";
    std::string latin1 = lines;
    latin1.replace(1, 2, "\xef");
    for (const std::string& text :
         {lines, "\xef\xbb\xbf" + lines, latin1, lines.substr(0, lines.size() - 8)}) {
        ASSERT_EQ(CKT_GOOD, run_text(text)) << all_told();
        EXPECT_EQ((std::vector<double>{1}), table("t.op.csv")["v(out) [V]"]);
    }
}

TEST_F(Job, ResultsThatCantBeWrittenAreAnErrorBeforeAnythingRuns) {
    const auto netlist = write("t.cir", divider + ".op\n");
    const auto file = write("file", "kept");
    struct Row {
        std::string directory, why;
    };
    for (const Row& row :
         {Row{folder / "missing", "there is no such directory"}, Row{file, "it isn't a directory"},
          Row{file / "below", "there is no such directory"}}) {
        set_project_path(row.directory.c_str());
        EXPECT_EQ(CKT_NOT_WRITTEN, run(netlist));
        EXPECT_TRUE(says(CKT_ERROR, fmt::format("can't write results to \"{}\": {}", row.directory, row.why)))
            << all_told();
        EXPECT_TRUE(told().progress.empty());
    }
    // Of a directory that may not be written to the privileged user takes no notice; one place has no room for anybody.
    set_project_path("/proc/self");
    EXPECT_EQ(CKT_NOT_WRITTEN, run(netlist));
    EXPECT_TRUE(says(CKT_ERROR, "can't write \"/proc/self/t.raw\": ")) << all_told();
    EXPECT_EQ((std::vector<std::string>{"file"}), results());
}

TEST_F(Job, AFileThatIsReadIsNeverWritten) {
    write("t.raw", "R3 out 0 1k\n");
    EXPECT_EQ(CKT_NOT_WRITTEN, run_text(divider + ".include t.raw\n.op\n"));
    EXPECT_TRUE(says(CKT_ERROR, "it is an input of this job")) << all_told();
    std::string line;
    std::getline(std::ifstream(folder / "t.raw"), line);
    EXPECT_EQ("R3 out 0 1k", line);
}

TEST_F(Job, AFullDiskIsAnErrorAndLeavesOldResultsAndNoHalfFile) {
    const std::string netlist = divider + ".tran 1u 1m 0 1u\n";
    ASSERT_EQ(CKT_GOOD, run_text(netlist)) << all_told();
    const auto former = results();
    const auto bytes = std::filesystem::file_size(folder / "t.tran.csv");

    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit full = before;
    full.rlim_cur = 4096;
    ::setrlimit(RLIMIT_FSIZE, &full);
    const int code = run(folder / "t.cir");
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ(CKT_NOT_WRITTEN, code);
    EXPECT_TRUE(says(CKT_ERROR, "can't write \"" + folder.string())) << all_told();
    EXPECT_TRUE(says(CKT_ERROR, ": File too large")) << all_told();
    EXPECT_EQ(former, results());
    EXPECT_EQ(bytes, std::filesystem::file_size(folder / "t.tran.csv"));
}

TEST_F(Job, ManyJobsInARowDontDisturbEachOtherAndLeaveNoMemory) {
    const auto good = write("good.cir", divider + ".op\n.tran 1u 100u\n.noise v(out) V1 dec 5 1 1k\n");
    const auto amplifier = std::filesystem::path(EXAMPLES) / "amplifier.cir";
    const auto bad = write("bad.cir", divider + "D1 out 0 missing\n.op\n");
    const auto resident_kilobytes = [] {
        long pages = 0, resident = 0;
        std::ifstream("/proc/self/statm") >> pages >> resident;
        return resident * (::sysconf(_SC_PAGESIZE) / 1024);
    };
    long settled = 0;
    constexpr int rounds = 20;
    for (int round = 0; round < 2 * rounds; ++round) {
        if (round == rounds)
            settled = resident_kilobytes();
        ASSERT_EQ(CKT_GOOD, run(good)) << round << all_told();
        ASSERT_EQ(1, table("good.op.csv")["v(out) [V]"].front());
        ASSERT_EQ(CKT_BAD_NETLIST, run(bad)) << round << all_told();
        ASSERT_EQ(CKT_GOOD, run(amplifier)) << round << all_told();
    }
    // Under a sanitizer freed memory is kept for a while.
    constexpr long kilobytes_a_job = 50;
    EXPECT_LT(resident_kilobytes() - settled, 3 * rounds * kilobytes_a_job);
}

TEST_F(Job, ASecondJobAtTheSameTimeIsRefused) {
    static int second = -1;
    static decltype(&::analyze) entry;
    entry = analyze;
    set_progress_call_back([](double) {
        if (second < 0)
            std::thread([] { second = entry("other.cir"); }).join();
        return 0;
    });
    EXPECT_EQ(CKT_GOOD, run_text(divider + ".op\n"));
    EXPECT_EQ(CKT_FAILED, second);
    EXPECT_TRUE(says(CKT_ERROR, "a job runs already"));
}

TEST_F(Job, NothingIsPrintedAndNobodyHasToListen) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(CKT_GOOD, run_text(divider + ".op\n.tran 1u 1m\n.print tran v(out)\n"));
    EXPECT_EQ(CKT_BAD_NETLIST, run_text(divider + "X1 a b c\n.op\n"));
    set_error_call_back(nullptr);
    set_progress_call_back(nullptr);
    EXPECT_EQ(CKT_GOOD, run_text(divider + ".op\n"));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(Job, TheCommandLineTellsItsStatus) {
    const std::string good = write("my circuit.cir", divider + ".op\n"), missing = folder / "missing.cir";
    const std::string out = folder / "results of it";
    std::filesystem::create_directory(out);
    struct Row {
        std::initializer_list<std::string> arguments;
        int status;
        int code;
        std::string words;
    };
    const Row rows[] = {
        {{"tarvok", good}, 0, CKT_INFORMATION, "result file: " + (folder / "my circuit.op.csv").string()},
        {{"tarvok", '"' + good + '"', "-o", '"' + out + '"'}, 0, CKT_INFORMATION, "result file: " + out},
        {{"tarvok", missing}, 1, CKT_ERROR, "error: can't read \"" + missing + '"'},
        {{"tarvok", good, "-o", missing}, 1, CKT_ERROR, "there is no such directory"},
        {{"/usr/bin/tarvok", "--help"},
         0,
         CKT_INFORMATION,
         "Usage: tarvok CIRCUIT [-o DIR] [--quiet] [--help]"},
        {{"tarvok"}, 2, CKT_ERROR, "a circuit is expected"},
        {{"tarvok", good, missing}, 2, CKT_ERROR, "one circuit is expected, found"},
        {{"tarvok", good, "--loud"}, 2, CKT_ERROR, "unknown option \"--loud\""},
        {{"tarvok", good, "-o"}, 2, CKT_ERROR, "-o needs a directory"},
        {{"tarvok", "--", "--quiet"}, 1, CKT_ERROR, "can't read \"--quiet\""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.status, run_line(row.arguments)) << all_told();
        EXPECT_TRUE(says(row.code, row.words)) << all_told();
    }
    EXPECT_TRUE(std::filesystem::exists(out + "/my circuit.op.csv"));
    EXPECT_EQ(0, run_line({"tarvok", good, "--quiet"}));
    EXPECT_TRUE(told().messages.empty()) << all_told();

    set_error_call_back(nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(1, run_line({"tarvok", missing}));
    EXPECT_EQ("error: can't read \"" + missing + "\": No such file or directory\n",
              testing::internal::GetCapturedStdout());
}

} // namespace
