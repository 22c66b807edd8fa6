// Network data as Touchstone text, versions 1.0 to 2.1.
//
//   const touchstone::File file = touchstone::Read(bytes, touchstone::PortsOfName("filter.s4p"));
//   const std::complex<double> s21 = file.network.At(0, 1, 0);
//   const std::string text = touchstone::Write(file.network, touchstone::LayoutFor(file.network));
//
// A network is held in Hz, ohm and siemens whatever the text's units, formats and normalisation. What is read, and
// which departures from the format are taken, stands in docs/formats/touchstone.md. The functions share no state and
// any thread may call them.
#pragma once

#include <complex>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace touchstone {

enum class Kind : char { S = 'S', Y = 'Y', Z = 'Z', G = 'G', H = 'H' }; // G and H are of two ports

// 1.0 has one reference on its option line and 1.1 one for each port; 2.0 and 2.1 have keywords and data that isn't
// normalised.
enum class Version { V1_0, V1_1, V2_0, V2_1 };
enum class Unit { Hz, KiloHz, MegaHz, GigaHz, TeraHz };
enum class Format { RealImaginary, MagnitudeAngle, DecibelAngle };
enum class MatrixFormat { Full, Lower, Upper };
enum class TwoPortOrder { Order21_12, Order12_21 };

// What a row and column of mixed-mode data stands for.
struct MixedModeTerm {
    enum class Mode : char { Single = 'S', Differential = 'D', Common = 'C' };

    Mode mode = Mode::Single;
    int port = 0;     // from 1
    int negative = 0; // the pair's second port; 0 for a single-ended one

    bool operator==(const MixedModeTerm&) const = default;
};

struct NoiseParameters {
    double frequency = 0;                   // Hz
    double minimumFigure = 0;               // dB
    std::complex<double> optimumReflection; // of the source, against Network::noiseReference
    double resistance = 0;                  // ohm

    bool operator==(const NoiseParameters&) const = default;
};

struct Network {
    Kind kind = Kind::S;
    int ports = 0;
    std::vector<double> frequencies;              // Hz, ascending
    std::vector<std::complex<double>> values;     // frequency by frequency, each a matrix with its rows first
    std::vector<std::complex<double>> references; // ohm, one for each port
    std::vector<MixedModeTerm> mixedMode; // one for each row; none where all are single-ended, in order
    std::vector<NoiseParameters> noise;   // of two ports, ascending
    double noiseReference = 50;           // ohm

    // Row and column from 0.
    const std::complex<double>& At(std::size_t frequency, int row, int column) const {
        const std::size_t n = static_cast<std::size_t>(ports);
        return values[(frequency * n + static_cast<std::size_t>(row)) * n + static_cast<std::size_t>(column)];
    }

    bool operator==(const Network&) const = default;
};

// How a network stands in its text.
struct Layout {
    Version version = Version::V1_0;
    Unit unit = Unit::GigaHz;
    Format format = Format::MagnitudeAngle;
    MatrixFormat matrix = MatrixFormat::Full;             // version 2
    TwoPortOrder twoPortOrder = TwoPortOrder::Order21_12; // version 2
    int digits =
        0; // of what is written, up to 17; 0: as many as bring the number back, as frequencies always have

    bool operator==(const Layout&) const = default;
};

// Something about a line of a text, counted from 1.
struct Remark {
    int line = 0;
    std::string text;
};

// What a text can't be read for, or a network can't be written for (then the line is 0). what() is the text without the
// line.
class Error : public std::runtime_error {
public:
    Error(int line, const std::string& text) : std::runtime_error(text), m_Line(line) {}
    int Line() const { return m_Line; }

private:
    int m_Line;
};

struct File {
    Network network;
    Layout layout;
    std::vector<Remark> warnings; // departures from the format that were taken, in the order of their lines
};

// As the format spells them ("2.0", "GHz", "MA", "Lower").
std::string_view Name(Version version);
std::string_view Name(Unit unit);
std::string_view Name(Format format);
std::string_view Name(MatrixFormat format);
std::string_view Name(TwoPortOrder order);

// The number of ports that a file's name states by its extension (".s4p", ".Y2P"); 0 if it states none.
int PortsOfName(std::string_view path);

// `portsByName` is 0 if the name says nothing: then [Number of Ports] says, or in version 1 the lines of the first
// frequency. Throws Error. Memory grows with what stands in the text, not with the counts it states.
File Read(std::string_view text, int portsByName = 0);

// The layout that most readers take without loss: version 1.0 if one reference says all and else 2.0, Hz, real and
// imaginary parts, all digits.
Layout LayoutFor(const Network& network);

// Throws Error if the network isn't consistent or the version can't say it. A complex reference, which no version has,
// is written as "50+5j". Real and imaginary parts come back to the bit with digits 0 or 17, apart from Y, Z, G and H in
// version 1, which are divided by the reference.
std::string Write(const Network& network, const Layout& layout);

} // namespace touchstone
