// The exchange of sample blocks in the engine object itself: the kernel asks what the test says, and the test is the client.

#include "engine_fixture.h"

#include <platform/event.h>

#include <atomic>
#include <thread>

using platform::UniqueBstr;
using namespace std::chrono_literals;

namespace {

class CosimTest : public EngineFixture {
protected:
    HRESULT Deliver(const std::string& block) {
        return engine->SendCosimSourceData(UniqueBstr(AString(block)).Get());
    }

    // A job whose client answers each port block by the next of `blocks`; the first comes before the job's start.
    Calls Exchange(std::vector<std::string> blocks, const std::string& commands) {
        auto client = Recorder::New();
        std::size_t next = 0;
        auto deliverNext = [&] { return next < blocks.size() ? Deliver(blocks[next++]) : S_OK; };
        client->onPorts = deliverNext;
        EXPECT_EQ(deliverNext(), S_OK);
        EXPECT_EQ(Start(client.Get(), commands), S_OK);
        EXPECT_TRUE(client->WaitDone());
        return client->Calls();
    }
};

const std::string kFailed = "done " + std::to_string(E_UNEXPECTED);

TEST_F(CosimTest, TheKernelGetsTheFourCallbacksInTheirOrder) {
    EXPECT_EQ(Run("names")[0],
              "message 2 SystemCosimSource SystemCosimPort SystemCosimPortFlush KPT_COSIM_CALLBACK ");
}

TEST_F(CosimTest, ASourceIsAStraightLineBetweenItsSamples) {
    // Time step 0.5, samples 1 3 7, then 8 10 9.
    const Calls calls =
        Exchange({"0.5 2 3 1 3 7 -1 -1 -2", "0.5 2 3 8 10 9 0 0 0"},
                 "source 0 -1e-30; source 0 0; source 0 0.5; source 1 0.25; port 0 1 0; flush;"
                 "source 0 0.5; source 0 0.75; source 0 1; source 1 1; port 0 2 0; flush;"
                 "source 0 1; source 0 1.5; source 1 1.25; port 0 3 0; flush;"
                 "source 0 1.5; source 0 2; source 1 1.5; source 1 1.75; source 0 -0.5; port 0 4 0; flush; "
                 "source 0 2.25");
    EXPECT_EQ(
        calls,
        (Calls{"message 2 source 0 0 0",                           // before the start of time
               "message 2 source 0 1 0", "message 2 source 0 1 0", // nothing came before: the first sample
               "message 2 source 0 -1 0",                          //
               "message 2 source 0 1 4", "message 2 source 0 2 4", "message 2 source 0 3 4",
               "message 2 source 0 -1 0",                          //
               "message 2 source 0 3 8", "message 2 source 0 7 8", //
               "message 2 source 0 -1.5 -2",                       //
               "ports true 1 3 1 0 2 0 3 0",                       //
               "message 2 source 0 7 2", "message 2 source 0 8 2", // from the last sample of the block before
               "message 2 source 0 -2 4", "message 2 source 0 -1 4", //
               "message 2 source 0 0 0",                             //
               "message 2 source 0 9 4",                             //
               "done 0"}));
}

TEST_F(CosimTest, EachQuestionHasItsAnswer) {
    struct Row {
        const char* what;
        std::vector<std::string> blocks;
        const char* commands;
        Calls calls;
    };
    const std::string noData = "message 1 Data index out of range",
                      noSource = "message 1 Source index out of range",
                      noPort = "message 1 Port index out of range";
    const Row rows[] = {
        {"no block is waited for before the start of time",
         {"bad"},
         "source 0 -1; source 5 -1e-300",
         {"message 2 source 0 0 0", "message 2 source 0 0 0", "done 0"}},
        {"an index that no source has",
         {"1 2 1 5 6"},
         "source 2 0; source -1 0; source 99999999999 0; source 1 0",
         {"message 2 source 2 7 8", "message 2 source 2 7 8", "message 2 source 2 7 8",
          "message 2 source 0 6 0", "done 0"}},
        {"the index is what a decimal number begins with",
         {"1 2 1 5 6"},
         "source 01 0; source 1x 0; source x 0",
         {"message 2 source 0 6 0", "message 2 source 0 6 0", "message 2 source 0 5 0", "done 0"}},
        {"a block of one sample is sent at once",
         {"1 1 1 5", "1 1 1 6"},
         "source 0 0; port 0 1 2; flush; source 0 1.5; port 0 3 4; flush",
         {"message 2 source 0 5 0", "ports true 1 1 1 2", "message 2 source 0 5.5 1", "ports true 1 1 3 4",
          "done 0"}},
        {"a block of one sample has no line in a step other than its first",
         {"1 1 1 5"},
         "source 0 0; flush; source 0 1",
         {"message 2 source 0 5 0", "message 2 source 0 7 8", "done 0"}},
        {"past the last sample",
         {"1 1 2 5 6"},
         "source 0 0; flush; source 0 1; flush; source 0 2; source 0 3; port 0 1 1; flush",
         {"message 2 source 0 5 0", "message 2 source 0 5 1", noData, "message 2 source 3 7 8",
          "message 2 source 3 7 8", "message 2 port 3", "message 2 flush 3", kFailed}},
        {"the kernel's own failure goes before",
         {"1 1 2 5 6"},
         "source 0 0; flush; flush; source 0 2; return 7",
         {"message 2 source 0 5 0", noData, "message 2 source 3 7 8", "done 7"}},
        {"a source that the block before didn't have",
         {"1 1 1 5", "1 2 1 5 6"},
         "source 0 0; port 0 1 1; flush; source 0 1; source 1 1",
         {"message 2 source 0 5 0", "ports true 1 1 1 1", "message 2 source 0 5 0", noSource,
          "message 2 source 3 7 8", kFailed}},
        {"a source that the block before had alone",
         {"1 2 1 5 6", "1 1 1 5", "1 2 1 7 8"},
         "source 0 0; port 0 1 1; flush; source 0 1; port 0 1 1; flush; source 1 3",
         {"message 2 source 0 5 0", "ports true 1 1 1 1", "message 2 source 0 5 0", "ports true 1 1 1 1",
          "message 2 source 0 8 2", "done 0"}},
        {"ports grow as they come, and what isn't said is 0",
         {"1 1 3 1 1 1"},
         "source 0 0; port 1 5 6; flush; port 0 7 8; port 0 9 10; flush; port 0 11 12; flush",
         {"message 2 source 0 1 0", "ports true 2 3 0 0 9 10 11 12 5 6 0 0 0 0", "done 0"}},
        {"a block's ports are its own",
         {"1 1 1 1", "1 1 1 1"},
         "source 0 0; port 1 5 6; flush; source 0 1; port 0 7 8; flush",
         {"message 2 source 0 1 0", "ports true 2 1 0 0 5 6", "message 2 source 0 1 0", "ports true 1 1 7 8",
          "done 0"}},
        {"a circuit without sources",
         {"1 0 2"},
         "port 0 1 2; flush; port 0 3 4; flush; source 0 -1",
         {"ports true 1 2 1 2 3 4", "message 2 source 0 0 0", "done 0"}},
        {"no such port",
         {"1 1 1 1"},
         "source 0 0; port -1 1 1; port 0 1 1; flush",
         {"message 2 source 0 1 0", noPort, "message 2 port 3", "message 2 port 3", "message 2 flush 3",
          kFailed}},
        {"too many ports",
         {"1 1 1 1"},
         "source 0 0; port 65536 1 1",
         {"message 2 source 0 1 0", noPort, "message 2 port 3", kFailed}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Exchange(row.blocks, row.commands), row.calls) << row.what;
}

TEST_F(CosimTest, AKernelThatFailsWithinABlockSendsTheClosingRecord) {
    auto client = Recorder::New();
    Deliver("1 1 3 1 2 3");
    Start(client.Get(), "source 0 0; port 0 1 2; flush; source 0 1; return 12");
    ASSERT_TRUE(client->WaitDone());
    const Calls calls = client->AllCalls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(Calls(calls.end() - 3, calls.end()),
              (Calls{"message 2 Analyzing done....", "closing", "done 12"}));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "closing"), 1);

