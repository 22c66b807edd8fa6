// The grammar of every stream that isn't given one: CToken_grammar with "!" for comments. It can't be
// changed.
#pragma once

#include <streamio/base_grammar.h>

namespace io {

class CToken_grammar_default final : public CToken_grammar {
public:
    CToken_grammar_default();

    void AddCommentChars(const wchar16* characters) override;
    void RemoveCommentChars(const wchar16* characters) override;
    void AddIdentStartChars(const wchar16* characters) override;
    void AddIdentChars(const wchar16* characters) override;
    void RemoveIdentStartChars(const wchar16* characters) override;
    void RemoveIdentChars(const wchar16* characters) override;
};

const CToken_grammar_default& DefaultTokenGrammar();

} // namespace io
