// The client library with real engine processes, whose kernel does what the test says.

#include "engine_process.h"

namespace {

TEST_F(EngineProcessTest, AJobRunsInAProcessOfItsOwnAndReachesItsClient) {
    EXPECT_EQ(Run("progress 0.25; error 2 careful; progress 1; return 7"),
              (Calls{"progress 0.25", "message 0 careful", "progress 1", "done 7"}));
    EXPECT_EQ(Run("project"), (Calls{"message 2 " + m_Folder.string(), "done 0"}));
    pid_t process = EngineProcess();
    ASSERT_GT(process, 0);
    DropEngine();
    EXPECT_TRUE(Eventually([&] { return IsGone(process); }))
        << "the engine goes with its client's last reference";
    EXPECT_TRUE(Lost().empty());
}

TEST_F(EngineProcessTest, TwoEnginesShareNothing) {
    auto other = kelda::ActivateEngine(Options());
    auto first = Recorder::New();
    std::int32_t firstJob = 0, secondJob = 0;
    ASSERT_EQ(Start(first.Get(), "await go", &firstJob), S_OK);
    auto second = Recorder::New();
    ASSERT_EQ(other->StartAnalysis(second.Get(), nullptr, UniqueBstr(u"return 5").Get(), nullptr, &secondJob),
              S_OK);
    EXPECT_TRUE(second->WaitDone()) << "while the other engine's job runs";
    EXPECT_FALSE(first->IsDone());
    EXPECT_EQ(firstJob, secondJob) << "each counts its own jobs";
    Write("go");
    EXPECT_TRUE(first->WaitDone());
}

TEST_F(EngineProcessTest, JobsQueueAndOneThatWaitsCanBeAborted) {
    auto first = Recorder::New(), second = Recorder::New(), third = Recorder::New();
    std::int32_t waiting = 0;
    Start(first.Get(), "await go");
    Start(second.Get(), "progress 1", &waiting);
    pid_t process = EngineProcess();
    EXPECT_EQ(Engine().AbortAnalysis(waiting, 0), S_OK);
    Start(third.Get(), "return 3");
    Write("go");
    EXPECT_TRUE(third->WaitDone());
    EXPECT_EQ(first->Calls(), Calls{"done 0"});
    EXPECT_EQ(second->Calls(), Calls{});
    EXPECT_EQ(EngineProcess(), process) << "nothing had to be ended";
}

// Abort in each state that a job can be in, many times in a row, each followed by a job that passes.
TEST_F(EngineProcessTest, AbortOfARunningJobIsAnsweredBringsNoEndAndTheNextJobPasses) {
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        auto client = Recorder::New();
        platform::Event inside(platform::Event::Mode::kManualReset);
        platform::Event left(platform::Event::Mode::kManualReset);
        std::int32_t job = 0;
        std::atomic<bool> writing = true;
        std::thread writer;
        switch (round % 5) {
        case 0: // computing
            ASSERT_EQ(Start(client.Get(), "progress 0; spin", &job), S_OK);
            ASSERT_TRUE(Eventually([&] { return !client->Calls().empty(); }));
            break;
        case 1: // within a callback that stays in the client
            client->onProgress = [&] {
                inside.Set();
                std::this_thread::sleep_for(2ms);
                left.Set();
                return S_OK;
            };
            ASSERT_EQ(Start(client.Get(), "repeat 1000000 0.5", &job), S_OK);
            inside.Wait();
            break;
        case 2: // from within a callback
            client->onProgress = [&] {
                inside.Wait();
                EXPECT_EQ(Engine().AbortAnalysis(job, 0), S_OK);
                left.Set();
                return S_OK;
            };
            ASSERT_EQ(Start(client.Get(), "progress 0.5; repeat 1000000 0.5", &job), S_OK);
            inside.Set();
            ASSERT_TRUE(Eventually([&] { return !client->Calls().empty(); }));
            break;
        case 3: // at the moment of completion
            ASSERT_EQ(Start(client.Get(), "repeat " + std::to_string(round % 7) + " 1", &job), S_OK);
            break;
        case 4: // with another thread of the client writing
            ASSERT_EQ(Start(client.Get(), "repeat 1000000 0.5", &job), S_OK);
            writer = std::thread([&] {
                UniqueBstr data(std::u16string(5000, u'x'));
                while (writing)
                    Engine().SendCosimPortData(data.Get());
            });
            break;
        }
        EXPECT_EQ(Engine().AbortAnalysis(job, 0), S_OK);
        std::int32_t alive = 0;
        EXPECT_EQ(Engine().IsAlive(job, &alive), S_OK);
        EXPECT_EQ(alive, 1) << "the handle stays the latest one, also in a fresh engine";
        auto next = Recorder::New();
        std::int32_t nextJob = 0;
        ASSERT_EQ(Start(next.Get(), "progress 1; return 4", &nextJob), S_OK);
        ASSERT_TRUE(next->WaitDone());
        EXPECT_EQ(next->Calls(), (Calls{"progress 1", "done 4"}));
        EXPECT_GT(nextJob, job);
        if (client->onProgress)
            left.Wait();
        EXPECT_TRUE(round % 5 == 3 || !client->IsDone());
        writing = false;
        if (writer.joinable())
            writer.join();
    }
    EXPECT_TRUE(Lost().empty()) << "an abort is no loss";
}

