// Which numbers go out as integers.
#pragma once

#include <streamio/token.h>

namespace io {

// A number of an integer kind within the range of that kind. Any other is written as a floating number.
inline bool IsWrittenInteger(TokenType kind, double value) {
    switch (kind) {
    case TokenType::Short:
        return value >= -32768 && value <= 32767;
    case TokenType::Int:
    case TokenType::Long:
        return value >= -2147483648.0 && value <= 2147483647.0;
    case TokenType::UnsignedShort:
        return value >= 0 && value <= 65535;
    case TokenType::UnsignedInt:
    case TokenType::UnsignedLong:
        return value >= 0 && value <= 4294967295.0;
    default:
        return false;
    }
}

} // namespace io
