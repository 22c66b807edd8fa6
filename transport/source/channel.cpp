#include <transport/channel.h>

#include "frame.h"

#include <capnp/serialize.h>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace transport {
namespace {

constexpr std::size_t kBufferBytes = kMaxFrameBytes + 4096;
constexpr std::size_t kMaxSegments = 64;

constexpr std::size_t Padding(std::size_t bytes) {
    return (kAlignment - bytes % kAlignment) % kAlignment;
}

std::size_t TextBytes(BSTR text) {
    return SysStringLen(text) * sizeof(wchar16);
}

} // namespace

Channel::Channel(platform::UniqueFd socket, CallHandler& handler)
    : m_Socket(std::move(socket)), m_Handler(handler), m_Buffer(new std::byte[kBufferBytes]) {}

Channel::~Channel() = default;

HRESULT Channel::Call(OutgoingMessage& call, IncomingMessage& reply) {
    std::lock_guard lock(m_Calls);
    if (m_Muted.load(std::memory_order_acquire))
        return RPC_E_DISCONNECTED;
    SendReleases();
    call.number = ++m_Number;
    if (!Send(call))
        return RPC_E_DISCONNECTED;
    for (;;) {
        IncomingMessage message;
        Received received = Receive(message);
        if (received == Received::kEnd)
            return RPC_E_DISCONNECTED;
        if (received == Received::kFrame && message.kind == Kind::kReply && message.number != call.number)
            received = Damaged("an answer to a call that was not made");
        if (received == Received::kDamage)
            return RPC_E_INVALID_DATA;
        if (message.kind == Kind::kReply) {
            reply = std::move(message);
            return reply.numbers[0];
        }
        if (!Dispatch(message))
            return RPC_E_DISCONNECTED;
    }
}

void Channel::Release(std::uint32_t object) {
    {
        std::lock_guard lock(m_ReleaseLock);
        m_Released.push_back(object);
    }
    if (m_Calls.try_lock()) {
        SendReleases();
        m_Calls.unlock();
    }
}

void Channel::SendReleases() {
    std::vector<std::uint32_t> released;
    {
        std::lock_guard lock(m_ReleaseLock);
        released.swap(m_Released);
    }
    for (std::uint32_t object : released) {
        OutgoingMessage message;
        message.kind = Kind::kRelease;
        message.object = object;
        if (m_Muted.load(std::memory_order_acquire) || !Send(message))
            return;
    }
}

bool Channel::ServeOne() {
    IncomingMessage message;
    if (Receive(message) != Received::kFrame)
        return false;
    if (message.kind == Kind::kReply) {
        Damaged("an answer where a call was expected");
        return false;
    }
    return Dispatch(message);
}

bool Channel::Dispatch(IncomingMessage& message) {
    if (message.kind == Kind::kRelease) {
        m_Handler.ObjectReleased(message.object);
        return true;
    }
    Answer answer;
    try {
        answer = m_Handler.Serve(message);
    } catch (...) {
        answer = Answer();
        answer.result = E_UNEXPECTED;
    }
    OutgoingMessage reply;
    reply.kind = Kind::kReply;
    reply.number = message.number;
    reply.numbers = {answer.result, answer.value};
    reply.ending = answer.ending;
    reply.texts[0] = answer.text.Get();
    return Send(reply);
}

bool Channel::Send(const OutgoingMessage& message) {
    // Holds every frame without long texts, so that the usual call allocates nothing.
    capnp::word scratch[128];
    std::memset(scratch, 0, sizeof scratch);
    capnp::MallocMessageBuilder builder(kj::arrayPtr(scratch, std::size(scratch)));
    std::vector<BSTR> following;
    WriteFrame(message, builder, following);

    auto segments = builder.getSegmentsForOutput();
    std::uint32_t table[kMaxSegments + 2];
    std::size_t tableSize = 0;
    table[tableSize++] = static_cast<std::uint32_t>(segments.size() - 1);
    for (auto segment : segments)
        table[tableSize++] = static_cast<std::uint32_t>(segment.size());
    if (tableSize % 2 != 0)
        table[tableSize++] = 0;

    iovec parts[1 + kMaxSegments + 2 * kMaxTexts];
    std::size_t count = 0;
    parts[count++] = {table, tableSize * sizeof table[0]};
    for (auto segment : segments) {
        auto bytes = segment.asBytes();
        parts[count++] = {const_cast<kj::byte*>(bytes.begin()), bytes.size()};
    }
    static std::byte zeros[kAlignment];
    for (BSTR text : following) {
        parts[count++] = {text, TextBytes(text)};
        parts[count++] = {zeros, Padding(TextBytes(text))};
    }
    return SendAll(parts, count);
}

bool Channel::SendAll(iovec* parts, std::size_t count) {
    while (count > 0) {
        msghdr header{};
        header.msg_iov = parts;
        header.msg_iovlen = count;
        ssize_t sent = sendmsg(m_Socket.Get(), &header, MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR)
                continue;
            m_Failure = std::string("sending failed: ") + std::strerror(errno);
            return false;
        }
        auto left = static_cast<std::size_t>(sent);
        while (count > 0 && left >= parts->iov_len) {
            left -= parts->iov_len;
            ++parts;
            --count;
        }
        if (count > 0) {
            parts->iov_base = static_cast<std::byte*>(parts->iov_base) + left;
            parts->iov_len -= left;
        }
    }
    return true;
}

