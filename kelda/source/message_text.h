// A message of a job, read from the text form in which it reaches a client.
#pragma once

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
    AString text; // what there is to show: the built text or, where none was built, the plain text it carries
};

// False where `form` holds no message with a text; `message` is then untouched. Arguments may stand in any
// order, and those that say nothing here are passed over.
bool ReadMessageText(std::u16string_view form, MessageText& message);
