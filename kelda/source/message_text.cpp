#include "message_text.h"

#include <messagelibni/orvane_message.h>

bool ReadMessageText(std::u16string_view form, MessageText& message) {
    OrvaneMessage read(0, 0, 0, 0, 0, AString(), AString());
    if (!read.FromText(AString(form)) || read.GetReadStatus() != 0)
        return false;
    const AString* plain = read.GetArgumentText(0);
    if (read.m_Message.empty() && !plain)
        return false;
    message.severity = read.m_Severity;
    message.text = read.m_Message.empty() ? *plain : read.m_Message;
    return true;
}
