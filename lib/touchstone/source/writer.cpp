#include "network_rules.h"
#include "words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>

namespace touchstone {
namespace {

using Complex = std::complex<double>;

[[noreturn]] void Fail(const std::string& text) {
    throw Error(0, text);
}

template <class Frequencies>
void CheckAscending(const Frequencies& frequencies, std::string_view what) {
    double before = -1;
    for (const double frequency : frequencies) {
        if (!std::isfinite(frequency) || frequency < 0 || !(frequency > before))
            Fail(fmt::format("expected ascending {} frequencies, found {} Hz behind {} Hz", what, frequency,
                             before));
        before = frequency;
    }
}

void CheckNetwork(const Network& network) {
    const std::size_t ports = network.ports > 0 ? static_cast<std::size_t>(network.ports) : 0;
    if (ports == 0 || network.references.size() != ports)
        Fail(fmt::format("expected one reference for each of {} ports, found {}", network.ports,
                         network.references.size()));
    if (network.frequencies.empty() || network.values.size() / ports / ports != network.frequencies.size() ||
        network.values.size() % (ports * ports) != 0)
        Fail(fmt::format("expected {0} x {0} values at each of {1} frequencies, found {2}", ports,
                         network.frequencies.size(), network.values.size()));
    CheckAscending(network.frequencies, "data");
    if (!std::all_of(network.values.begin(), network.values.end(), IsFinite))
        Fail("expected finite values, found one that isn't");
    std::string fault = FaultOfKind(network.kind, network.ports);
    for (const Complex reference : network.references)
        fault = fault.empty() ? FaultOfReference(reference) : fault;
    if (fault.empty() && !network.mixedMode.empty())
        fault = FaultOfMixedMode(network.mixedMode, network.kind, network.references);
    if (!fault.empty())
        Fail(fault);
}

void CheckNoise(const Network& network) {
    if (network.noise.empty())
        return;
    if (network.ports != 2)
        Fail(fmt::format("noise data are of 2 ports, found {}", network.ports));
    const std::string fault = FaultOfReference(network.noiseReference);
    if (!fault.empty())
        Fail(fault);
    std::vector<double> frequencies;
    for (const NoiseParameters& noise : network.noise) {
        frequencies.push_back(noise.frequency);
        if (!std::isfinite(noise.minimumFigure) || !IsFinite(noise.optimumReflection) ||
            !std::isfinite(noise.resistance))
            Fail("expected finite noise parameters, found one that isn't");
    }
    CheckAscending(frequencies, "noise");
}

bool IsOneReference(const Network& network) {
    return std::all_of(network.references.begin(), network.references.end(),
                       [&](Complex reference) { return reference == network.references.front(); });
}

class Writer {
public:
    Writer(const Network& network, const Layout& layout)
        : m_Net(network), m_Layout(layout), m_Ports(static_cast<std::size_t>(network.ports)),
          m_IsVersion2(IsVersion2(layout.version)) {}

    std::string Write() {
        Check();
        if (m_IsVersion2)
            Text(fmt::format("[Version] {}\n", Name(m_Layout.version)));
        OptionLine();
        if (m_IsVersion2)
            Keywords();
        for (std::size_t i = 0; i < m_Net.frequencies.size(); ++i) {
            const std::size_t before = m_Text.size();
            Matrix(i);
            if (i == 0) // the others are about as long
                m_Text.reserve(before + (m_Text.size() - before) * (m_Net.frequencies.size() + 2));
        }
        if (m_IsVersion2 && !m_Net.noise.empty())
            Text("[Noise Data]\n");
        for (const NoiseParameters& noise : m_Net.noise)
            Noise(noise);
        if (m_IsVersion2)
            Text("[End]\n");
        return std::move(m_Text);
    }

private:
    void Check() const {
        CheckNetwork(m_Net);
        CheckNoise(m_Net);
        if (m_Layout.digits < 0 || m_Layout.digits > 17)
            Fail(fmt::format("expected 0 to 17 digits, found {}", m_Layout.digits));
        if (m_IsVersion2) {
            CheckTriangle();
            return;
        }
        const auto cant = [&](std::string_view what) {
            Fail(fmt::format("version {} can't say {}: version 2.0 can", Name(m_Layout.version), what));
        };
        if (m_Layout.version == Version::V1_0 && !IsOneReference(m_Net))
            cant("different references");
        if (m_Net.kind != Kind::S && !IsOneReal(m_Net.references))
            cant(fmt::format("{} parameters of different or complex references",
                             static_cast<char>(m_Net.kind)));
        if (!m_Net.mixedMode.empty())
            cant("the order of mixed-mode data");
        if (m_Layout.matrix != MatrixFormat::Full)
            cant("one triangle of a matrix");
        if (!m_Net.noise.empty()) {
            if (m_Net.noiseReference != m_Net.references.front())
                cant("a reference of the noise data that isn't port 1's");
            if (m_Net.noise.front().frequency > m_Net.frequencies.back())
                cant("noise data that begin above the other data");
        }
    }

