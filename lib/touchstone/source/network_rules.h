// What reader and writer have to agree upon: polar form, normalisation, and which networks there are.
#pragma once

#include <touchstone/touchstone.h>

#include <string>

namespace touchstone {

bool IsFinite(std::complex<double> value);

// Multiples of 90 degrees are exact.
std::complex<double> FromPolar(double magnitude, double degrees);
double DegreesOf(std::complex<double> value);
double MagnitudeOfDecibels(double decibels);
double DecibelsOf(double magnitude); // finite for 0 too, and such that 0 comes back

// Version 1 divides an impedance by the reference and multiplies an admittance by it.
enum class Quantity { Ratio, Impedance, Admittance };
Quantity QuantityOf(Kind kind, int row, int column);

// Values that version 1 normalises need one real reference.
bool IsOneReal(const std::vector<std::complex<double>>& references);

// Why there can't be such data; empty if there can.
std::string FaultOfKind(Kind kind, int ports);
std::string FaultOfReference(std::complex<double> reference);
// With the references of the ports, which both of a pair share in S.
std::string FaultOfMixedMode(const std::vector<MixedModeTerm>& terms, Kind kind,
                             const std::vector<std::complex<double>>& references);

} // namespace touchstone