    auto good = Recorder::New();
    Start(good.Get(), "return 0");
    ASSERT_TRUE(good->WaitDone());
    EXPECT_EQ(good->AllCalls().size(), 3u) << "no closing record";
}

TEST_F(CosimTest, ARefusedPortBlockIsTheFlushsResult) {
    Deliver("1 1 1 5");
    auto client = Recorder::New();
    client->onPorts = [] { return E_FAIL; };
    Start(client.Get(), "source 0 0; port 0 1 1; flush; return 3");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(client->Calls(),
              (Calls{"message 2 source 0 5 0", "ports true 1 1 1 1", "message 2 flush 4", "done 3"}));
    auto thrown = Recorder::New();
    thrown->onPorts = []() -> HRESULT { throw std::runtime_error("from the client"); };
    Deliver("1 1 1 5");
    Start(thrown.Get(), "source 0 0; port 0 1 1; flush; return 0");
    ASSERT_TRUE(thrown->WaitDone());
    EXPECT_EQ(thrown->Calls().back(), kFailed);
}

TEST_F(CosimTest, AQuestionOfTheKernelGoesToTheClientAndItsAnswerBack) {
    struct Row {
        std::u16string answer;
        const char* said;
    };
    for (const Row& row : {Row{u"", "message 2 request 0 0 "}, Row{u"ok", "message 2 request 0 2 6f 6b "},
                           Row{u"é€", "message 2 request 0 2 e9 80 "},
                           Row{std::u16string(u"a\0b\0", 4), "message 2 request 0 4 61 0 62 0 "},
                           Row{u"\u4e00", "message 2 request 0 1 3f "}}) {
        auto client = Recorder::New();
        AString asked;
        client->onBounce = [&](BSTR* text) {
            asked = AString(*text, SysStringLen(*text));
            SysFreeString(*text);
            *text = UniqueBstr(row.answer).Release();
            return S_OK;
        };
        Start(client.Get(), "request what now");
        ASSERT_TRUE(client->WaitDone());
        EXPECT_EQ(asked, AString("MessageFlag=1what now"));
        EXPECT_EQ(client->Calls(), (Calls{row.said, "done 0"}));
    }
    auto gone = Recorder::New();
    gone->onBounce = [](BSTR*) { return RPC_E_DISCONNECTED; };
    Start(gone.Get(), "request what now");
    ASSERT_TRUE(gone->WaitDone());
    EXPECT_EQ(gone->Calls(), (Calls{"message 2 request 1 0 ", "done 0"}));
}

