// Small helpers for netlist text. ASCII only and independent of the locale, as ngspice itself reads a
// netlist.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ckt {

std::string lower(std::string_view text);
std::string_view trim(std::string_view text);
bool starts_with_ignoring_case(std::string_view text, std::string_view lower_case_start);

// Splits at blanks, tabs, commas, parentheses and '='.
std::vector<std::string_view> tokens(std::string_view text);

// Splits at blanks and tabs only.
std::vector<std::string_view> words(std::string_view text);

// The same, where blanks within parentheses and in front of them don't divide.
std::vector<std::string> spaced_words(std::string_view text);

// A number as SPICE writes it: "10k", "1meg", "0.5u", "1e-3", "100nF". Nothing if `text` doesn't begin with a
// number.
std::optional<double> spice_number(std::string_view text);

} // namespace ckt