    void CheckTriangle() const {
        if (m_Layout.matrix == MatrixFormat::Full)
            return;
        for (std::size_t i = 0; i < m_Net.frequencies.size(); ++i)
            for (int row = 0; row < m_Net.ports; ++row)
                for (int column = 0; column < row; ++column)
                    if (m_Net.At(i, row, column) != m_Net.At(i, column, row))
                        Fail(fmt::format(
                            "expected a symmetric matrix for the format {}, found different values {},{} "
                            "and {},{} at {} Hz",
                            Name(m_Layout.matrix), row + 1, column + 1, column + 1, row + 1,
                            m_Net.frequencies[i]));
    }

    void Text(std::string_view text) { m_Text += text; }

    void OptionLine() {
        Text(fmt::format("# {} {} {} R", Name(m_Layout.unit), static_cast<char>(m_Net.kind),
                         Name(m_Layout.format)));
        // With noise data that of version 2 is theirs alone.
        if (m_IsVersion2)
            Reference(m_Net.noise.empty() ? m_Net.references.front().real() : m_Net.noiseReference);
        else
            for (std::size_t i = 0; i < (IsOneReference(m_Net) ? 1 : m_Ports); ++i)
                Reference(m_Net.references[i]);
        Text("\n");
    }

    void Keywords() {
        Text(fmt::format("[Number of Ports] {}\n", m_Ports));
        if (m_Ports == 2)
            Text(fmt::format("[Two-Port Data Order] {}\n", Name(m_Layout.twoPortOrder)));
        Text(fmt::format("[Number of Frequencies] {}\n", m_Net.frequencies.size()));
        if (!m_Net.noise.empty())
            Text(fmt::format("[Number of Noise Frequencies] {}\n", m_Net.noise.size()));
        Text("[Reference]");
        for (const Complex reference : m_Net.references)
            Reference(reference);
        Text(fmt::format("\n[Matrix Format] {}\n", Name(m_Layout.matrix)));
        if (!m_Net.mixedMode.empty()) {
            Text("[Mixed-Mode Order]");
            for (const MixedModeTerm& term : m_Net.mixedMode)
                Text(' ' + TextOf(term));
            Text("\n");
        }
        Text("[Network Data]\n");
    }

    // A blank and the number.
    void Number(double value) {
        char digits[32];
        const std::to_chars_result end =
            m_Layout.digits == 0
                ? std::to_chars(digits, std::end(digits), value)
                : std::to_chars(digits, std::end(digits), value, std::chars_format::general, m_Layout.digits);
        m_Text += ' ';
        m_Text.append(digits, end.ptr);
    }

    void Reference(Complex reference) {
        Number(reference.real());
        if (reference.imag() == 0)
            return;
        std::string imaginary;
        std::swap(imaginary, m_Text);
        Number(reference.imag());
        std::swap(imaginary, m_Text);
        imaginary.erase(0, 1);
        m_Text += (imaginary.front() == '-' ? "" : "+") + imaginary + 'j';
    }

