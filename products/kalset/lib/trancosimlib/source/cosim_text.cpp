#include <trancosimlib/cosim_text.h>

#include "cosim_rows.h"

#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

namespace {

platform::UniqueBstr Make(const io::CStreamio_object& block, std::size_t size) {
    io::CToken_ostring s(size, true, &io::DefaultTokenGrammar());
    block.Write(s);
    return platform::UniqueBstr(s.TakeText());
}

bool Read(BSTR text, io::CStreamio_object& block) {
    const std::u16string_view units(text ? text : u"", SysStringLen(text));
    io::CToken_istring s(io::CToken_istring::InPlace{units}, &io::DefaultTokenGrammar());
    block.Read(s);
    return !s.Fail();
}

} // namespace

platform::UniqueBstr MakeCosimText(const COSIMSRCDATA& block) {
    return Make(block, CosimBinarySize(block.m_NumSources, block.m_NumSamples));
}

platform::UniqueBstr MakeCosimText(const COSIMPORTDATA& block) {
    // GetBinarySize counts one value of each pair.
    return Make(block, std::size_t{2} * CosimBinarySize(block.m_NumPorts, block.m_NumSteps));
}

bool ReadCosimText(BSTR text, COSIMSRCDATA& block) {
    return Read(text, block);
}

bool ReadCosimText(BSTR text, COSIMPORTDATA& block) {
    return Read(text, block);
}
