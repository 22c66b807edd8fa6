// Co-simulation between a client and a real engine process, whose kernel does what the test says.

#include "engine_process.h"

#include <client/cosim_exchange.h>

#include <random>

using kelda::CosimEvent;
using kelda::CosimExchange;
using namespace std::string_literals;

namespace {

class CosimProcessTest : public EngineProcessTest {
protected:
    struct Job {
        std::shared_ptr<CosimExchange> exchange = std::make_shared<CosimExchange>();
        InterfacePtr<kelda::CosimProgress> progress =
            InterfacePtr<kelda::CosimProgress>::Adopt(new kelda::CosimProgress(exchange));
        std::int32_t handle = 0;
        COSIMPORTDATA ports;

        CosimEvent Wait() { return exchange->Wait(ports, kPatience); }
    };

    CosimProcessTest() {
        auto options = Options();
        options.onLost = [this](const kelda::LostEngine& lost) {
            if (auto exchange = m_Current.lock())
                exchange->Lost(lost);
        };
        m_Engine = kelda::ActivateEngine(options);
    }

    Job Begin(const std::string& commands, std::initializer_list<COSIMSRCDATA> blocks = {}) {
        Job job;
        m_Current = job.exchange;
        for (const COSIMSRCDATA& block : blocks)
            EXPECT_EQ(job.exchange->Deliver(*m_Engine, block), S_OK);
        EXPECT_EQ(m_Engine->StartAnalysis(job.progress.Get(), nullptr, UniqueBstr(AString(commands)).Get(),
                                          UniqueBstr(AString(m_Folder.string())).Get(), &job.handle),
                  S_OK);
        return job;
    }

    static COSIMSRCDATA Block(std::vector<std::vector<double>> rows, double step = 1) {
        COSIMSRCDATA block(static_cast<std::int32_t>(rows.size()),
                           static_cast<std::int32_t>(rows.at(0).size()));
        block.m_Data = std::move(rows);
        block.m_TimeStep = step;
        return block;
    }

