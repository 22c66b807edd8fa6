#include <messagelibni/message_manager.h>

#include <messagelibni/orvane_message.h>

#include <debuglog/debug_log.h>

namespace {

// Every manager of the system has a transport beside it in one object.
IEngineMessage& TransportOf(MessageManager& manager) {
    return dynamic_cast<IEngineMessage&>(manager);
}

} // namespace

bool MessageManager::PostMessage(std::int32_t severity, std::int32_t libId, std::int32_t messageId,
                                 std::int32_t helpId, std::int32_t elementType, const AString& elementId,
                                 const AString& propertyName) {
    OrvaneMessage message(severity, libId, messageId, helpId, elementType, elementId, propertyName);
    return TransportOf(*this).SendMessage(message) == 0;
}

bool MessageManager::PostMessage(OrvaneMessage& message) {
    return TransportOf(*this).SendMessage(message) >= 0;
}

AString MessageManager::BounceMessage(OrvaneMessage& message) {
    TransportOf(*this).BounceMessage(message);
    return message.m_Message;
}

void MessageManager::LogText(const AString& text) {
    HandleText(text, 0, 0);
}

std::int32_t MessageManager::HandleText(const AString& text, std::int32_t, std::int32_t) {
    DebugPrintf(u"%s", text.c_str());
    return 0;
}
