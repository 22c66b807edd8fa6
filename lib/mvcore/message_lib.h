// Message libraries: where the formats of messages are found by number.
#pragma once

#include <stringutils/astring.h>

#include <cstdint>

namespace MessageManagerStrings {
// The longest format that a message library may hold, in units.
inline constexpr int kMaxMessageLength = 1024;
} // namespace MessageManagerStrings

// The formats of one library. Any thread may read.
class MessageModule {
public:
    // False, with GetLastError, where there is no such format.
    virtual bool LoadString(std::int32_t messageId, AString& format) const = 0;

protected:
    ~MessageModule() = default;
};

class MessageLib {
public:
    // The formats of the library with that id, or null; they live as long as this object.
    virtual const MessageModule* GetLib(std::int32_t libId) = 0;

protected:
    ~MessageLib() = default;
};