    // In its unit with the very digits it has in Hz.
    void Frequency(double frequency) {
        char text[32];
        const std::to_chars_result end =
            std::to_chars(text, std::end(text) - 1, std::abs(frequency), std::chars_format::scientific);
        *end.ptr = '\0';
        const std::string_view all(text, static_cast<std::size_t>(end.ptr - text));
        const std::size_t mark = all.find('e');
        const int exponent = frequency == 0 ? 0 : std::atoi(text + mark + 1) - ExponentOf(m_Layout.unit);
        std::string digits(all.substr(0, mark));
        std::erase(digits, '.');
        constexpr std::string_view kZeros = "0.00000";
        if (exponent < 2 - static_cast<int>(kZeros.size()) || exponent > 17) {
            if (digits.size() > 1)
                digits.insert(1, 1, '.');
            digits += fmt::format("e{}", exponent);
        } else if (exponent < 0) {
            digits.insert(0, kZeros.substr(0, static_cast<std::size_t>(1 - exponent)));
        } else {
            const std::size_t whole = static_cast<std::size_t>(exponent) + 1;
            if (whole >= digits.size())
                digits.append(whole - digits.size(), '0');
            else
                digits.insert(whole, 1, '.');
        }
        m_Text += digits;
    }

    void Value(Complex value, int row, int column) {
        const Quantity quantity = m_IsVersion2 ? Quantity::Ratio : QuantityOf(m_Net.kind, row, column);
        const double reference = m_Net.references.front().real();
        if (quantity == Quantity::Impedance)
            value /= reference;
        else if (quantity == Quantity::Admittance)
            value *= reference;
        if (!IsFinite(value))
            Fail("expected normalised values within the range of numbers, found one that isn't");
        if (m_Layout.format == Format::RealImaginary) {
            Number(value.real());
            Number(value.imag());
            return;
        }
        const double magnitude = std::abs(value);
        if (!std::isfinite(magnitude))
            Fail("expected magnitudes within the range of numbers, found one that isn't");
        Number(m_Layout.format == Format::DecibelAngle ? DecibelsOf(magnitude) : magnitude);
        Number(DegreesOf(value));
    }

    // From three ports on each row of the matrix begins a line, and a line holds four values at most.
    void Matrix(std::size_t i) {
        Frequency(m_Net.frequencies[i]);
        if (m_Ports == 2 && m_Layout.matrix == MatrixFormat::Full) {
            const bool columnsFirst = !m_IsVersion2 || m_Layout.twoPortOrder == TwoPortOrder::Order21_12;
            for (int k = 0; k < 4; ++k) {
                const int row = columnsFirst ? k % 2 : k / 2;
                const int column = columnsFirst ? k / 2 : k % 2;
                Value(m_Net.At(i, row, column), row, column);
            }
        } else {
            for (int row = 0; row < m_Net.ports; ++row) {
                const int first = m_Layout.matrix == MatrixFormat::Upper ? row : 0;
                const int last = m_Layout.matrix == MatrixFormat::Lower ? row : m_Net.ports - 1;
                if (row > 0)
                    Text(m_Ports > 2 ? "\n" : "");
                for (int column = first; column <= last; ++column) {
                    if (column > first && (column - first) % 4 == 0)
                        Text("\n");
                    Value(m_Net.At(i, row, column), row, column);
                }
            }
        }
        Text("\n");
    }

    void Noise(const NoiseParameters& noise) {
        Frequency(noise.frequency);
        Number(noise.minimumFigure);
        Number(std::abs(noise.optimumReflection));
        Number(DegreesOf(noise.optimumReflection));
        Number(m_IsVersion2 ? noise.resistance : noise.resistance / m_Net.noiseReference);
        Text("\n");
    }

    const Network& m_Net;
    const Layout& m_Layout;
    const std::size_t m_Ports;
    const bool m_IsVersion2;
    std::string m_Text;
};

} // namespace

Layout LayoutFor(const Network& network) {
    Layout layout;
    const bool isOne = !network.references.empty() && IsOneReference(network);
    const bool noiseFits =
        network.noise.empty() ||
        (isOne && network.noiseReference == network.references.front() && !network.frequencies.empty() &&
         network.noise.front().frequency <= network.frequencies.back());
    const bool isPlain = isOne && (network.kind == Kind::S || IsOneReal(network.references));
    layout.version = isPlain && noiseFits && network.mixedMode.empty() ? Version::V1_0 : Version::V2_0;
    layout.unit = Unit::Hz;
    layout.format = Format::RealImaginary;
    return layout;
}

std::string Write(const Network& network, const Layout& layout) {
    return Writer(network, layout).Write();
}

} // namespace touchstone
