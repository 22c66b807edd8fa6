#include <platform/character.h>

#include <unicode/uchar.h>

char16_t platform::ToLowerBeyondAscii(char16_t unit) {
    return static_cast<char16_t>(u_tolower(unit));
}

bool platform::IsSpaceBeyondAscii(char16_t unit) {
    return u_isUWhiteSpace(unit);
}
