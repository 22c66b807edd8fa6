// The words of the format, each in one place, and how words are compared and shown.
#pragma once

#include <touchstone/touchstone.h>

#include <optional>

namespace touchstone {

constexpr char LowerLetter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether the words are equal but for the case of ASCII letters.
bool SameWord(std::string_view a, std::string_view b);

// As Name() spells it, in any case.
std::optional<Version> VersionOf(std::string_view word);
std::optional<Unit> UnitOf(std::string_view word);
std::optional<Format> FormatOf(std::string_view word);
std::optional<MatrixFormat> MatrixFormatOf(std::string_view word);
std::optional<TwoPortOrder> TwoPortOrderOf(std::string_view word);
std::optional<Kind> KindOf(std::string_view word);

// A unit is 10 to this power of Hz.
int ExponentOf(Unit unit);

inline bool IsVersion2(Version version) {
    return version >= Version::V2_0;
}

// In quotes for a message: what isn't printable ASCII as \xNN, the end of a long one left out.
std::string Quoted(std::string_view word);

std::string TextOf(const MixedModeTerm& term);

} // namespace touchstone
