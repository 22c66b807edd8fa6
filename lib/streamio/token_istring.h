// An input stream over a text in memory.
#pragma once

#include <streamio/token_istream.h>

namespace io {

class CToken_istring : public CToken_istream {
public:
    // The text is copied, or moved in. `binary` is overruled by the first character of a text that isn't
    // empty.
    CToken_istring(AString text, bool binary, const CBase_grammar* grammar, std::uint32_t flags = 0);
    CToken_istring(AString text, const CBase_grammar* grammar, std::uint32_t flags = 0);
    ~CToken_istring() override;

    // Over characters that the caller keeps in place as long as the stream lives.
    struct InPlace {
        std::u16string_view text;
    };
    CToken_istring(InPlace text, const CBase_grammar* grammar, std::uint32_t flags = 0);

private:
    struct Storage;

    CToken_istring(std::unique_ptr<Storage> storage, const CBase_grammar* grammar, std::uint32_t flags);

    std::unique_ptr<Storage> m_Storage;
};

} // namespace io
