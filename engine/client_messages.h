// The client as the transport of messages: what the engine object and a job have in common as message managers.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>
#include <messagelibni/message_manager.h>

class ClientMessages : public IEngineMessage {
public:
    std::int32_t SendMessage(OrvaneMessage& message) override;
    std::int32_t BounceMessage(OrvaneMessage& message) override;

protected:
    ~ClientMessages() = default;

    // Who is told; null if nobody is.
    virtual IKeldaProgressInterface* MessageClient() const = 0;
};
