#include "message_text.h"

#include <messagelibni/orvane_message.h>
#include <mvcore/message_catalogue.h>

namespace {

bool Read(std::u16string_view form, OrvaneMessage& message) {
    return message.FromText(AString(form)) && message.GetReadStatus() == 0;
}

OrvaneMessage EmptyMessage() {
    return {kSeverityInformation, 0, 0, 0, 0, AString(), AString()};
}

// Without a format the words would be why there is none, and the message's own text would be lost.
bool Build(OrvaneMessage& message, MessageLib& library) {
    const MessageModule* module = library.GetLib(message.m_LibId);
    AString format, error;
    return module && module->LoadString(message.m_MessageId, format) && message.BuildMessage(error, &library);
}

} // namespace

bool ReadMessageText(std::u16string_view form, MessageLib& library, MessageText& message) {
    OrvaneMessage read = EmptyMessage();
    if (!Read(form, read))
        return false;
    AString text = read.m_Message;
    if (text.empty()) {
        const AString* argument = read.GetArgumentText(0);
        AString plain = argument ? *argument : AString();
        text = Build(read, library) ? read.m_Message : plain;
        if (text.empty())
            return false;
    }
    message.severity = read.m_Severity;
    message.text = text;
    return true;
}

AString BuildMessageForm(std::u16string_view form, MessageLib& library) {
    OrvaneMessage message = EmptyMessage();
    AString built;
    if (Read(form, message) && Build(message, library))
        message.ToText(built);
    return built;
}

MessageLib& UserMessages() {
    static MessageCatalogue catalogue;
    return catalogue;
}