    InterfacePtr<IKeldaEngine> m_Engine;
    std::weak_ptr<CosimExchange> m_Current;
};

TEST_F(CosimProcessTest, EverySampleGoesThroughTheSimulationAndComesBackInItsPlace) {
    // The kernel's ports echo the sources at the end of each step, where the line has reached its sample: to the bit, since all
    // samples here are small integers and the time step is a power of two.
    std::mt19937 random(1);
    constexpr double kStep = 1.0 / 1024;
    constexpr int kBlocks = 200, kSources = 3, kPorts = 4;
    std::vector<int> lengths;
    int steps = 0;
    for (int i = 0; i < kBlocks; ++i)
        steps += lengths.emplace_back(i == 7 ? 5000 : 1 + static_cast<int>(random() % 40));
    auto block = [&](int length) {
        std::vector<std::vector<double>> rows(kSources,
                                              std::vector<double>(static_cast<std::size_t>(length)));
        for (auto& row : rows)
            for (double& value : row)
                value = static_cast<double>(random() % 2000) - 1000;
        return Block(rows, kStep);
    };
    COSIMSRCDATA sent = block(lengths[0]);
    Job job = Begin("cosim " + std::to_string(steps) + " 3 4 0.0009765625", {sent});
    for (int i = 0; i < kBlocks; ++i) {
        ASSERT_EQ(job.Wait(), CosimEvent::kPorts) << i;
        ASSERT_EQ(job.ports.m_NumPorts, kPorts);
        ASSERT_EQ(job.ports.m_NumSteps, lengths[static_cast<std::size_t>(i)]);
        for (std::size_t p = 0; p < kPorts; ++p) {
            const auto& expected = sent.m_Data[p % kSources];
            EXPECT_EQ(job.ports.m_First[p], expected);
            for (std::size_t k = 0; k < expected.size(); ++k)
                EXPECT_EQ(job.ports.m_Second[p][k], static_cast<double>(p) - expected[k]);
        }
        if (i + 1 < kBlocks) {
            sent = block(lengths[static_cast<std::size_t>(i) + 1]);
            ASSERT_EQ(job.exchange->Deliver(*m_Engine, sent), S_OK);
        }
    }
    EXPECT_EQ(job.Wait(), CosimEvent::kDone);
    EXPECT_EQ(job.exchange->ReturnCode(), 0);
    EXPECT_EQ(job.Wait(), CosimEvent::kDone) << "the end is given again";
    EXPECT_EQ(job.exchange->Deliver(*m_Engine, sent), S_FALSE) << "and takes no further block";
}

TEST_F(CosimProcessTest, AClientMayDeliverTheNextBlockFromWithinTheCallback) {
    struct Progress final : kelda::CosimProgress {
        Progress(std::shared_ptr<CosimExchange> e, IKeldaEngine& n)
            : CosimProgress(e), exchange(e), engine(n) {}
        HRESULT PutCosimPortData(BSTR data) override {
            HRESULT result = CosimProgress::PutCosimPortData(data);
            COSIMPORTDATA ports;
            if (exchange->Wait(ports) == CosimEvent::kPorts)
                result = exchange->Deliver(engine, Block({{ports.m_First[0][0] + 1}}));
            ++blocks;
            return result;
        }
        std::shared_ptr<CosimExchange> exchange;
        IKeldaEngine& engine;
        std::atomic<int> blocks = 0;
    };
    auto exchange = std::make_shared<CosimExchange>();
    auto progress = InterfacePtr<Progress>::Adopt(new Progress(exchange, *m_Engine));
    exchange->Deliver(*m_Engine, Block({{0}}));
    std::int32_t handle = 0;
    m_Engine->StartAnalysis(progress.Get(), nullptr, UniqueBstr(u"cosim 1000 1 1 1").Get(), nullptr, &handle);
    COSIMPORTDATA ports;
    ASSERT_TRUE(Eventually([&] { return progress->blocks == 1000; }));
    EXPECT_EQ(exchange->Wait(ports, kPatience), CosimEvent::kDone);
}

TEST_F(CosimProcessTest, AWaitingClientIsReleasedHoweverTheJobEnds) {
    struct Row {
        const char* commands; // after a first block of three samples
        std::vector<CosimEvent> events;
        std::int32_t code;
        const char* reason;
    };
    const Row rows[] = {
        {"source 0 0; port 0 1 1; flush; return 9",
         {CosimEvent::kClosed, CosimEvent::kDone, CosimEvent::kDone},
         9,
         ""},
        {"cosim 3 1 1 1; return 9", {CosimEvent::kPorts, CosimEvent::kClosed, CosimEvent::kDone}, 9, ""},
        {"cosim 2 1 1 1", {CosimEvent::kDone, CosimEvent::kDone}, 0, ""},
        {"source 0 0; flush; flush; flush; source 0 3",
         {CosimEvent::kClosed, CosimEvent::kDone},
         E_UNEXPECTED,
         ""},
        {"source 0 0; throw", {CosimEvent::kClosed, CosimEvent::kDone}, E_UNEXPECTED, ""},
        {"cosim 2 1 1 1; crash", {CosimEvent::kLost, CosimEvent::kLost}, 0, "SIGABRT"},
        {"cosim 3 1 1 1; exit 4", {CosimEvent::kPorts, CosimEvent::kLost}, 0, "exit status 4"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.commands);
        Job job = Begin(row.commands, {Block({{1, 2, 3}})});
        for (CosimEvent event : row.events)
            EXPECT_EQ(job.Wait(), event);
        EXPECT_EQ(job.exchange->ReturnCode(), row.code);
        EXPECT_NE(job.exchange->Reason().find(row.reason), std::string::npos) << job.exchange->Reason();
    }
}

TEST_F(CosimProcessTest, AClientThatStopsDeliveringCanAbortAndTheNextJobPasses) {
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        Job job = Begin("cosim 1000000 1 1 1", {Block({{1, 2}})});
        if (round % 4 != 0) {
            EXPECT_EQ(job.Wait(), CosimEvent::kPorts);
        }
        if (round % 4 == 1) {
            EXPECT_EQ(job.exchange->Wait(job.ports, 1ms), CosimEvent::kTimedOut);
        }
        // A simulator that waits is released by another thread of the client.
        std::thread simulator([&] {
            while (job.exchange->Wait(job.ports) == CosimEvent::kPorts)
                if (round % 4 == 3)
                    job.exchange->Deliver(*m_Engine, Block({{3}}));
        });
        if (round % 4 == 3) {
            job.exchange->Deliver(*m_Engine, Block({{3}}));
            std::this_thread::sleep_for(std::chrono::microseconds(100 * round));
        }
        job.exchange->Cancel();
        EXPECT_EQ(m_Engine->AbortAnalysis(job.handle, 0), S_OK);
        simulator.join();
        EXPECT_EQ(job.Wait(), CosimEvent::kCancelled);
        Job next = Begin("cosim 2 1 1 1", {Block({{7, 8}})});
        ASSERT_EQ(next.Wait(), CosimEvent::kPorts);
        EXPECT_EQ(next.ports.m_First[0], (std::vector<double>{7, 8}));
        EXPECT_EQ(next.Wait(), CosimEvent::kDone);
    }
}