TEST_F(EngineProcessTest, ALostEngineIsReportedWithItsReasonAndTheNextCallFindsAFreshOne) {
    struct Row {
        const char* commands;
        int kill;
        int signal;
        int status;
        const char* words;
    };
    const Row rows[] = {{"crash", 0, SIGABRT, 0, "SIGABRT"},
                        {"exit 3", 0, 0, 3, "exit status 3"},
                        {"touch started; spin", SIGKILL, SIGKILL, 0, "SIGKILL"},
                        {"touch started; await never", SIGTERM, SIGTERM, 0, "SIGTERM"}};
    std::int32_t former = 0;
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(rows[i].commands);
        auto client = Recorder::New();
        std::int32_t job = 0;
        ASSERT_EQ(Start(client.Get(), rows[i].commands, &job), S_OK);
        EXPECT_GT(job, former);
        former = job;
        if (rows[i].kill) {
            ASSERT_TRUE(AwaitFile("started"));
            Remove("started");
            pid_t process = EngineProcess();
            ASSERT_GT(process, 0);
            kill(process, rows[i].kill);
        }
        ASSERT_TRUE(Eventually([&] { return Lost().size() == i + 1; }));
        kelda::LostEngine lost = Lost().back();
        EXPECT_EQ(lost.signal, rows[i].signal);
        EXPECT_EQ(lost.exitStatus, rows[i].status);
        EXPECT_NE(lost.reason.find(rows[i].words), std::string::npos) << lost.reason;
        EXPECT_FALSE(client->IsDone());
        EXPECT_EQ(Run("return 0"), Calls{"done 0"});
        ++former;
    }
}

TEST_F(EngineProcessTest, AKilledClientEndsItsEngineInEveryStateOfTheJob) {
    for (std::string commands :
         {"", "touch started; spin", "touch started; await never", "touch started; repeat 1000000000 0.5",
          "touch started; progress 0.5; spin", "source 0 0; flush; touch started; spin",
          "cosim 2 1 1 1; touch started; source 0 2", "touch started; field filter N1 - 9 1e9"}) {
        SCOPED_TRACE(commands);
        testtools::Words words{TEST_SERVER, m_Folder.string()};
        if (!commands.empty())
            words.push_back(commands);
        ChildProcess client(DOOMED_CLIENT, m_Folder, {words});
        ASSERT_TRUE(AwaitFile("started"));
        Remove("started");
        const pid_t engine = client.Child();
        client.Signal(SIGKILL);
        client.Wait();
        EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
    }
}

TEST_F(EngineProcessTest, AnotherChildOfTheClientDoesNotKeepTheEngine) {
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    pid_t engine = EngineProcess();
    pid_t other = 0;
    std::string name = "sleep", time = "1000";
    char* arguments[] = {name.data(), time.data(), nullptr};
    ASSERT_EQ(posix_spawnp(&other, "sleep", nullptr, nullptr, arguments, environ), 0);
    auto second = kelda::ActivateEngine(Options());
    DropEngine();
    EXPECT_TRUE(Eventually([&] { return IsGone(engine); }));
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
}

TEST_F(EngineProcessTest, ACallFromWithinACallbackIsAnswered) {
    auto client = Recorder::New();
    auto next = Recorder::New();
    std::int32_t job = 0, alive = -1;
    std::thread::id callbackThread;
    client->onProgress = [&] {
        callbackThread = std::this_thread::get_id();
        EXPECT_EQ(Engine().SendCosimSourceData(UniqueBstr(u"1 1 1 5").Get()), S_OK);
        return Engine().IsAlive(12345, &alive);
    };
    client->onDone = [&] { return Start(next.Get(), "progress 1"); };
    ASSERT_EQ(Start(client.Get(), "progress 0.5; return 1", &job), S_OK);
    ASSERT_TRUE(next->WaitDone());
    EXPECT_EQ(alive, 0);
    EXPECT_NE(callbackThread, std::this_thread::get_id());
    EXPECT_EQ(client->Calls(), (Calls{"progress 0.5", "done 1"}));
    EXPECT_EQ(next->Calls(), (Calls{"progress 1", "done 0"}));
}

TEST_F(EngineProcessTest, ACallbackObjectIsReleasedWhenItsJobIsOver) {
    struct Counted final : kelda::ProgressInterface {
        explicit Counted(std::atomic<int>& n) : count(n) { ++count; }
        ~Counted() override { --count; }
        std::atomic<int>& count;
    };
    std::atomic<int> alive = 0;
    for (int i = 0; i < 20; ++i) {
        auto progress = InterfacePtr<Counted>::Adopt(new Counted(alive));
        ASSERT_EQ(Start(progress.Get(), "progress 1"), S_OK);
    }
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    EXPECT_EQ(alive, 0);
}

