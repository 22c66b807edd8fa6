// The pieces of the binary form: UTF-8, trimmed numbers, sizes.
#pragma once

#include <stringutils/astring.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace io {

// Lone surrogates keep their own three bytes, so that every text comes back as it was.
std::size_t Utf8Length(std::u16string_view text);
void AppendUtf8(std::u16string_view text, std::string& out);
// Bytes that are no UTF-8 become U+FFFD, one each.
void AppendUtf16(std::string_view bytes, std::u16string& out);
// Where the first byte is that AppendUtf16 would replace; npos if there is none.
std::size_t FindInvalidUtf8(std::string_view bytes);

// Bytes that a number takes behind its tag, with the zero bytes cut off: at the high end of an integer, at
// the low end of a double. At least 1.
inline int TrimmedIntegerLength(std::uint32_t value) {
    return value == 0 ? 1 : (static_cast<int>(std::bit_width(value)) + 7) / 8;
}
inline int TrimmedDoubleLength(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    return bits == 0 ? 1 : 8 - std::countr_zero(bits) / 8;
}

// What a text takes in the binary form, by its length in UTF-8, with its tag.
inline std::size_t BinaryTextSize(std::size_t utf8Length) {
    return utf8Length == 0 ? 1 : utf8Length < 256 ? utf8Length + 2 : utf8Length + 5;
}

} // namespace io