TEST_F(CosimTest, ABlockThatIsNoneIsRefusedInWordsAndHarmsNothing) {
    auto client = Recorder::New();
    Start(client.Get(), "touch started; source 0 0; source 0 0");
    const std::string hostile[] = {"",
                                   "1",
                                   "1 -1 -1",
                                   "1 1 1",
                                   "1 2147483647 2147483647 1",
                                   "1 1 0",
                                   "0 1 1 5",
                                   "-1 1 1 5",
                                   "1 1 1 'x'",
                                   "$begin 'A'\n$end 'A'",
                                   std::string("\0\0\0", 3)};
    for (const std::string& text : hostile)
        EXPECT_EQ(Deliver(text), S_OK);
    EXPECT_EQ(engine->SendCosimSourceData(nullptr), S_OK);
    EXPECT_EQ(Deliver("1 1 1 5"), S_OK);
    ASSERT_TRUE(client->WaitDone());
    Calls calls = client->Calls();
    ASSERT_EQ(calls.size(), std::size(hostile) + 4);
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const auto& call) {
                                return call.starts_with(
                                    "message 1 A block of co-simulation sources was refused: ");
                            }),
              std::ssize(hostile) + 1);
    EXPECT_EQ(Calls(calls.end() - 3, calls.end()),
              (Calls{"message 2 source 0 5 0", "message 2 source 0 5 0", "done 0"}));
}

TEST_F(CosimTest, ABlockMayComeBeforeItsTimeAndAFurtherOneReplacesIt) {
    const std::string replaced = "message 0 A block of co-simulation sources took the place of one that the "
                                 "simulation had not asked for.";
    auto client = Recorder::New();
    Start(client.Get(), "source 0 0; touch asked; await go; port 0 1 1; flush; source 0 1");
    Deliver("1 1 1 5");
    while (!std::filesystem::exists(m_Folder / "asked"))
        std::this_thread::sleep_for(1ms);
    Deliver("1 1 1 6"); // while the first is in work
    Deliver("1 1 1 7");
    Write("go");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(client->Calls(), (Calls{"message 2 source 0 5 0", replaced, "ports true 1 1 1 1",
                                      "message 2 source 0 5 2", "done 0"}));
}