TEST_F(CosimProcessTest, ABlockWithAFaultIsNotSent) {
    Job job = Begin("cosim 1 1 1 1");
    EXPECT_EQ(job.exchange->Deliver(*m_Engine, Block({{1}}, 0)), E_INVALIDARG);
    EXPECT_NE(job.exchange->Reason().find("time step is 0"), std::string::npos) << job.exchange->Reason();
    EXPECT_EQ(job.exchange->Wait(job.ports, 10ms), CosimEvent::kTimedOut);
    EXPECT_EQ(job.exchange->Deliver(*m_Engine, Block({{1}})), S_OK);
    EXPECT_EQ(job.Wait(), CosimEvent::kPorts);
    EXPECT_EQ(job.Wait(), CosimEvent::kDone);
}

TEST_F(CosimProcessTest, WhatIsNoBlockIsRefusedInWordsAndTheJobGoesOn) {
    auto client = Recorder::New();
    std::int32_t handle = 0;
    m_Engine->StartAnalysis(client.Get(), nullptr, UniqueBstr(u"cosim 1 1 1 1").Get(), nullptr, &handle);
    std::u16string claims(u"1 1 2147483647");
    for (int i = 0; i < 100'000; ++i)
        claims += u" 1";
    const std::u16string texts[] = {u"",
                                    u"\0\xd800"s,
                                    u"1 1 1",
                                    u"-",
                                    claims,
                                    std::u16string(3'000'000, u'x'),
                                    std::u16string(100'000, u'\0'),
                                    std::u16string(100'000, u'('),
                                    u"\0\x80\xff\xff\xff\xff"s};
    for (const auto& text : texts)
        EXPECT_EQ(m_Engine->SendCosimSourceData(UniqueBstr(text).Get()), S_OK);
    EXPECT_EQ(m_Engine->SendCosimSourceData(UniqueBstr(u"1 1 1 5").Get()), S_OK);
    ASSERT_TRUE(client->WaitDone());
    const Calls calls = client->Calls();
    ASSERT_EQ(calls.size(), std::size(texts) + 2);
    for (std::size_t i = 0; i < std::size(texts); ++i)
        EXPECT_TRUE(calls[i].starts_with("message 1 A block of co-simulation sources was refused"))
            << calls[i];
    EXPECT_EQ(calls[std::size(texts)], "ports true 1 1 5 -5");

    // The other way round: what isn't a port block fails the engine's call.
    CosimExchange exchange;
    EXPECT_EQ(exchange.PutPortData(UniqueBstr(u"true 1").Get()), E_INVALIDARG);
    EXPECT_EQ(exchange.PutPortData(nullptr), E_INVALIDARG);
    COSIMPORTDATA ports;
    EXPECT_EQ(exchange.Wait(ports, 1ms), CosimEvent::kTimedOut);
}

} // namespace
