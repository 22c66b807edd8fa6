// The pieces of the binary form: UTF-8, trimmed numbers, sizes.
#pragma once

#include <stringutils/astring.h>

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
int TrimmedIntegerLength(std::uint32_t value);
int TrimmedDoubleLength(double value);

// What a text takes in the binary form, by its length in UTF-8, with its tag.
std::size_t BinaryTextSize(std::size_t utf8Length);

} // namespace io
