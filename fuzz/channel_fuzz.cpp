// Both ends of the channel, fed with anything at all: the first byte chooses the end, the rest is the stream.

#include <transport/callback_stub.h>
#include <transport/engine_stub.h>

#include <keldasimenginelib/kelda_engine_dispatch.h>
#include <platform/unknown.h>

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

class Engine final : public KeldaEngineDispatch {
public:
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    HRESULT StartAnalysis(IKeldaProgressInterface*, IKeldaSolutionInterface*, BSTR file, BSTR project,
                          std::int32_t* procid) override {
        *procid = static_cast<std::int32_t>(SysStringLen(file) + SysStringLen(project));
        return S_OK;
    }
    HRESULT AbortAnalysis(std::int32_t procid, std::int32_t) override { return procid; }
    HRESULT IsAlive(std::int32_t procid, std::int32_t* alive) override {
        *alive = procid;
        return S_OK;
    }
    HRESULT SendCosimPortData(BSTR) override { return S_OK; }
    HRESULT SendCosimSourceData(BSTR) override { return S_OK; }
};

class Progress final : public platform::CountedObject<IKeldaProgressInterface> {
public:
    HRESULT ProgressUpdate(double) override { return S_OK; }
    HRESULT AnalysisDone(std::int32_t code) override { return code; }
    HRESULT PostOrvaneMessage(BSTR) override { return S_OK; }
    HRESULT BounceOrvaneMessage(BSTR*) override { return S_OK; }
    HRESULT PutCosimPortData(BSTR) override { return S_OK; }
};

class Solution final : public platform::CountedObject<IKeldaSolutionInterface> {
public:
    HRESULT GetFieldSolverData(BSTR, BSTR, BSTR, BSTR, BSTR, BSTR, BSTR*, std::int32_t*) override {
        return S_OK;
    }
    HRESULT GetNetlistSolverData(BSTR, BSTR, BSTR, BSTR*, std::int32_t*) override { return S_OK; }
};

struct Pair {
    Pair() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            std::abort();
        fuzzer = platform::UniqueFd(ends[0]);
        channel = platform::UniqueFd(ends[1]);
    }
    platform::UniqueFd fuzzer, channel;
};

void Serve(transport::Channel& channel) {
    // The answers are not read, and so many find room in the socket.
    for (int calls = 0; calls < 50 && channel.ServeOne(); ++calls) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMost = 32'768; // finds room in the socket too
    if (size < 1 || size > kMost)
        return 0;
    Pair calls, callbacks;
    if (send(calls.fuzzer.Get(), data + 1, size - 1, 0) != static_cast<ssize_t>(size - 1) && size > 1)
        std::abort();
    shutdown(calls.fuzzer.Get(), SHUT_WR);
    if (data[0] % 2 == 0) {
        Engine engine;
        transport::EngineStub stub(engine, [](std::int32_t) {});
        transport::Channel channel(std::move(calls.channel), stub);
        transport::Channel callbackChannel(std::move(callbacks.channel), stub);
        stub.Connect({channel, callbackChannel});
        Serve(channel);
    } else {
        transport::CallbackStub stub;
        stub.Register(platform::InterfacePtr<IKeldaProgressInterface>::Adopt(new Progress));
        stub.Register(platform::InterfacePtr<IKeldaSolutionInterface>::Adopt(new Solution));
        transport::Channel channel(std::move(calls.channel), stub);
        Serve(channel);
    }
    return 0;
}
