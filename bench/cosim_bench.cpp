// What a co-simulation's exchange of blocks and a job's messages cost, each figure beside its base measured in the same run:
// medians and best, in rounds that alternate between the two. The kernel does nothing else.

#include "ping_pong.h"

#include <client/cosim_exchange.h>

#include <messagelibni/orvane_message.h>
#include <platform/event.h>
#include <stringutils/astring.h>
#include <trancosimlib/cosim_text.h>

#include <fmt/format.h>

#include <cstring>
#include <string_view>
#include <vector>

namespace {

using kelda::CosimEvent;
using kelda::CosimExchange;
using platform::InterfacePtr;
using platform::UniqueBstr;

constexpr int kRounds = 15;

InterfacePtr<IKeldaEngine> Activate() {
    return kelda::ActivateEngine({.server = BENCH_SERVER, .onLost = {}});
}

void Start(IKeldaEngine& engine, IKeldaProgressInterface& client, const std::string& commands) {
    std::int32_t job = 0;
    engine.StartAnalysis(&client, nullptr, UniqueBstr(AString(commands)).Get(), UniqueBstr(u"/").Get(), &job);
}

// A client whose simulator works within the callback: it needs no thread of its own.
class InCallback final : public kelda::ProgressInterface {
public:
    explicit InCallback(IKeldaEngine& engine, COSIMSRCDATA block)
        : m_Engine(engine), m_Block(std::move(block)) {}

    HRESULT PutCosimPortData(BSTR data) override {
        if (!ReadCosimText(data, m_Ports))
            return E_INVALIDARG;
        m_Block.m_Data[0][0] = m_Ports.m_HasData ? m_Ports.m_First[0][0] : 0;
        return Deliver();
    }
    HRESULT AnalysisDone(std::int32_t code) override {
        Require(code == 0);
        done.Set();
        return S_OK;
    }
    HRESULT Deliver() { return m_Engine.SendCosimSourceData(MakeCosimText(m_Block).Get()); }

