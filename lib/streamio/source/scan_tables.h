// A grammar's flags, classification and transitions folded into one lookup by state and character.
#pragma once

#include <streamio/base_grammar.h>

namespace io {

struct ScanTables {
    // The next state by the present one and a character below 256.
    std::uint8_t next[kRunningStates][256];

    // The transitions, actions and kinds are those of CToken_grammar, whatever its characters are: the buffer
    // may then take runs of one class at once.
    bool tokenShape = false;
    // The same of CDelimiter_grammar, where a number that runs on is a word.
    bool delimiterShape = false;
    // In either shape the characters of numbers are the usual ones, so that numbers may be read as such.
    bool usualNumbers = false;
    // Besides, the characters between the parts of an item stand for themselves (brackets of vectors may be part of words
    // in the delimiter shape), CData, if there is any, begins with "$", letters and digits end no word, and printable
    // characters no text in quotes but by quotes and "\\".
    bool usualItems = false;
    // Besides, what is written between the parts of items, and blanks, need no blanks around them.
    bool usualSeparators = false;
    // "$begin" and "$end" are words.
    bool usualKeywords = false;

    const CBase_grammar* grammar = nullptr;

    int Next(int state, wchar16 unit) const {
        if (unit < 256) [[likely]]
            return next[state][unit];
        return grammar->GetTransitions()[static_cast<std::size_t>(state)]
                                        [static_cast<std::size_t>(grammar->Classify(unit, state))];
    }
};

} // namespace io
