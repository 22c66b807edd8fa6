// The program with engines whose kernel does what the circuit's name says (engine/test/test_kernel.cpp).

#include "kelda_process.h"

#include <pty.h>
#include <sys/ioctl.h>

using namespace kelda_test;

namespace {

struct Pipe {
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe() {
        CloseReader();
        CloseWriter();
    }
    void CloseReader() { Close(ends[0]); }
    void CloseWriter() { Close(ends[1]); }
    std::string ReadToEnd() {
        std::string text;
        char part[4096];
        for (ssize_t count; (count = read(ends[0], part, sizeof part)) > 0;)
            text.append(part, static_cast<std::size_t>(count));
        return text;
    }
    int ends[2];

private:
    static void Close(int& end) {
        if (end >= 0)
            close(end);
        end = -1;
    }
};

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class RunTest : public KeldaTest {
protected:
    // A race in the program or its engine ends it under the thread sanitizer.
    Environment Scripted(Environment more = {}) const {
        const char* options = std::getenv("TSAN_OPTIONS");
        more.insert({{"TARVOK_SERVER", TEST_SERVER},
                     {"TSAN_OPTIONS", std::string(options ? options : "") + " halt_on_error=1"}});
        return more;
    }
    static Words Command(const std::string& commands, const Words& options = {}) {
        // The commands may hold what a path would be divided by, so the folder is named as well.
        Words words{"run", "job;" + commands, "--project", "."};
        words.insert(words.end(), options.begin(), options.end());
        return words;
    }
    Finished RunScript(const std::string& commands, const Words& options = {}) {
        return Run({Command(commands, options), Scripted()});
    }

    // What a job says is framed by the two messages of its run.
    std::string Framed(const std::string& commands, const std::string& said) const {
        return "Analyzing..." + (m_Folder / ("job;" + commands)).string() + "\n" + said +
               "Analyzing done....\n";
    }

    void WaitFor(const std::string& file) {
        EXPECT_TRUE(Eventually([&] { return Exists(file); })) << file;
    }
};

TEST_F(RunTest, MessagesComeInOrderWithTheirSeverityAndInQuietOnlyTheGraveOnes) {
    std::string commands =
        "error 1 for 'your' \\ information;error 2 take care;error 3 it is bad;error 9 well;return 4";
    std::string failure = "kelda: the job failed with code 4\n";
    Finished run = RunScript(commands);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              Framed(commands, "for 'your' \\ information\nwarning: take care\nerror: it is bad\nwell\n") +
                  failure);
    run = RunScript(commands, {"--quiet"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "warning: take care\nerror: it is bad\n" + failure);

    run = RunScript(commands, {"--json"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "");
    std::string told;
    for (const Json& line : JsonLines(run.out))
        if (line["event"] == "message" && !line["text"].get<std::string>().starts_with("Analyzing"))
            told += line["severity"].get<std::string>() + ":" + line["text"].get<std::string>() + "|";
        else if (line["event"] == "done")
            told += line["code"].dump();
    EXPECT_EQ(told,
              "information:for 'your' \\ information|warning:take care|error:it is bad|information:well|4");
}

TEST_F(RunTest, ResultFilesAreListedHoweverTheJobEndsButNotInQuiet) {
    std::string commands = "error 1 result file: /r/one.csv;error 1 result file: /r/two.csv;";
    std::string list = "/r/one.csv\n/r/two.csv\n";
    EXPECT_EQ(RunScript(commands).out, list);
    EXPECT_EQ(RunScript(commands + "return 6").out, list);
    EXPECT_EQ(RunScript(commands + "crash").out, list);
    Finished quiet = RunScript(commands, {"-q"});
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST_F(RunTest, TheFolderOfNetworkDataAnswersTheCircuitsDesigns) {
    std::filesystem::create_directories(m_Folder / "data");
    Write("data/line.s1p", "# GHz S RI R 75\n1 -0.2 0\n");
    Write("data/bad.s1p", "# GHz S RI R 75\n1 -0.2\n");
    Finished run = RunScript("field line N1 - 3 1e9", {"--data", "data"});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.err.starts_with(Framed("field line N1 - 3 1e9", "field 0 3 1000000000 ").substr(0, 40)))
        << run.err;
    EXPECT_TRUE(Holds(run.err, "\nfield 0 3 1000000000 ")) << run.err;
    EXPECT_TRUE(
        Holds(RunScript("field line N1 - 3 2e9", {"--data", "data"}).err, "warning: No network data for N1"));
    run = RunScript("field none N1 - 3 1e9;field bad N2 - 3 1e9", {"--data", "data", "-q"});
    EXPECT_TRUE(Holds(run.err,
                      "error: No network data for N1 (design none): there is no such file in data, but "
                      "bad.s1p, line.s1p.\n"))
        << run.err;
    EXPECT_TRUE(Holds(run.err, "error: No network data for N2 (design bad): data/bad.s1p:")) << run.err;
}

TEST_F(RunTest, AMessageCannotSteerTheTerminal) {
    Finished run = RunScript("error 1 \x1b[2J\x07 \xc2\x9b"
                             "31m \t.");
    EXPECT_TRUE(Holds(run.err, "\n\\x1b[2J\\x07 \\x9b31m \t.\n")) << run.err;
    EXPECT_FALSE(Holds(run.err, "\x1b"));
}

TEST_F(RunTest, WrongUseIsExplainedWithAHint) {
    struct Case {
        Words arguments;
        std::string says;
    };
    for (const Case& c : std::initializer_list<Case>{
             {{}, "Usage: kelda"},
             {{"rnu", "a.cir"}, "unknown command rnu; did you mean run?\nTry `kelda --help`"},
             {{"run"}, "CIRCUIT is required\nTry `kelda run --help`"},
             {{"run", "--jsno", "a.cir"}, "unknown option --jsno; did you mean --json?"},
             {{"run", "--zzzzzz=3", "a.cir"}, "unknown option --zzzzzz\n"},
             {{"run", "a.cir", "b.cir"}, "unexpected argument b.cir\n"},
             {{"run", "a.cir", "--project"}, "--project"},
             {{"run", "a.cir", "-q", "-v"}, "excludes"},
             {{"run", ""}, "the file name is empty"},
             {{"run", "a.cir", "--data", "nowhere"}, "--data: nowhere: No such file or directory"},
             {{"run", "a.cir", "--data", TEST_SERVER}, "--data: " TEST_SERVER ": Not a directory"},
             {{"run", "a.cir", "--data", ""}, "the directory's name is empty"},
             {{"run", "-"}, "name its file"}}) {
        Finished run = Run({c.arguments, Scripted()});
        EXPECT_EQ(run.status, 2) << c.says;
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(Holds(run.err, c.says)) << run.err;
    }
}

TEST_F(RunTest, HelpAndVersionGoToStandardOutput) {
    Finished help = Run({{"run", "--help"}});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(Holds(help.out, "Examples:\n  kelda run ")) << help.out;
    EXPECT_EQ(Run({{"--version"}}).out, "kelda " PROJECT_VERSION "\n");
}

TEST_F(RunTest, ASignalAbortsTheJobAndNoEngineStays) {
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        for (bool json : {false, true}) {
            std::string running = "running" + std::to_string(signal) + (json ? "json" : "text");
            KeldaProcess kelda(m_Folder, {Command("error 1 result file: /r/x.csv;touch " + running + ";spin",
                                                  json ? Words{"--json"} : Words{}),
                                          Scripted()});
            WaitFor(running);
            pid_t engine = kelda.Engine();
            kelda.Signal(signal);
            EXPECT_EQ(kelda.Wait(), 130);
            EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
            if (json) {
                EXPECT_EQ(JsonLines(kelda.Out()).back()["event"], "aborted");
            } else {
                EXPECT_TRUE(Holds(kelda.Err(), "kelda: interrupted; the job was aborted")) << kelda.Err();
                EXPECT_EQ(kelda.Out(), "/r/x.csv\n");
            }
        }
}

TEST_F(RunTest, ASignalEndsTheProgramThoughTheEngineAnswersNothing) {
    KeldaProcess kelda(m_Folder, {Command("touch running;spin"), Scripted()});
    WaitFor("running");
    pid_t engine = kelda.Engine();
    SendSignal(engine, SIGSTOP);
    kelda.Signal(SIGTERM);
    kelda.Signal(SIGINT);
    EXPECT_EQ(kelda.Wait(), 130);
    SendSignal(engine, SIGCONT);
    EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
}

TEST_F(RunTest, ASignalThatWasIgnoredFromTheStartStaysIgnored) {
    KeldaProcess kelda(m_Folder, {.arguments = Command("touch running;await go"),
                                  .environment = Scripted(),
                                  .ignoredSignals = {SIGHUP, SIGINT}});
    WaitFor("running");
    kelda.Signal(SIGHUP);
    kelda.Signal(SIGINT);
    Write("go", "");
    EXPECT_EQ(kelda.Wait(), 0) << kelda.Err();
}

TEST_F(RunTest, ALostEngineIsReportedInWords) {
    struct Case {
        std::string end;
        std::string says;
        const char* key;
        int number;
    };
    for (const Case& c : std::initializer_list<Case>{{"crash", "SIGABRT", "signal", SIGABRT},
                                                     {"exit 7", "exit status 7", "status", 7}}) {
        Finished run = RunScript(c.end);
        EXPECT_EQ(run.status, 3);
        EXPECT_TRUE(Holds(run.err, c.says)) << run.err;
        run = RunScript(c.end, {"--json"});
        EXPECT_EQ(run.status, 3);
        Json last = JsonLines(run.out).back();
        EXPECT_EQ(last["event"], "lost");
        EXPECT_TRUE(Holds(last["reason"], c.says)) << last;
        EXPECT_EQ(last[c.key], c.number);
    }
    KeldaProcess kelda(m_Folder, {Command("touch running;spin"), Scripted()});
    WaitFor("running");
    SendSignal(kelda.Engine(), SIGKILL);
    EXPECT_EQ(kelda.Wait(), 3);
    EXPECT_TRUE(Holds(kelda.Err(), "SIGKILL")) << kelda.Err();
}

TEST_F(RunTest, AnEngineThatCannotBeStartedIsReportedInWords) {
    for (const std::string server : {"/nowhere/tarvok", "/bin/false"}) {
        Finished run = Run({Command("return 0"), {{"TARVOK_SERVER", server}}});
        EXPECT_EQ(run.status, 3);
        EXPECT_TRUE(run.err.starts_with("kelda: ") && Holds(run.err, server)) << run.err;
        run = Run({Command("return 0", {"--json"}), {{"TARVOK_SERVER", server}}});
        EXPECT_EQ(run.status, 3);
        EXPECT_EQ(JsonLines(run.out).back()["event"], "lost");
    }
}

TEST_F(RunTest, TwoRunsAtTheSameTimeDoNotDisturbEachOther) {
    KeldaProcess one(m_Folder, {Command("touch one;await two"), Scripted()});
    KeldaProcess two(m_Folder, {Command("touch two;await one"), Scripted()});
    EXPECT_EQ(one.Wait(), 0);
    EXPECT_EQ(two.Wait(), 0);
}

TEST_F(RunTest, StandardOutputThatCannotBeWrittenIsAnError) {
    Words results = Command("error 1 result file: /r/x.csv");
    Words json = Command("touch started;spin", {"--json"}); // ends only by being aborted
    for (const Words& arguments :
         {results, json, Words{"--help"}, Words{"run", "--help"}, Words{"--version"}}) {
        Finished full = Run({.arguments = arguments, .environment = Scripted(), .outFile = "/dev/full"});
        EXPECT_EQ(full.status, 1);
        EXPECT_TRUE(Holds(full.err, "kelda: can't write to standard output: No space left")) << full.err;
        Finished closed = Run({.arguments = arguments, .environment = Scripted(), .closeOut = true});
        EXPECT_EQ(closed.status, 1);
        EXPECT_TRUE(Holds(closed.err, "kelda: can't write to standard output: ")) << closed.err;
    }
    Finished quiet =
        Run({.arguments = Command("return 0", {"-q"}), .environment = Scripted(), .outFile = "/dev/full"});
    EXPECT_EQ(quiet.status, 0) << quiet.err;
}

TEST_F(RunTest, AReaderThatGoesAwayEndsTheJob) {
    for (const Words& options : {Words{}, Words{"--json"}}) {
        Pipe pipe;
        KeldaProcess kelda(m_Folder, {.arguments = Command("touch running;progress 0.5;spin", options),
                                      .environment = Scripted(),
                                      .outDescriptor = pipe.ends[1]});
        WaitFor("running");
        pid_t engine = kelda.Engine();
        pipe.CloseWriter();
        pipe.CloseReader();
        EXPECT_EQ(kelda.Wait(), 1);
        EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
        std::filesystem::remove(m_Folder / "running");
    }
}

// More messages than a pipe holds, by a command line that the system takes.
constexpr int kFlood = 2500;

std::string Flood() {
    std::string commands;
    for (int i = 0; i < kFlood; ++i)
        commands +=
            "error 1 message " + std::to_string(i) + ";progress " + std::to_string(i / double(kFlood)) + ";";
    return commands + "touch flooded";
}

bool IsStuck(const Pipe& pipe) {
    int waiting = 0;
    return ioctl(pipe.ends[0], FIONREAD, &waiting) == 0 && waiting > 60'000;
}

TEST_F(RunTest, AReaderThatIsSlowSlowsTheJobAndLosesNothing) {
    Pipe pipe;
    KeldaProcess kelda(m_Folder, {.arguments = Command(Flood(), {"--json"}),
                                  .environment = Scripted(),
                                  .outDescriptor = pipe.ends[1]});
    pipe.CloseWriter();
    EXPECT_TRUE(Eventually([&] { return IsStuck(pipe); }));
    EXPECT_FALSE(Exists("flooded"));
    int next = 0;
    for (const Json& line : JsonLines(pipe.ReadToEnd()))
        if (line["event"] == "message" && line["text"].get<std::string>().starts_with("message ")) {
            EXPECT_EQ(line["text"], "message " + std::to_string(next++));
        }
    EXPECT_EQ(next, kFlood);
    EXPECT_EQ(kelda.Wait(), 0);
}

TEST_F(RunTest, AReaderThatTakesNothingCannotKeepTheProgramFromBeingInterrupted) {
    Pipe pipe;
    KeldaProcess kelda(m_Folder, {.arguments = Command(Flood(), {"--json"}),
                                  .environment = Scripted(),
                                  .outDescriptor = pipe.ends[1]});
    EXPECT_TRUE(Eventually([&] { return IsStuck(pipe); }));
    pid_t engine = kelda.Engine();
    kelda.Signal(SIGTERM);
    EXPECT_EQ(kelda.Wait(), 130);
    EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
}

// What the program shows on a terminal of its own.
std::string OnTerminal(const std::filesystem::path& folder, const Words& arguments, Environment changes,
                       int columns) {
    int terminal = -1;
    winsize size{24, static_cast<unsigned short>(columns), 0, 0};
    Words words{KELDA_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    EnvironmentBlock environment(changes);
    pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process == 0) {
        if (chdir(folder.c_str()) == 0)
            execve(KELDA_PROGRAM, pointers.data(), environment.Get());
        _exit(127);
    }
    std::string shown;
    char part[4096];
    for (ssize_t count; (count = read(terminal, part, sizeof part)) > 0;)
        shown.append(part, static_cast<std::size_t>(count));
    close(terminal);
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << shown;
    return shown;
}

TEST_F(RunTest, ATerminalShowsABarAndColoursUnlessTheyAreNotWanted) {
    Words arguments = Command("progress 0.5;error 3 bad;error 1 result file: /r/x.csv;progress 1");
    auto show = [&](Environment changes, int columns = 80) {
        changes.insert({"NO_COLOR", ""});
        changes.insert({"TERM", "xterm"});
        return OnTerminal(m_Folder, arguments, Scripted(changes), columns);
    };
    std::string shown = show({});
    EXPECT_TRUE(Holds(shown, "\r[########################################] 100 %  0:0")) << shown;
    EXPECT_TRUE(Holds(shown, "\x1b[1;31merror: \x1b[0mbad\r\n")) << shown;
    EXPECT_TRUE(shown.ends_with("/r/x.csv\r\n")) << shown;
    // The bar is taken away before anything else is written.
    for (std::string text : {"Analyzing", "\x1b[1;31merror", "done in "}) {
        EXPECT_TRUE(Holds(shown, text)) << shown;
        EXPECT_FALSE(Holds(shown, "0:00" + text)) << shown;
    }

    shown = show({}, 20);
    EXPECT_TRUE(Holds(shown, "\r100 %  0:0") && !Holds(shown, "#")) << shown;
    shown = show({{"NO_COLOR", "1"}});
    EXPECT_TRUE(Holds(shown, "error: bad\r\n") && Holds(shown, "100 %") && !Holds(shown, "\x1b[1;31m"))
        << shown;
    shown = show({{"TERM", "dumb"}});
    EXPECT_TRUE(Holds(shown, "error: bad\r\n") && !Holds(shown, "%") && !Holds(shown, "\x1b")) << shown;
}

} // namespace
