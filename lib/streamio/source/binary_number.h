// Numbers of the binary form: a tag that tells class and length, and bytes, the lowest first, each in a 16-bit unit.
#pragma once

#include "plain_text.h"

#include <streamio/binary_utils.h>
#include <streamio/token.h>

#include <bit>
#include <cstdint>

namespace io {

inline constexpr int kUnsignedTag = 60; // plus the number of bytes
inline constexpr int kSignedTag = 69;
inline constexpr int kDoubleTag = 78;
inline constexpr int kMostNumberBytes = 8;
inline constexpr std::size_t kMostShortText = 255; // bytes of a text whose length is one byte

constexpr wchar16 Tag(TokenType kind) {
    return static_cast<wchar16>(kind);
}

constexpr TokenType UnsignedKind(int length) {
    return length <= 2   ? TokenType::UnsignedShort
           : length <= 4 ? TokenType::UnsignedInt
                         : TokenType::UnsignedLong;
}
constexpr TokenType SignedKind(int length) {
    return length <= 2 ? TokenType::Short : length <= 4 ? TokenType::Int : TokenType::Long;
}
constexpr TokenType DoubleKind(int length) {
    return length <= 4 ? TokenType::Float : TokenType::Double;
}

// Tag and trimmed bytes; `out` has room for 9 units.
inline wchar16* SpreadDouble(wchar16* out, double value, bool keepAll) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const int length = keepAll ? kMostNumberBytes : TrimmedDoubleLength(value);
    *out++ = static_cast<wchar16>(kDoubleTag + length);
    SpreadBytes(out, bits >> (8 * (8 - length)));
    return out + length;
}

inline double DoubleOf(const wchar16* units, int length) {
    return std::bit_cast<double>(GatherBytes(units) << (8 * (8 - length)));
}

// A number in the floating form, not so near to the end that it can't be read at once.
inline bool IsWholeDouble(const wchar16* at, const wchar16* end) {
    return end - at > kMostNumberBytes && *at > kDoubleTag && *at <= kDoubleTag + kMostNumberBytes;
}

// The numbers in the floating form that stand at `at`. Gives the place behind them.
inline const wchar16* TakeDoubles(const wchar16* at, const wchar16* end, CTokenArray& out) {
    while (IsWholeDouble(at, end)) {
        const int length = *at - kDoubleTag;
        out.emplace_back(DoubleKind(length), DoubleOf(at + 1, length));
        at += 1 + length;
    }
    return at;
}

// Likewise one number of any form; null where there is none.
inline const wchar16* TakeBinaryNumber(const wchar16* at, const wchar16* end, CToken& out) {
    if (end - at <= kMostNumberBytes)
        return nullptr;
    const int tag = *at;
    if (tag > kDoubleTag && tag <= kDoubleTag + kMostNumberBytes) {
        const int length = tag - kDoubleTag;
        out = CToken(DoubleKind(length), DoubleOf(at + 1, length));
        return at + 1 + length;
    }
    const bool isSigned = tag > kSignedTag;
    const int length = tag - (isSigned ? kSignedTag : kUnsignedTag);
    if (length < 1 || length > 4) // longer ones are no numbers of this form's writer
        return nullptr;
    const auto value =
        static_cast<std::uint32_t>(GatherBytes(at + 1) & (~std::uint64_t{0} >> (8 * (8 - length))));
    out = isSigned ? CToken(SignedKind(length), static_cast<double>(static_cast<std::int32_t>(value)))
                   : CToken(UnsignedKind(length), static_cast<double>(value));
    return at + 1 + length;
}

} // namespace io
