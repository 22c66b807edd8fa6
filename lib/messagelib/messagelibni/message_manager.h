// What a piece of code hands a message to. There is one for each thread that works for a client; the application object of
// mvcore finds the one of the calling thread, so a library posts without knowing who listens.
//
// MessageManager finds the IEngineMessage part of its own object and leaves the transport to that. A manager is used by the
// thread that owns it.
#pragma once

#include <stringutils/astring.h>

#include <cstdint>

class OrvaneMessage;

class IMessageManager {
public:
    virtual ~IMessageManager() = default;

    // True if the message arrived: the transport's result is 0.
    virtual bool PostMessage(std::int32_t severity, std::int32_t libId, std::int32_t messageId,
                             std::int32_t helpId, std::int32_t elementType, const AString& elementId,
                             const AString& propertyName) = 0;
    // True unless the transport failed; so also where there is no client.
    virtual bool PostMessage(OrvaneMessage& message) = 0;
    // Lets the client build the message's text, and gives it; without a client the text that the message had.
    virtual AString BounceMessage(OrvaneMessage& message) = 0;
    virtual void LogText(const AString&) {}
};

// A handler of what a manager is given. Only its last operation has a use here; the others keep their places.
class IMessageHandler {
public:
    virtual bool Reserved1(void*) = 0;
    virtual std::int32_t Reserved2() = 0;
    virtual bool Reserved3(void*) = 0;
    virtual std::int32_t Reserved4(void*) = 0;
    virtual std::int32_t Reserved5() = 0;
    virtual std::int32_t Reserved6(void*, void*, void*) = 0;
    virtual std::int32_t Reserved7(void*, void*, void*) = 0;
    virtual std::int32_t HandleText(const AString& text, std::int32_t, std::int32_t) = 0;

protected:
    ~IMessageHandler() = default;
};

// The transport of messages to a client. Both give 1 without a client, else a result code.
class IEngineMessage {
public:
    virtual std::int32_t SendMessage(OrvaneMessage& message) = 0;
    // The client's answer is in the message afterwards.
    virtual std::int32_t BounceMessage(OrvaneMessage& message) = 0;

protected:
    ~IEngineMessage() = default;
};

class MessageManager : public IMessageManager, public IMessageHandler {
public:
    bool PostMessage(std::int32_t severity, std::int32_t libId, std::int32_t messageId, std::int32_t helpId,
                     std::int32_t elementType, const AString& elementId,
                     const AString& propertyName) override;
    bool PostMessage(OrvaneMessage& message) override;
    AString BounceMessage(OrvaneMessage& message) override;
    // To the debug log.
    void LogText(const AString& text) override;

    bool Reserved1(void*) override { return false; }
    std::int32_t Reserved2() override { return 0; }
    bool Reserved3(void*) override { return false; }
    std::int32_t Reserved4(void*) override { return 0; }
    std::int32_t Reserved5() override { return 0; }
    std::int32_t Reserved6(void*, void*, void*) override { return 0; }
    std::int32_t Reserved7(void*, void*, void*) override { return 0; }
    std::int32_t HandleText(const AString& text, std::int32_t, std::int32_t) override;

    virtual std::int32_t GetState() = 0;
};