Channel::Received Channel::Receive(IncomingMessage& message) {
    // First the table of segment sizes, then the segments, then the texts that follow.
    Received received = Fill(kAlignment);
    if (received != Received::kFrame)
        return received;
    auto word = [this](std::size_t index) {
        std::uint32_t value;
        std::memcpy(&value, m_Buffer.get() + m_Begin + index * sizeof value, sizeof value);
        return value;
    };
    std::size_t segments = std::size_t{word(0)} + 1;
    if (segments > kMaxSegments)
        return Damaged("a frame of " + std::to_string(segments) + " segments");
    std::size_t tableBytes = (segments + 1) * sizeof(std::uint32_t);
    tableBytes += Padding(tableBytes);
    if ((received = Fill(tableBytes)) != Received::kFrame)
        return received;
    std::size_t bytes = tableBytes;
    for (std::size_t i = 0; i < segments; ++i)
        bytes += std::size_t{word(1 + i)} * sizeof(capnp::word);
    if (bytes > kMaxFrameBytes)
        return Damaged("a frame of " + std::to_string(bytes) + " bytes");
    if ((received = Fill(bytes)) != Received::kFrame)
        return received;

    std::vector<FollowingText> following;
    try {
        auto* words = reinterpret_cast<const capnp::word*>(m_Buffer.get() + m_Begin);
        capnp::FlatArrayMessageReader reader(kj::arrayPtr(words, bytes / sizeof(capnp::word)));
        if (!ReadFrame(reader, message, following))
            return Damaged("a frame of an unknown kind, or a text longer than can be held");
    } catch (const kj::Exception& exception) {
        return Damaged(std::string("a damaged frame: ") + exception.getDescription().cStr());
    }
    m_Begin += bytes;
    for (const FollowingText& text : following)
        if ((received = ReceiveText(*text.place, text.length)) != Received::kFrame)
            return received;
    return Received::kFrame;
}

// Makes at least so many bytes stand in the buffer.
Channel::Received Channel::Fill(std::size_t bytes) {
    if (m_Begin == m_End || m_Begin + bytes > kBufferBytes) {
        std::size_t first = m_Begin % kAlignment; // a frame stays as aligned as it is on the stream
        std::memmove(m_Buffer.get() + first, m_Buffer.get() + m_Begin, m_End - m_Begin);
        m_End = first + (m_End - m_Begin);
        m_Begin = first;
    }
    while (m_End - m_Begin < bytes) {
        ssize_t got = recv(m_Socket.Get(), m_Buffer.get() + m_End, kBufferBytes - m_End, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            // A peer that was killed with unread bytes resets the connection: the end of the stream all the
            // same.
            if (m_End == m_Begin)
                return Received::kEnd;
            return Damaged("the end of the stream within a frame");
        }
        m_End += static_cast<std::size_t>(got);
    }
    return Received::kFrame;
}

Channel::Received Channel::ReceiveText(platform::UniqueBstr& text, std::size_t length) {
    // The length is only claimed. What any real text needs is set aside at once, which costs no memory until it is written;
    // beyond that storage grows with what has arrived.
    constexpr std::size_t kFirstUnits = std::size_t{128} << 20;
    const std::size_t bytes = length * sizeof(wchar16);
    std::size_t here = 0;
    do {
        const std::size_t units =
            std::min(length, std::max(kFirstUnits, here)); // so many as have come, twice
        if (!SysResizeString(text.Address(), units))
            return Damaged("a text of " + std::to_string(length) + " units, for which memory is short");
        auto* at = reinterpret_cast<std::byte*>(text.Get());
        const std::size_t end = units * sizeof(wchar16);
        const std::size_t buffered = std::min(end - here, m_End - m_Begin);
        std::memcpy(at + here, m_Buffer.get() + m_Begin, buffered);
        m_Begin += buffered;
        here += buffered;
        while (here < end) {
            ssize_t got = recv(m_Socket.Get(), at + here, end - here, MSG_WAITALL);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return Damaged("the end of the stream within a text");
            here += static_cast<std::size_t>(got);
            m_Begin = m_End = here % kAlignment;
        }
    } while (here < bytes);
    Received received = Fill(Padding(bytes));
    m_Begin += received == Received::kFrame ? Padding(bytes) : 0;
    return received;
}

Channel::Received Channel::Damaged(std::string what) {
    m_Failure = std::move(what);
    Shutdown();
    return Received::kDamage;
}

bool Channel::WaitReadable(int milliseconds) const {
    pollfd wait{m_Socket.Get(), POLLIN, 0};
    int ready;
    do
        ready = poll(&wait, 1, milliseconds);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

void Channel::Shutdown() {
    ::shutdown(m_Socket.Get(), SHUT_RDWR);
}

} // namespace transport
