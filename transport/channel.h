// One end of a socket that carries calls and their answers.
//
// Both ends may call. An end that waits for its answer serves the calls that come meanwhile, so a callback
// may call back into the side that it came from. An end that has nothing to call serves by ServeOne.
//
// Threads: Call, Release, Mute and Shutdown may be used from any thread; calls on one channel come one after
// the other, and a call from within a served one is nested in it. ServeOne belongs to one thread, and on a
// channel that is served no other thread may call.
#pragma once

#include <transport/message.h>

#include <platform/unique_fd.h>

#include <sys/uio.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace transport {

// What a served call gives back.
struct Answer {
    HRESULT result = S_OK;
    std::int32_t value = 0;
    platform::UniqueBstr text;
    bool ending = false;
};

// Serves the calls that come in on a channel.
class CallHandler {
public:
    // Carries out one call. An exception counts as the result E_UNEXPECTED.
    virtual Answer Serve(IncomingMessage& call) = 0;
    // The other end holds no reference to this object any more.
    virtual void ObjectReleased(std::uint32_t object) = 0;

protected:
    ~CallHandler() = default;
};

class Channel {
public:
    // `handler` outlives the channel.
    Channel(platform::UniqueFd socket, CallHandler& handler);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // Makes a call and waits for its answer, whose result, number and text it gives. RPC_E_DISCONNECTED when
    // the other end is gone or the channel is muted, RPC_E_INVALID_DATA when what came wasn't a frame; both
    // leave the channel closed.
    HRESULT Call(OutgoingMessage& call, IncomingMessage& reply);

    // Tells the other end that its object isn't referenced any more. Never waits for a call under way: the
    // word goes out with the next call at the latest.
    void Release(std::uint32_t object);

    // Reads one frame, waiting for it, and serves it. False when the other end is gone or sent what isn't a
    // frame.
    bool ServeOne();

    // True while a frame, or the beginning of one, has been read from the socket and not been served.
    bool HasBuffered() const { return m_Begin != m_End; }

    // Waits for something to read; false when the time passed.
    bool WaitReadable(int milliseconds) const;

    // Every further call gives RPC_E_DISCONNECTED and sends nothing.
    void Mute() { m_Muted.store(true, std::memory_order_release); }

    // Closes the connection for both ends and wakes whoever reads.
    void Shutdown();

    int Descriptor() const { return m_Socket.Get(); }

    // Why the channel was closed, in words; empty for an end of the stream between two frames.
    const std::string& Failure() const { return m_Failure; }

private:
    enum class Received { kFrame, kEnd, kDamage };

    bool Send(const OutgoingMessage& message);
    bool SendAll(iovec* parts, std::size_t count);
    Received Receive(IncomingMessage& message);
    Received Fill(std::size_t bytes);
    Received ReceiveText(platform::UniqueBstr& text, std::size_t length);
    bool Dispatch(IncomingMessage& message);
    void SendReleases();
    Received Damaged(std::string what);

    const platform::UniqueFd m_Socket;
    CallHandler& m_Handler;
    std::recursive_mutex m_Calls; // held from a call to its answer
    std::uint32_t m_Number = 0;
    std::atomic<bool> m_Muted{false};

    std::mutex m_ReleaseLock;
    std::vector<std::uint32_t> m_Released; // not yet sent

    // Bytes that were read and not yet used: [m_Begin, m_End) of the buffer, which keeps frames aligned.
    std::unique_ptr<std::byte[]> m_Buffer;
    std::size_t m_Begin = 0;
    std::size_t m_End = 0;
    std::string m_Failure;
};

} // namespace transport
