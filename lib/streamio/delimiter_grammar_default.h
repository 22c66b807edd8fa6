// CDelimiter_grammar with "!" for comments and the delimiters "(),=". It can't be changed.
#pragma once

#include <streamio/base_grammar.h>

namespace io {

class CDelimiter_grammar_default final : public CDelimiter_grammar {
public:
    CDelimiter_grammar_default();

    void AddCommentChars(const wchar16* characters) override;
    void RemoveCommentChars(const wchar16* characters) override;
    void AddDelimiterChars(const wchar16* characters) override;
};

const CDelimiter_grammar_default& DefaultDelimiterGrammar();

} // namespace io
