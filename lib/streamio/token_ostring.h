// An output stream that collects its text in memory.
#pragma once

#include <streamio/token_ostream.h>

namespace io {

class CMemoryOutBuf;
class CStreamio_object;

class CToken_ostring : public CToken_ostream {
public:
    // `reserved` characters are there from the start; the text grows beyond them as needed. Binary by the
    // flag or without a grammar.
    CToken_ostring(std::size_t reserved, bool binary, const CBase_grammar* grammar, std::uint32_t flags = 0);
    explicit CToken_ostring(const CBase_grammar* grammar, std::size_t reserved = 0, std::uint32_t flags = 0);
    // Binary, for an object that measures itself should the text become long. The object stays as long as the stream.
    explicit CToken_ostring(const CStreamio_object& measured);
    ~CToken_ostring() override;

    // What has been written. May be asked again after more writing, also after Close.
    AString& GetText(AString& out);
    // The same without a copy; the stream is empty then.
    AString TakeText();

private:
    CToken_ostring(std::unique_ptr<CMemoryOutBuf> characters, const CBase_grammar* grammar,
                   std::uint32_t flags);

    std::unique_ptr<CMemoryOutBuf> m_Characters;
};

} // namespace io