    platform::Event done{platform::Event::Mode::kManualReset};

private:
    IKeldaEngine& m_Engine;
    COSIMSRCDATA m_Block;
    COSIMPORTDATA m_Ports;
};

COSIMSRCDATA Samples(int sources, int samples) {
    COSIMSRCDATA block(sources, samples);
    block.m_TimeStep = 1e-9;
    double value = 0.1;
    for (auto& row : block.m_Data)
        for (double& sample : row)
            sample = value = 3.7 * value * (1 - value); // full mantissas
    return block;
}

// Seconds a block.
double Exchange(IKeldaEngine& engine, int blocks, int samples, int sources, int ports, bool inCallback) {
    const COSIMSRCDATA block = Samples(sources, samples);
    const std::string commands = fmt::format("cosim {} {} {} 1e-9", blocks * samples, sources, ports);
    if (inCallback) {
        auto client = InterfacePtr<InCallback>::Adopt(new InCallback(engine, block));
        client->Deliver();
        auto start = Clock::now();
        Start(engine, *client, commands);
        client->done.Wait();
        return SecondsSince(start) / blocks;
    }
    auto exchange = std::make_shared<CosimExchange>();
    auto progress = InterfacePtr<kelda::CosimProgress>::Adopt(new kelda::CosimProgress(exchange));
    exchange->Deliver(engine, block);
    auto start = Clock::now();
    Start(engine, *progress, commands);
    COSIMPORTDATA values;
    CosimEvent event;
    int got = 0;
    while ((event = exchange->Wait(values)) == CosimEvent::kPorts)
        if (++got < blocks)
            exchange->Deliver(engine, block);
    Require(event == CosimEvent::kDone && exchange->ReturnCode() == 0 && got == blocks);
    return SecondsSince(start) / blocks;
}

void LockStep() {
    constexpr int kBlocks = 10'000;
    std::vector<double> raw, thread, callback;
    auto engine = Activate();
    for (int round = 0; round < kRounds; ++round) {
        raw.push_back(PingPong(kBlocks));
        thread.push_back(Exchange(*engine, kBlocks, 1, 1, 1, false));
        callback.push_back(Exchange(*engine, kBlocks, 1, 1, 1, true));
    }
    fmt::print("raw ping-pong                         {:8.2f} us, best {:.2f}\n", Median(raw) * 1e6,
               Best(raw) * 1e6);
    auto print = [&](const char* what, const std::vector<double>& times) {
        fmt::print("block of 1 sample, {:<18} {:8.2f} us, best {:.2f}   {:.0f} blocks/s, {:.2f} of the "
                   "ping-pongs/s, best {:.2f}\n",
                   what, Median(times) * 1e6, Best(times) * 1e6, 1 / Median(times),
                   Median(raw) / Median(times), Best(raw) / Best(times));
    };
    print("simulator's thread", thread);
    print("in the callback", callback);
}

void Throughput() {
    constexpr int kBlocks = 300, kSamples = 1000, kSources = 4, kPorts = 4;
    // Both values of a port count.
    constexpr double kValues = kSamples * (kSources + 2.0 * kPorts);
    std::vector<double> thread, callback, copy;
    auto engine = Activate();
    std::vector<double> from(static_cast<std::size_t>(kValues), 0.5), to(from.size());
    for (int round = 0; round < kRounds; ++round) {
        thread.push_back(Exchange(*engine, kBlocks, kSamples, kSources, kPorts, false));
        callback.push_back(Exchange(*engine, kBlocks, kSamples, kSources, kPorts, true));
        auto start = Clock::now();
        for (int i = 0; i < kBlocks; ++i) {
            from[static_cast<std::size_t>(i)] += 1;
            std::memcpy(to.data(), from.data(), from.size() * sizeof(double));
        }
        copy.push_back(SecondsSince(start) / kBlocks);
        Require(to[0] >= 1);
    }
    auto print = [&](const char* what, const std::vector<double>& times) {
        fmt::print("block of 1,000 samples, {:<18} {:7.1f} us, best {:.1f}   {:.1f} million values/s, best "
                   "{:.1f}   {:.0f} copies of them\n",
                   what, Median(times) * 1e6, Best(times) * 1e6, kValues / Median(times) / 1e6,
                   kValues / Best(times) / 1e6, Median(times) / Median(copy));
    };
    print("simulator's thread", thread);
    print("in the callback", callback);
}

// The words of a message for the person at the client.
class Reader final : public kelda::ProgressInterface {
public:
    HRESULT ProgressUpdate(double) override { return S_OK; }
    HRESULT PostOrvaneMessage(BSTR form) override {
        OrvaneMessage message(0, 0, 0, 0, 0, AString(), AString());
        Require(message.FromText(AString(form, SysStringLen(form))));
        const AString* text = message.GetArgumentText(0);
        shown += text ? text->size() : 0;
        return S_OK;
    }
    HRESULT AnalysisDone(std::int32_t) override {
        done.Set();
        return S_OK;
    }
    platform::Event done{platform::Event::Mode::kManualReset};
    std::size_t shown = 0;
};

void Messages() {
    constexpr int kCalls = 10'000;
    std::vector<double> message, progress;
    auto engine = Activate();
    auto run = [&](const std::string& commands) {
        auto client = InterfacePtr<Reader>::Adopt(new Reader);
        auto start = Clock::now();
        Start(*engine, *client, commands);
        client->done.Wait();
        return SecondsSince(start) / kCalls;
    };
    for (int round = 0; round < kRounds; ++round) {
        progress.push_back(run(fmt::format("repeat {} 0.5", kCalls)));
        message.push_back(
            run(fmt::format("tell {} result file: /home/somebody/projects/converter/buck.tran.csv", kCalls)));
    }
    fmt::print("message, from its words to its words  {:8.2f} us, best {:.2f}   progress callback {:8.2f} "
               "us, best {:.2f}   ratio {:.2f}, best {:.2f}\n",
               Median(message) * 1e6, Best(message) * 1e6, Median(progress) * 1e6, Best(progress) * 1e6,
               Median(message) / Median(progress), Best(message) / Best(progress));
}

struct Part {
    std::string_view name;
    void (*run)();
};
constexpr Part kParts[] = {{"lockstep", LockStep}, {"throughput", Throughput}, {"messages", Messages}};

} // namespace

// With arguments: only the parts that they name.
int main(int argc, char** argv) {
    for (const Part& part : kParts)
        if (argc == 1 || std::find(argv + 1, argv + argc, part.name) != argv + argc)
            part.run();
}
