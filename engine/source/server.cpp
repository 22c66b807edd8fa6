#include <engine/server.h>

#include <engine/class_object.h>
#include <engine/cosim_bridge.h>
#include <engine/job_control.h>
#include <engine/job_state.h>
#include <engine/kelda_analysis.h>
#include <engine/kelda_engine.h>
#include <engine/server_module.h>

#include <transport/engine_stub.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

// How long an engine stays after its last client: that long it may still be written to.
constexpr std::chrono::milliseconds kLastStay{1000};

bool IsSocket(int descriptor) {
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
}

// On the thread of a job whose client has answered a port block by the next source block.
void DeliverAnsweredBlock(BSTR block) {
    if (const JobControl* control = ProcessJobState().control)
        DeliverCosimBlock(block, control->Procid());
}

// The message loop: serves the client's calls on this thread until the module's monitor says that it is over.
class ClientLoop {
public:
    explicit ClientLoop(ClientSockets sockets)
        : m_Quit(eventfd(0, EFD_CLOEXEC)), m_Engine(Services()), m_ClassObject(m_Engine),
          m_Stub(m_Engine, [this](std::int32_t procid) { m_Engine.Resume(procid); }),
          m_Calls(std::move(sockets.calls), m_Stub), m_Callbacks(std::move(sockets.callbacks), m_Stub) {
        m_Stub.Connect({m_Calls, m_Callbacks, DeliverAnsweredBlock});
        m_Module.StartMonitor([quit = m_Quit.Get()] {
            std::uint64_t one = 1;
            while (write(quit, &one, sizeof one) < 0 && errno == EINTR) {
            }
        });
        // The client's connection is its first reference.
        m_ClassObject.CreateInstance(nullptr, IKeldaEngine::kIid, &m_Reference);
    }

    void Run() {
        for (;;) {
            while (m_Reference && m_Calls.HasBuffered())
                ServeCall();
            if (m_Stub.Ending() && m_EndAt == Clock::time_point::max())
                m_EndAt = Clock::now() + kLastStay;
            pollfd waits[] = {{m_Quit.Get(), POLLIN, 0},
                              {m_Reference ? m_Calls.Descriptor() : -1, POLLIN, 0},
                              {m_Reference ? m_Callbacks.Descriptor() : -1, POLLRDHUP, 0}};
            int ready = poll(waits, std::size(waits), TimeLeft());
            if (ready == 0)
                _exit(0);
            if (ready < 0)
                continue;
            if (waits[0].revents)
                return;
            // A call that came before the end of the stream is still served.
            if (waits[1].revents & POLLIN)
                ServeCall();
            else if (waits[1].revents || waits[2].revents)
                Disconnect();
        }
    }

private:
    CKeldaEngine::Services Services() {
        CKeldaEngine::Services services;
        services.lock = [this] { return m_Module.Lock(); };
        services.unlock = [this] { return m_Module.Unlock(); };
        services.killProcess = [this] {
            m_Callbacks.Mute();
            m_Stub.SetEnding();
        };
        return services;
    }

    int TimeLeft() const {
        if (m_EndAt == Clock::time_point::max())
            return -1;
        auto left = std::chrono::ceil<std::chrono::milliseconds>(m_EndAt - Clock::now());
        return left.count() > 0 ? static_cast<int>(left.count()) : 0;
    }

    void ServeCall() {
        if (!m_Calls.ServeOne())
            Disconnect();
    }

    void Disconnect() {
        if (m_Stub.Ending())
            _exit(0);
        if (!m_Calls.Failure().empty())
            std::fprintf(stderr, "tarvok: the client was disconnected: %s\n", m_Calls.Failure().c_str());
        m_Calls.Shutdown();
        m_Callbacks.Shutdown();
        m_Reference = nullptr;
        m_Engine.Release();
    }

    platform::UniqueFd m_Quit;
    ServerModule m_Module;
    CKeldaEngine m_Engine;
    EngineClassObject m_ClassObject;
    transport::EngineStub m_Stub;
    transport::Channel m_Calls;
    transport::Channel m_Callbacks;
    void* m_Reference = nullptr;
    Clock::time_point m_EndAt = Clock::time_point::max(); // when to leave though the client hasn't closed
};

} // namespace

bool TakeClientSockets(const std::vector<std::string>& tokens, ClientSockets& sockets, std::string& error) {
    constexpr std::string_view kOption = "--channel=";
    for (const std::string& token : tokens) {
        if (!token.starts_with(kOption))
            continue;
        const char* end = token.data() + token.size();
        int calls = -1;
        int callbacks = -1;
        auto first = std::from_chars(token.data() + kOption.size(), end, calls);
        bool good = first.ec == std::errc() && first.ptr != end && *first.ptr == ',';
        if (good) {
            auto second = std::from_chars(first.ptr + 1, end, callbacks);
            good = second.ec == std::errc() && second.ptr == end;
        }
        if (!good || calls == callbacks || !IsSocket(calls) || !IsSocket(callbacks)) {
            error = "\"" + token + "\" doesn't name two sockets of this process";
            return false;
        }
        for (int descriptor : {calls, callbacks})
            fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        sockets = {platform::UniqueFd(calls), platform::UniqueFd(callbacks)};
        return true;
    }
    return false;
}

int ServeClient(ClientSockets sockets) {
    // The client decides what Ctrl-C at its terminal means; it and its engine are in one group.
    signal(SIGINT, SIG_IGN);
    signal(SIGPIPE, SIG_IGN);
    // Never destroyed: a job may still be running when the process leaves.
    auto& loop = *new ClientLoop(std::move(sockets));
    loop.Run();
    std::this_thread::sleep_for(kLastStay);
    return 0;
}

int RunCommandLine(const std::vector<std::string>& tokens) {
    std::vector<std::string> storage = tokens;
    std::vector<char*> arguments;
    for (std::string& token : storage)
        arguments.push_back(token.data());
    arguments.push_back(nullptr);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    CKeldaAnalysis analysis(nullptr, nullptr, nullptr);
    return Failed(analysis.AnalyzeCommand(static_cast<int>(storage.size()), arguments.data())) ? 1 : 0;
}
