// The engine's end: carries out a client's calls on the engine object.
//
// All operations belong to the thread that serves the channel of the client's calls.
#pragma once

#include <transport/callback_proxies.h>
#include <transport/channel.h>

#include <functional>
#include <optional>

namespace transport {

class EngineStub final : public CallHandler {
public:
    // `resume` is told the last job handle of the client's former engine, in the opening call.
    EngineStub(IKeldaEngine& engine, std::function<void(std::int32_t)> resume)
        : m_Engine(engine), m_Resume(std::move(resume)) {}

    // To be called before the first call is served; the channels outlive every callback object.
    void Connect(CallbackChannels channels) { m_Channels.emplace(std::move(channels)); }

    // Marks every answer from now on as the last: the client is to close, and the process will end.
    void SetEnding() { m_Ending = true; }
    bool Ending() const { return m_Ending; }

    Answer Serve(IncomingMessage& call) override;
    void ObjectReleased(std::uint32_t) override {}

private:
    IKeldaEngine& m_Engine;
    std::function<void(std::int32_t)> m_Resume;
    std::optional<CallbackChannels> m_Channels;
    bool m_Ending = false;
};

} // namespace transport
