// What the way between client and engine costs, each figure beside its base measured in the same run:
// medians, in rounds that alternate between the two.

#include "ping_pong.h"

#include <client/kelda_client.h>

#include <transport/callback_stub.h>
#include <transport/engine_proxy.h>
#include <transport/engine_stub.h>

#include <keldasimenginelib/kelda_engine_dispatch.h>
#include <platform/event.h>
#include <platform/marshal.h>
#include <stringutils/astring.h>

#include <fmt/format.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <thread>
#include <vector>

extern char** environ;

namespace {

using platform::InterfacePtr;
using platform::UniqueBstr;

double MillisecondsSince(Clock::time_point start) {
    return 1e3 * SecondsSince(start);
}

class Client final : public kelda::ProgressInterface {
public:
    HRESULT ProgressUpdate(double) override {
        if (m_Count++ == 0) {
            m_First = Clock::now();
            first.Set();
        }
        m_Last = Clock::now();
        return S_OK;
    }
    HRESULT AnalysisDone(std::int32_t) override {
        done.Set();
        return S_OK;
    }
    HRESULT BounceOrvaneMessage(BSTR* message) override {
        SysFreeString(*message);
        *message = answer.Release();
        return S_OK;
    }

    double MicrosecondsPerCall() const {
        return std::chrono::duration<double, std::micro>(m_Last - m_First).count() /
               static_cast<double>(m_Count - 1);
    }

    platform::Event first{platform::Event::Mode::kManualReset};
    platform::Event done{platform::Event::Mode::kManualReset};
    UniqueBstr answer;

private:
    long m_Count = 0;
    Clock::time_point m_First, m_Last;
};

InterfacePtr<Client> NewClient() {
    return InterfacePtr<Client>::Adopt(new Client);
}

InterfacePtr<IKeldaEngine> Activate() {
    return kelda::ActivateEngine({.server = BENCH_SERVER, .onLost = {}});
}

std::int32_t Start(IKeldaEngine& engine, Client& client, const std::string& commands) {
    std::int32_t job = 0;
    engine.StartAnalysis(&client, nullptr, UniqueBstr(AString(commands)).Get(), UniqueBstr(u"/").Get(), &job);
    return job;
}

void ProgressRoundTrip() {
    constexpr int kCalls = 20'000;
    std::vector<double> callback, raw;
    auto engine = Activate();
    for (int round = 0; round < 15; ++round) {
        auto client = NewClient();
        Start(*engine, *client, fmt::format("repeat {} 0.5", kCalls));
        client->done.Wait();
        callback.push_back(client->MicrosecondsPerCall());
        raw.push_back(1e6 * PingPong(kCalls));
    }
    fmt::print(
        "progress callback, round trip     {:8.2f} us   raw ping-pong        {:8.2f} us   ratio {:.2f}\n",
        Median(callback), Median(raw), Median(callback) / Median(raw));
}

double SpawnTrue() {
    char name[] = "/bin/true";
    char* arguments[] = {name, nullptr};
    pid_t child = 0;
    auto start = Clock::now();
    Require(posix_spawn(&child, name, nullptr, nullptr, arguments, environ) == 0);
    waitpid(child, nullptr, 0);
    return MillisecondsSince(start);
}

void Activation() {
    std::vector<double> activation, base;
    for (int round = 0; round < 100; ++round) {
        auto start = Clock::now();
        auto engine = Activate();
        std::int32_t alive = 0;
        engine->IsAlive(1, &alive);
        activation.push_back(MillisecondsSince(start));
        base.push_back(SpawnTrue());
    }
    fmt::print("engine activated and answering    {:8.2f} ms   spawn of /bin/true   {:8.2f} ms   difference "
               "{:+.2f} ms\n",
               Median(activation), Median(base), Median(activation) - Median(base));
}

void AbortToNextCallback() {
    std::vector<double> times;
    auto engine = Activate();
    for (int round = 0; round < 100; ++round) {
        auto running = NewClient();
        std::int32_t job = Start(*engine, *running, "progress 0; spin");
        running->first.Wait();
        auto next = NewClient();
        auto start = Clock::now();
        engine->AbortAnalysis(job, 0);
        Start(*engine, *next, "progress 1");
        next->first.Wait();
        times.push_back(MillisecondsSince(start));
        next->done.Wait();
    }
    fmt::print("abort to the next job's callback  {:8.2f} ms\n", Median(times));
}

// The engine's end in a process of its own, its callback's answer from this one.
void LongAnswer() {
    constexpr std::size_t kUnits = 50'000'000; // 100 MB
    std::vector<double> answer, copy;
    for (int round = 0; round < 9; ++round) {
        Sockets calls, callbacks, result;
        pid_t child = fork();
        if (child == 0) {
            for (Sockets* sockets : {&calls, &callbacks, &result})
                sockets->here = {};
            class Engine final : public KeldaEngineDispatch {
            public:
                HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
                std::uint32_t AddRef() override { return 1; }
                std::uint32_t Release() override { return 1; }
                HRESULT StartAnalysis(IKeldaProgressInterface* progress, IKeldaSolutionInterface*, BSTR, BSTR,
                                      std::int32_t*) override {
                    UniqueBstr text(u"?");
                    auto start = Clock::now();
                    progress->BounceOrvaneMessage(text.Address());
                    time = MillisecondsSince(start);
                    return text.View().size() == kUnits ? S_OK : E_FAIL;
                }
                HRESULT AbortAnalysis(std::int32_t, std::int32_t) override { return S_OK; }
                HRESULT IsAlive(std::int32_t, std::int32_t*) override { return S_OK; }
                HRESULT SendCosimPortData(BSTR) override { return S_OK; }
                HRESULT SendCosimSourceData(BSTR) override { return S_OK; }
                double time = 0;
            } engine;
            transport::EngineStub stub(engine, [](std::int32_t) {});
            transport::Channel channel(std::move(calls.there), stub),
                callbackChannel(std::move(callbacks.there), stub);
            stub.Connect({channel, callbackChannel});
            channel.ServeOne();
            if (write(result.there.Get(), &engine.time, sizeof engine.time) < 0)
                _exit(1);
            _exit(0);
        }
        for (Sockets* sockets : {&calls, &callbacks, &result})
            sockets->there = {};
        transport::CallbackStub objects;
        transport::Channel channel(std::move(calls.here), objects);
        transport::EngineProxy engine(channel, objects);
        auto client = NewClient();
        std::u16string text(kUnits, u'x');
        client->answer = UniqueBstr(text);
        std::int32_t job = 0;
        Require(engine.StartAnalysis(client.Get(), nullptr, nullptr, nullptr, &job) == S_OK);
        double time = 0;
        Require(read(result.here.Get(), &time, sizeof time) == sizeof time);
        waitpid(child, nullptr, 0);
        answer.push_back(time);
        auto start = Clock::now();
        std::u16string copied(text);
        copy.push_back(MillisecondsSince(start));
    }
    fmt::print(
        "100 MB in a callback's answer     {:8.1f} ms   a copy of it         {:8.1f} ms   ratio {:.2f}\n",
        Median(answer), Median(copy), Median(answer) / Median(copy));
}

} // namespace

int main() {
    LongAnswer(); // first: it forks, which wants a process without threads
    ProgressRoundTrip();
    Activation();
    AbortToNextCallback();
}