// A kernel that isn't there or isn't whole is a failed job in words.
TEST_F(EngineProcessTest, AKernelThatCannotBeUsedFailsTheJobInWords) {
    struct Row {
        const char* server;
        const char* words;
    };
    for (const Row& row :
         {Row{TEST_SERVER_INCOMPLETE, "no entry \"run_sim\""}, Row{TEST_SERVER_ALONE, "libckt_kernel.so"}}) {
        auto engine = kelda::ActivateEngine(Options(row.server));
        auto client = Recorder::New();
        std::int32_t job = 0;
        ASSERT_EQ(engine->StartAnalysis(client.Get(), nullptr, UniqueBstr(u"return 0").Get(), nullptr, &job),
                  S_OK);
        ASSERT_TRUE(client->WaitDone());
        Calls calls = client->Calls();
        ASSERT_EQ(calls.size(), 2u);
        EXPECT_NE(calls[0].find(row.words), std::string::npos) << calls[0];
        EXPECT_EQ(calls[0].substr(0, 10), "message 1 ");
        EXPECT_NE(calls[1], "done 0");
    }
}

TEST_F(EngineProcessTest, TheLoadersPathIsTheLastPlaceWhereTheKernelIsLookedFor) {
    setenv("LD_LIBRARY_PATH", TEST_KERNEL_FOLDER, 1);
    auto engine = kelda::ActivateEngine(Options(TEST_SERVER_ALONE));
    unsetenv("LD_LIBRARY_PATH");
    auto client = Recorder::New();
    std::int32_t job = 0;
    ASSERT_EQ(engine->StartAnalysis(client.Get(), nullptr, UniqueBstr(u"return 6").Get(), nullptr, &job),
              S_OK);
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(client->Calls(), Calls{"done 6"});
}

TEST_F(EngineProcessTest, AProgramThatIsNoEngineIsRefusedInWords) {
    std::string script = (m_Folder / "sleeper").string();
    std::ofstream(script) << "#!/bin/sh\nexec sleep 1000\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    std::string missing = (m_Folder / "nothing").string();
    struct Row {
        std::string server;
        const char* words;
    };
    for (const Row& row : {Row{"/bin/true", "exit status 0"}, Row{"/bin/false", "exit status 1"},
                           Row{script, "didn't answer within 200 ms"}, Row{missing, "No such file"},
                           Row{m_Folder.string(), "can't be started"}}) {
        auto options = Options(row.server);
        options.patience = 200ms;
        try {
            kelda::ActivateEngine(options);
            FAIL() << row.server;
        } catch (const kelda::ActivationError& error) {
            std::string text = error.what();
            EXPECT_NE(text.find(row.words), std::string::npos) << text;
            EXPECT_NE(text.find(row.server), std::string::npos) << text;
        }
    }
}

// An engine that has disappeared from the disk while the client holds it.
TEST_F(EngineProcessTest, AnEngineThatCannotBeStartedAgainIsReported) {
    std::string copy = (m_Folder / "tarvok").string();
    std::filesystem::copy_file(TEST_SERVER, copy);
    auto engine = kelda::ActivateEngine(Options(copy));
    std::filesystem::remove(copy);
    for (pid_t child : Children(getpid()))
        if (std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe")
                .string()
                .starts_with(copy))
            kill(child, SIGKILL);
    ASSERT_TRUE(Eventually([&] { return Lost().size() == 1; }));
    std::int32_t alive = 0;
    EXPECT_EQ(engine->IsAlive(1, &alive), kelda::kEngineNotStarted);
    ASSERT_EQ(Lost().size(), 2u);
    EXPECT_EQ(Lost()[1].process, 0);
    EXPECT_NE(Lost()[1].reason.find(copy), std::string::npos);
}

// The program by hand.
TEST_F(EngineProcessTest, StartedByHandTheServerSaysHowItIsMeantToBeStarted) {
    auto run = [this](const testtools::Words& arguments, std::string& output) {
        ChildProcess server(TEST_SERVER, m_Folder, {arguments});
        const int status = server.Wait();
        output = server.Out() + server.Err();
        return status;
    };
    std::string output;
    for (const testtools::Words& arguments : {testtools::Words{},
                                              {"-Embedding"},
                                              {"/automation"},
                                              {"--channel=77,78", "-Embedding"},
                                              {"--channel=0,0", "-Embedding"},
                                              {"--channel=x", "-Embedding"}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_EQ(run(arguments, output), 2);
        EXPECT_NE(output.find("kelda run CIRCUIT"), std::string::npos) << output;
    }
    EXPECT_EQ(run({"a file.cir", "-o", "x y", "unknown", "-verb"}, output), 0);
    EXPECT_NE(output.find("\"a file.cir\"\n-o\n\"x y\"\nunknown\n-verb\n"), std::string::npos) << output;
    EXPECT_EQ(output.find("progress without"), std::string::npos);
}

} // namespace
