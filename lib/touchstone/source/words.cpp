#include "words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/format.h>
#include <limits>

namespace touchstone {
namespace {

using namespace std::string_view_literals;

// In the order of the enumerations.
constexpr std::array kVersions{"1.0"sv, "1.1"sv, "2.0"sv, "2.1"sv};
constexpr std::array kUnits{"Hz"sv, "kHz"sv, "MHz"sv, "GHz"sv, "THz"sv};
constexpr std::array kFormats{"RI"sv, "MA"sv, "DB"sv};
constexpr std::array kMatrixFormats{"Full"sv, "Lower"sv, "Upper"sv};
constexpr std::array kTwoPortOrders{"21_12"sv, "12_21"sv};

template <class Value, std::size_t n>
std::optional<Value> Find(const std::array<std::string_view, n>& words, std::string_view word) {
    for (std::size_t i = 0; i < n; ++i)
        if (SameWord(words[i], word))
            return static_cast<Value>(i);
    return std::nullopt;
}

} // namespace

bool SameWord(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerLetter(x) == LowerLetter(y); });
}

std::string_view Name(Version version) {
    return kVersions[static_cast<std::size_t>(version)];
}
std::string_view Name(Unit unit) {
    return kUnits[static_cast<std::size_t>(unit)];
}
std::string_view Name(Format format) {
    return kFormats[static_cast<std::size_t>(format)];
}
std::string_view Name(MatrixFormat format) {
    return kMatrixFormats[static_cast<std::size_t>(format)];
}
std::string_view Name(TwoPortOrder order) {
    return kTwoPortOrders[static_cast<std::size_t>(order)];
}

std::optional<Version> VersionOf(std::string_view word) {
    return Find<Version>(kVersions, word);
}
std::optional<Unit> UnitOf(std::string_view word) {
    return Find<Unit>(kUnits, word);
}
std::optional<Format> FormatOf(std::string_view word) {
    return Find<Format>(kFormats, word);
}
std::optional<MatrixFormat> MatrixFormatOf(std::string_view word) {
    return Find<MatrixFormat>(kMatrixFormats, word);
}
std::optional<TwoPortOrder> TwoPortOrderOf(std::string_view word) {
    return Find<TwoPortOrder>(kTwoPortOrders, word);
}

std::optional<Kind> KindOf(std::string_view word) {
    for (const Kind kind : {Kind::S, Kind::Y, Kind::Z, Kind::G, Kind::H}) {
        const char letter = static_cast<char>(kind);
        if (SameWord({&letter, 1}, word))
            return kind;
    }
    return std::nullopt;
}

int ExponentOf(Unit unit) {
    return 3 * static_cast<int>(unit);
}

std::string Quoted(std::string_view word) {
    constexpr std::size_t kMost = 40;
    std::string text = "\"";
    for (const char c : word.substr(0, kMost)) {
        if (c >= ' ' && c <= '~')
            text += c;
        else
            text += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
    }
    return text + (word.size() > kMost ? "...\"" : "\"");
}

std::string TextOf(const MixedModeTerm& term) {
    const char mode = static_cast<char>(term.mode);
    return term.mode == MixedModeTerm::Mode::Single ? fmt::format("{}{}", mode, term.port)
                                                    : fmt::format("{}{},{}", mode, term.port, term.negative);
}

int PortsOfName(std::string_view path) {
    const std::size_t dot = path.find_last_of("./\\");
    if (dot == std::string_view::npos || path[dot] != '.')
        return 0;
    const std::string_view extension = path.substr(dot + 1);
    if (extension.size() < 3 || !KindOf(extension.substr(0, 1)) || LowerLetter(extension.back()) != 'p')
        return 0;
    int ports = 0;
    const char* const end = extension.data() + extension.size() - 1;
    const auto [last, error] = std::from_chars(extension.data() + 1, end, ports);
    return error == std::errc{} && last == end && ports > 0 ? ports : 0;
}

} // namespace touchstone
