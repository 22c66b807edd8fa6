// One engine process and the two sockets to it.
#pragma once

#include <client/kelda_client.h>

#include <transport/callback_stub.h>
#include <transport/channel.h>
#include <transport/engine_proxy.h>

#include <atomic>
#include <memory>

namespace kelda {

class Connection : public std::enable_shared_from_this<Connection> {
public:
    // Starts the process and makes the opening call. Throws ActivationError.
    static std::shared_ptr<Connection> Open(const ActivationOptions& options, std::int32_t previousJob);

    transport::EngineProxy& Engine() { return m_Engine; }

    // The process has gone or goes: it takes no further call.
    bool Over() const { return m_Over; }

    // Sends the process away. No callback begins any more; nothing is waited for.
    void Close();

private:
    struct Process {
        pid_t id;
        platform::UniqueFd calls;
        platform::UniqueFd callbacks;
    };
    static Process Spawn(const std::string& server);

    Connection(Process process, std::function<void(const LostEngine&)> onLost);

    std::string Greet(std::chrono::milliseconds patience, std::int32_t previousJob);
    void ServeCallbacks();

    const pid_t m_Process;
    const std::function<void(const LostEngine&)> m_OnLost;
    transport::CallbackStub m_Objects;
    transport::Channel m_Calls;
    transport::Channel m_Callbacks;
    transport::EngineProxy m_Engine;
    std::atomic<bool> m_Over{false};
    std::atomic<bool> m_Closed{false}; // by the client
};

} // namespace kelda
