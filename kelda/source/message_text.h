// A message of a job, read from the text form in which it reaches a client.
#pragma once

#include <mvcore/message_lib.h>
#include <stringutils/astring.h>

#include <string_view>

enum MessageSeverity : int {
    kSeverityWarning = 0,
    kSeverityError = 1,
    kSeverityInformation = 2,
    kSeverityFatal = 4
};

struct MessageText {
    int severity = kSeverityInformation;
    AString text; // what there is to show
};

// The text is the one that the message has been built to, else the one that `library` builds, else the plain
// text that it carries. False where `form` holds no message with any of these; `message` is then untouched.
// Arguments may stand in any order, and those that say nothing here are passed over.
bool ReadMessageText(std::u16string_view form, MessageLib& library, MessageText& message);

// The text form of the message in `form` with its text built by `library`; empty where `form` holds no message
// or `library` no words for it.
AString BuildMessageForm(std::u16string_view form, MessageLib& library);

// The words of this program's messages in the user's language. Any thread may use it.
MessageLib& UserMessages();
