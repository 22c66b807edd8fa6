#include "connection.h"

#include "child_process.h"

#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <thread>

namespace kelda {
namespace {

// How long a process whose connection has ended may take to leave by itself. It stays for a second after its
// client.
constexpr std::chrono::milliseconds kLeaveTime{5'000};

} // namespace

Connection::Connection(Process process, std::function<void(const LostEngine&)> onLost)
    : m_Process(process.id), m_OnLost(std::move(onLost)), m_Calls(std::move(process.calls), m_Objects),
      m_Callbacks(std::move(process.callbacks), m_Objects), m_Engine(m_Calls, m_Objects) {}

std::shared_ptr<Connection> Connection::Open(const ActivationOptions& options, std::int32_t previousJob) {
    std::string server = options.server.empty() ? FindServer() : options.server;
    std::shared_ptr<Connection> connection(new Connection(Spawn(server), options.onLost));
    std::string failure = connection->Greet(options.patience, previousJob);
    if (failure.empty()) {
        try {
            std::thread([connection] { connection->ServeCallbacks(); }).detach();
            return connection;
        } catch (const std::system_error& error) {
            failure = std::string("has no thread for its callbacks: ") + error.what();
        }
    }
    connection->Close();
    LostEngine end = WaitForChild(connection->m_Process, std::chrono::milliseconds(100));
    if (end.signal != SIGKILL)
        failure += "; " + end.reason;
    throw ActivationError("the engine " + server + " " + failure);
}

Connection::Process Connection::Spawn(const std::string& server) {
    int calls[2];
    int callbacks[2];
    auto pair = [](int(&ends)[2]) {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw ActivationError(std::string("no socket for the engine: ") + std::strerror(errno));
    };
    pair(calls);
    platform::UniqueFd callsHere(calls[0]);
    platform::UniqueFd callsThere(calls[1]);
    pair(callbacks);
    platform::UniqueFd callbacksHere(callbacks[0]);
    platform::UniqueFd callbacksThere(callbacks[1]);

    int error = 0;
    pid_t process = SpawnChild(server, callsThere.Get(), callbacksThere.Get(), error);
    if (process < 0)
        throw ActivationError("the engine " + server + " can't be started: " + std::strerror(error));
    return {process, std::move(callsHere), std::move(callbacksHere)};
}

// The opening call. Gives what went wrong in words, or nothing.
std::string Connection::Greet(std::chrono::milliseconds patience, std::int32_t previousJob) {
    // A program that isn't an engine may do anything but answer, so this one wait has a limit.
    auto setLimit = [this](std::chrono::milliseconds limit) {
        auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
        timeval time{seconds.count(), std::chrono::microseconds(limit - seconds).count()};
        setsockopt(m_Calls.Descriptor(), SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    };
    setLimit(patience);
    errno = 0;
    HRESULT result = m_Engine.Hello(previousJob);
    bool late = errno == EAGAIN;
    setLimit({});
    if (Succeeded(result))
        return {};
    if (result == E_NOINTERFACE)
        return "speaks another version of the protocol";
    if (result == RPC_E_INVALID_DATA)
        return "doesn't answer like an engine (" + m_Calls.Failure() + ")";
    if (late)
        return "didn't answer within " + std::to_string(patience.count()) + " ms";
    return "ended before it answered";
}

void Connection::Close() {
    m_Closed = true;
    m_Over = true;
    m_Objects.Close();
    m_Calls.Shutdown();
    m_Callbacks.Shutdown();
}

void Connection::ServeCallbacks() {
    while (m_Callbacks.ServeOne()) {
    }
    m_Over = true;
    // Wakes a call that waits for its answer, and tells an engine that is still there that its client is
    // through with it.
    m_Calls.Shutdown();
    m_Callbacks.Shutdown();
    m_Objects.Close();
    LostEngine end = WaitForChild(m_Process, kLeaveTime);
    if (m_Closed || !m_OnLost)
        return;
    if (!m_Callbacks.Failure().empty())
        end.reason += "; " + m_Callbacks.Failure();
    m_OnLost(end);
}

} // namespace kelda