TEST_F(CosimTest, AJobStartsCleanAndFindsTheBlockThatIsMeantForIt) {
    const std::string run = "source 0 0; source 0 0.5; port 0 1 1; flush; source 0 1; source 0 1.5";
    const Calls calls = {"message 2 source 0 5 0", "message 2 source 0 5 0",   "ports true 1 1 1 1",
                         "message 2 source 0 5 1", "message 2 source 0 5.5 1", "done 0"};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Exchange({"1 1 1 5", "1 1 1 6"}, run), calls) << "a run leaves nothing";

    // A block that a job didn't ask for any more doesn't drive the next one.
    EXPECT_EQ(Exchange({"1 1 1 5", "1 1 1 6"}, "source 0 0; port 0 1 1; flush").back(), "done 0");
    auto client = Recorder::New();
    Start(client.Get(), "touch started; source 0 0");
    Deliver("1 1 1 7");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(client->Calls(), (Calls{"message 2 source 0 7 0", "done 0"}));

    // Nor does one of a job that failed before it asked.
    auto failing = Recorder::New();
    Start(failing.Get(), "await failed; return 5");
    Deliver("1 1 1 8");
    Write("failed");
    ASSERT_TRUE(failing->WaitDone());
    client = Recorder::New();
    Start(client.Get(), "source 0 0");
    Deliver("1 1 1 9");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(client->Calls(), (Calls{"message 2 source 0 9 0", "done 0"}));

    // But one that came early stays for its job: past a job that has nothing to do with it, and past a failing one when it came
    // after the start of its own.
    Deliver("1 1 1 10");
    EXPECT_EQ(Run("progress 1"), (Calls{"progress 1", "done 0"}));
    EXPECT_EQ(Run("source 0 0"), (Calls{"message 2 source 0 10 0", "done 0"}));
    failing = Recorder::New();
    client = Recorder::New();
    Start(failing.Get(), "await failed again; return 5");
    Start(client.Get(), "source 0 0");
    Deliver("1 1 1 11");
    Write("failed");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(failing->Calls(), Calls{"done 5"});
    EXPECT_EQ(client->Calls(), (Calls{"message 2 source 0 11 0", "done 0"}));
}

TEST_F(CosimTest, ABlockThatIsDeliveredDuringTheFlushsOwnCallIsKept) {
    // The client's simulator has a thread of its own, which may be faster than the answer to the flush.
    constexpr int kBlocks = 2000;
    auto client = Recorder::New();
    std::atomic<int> asked = 0;
    client->onPorts = [&] {
        if (++asked % 3 == 0)
            std::this_thread::yield();
        return S_OK;
    };
    Start(client.Get(), "cosim " + std::to_string(2 * kBlocks) + " 1 1 1");
    std::thread simulator([&] {
        for (int i = 0; i < kBlocks; ++i) {
            while (asked < i)
                std::this_thread::yield();
            engine->SendCosimSourceData(
                UniqueBstr(AString("1 1 2 " + std::to_string(i) + " " + std::to_string(i))).Get());
        }
    });
    ASSERT_TRUE(client->WaitDone());
    simulator.join();
    const Calls calls = client->Calls();
    ASSERT_EQ(calls.size(), std::size_t{kBlocks} + 1);
    for (int i = 0; i < kBlocks; ++i) {
        const std::string value = std::to_string(i), less = i == 0 ? "0" : std::to_string(-i);
        EXPECT_EQ(calls[static_cast<std::size_t>(i)],
                  "ports true 1 2 " + value + " " + less + " " + value + " " + less);
    }
}

TEST_F(CosimTest, AnAbortGetsAJobOutOfItsWaitForABlock) {
    int kills = 0;
    CKeldaEngine::Services services;
    services.killProcess = [&] { ++kills; };
    MakeEngine(std::move(services));
    for (int round = 0; round < 50; ++round) {
        auto client = Recorder::New();
        std::int32_t job = 0;
        // Before its first block, and in the next one's wait.
        if (round % 2 == 0)
            Deliver("1 1 1 5");
        Start(client.Get(), "progress 1; cosim 1000000 1 1 1", &job);
        while (client->Calls().size() < std::size_t{1} + (round % 2 == 0))
            std::this_thread::yield();
        if (round % 3 == 0)
            std::this_thread::sleep_for(1ms); // as a rule it waits by now
        EXPECT_EQ(engine->AbortAnalysis(job, 0), S_OK);
        EXPECT_EQ(kills, round + 1);
        // Here the process goes on, so the next job shows that the thread of the aborted one has come to its end.
        EXPECT_EQ(Run("progress 2"), (Calls{"progress 2", "done 0"}));
        EXPECT_FALSE(client->IsDone());
        EXPECT_LE(client->AllCalls().size(), 3u)
            << "nothing was said after the abort, a closing record neither";
    }
}

} // namespace
