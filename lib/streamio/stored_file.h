// The bytes of a stored file, text in UTF-8 or the binary form, and the items in it.
//
//   AString text;
//   if (std::int32_t line = TextOfFile(bytes, text))
//       ... not UTF-8 in that line ...
//   std::vector<CBlockItemPtr> items;
//   std::vector<StoredError> errors;
//   ReadItems(text, DefaultTokenGrammar(), items, errors);
//
// Any thread, each on its own items.
#pragma once

#include <streamio/block.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace io {

class CBase_grammar;

// Whether the bytes, or the text that they became, have the binary form: it begins with a zero.
inline bool IsBinaryForm(std::string_view bytes) {
    return !bytes.empty() && bytes.front() == '\0';
}
inline bool IsBinaryForm(std::u16string_view text) {
    return !text.empty() && text.front() == u'\0';
}

// The text that the streams read: of the binary form a unit for each byte, else what the UTF-8 says, without a byte order
// mark. Gives 0, or the line of the first byte that isn't UTF-8, and leaves `text` then.
std::int32_t TextOfFile(std::string_view bytes, AString& text);
// The way back.
std::string FileOfText(std::u16string_view text);

// An error in a stored text.
struct StoredError {
    std::int32_t line;
    AString block; // where it stands; empty at the top level
    AString text;
};

// Appends the items of the top level, and the errors of all levels in the order of their lines; a text that is otherwise good
// and ends within a block is an error as well. The text stays in place as long as the call lasts.
void ReadItems(std::u16string_view text, const CBase_grammar& grammar, std::vector<CBlockItemPtr>& items,
               std::vector<StoredError>& errors, std::uint32_t flags = 0);

} // namespace io
