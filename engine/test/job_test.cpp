// Jobs in the engine object itself, with a test kernel beside this program and the test as the client.

#include "engine_fixture.h"

#include <engine/class_object.h>
#include <engine/job_gate.h>
#include <engine/job_messages.h>
#include <engine/kelda_engine.h>
#include <engine/kernel_library.h>
#include <engine/message_manager_slot.h>

#include <platform/marshal.h>
#include <stringutils/astring.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <thread>

using platform::InterfacePtr;
using platform::UniqueBstr;

namespace {

// Its marshalling does what the test says.
class OddProgress final : public IKeldaProgressInterface, public platform::IMarshal {
public:
    HRESULT marshalResult = S_OK;
    bool giveStream = true;
    HRESULT unmarshalResult = S_OK;
    int calls = 0;

    HRESULT QueryInterface(const IID& iid, void** object) override {
        *object = iid == platform::IMarshal::kIid
                      ? static_cast<void*>(static_cast<platform::IMarshal*>(this))
                      : static_cast<void*>(static_cast<IKeldaProgressInterface*>(this));
        return S_OK;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    HRESULT MarshalInterface(const IID&, std::unique_ptr<platform::InterfaceStream>* stream) override {
        if (giveStream)
            *stream = std::make_unique<Stream>(*this);
        return marshalResult;
    }
    HRESULT ProgressUpdate(double) override { return Called(); }
    HRESULT AnalysisDone(std::int32_t) override { return Called(); }
    HRESULT PostOrvaneMessage(BSTR) override { return Called(); }
    HRESULT BounceOrvaneMessage(BSTR*) override { return Called(); }
    HRESULT PutCosimPortData(BSTR) override { return Called(); }

private:
    HRESULT Called() {
        ++calls;
        return S_OK;
    }
    struct Stream final : platform::InterfaceStream {
        explicit Stream(OddProgress& o) : owner(o) {}
        HRESULT Unmarshal(const IID&, void** object) override {
            if (Succeeded(owner.unmarshalResult))
                *object = static_cast<IKeldaProgressInterface*>(&owner);
            return owner.unmarshalResult;
        }
        OddProgress& owner;
    };
};

class OddThread final : public platform::Thread {
public:
    explicit OddThread(int& resumed) : m_Resumed(resumed) {}
    int Resume() override {
        ++m_Resumed;
        return 2; // as if somebody else had suspended it too
    }

private:
    int& m_Resumed;
};

class JobTest : public EngineFixture {};

TEST_F(JobTest, AJobTellsItsClientWhatTheKernelSaysAndHowItEnded) {
    struct Row {
        const char* commands;
        Calls calls;
    };
    const Row rows[] = {
        {"progress 0.25; progress 1", {"progress 0.25", "progress 1", "done 0"}},
        {"progress 0.5; return 7", {"progress 0.5", "done 7"}},
        {"return -3", {"done -3"}},
        {"error 1 a; error 2 b; error 3 c; error 7 d",
         {"message 2 a", "message 0 b", "message 1 c", "message 2 d", "done 0"}},
        {"throw", {"done " + std::to_string(E_UNEXPECTED)}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Run(row.commands), row.calls) << row.commands;
    EXPECT_EQ(Run("project"), (Calls{"message 2 " + m_Folder.string(), "done 0"}));
}

TEST_F(JobTest, AJobFramesItsRunInWords) {
    auto client = Recorder::New();
    Start(client.Get(), "progress 1; return 7");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(client->AllCalls(), (Calls{"message 2 Analyzing...progress 1; return 7", "progress 1",
                                         "message 2 Analyzing done....", "closing", "done 7"}));

    // A client that fails the last call is told so, if it still listens.
    auto failing = Recorder::New();
    failing->onDone = [] { return E_ACCESSDENIED; };
    Start(failing.Get(), "return 0");
    ASSERT_TRUE(failing->WaitDone());
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    ASSERT_EQ(failing->AllCalls().size(), 4u);
    EXPECT_EQ(failing->AllCalls()[2], "done 0");
    EXPECT_EQ(failing->AllCalls()[3],
              "message 1 " + std::string(SystemErrorText(E_ACCESSDENIED).ToNarrow(1)));
}

TEST_F(JobTest, WhatTheEngineRefusesGoesToTheClientOfAnEarlierStart) {
    EXPECT_EQ(Start(nullptr, "return 0"), E_ACCESSDENIED) << "nobody to tell";
    auto client = Recorder::New();
    Start(client.Get(), "return 0");
    ASSERT_TRUE(client->WaitDone());
    EXPECT_EQ(Start(nullptr, "return 0"), E_ACCESSDENIED);
    EXPECT_EQ(client->Calls(), (Calls{"done 0", "message 4 Progress interface is not found."}));
    EXPECT_EQ(GetMessageManager(), static_cast<IMessageManager*>(engine.get()));
    SetMessageManager(nullptr);
}

TEST(SystemErrorTextTest, ACodeWithoutWordsIsNamedByItsNumber) {
    struct Row {
        std::uint32_t code;
        const char* text;
    };
    for (const Row& row :
         {Row{0x80040200, "Unknown error 0x80040200"}, Row{0x80040201, "IDispatch error #1"},
          Row{0x8004FFFF, "IDispatch error #65023"}, Row{0x80050000, "Unknown error 0x80050000"}})
        EXPECT_EQ(std::string(SystemErrorText(static_cast<HRESULT>(row.code)).ToNarrow(1)), row.text);
    AString known = SystemErrorText(E_ACCESSDENIED);
    EXPECT_FALSE(known.empty() || known.ends_with(u'\n') || known.starts_with(u"Unknown"));
}

TEST_F(JobTest, AStartWithoutAProgressInterfaceIsRefusedAndStartsNothing) {
    int threads = 0;
    CKeldaEngine::Services services;
    services.createThread = [&](std::function<void()>) {
        ++threads;
        return nullptr;
    };
    MakeEngine(std::move(services));
    std::int32_t procid = -5;
    EXPECT_EQ(Start(nullptr, "return 0", &procid), E_ACCESSDENIED);
    EXPECT_EQ(threads, 0);
    EXPECT_EQ(procid, -5);
}

TEST_F(JobTest, MarshallingThatFailsGivesItsResultAndNoJob) {
    struct Row {
        HRESULT marshal;
        bool stream;
        HRESULT expected;
    };
    for (const Row& row : {Row{E_FAIL, false, E_FAIL}, Row{E_NOINTERFACE, true, E_NOINTERFACE},
                           Row{S_FALSE, false, S_FALSE}, Row{S_OK, false, S_OK}}) {
        OddProgress progress;
        progress.marshalResult = row.marshal;
        progress.giveStream = row.stream;
        EXPECT_EQ(Start(&progress, "progress 1"), row.expected);
        EXPECT_EQ(Run("return 0"), Calls{"done 0"});
        EXPECT_EQ(progress.calls, 0);
    }
}

TEST_F(JobTest, AnInterfaceThatTheWorkerCannotTakeEndsTheJobSilentlyAndOpensTheGate) {
    OddProgress progress;
    progress.unmarshalResult = E_FAIL;
    std::int32_t procid = 0;
    EXPECT_EQ(Start(&progress, "progress 1", &procid), S_OK);
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    EXPECT_EQ(progress.calls, 0);
    EXPECT_EQ(engine->AbortAnalysis(procid, 0), S_OK);
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
}

TEST_F(JobTest, AThreadThatCannotBeResumedGivesFalseAndTheNextJobPasses) {
    int resumed = 0;
    bool odd = true;
    CKeldaEngine::Services services;
    services.createThread = [&](std::function<void()> run) -> std::unique_ptr<platform::Thread> {
        if (odd)
            return std::make_unique<OddThread>(resumed);
        return platform::Thread::CreateSuspended(std::move(run));
    };
    MakeEngine(std::move(services));
    auto client = Recorder::New();
    EXPECT_EQ(Start(client.Get(), "progress 1"), S_FALSE);
    EXPECT_EQ(resumed, 1);
    odd = false;
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    EXPECT_EQ(client->Calls(), Calls{});
}

TEST_F(JobTest, WithoutAThreadTheJobFailsInWords) {
    CKeldaEngine::Services services;
    services.createThread = [](std::function<void()>) { return nullptr; };
    MakeEngine(std::move(services));
    auto client = Recorder::New();
    EXPECT_EQ(Start(client.Get(), "progress 1"), S_FALSE);
    EXPECT_EQ(client->Calls(), (Calls{"message 1 The system has no thread to run the analysis in.",
                                      "done " + std::to_string(E_OUTOFMEMORY)}));
}

TEST_F(JobTest, AFailedOrThrowingClientHarmsOnlyItsOwnCalls) {
    auto client = Recorder::New();
    client->onProgress = []() -> HRESULT { throw std::runtime_error("from the client"); };
    client->onDone = [] { return E_FAIL; };
    const std::string failed = "message 1 " + std::string(SystemErrorText(E_FAIL).ToNarrow(1));
    EXPECT_EQ(Start(client.Get(), "progress 0.5; expect 8000FFFF; return 0"), S_OK);
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    EXPECT_EQ(client->Calls(), (Calls{"progress 0.5", "done 0", failed}));
    client->onProgress = [] { return E_FAIL; };
    EXPECT_EQ(Start(client.Get(), "progress 0.75; expect 80004005"), S_OK);
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
    EXPECT_EQ(client->Calls(), (Calls{"progress 0.5", "done 0", failed, "progress 0.75", "done 0", failed}));
}

TEST_F(JobTest, JobsRunInTheOrderOfTheirStartsAndOnlyTheLatestHandleIsAlive) {
    Recorder::Order order;
    InterfacePtr<Recorder> clients[5];
    std::int32_t handles[5];
    for (int i = 0; i < 5; ++i) {
        clients[i] = Recorder::New(std::to_string(i) + " ");
        clients[i]->order = &order;
        ASSERT_EQ(Start(clients[i].Get(), i == 0 ? "await go; progress 1" : "progress 1", &handles[i]), S_OK);
        for (int j = 0; j <= i; ++j) {
            std::int32_t alive = -1;
            EXPECT_EQ(engine->IsAlive(handles[j], &alive), S_OK);
            EXPECT_EQ(alive, j == i ? 1 : 0);
        }
    }
    EXPECT_EQ(order.Calls(), Calls{});
    Write("go");
    ASSERT_TRUE(clients[4]->WaitDone());
    Calls expected;
    for (std::string i : {"0", "1", "2", "3", "4"}) {
        expected.push_back(i + " progress 1");
        expected.push_back(i + " done 0");
    }
    EXPECT_EQ(order.Calls(), expected);
    std::int32_t alive = 0;
    engine->IsAlive(handles[4], &alive);
    EXPECT_EQ(alive, 1) << "also when its job has ended";
}

TEST_F(JobTest, AbortOfAWaitingJobTakesItOutAndLeavesTheRunningOneAlone) {
    int kills = 0;
    CKeldaEngine::Services services;
    services.killProcess = [&] { ++kills; };
    MakeEngine(std::move(services));
    auto running = Recorder::New();
    auto waiting = Recorder::New();
    std::int32_t runningJob = 0, waitingJob = 0;
    Start(running.Get(), "progress 0.5; await go; progress 1", &runningJob);
    Start(waiting.Get(), "progress 1", &waitingJob);
    EXPECT_EQ(engine->AbortAnalysis(runningJob, 0), S_OK) << "a stale handle is ignored";
    EXPECT_EQ(engine->AbortAnalysis(12345, 0), S_OK);
    EXPECT_EQ(engine->AbortAnalysis(waitingJob, 1), S_OK);
    auto next = Recorder::New();
    Start(next.Get(), "return 0");
    Write("go");
    ASSERT_TRUE(next->WaitDone());
    EXPECT_EQ(running->Calls(), (Calls{"progress 0.5", "progress 1", "done 0"}));
    EXPECT_EQ(waiting->Calls(), Calls{});
    EXPECT_EQ(kills, 0);
    EXPECT_EQ(engine->AbortAnalysis(runningJob, 0), S_OK) << "nor can a job that has ended be aborted";
    EXPECT_EQ(Run("return 0"), Calls{"done 0"});
}

TEST_F(JobTest, TheNextJobMayBeStartedFromWithinAnalysisDone) {
    auto first = Recorder::New();
    auto second = Recorder::New();
    // On a real engine the call comes through the channel to the engine's own thread, and so does it here.
    platform::Event asked(platform::Event::Mode::kManualReset), started(platform::Event::Mode::kManualReset);
    first->onDone = [&] {
        asked.Set();
        started.Wait();
        return S_OK;
    };
    Start(first.Get(), "return 0");
    asked.Wait();
    EXPECT_EQ(Start(second.Get(), "progress 1"), S_OK);
    started.Set();
    ASSERT_TRUE(second->WaitDone());
    EXPECT_EQ(second->Calls(), (Calls{"progress 1", "done 0"}));
}

TEST_F(JobTest, TheObjectAnswersToItsThreeInterfacesThroughItsFactory) {
    EngineClassObject factory(*engine);
    struct Row {
        IID iid;
        HRESULT expected;
    };
    for (const Row& row : {Row{IKeldaEngine::kIid, S_OK}, Row{IDispatch::kIid, S_OK},
                           Row{IUnknown::kIid, S_OK}, Row{IKeldaProgressInterface::kIid, E_NOINTERFACE}}) {
        void* object = &factory;
        EXPECT_EQ(factory.CreateInstance(nullptr, row.iid, &object), row.expected);
        EXPECT_EQ(object != nullptr, row.expected == S_OK);
    }
    void* object = nullptr;
    EXPECT_EQ(factory.CreateInstance(engine.get(), IUnknown::kIid, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory.CreateInstance(nullptr, IUnknown::kIid, nullptr), E_POINTER);
}

TEST_F(JobTest, TheMethodsCanBeCalledByName) {
    DISPID id = 0;
    EXPECT_EQ(engine->GetIdOfName(u"startanalysis", &id), S_OK);
    EXPECT_EQ(id, 1);
    EXPECT_EQ(engine->GetIdOfName(u"SendCosimSourceData", &id), S_OK);
    EXPECT_EQ(id, 5);
    EXPECT_EQ(engine->GetIdOfName(u"Stop", &id), DISP_E_UNKNOWNNAME);

    auto client = Recorder::New();
    std::int32_t procid = 0;
    UniqueBstr file(u"progress 1"), project(u".");
    const VARIANT start[] = {static_cast<IUnknown*>(client.Get()), std::monostate(), file.Get(),
                             project.Get(), &procid};
    EXPECT_EQ(engine->Invoke(1, start, nullptr), S_OK);
    EXPECT_TRUE(client->WaitDone());
    EXPECT_EQ(client->Calls(), (Calls{"progress 1", "done 0"}));
    VARIANT alive;
    EXPECT_EQ(engine->Invoke(3, std::array<VARIANT, 1>{procid}, &alive), S_OK);
    EXPECT_EQ(std::get<std::int32_t>(alive), 1);
    EXPECT_EQ(engine->Invoke(3, std::array<VARIANT, 1>{file.Get()}, &alive), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(engine->Invoke(2, std::array<VARIANT, 1>{procid}, nullptr), DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(engine->Invoke(6, {}, nullptr), DISP_E_MEMBERNOTFOUND);
}

TEST(JobGateTest, PlacesAreServedInOrderAndAWithdrawnOneIsPassedOver) {
    JobGate gate;
    auto first = gate.Queue(), second = gate.Queue(), third = gate.Queue();
    EXPECT_TRUE(gate.Enter(first));
    std::vector<int> order;
    std::thread secondThread([&] { EXPECT_FALSE(gate.Enter(second)); });
    std::thread thirdThread([&] {
        EXPECT_TRUE(gate.Enter(third));
        order.push_back(3);
        gate.Leave(third);
    });
    gate.Leave(second);
    secondThread.join();
    order.push_back(1);
    gate.Leave(first);
    thirdThread.join();
    EXPECT_EQ(order, (std::vector<int>{1, 3}));
    gate.WaitUntilEmpty();
}

} // namespace
