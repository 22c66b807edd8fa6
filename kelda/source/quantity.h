// Numbers with units, as a person writes them on the command line: "2.4GHz", "150ps", "75+5j", "10,20,30", "1GHz:10GHz:101".
//
// A unit may be left out and may have a prefix from f (1e-15) to T (1e12); "m" alone is the metre where lengths are asked for.
// All of these throw std::invalid_argument with what was found and what was expected.
#pragma once

#include <complex>
#include <string>
#include <string_view>
#include <vector>

// In radians.
inline constexpr double kDegree = 3.14159265358979323846 / 180;

// One number in the unit ("Hz", "s", "m"; empty for a plain number).
double ParseQuantity(std::string_view text, std::string_view unit);
// Divided by commas; at least one.
std::vector<double> ParseQuantities(std::string_view text, std::string_view unit);
// Such as 50, 75+5j, -2e3j, 1k.
std::complex<double> ParseComplex(std::string_view text);
std::vector<std::complex<double>> ParseComplexList(std::string_view text);
// Each element of the list a frequency or START:STOP:COUNT, evenly spaced with both ends. Ascending, each once.
std::vector<double> ParseFrequencies(std::string_view text);

// With a prefix, to ten digits: "2.4 GHz".
std::string FrequencyText(double hertz);
// "75+5j"; without an imaginary part "75".
std::string ComplexText(std::complex<double> value);
