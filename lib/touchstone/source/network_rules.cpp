#include "network_rules.h"

#include "words.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>
#include <utility>

namespace touchstone {
namespace {

constexpr double kDegree = std::numbers::pi / 180;
constexpr double kDecibelsOfZero = -9999; // of less than the least number

} // namespace

bool IsFinite(std::complex<double> value) {
    return std::isfinite(value.real()) && std::isfinite(value.imag());
}

std::complex<double> FromPolar(double magnitude, double degrees) {
    if (!(std::abs(degrees) < 1e6))
        degrees = std::fmod(degrees, 360);
    const double quarters = std::nearbyint(degrees / 90);
    const double angle = (degrees - 90 * quarters) * kDegree;
    const double along = magnitude * std::cos(angle);
    const double across = magnitude * std::sin(angle);
    switch (static_cast<int>(quarters) & 3) {
    case 0:
        return {along, across};
    case 1:
        return {-across, along};
    case 2:
        return {-along, -across};
    default:
        return {across, -along};
    }
}

double DegreesOf(std::complex<double> value) {
    return std::arg(value) / kDegree;
}

double MagnitudeOfDecibels(double decibels) {
    return std::pow(10.0, decibels / 20);
}

double DecibelsOf(double magnitude) {
    return magnitude > 0 ? 20 * std::log10(magnitude) : kDecibelsOfZero;
}

Quantity QuantityOf(Kind kind, int row, int column) {
    switch (kind) {
    case Kind::Z:
        return Quantity::Impedance;
    case Kind::Y:
        return Quantity::Admittance;
    case Kind::G:
    case Kind::H:
        if (row != column)
            return Quantity::Ratio;
        return (kind == Kind::H) == (row == 0) ? Quantity::Impedance : Quantity::Admittance;
    case Kind::S:
        break;
    }
    return Quantity::Ratio;
}

bool IsOneReal(const std::vector<std::complex<double>>& references) {
    return std::all_of(references.begin(), references.end(), [&](std::complex<double> reference) {
        return reference == references.front() && reference.imag() == 0;
    });
}

std::string FaultOfKind(Kind kind, int ports) {
    if ((kind == Kind::G || kind == Kind::H) && ports != 2)
        return fmt::format("{} parameters are of 2 ports, found {}", static_cast<char>(kind), ports);
    return {};
}

std::string FaultOfReference(std::complex<double> reference) {
    if (reference.real() > 0 && IsFinite(reference))
        return {};
    return fmt::format("expected a reference above 0 ohm, found {}{}", reference.real(),
                       reference.imag() == 0 ? "" : fmt::format("{:+}j", reference.imag()));
}

std::string FaultOfMixedMode(const std::vector<MixedModeTerm>& terms, Kind kind,
                             const std::vector<std::complex<double>>& references) {
    using Mode = MixedModeTerm::Mode;
    const std::size_t ports = references.size();
    if (kind == Kind::G || kind == Kind::H)
        return fmt::format("mixed mode is of S, Y and Z parameters, found {}", static_cast<char>(kind));
    if (terms.size() != ports)
        return fmt::format("expected {} mixed-mode terms, one for each port, found {}", ports, terms.size());
    struct Use {
        bool single = false;
        int differential = 0; // the pair's other port, with its sign: negative where this one is the first
        int common = 0;
    };
    std::vector<Use> uses(ports);
    for (const MixedModeTerm& term : terms) {
        const bool isPair = term.mode != Mode::Single;
        const auto isPort = [&](int port) { return port >= 1 && static_cast<std::size_t>(port) <= ports; };
        if (!isPort(term.port) || (isPair && (!isPort(term.negative) || term.port == term.negative)))
            return fmt::format("the mixed-mode term {} names no ports of 1 to {}", TextOf(term), ports);
        Use& first = uses[static_cast<std::size_t>(term.port) - 1];
        if (!isPair) {
            if (std::exchange(first.single, true))
                return fmt::format("the mixed-mode term {} stands twice", TextOf(term));
            continue;
        }
        const auto partner = term.mode == Mode::Differential ? &Use::differential : &Use::common;
        Use& second = uses[static_cast<std::size_t>(term.negative) - 1];
        if (first.*partner != 0 || second.*partner != 0)
            return fmt::format("a port of the mixed-mode term {} is in another one of its mode",
                               TextOf(term));
        first.*partner = -term.negative;
        second.*partner = term.port;
        if (kind == Kind::S && references[static_cast<std::size_t>(term.port) - 1] !=
                                   references[static_cast<std::size_t>(term.negative) - 1])
            return fmt::format("the ports of the mixed-mode term {} have different references", TextOf(term));
    }
    for (std::size_t i = 0; i < ports; ++i)
        if (uses[i].single == (uses[i].differential != 0) || uses[i].differential != uses[i].common)
            return fmt::format("port {} is neither single-ended nor in the same pair of D and C", i + 1);
    return {};
}

} // namespace touchstone
