#include "network_rules.h"
#include "reader.h"
#include "words.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <utility>

namespace touchstone {

File Reader::Read() {
    ReadHeader();
    SettlePorts();
    SettleReferences();
    ReadNetworkData();
    // Only now: as many numbers as it takes have been read.
    if (m_Net.references.size() == 1)
        m_Net.references.resize(static_cast<std::size_t>(m_Net.ports), m_Net.references.front());
    if (!m_Net.mixedMode.empty()) {
        const std::string fault = FaultOfMixedMode(m_Net.mixedMode, m_Net.kind, m_Net.references);
        if (!fault.empty())
            Fail(m_Seen["mixed mode order"], fault);
    }
    if (IsVersion2())
        ReadBehindNetworkData();
    std::stable_sort(m_File.warnings.begin(), m_File.warnings.end(),
                     [](const Remark& a, const Remark& b) { return a.line < b.line; });
    return std::move(m_File);
}

bool Reader::ToNumber() {
    while (Skip()) {
        if (*m_Pos == '[')
            return false;
        if (*m_Pos != '#')
            return true;
        if (m_OptionLine == 0)
            Fail("expected the option line before the data");
        IgnoreOptionLine();
    }
    return false;
}

// In Hz. The unit moves the decimal point in the text, so that 75.175 GHz is the number nearest to 75175000000.
double Reader::Frequency() {
    const int shift = ExponentOf(m_Layout.unit);
    const std::string_view word = PeekWord();
    double value = Number();
    if (shift != 0) {
        const std::size_t sign = word.front() == '+' ? 1 : 0;
        const std::size_t mark = std::min(word.find_first_of("eE"), word.size());
        int exponent = 0;
        std::errc error{};
        if (mark != word.size()) {
            const std::size_t digits = mark + (word[mark + 1] == '+' ? 2 : 1);
            error = std::from_chars(word.data() + digits, word.data() + word.size(), exponent).ec;
        }
        if (error == std::errc{}) { // else it is 0
            m_Shifted.assign(word.substr(sign, mark - sign));
            m_Shifted += 'e';
            m_Shifted += std::to_string(static_cast<long>(exponent) + shift);
            fast_float::from_chars(m_Shifted.data(), m_Shifted.data() + m_Shifted.size(), value);
        }
    }
    if (!(value >= 0 && value <= kLargest))
        Fail("expected a finite frequency of at least 0, found " + Quoted(word));
    return std::abs(value);
}

void Reader::ReadNetworkData() {
    std::vector<double>& frequencies = m_Net.frequencies;
    while (ToNumber()) {
        if (!IsVersion2() && m_Line == m_NumberLine)
            Fail(fmt::format(
                "expected a new line behind the {} numbers of {} ports at the frequency on line {}, "
                "found {}",
                1 + 2 * Pairs(), m_Net.ports, m_MatrixLine, Found()));
        CheckMore(frequencies.size(), m_Frequencies);
        const char* const begin = m_Pos;
        const double frequency = Frequency();
        if (!frequencies.empty()) {
            if (!IsVersion2() && m_Net.ports == 2 && frequency <= frequencies.back() && IsNoise()) {
                m_Pos = begin;
                ReadNoise();
                break;
            }
            CheckOrder(frequency, frequencies.back());
        }
        ReadMatrix();
        frequencies.push_back(frequency);
        if (frequencies.size() == 1) {
            // As many as the text holds if they are all as long as the first one.
            const std::size_t count = static_cast<std::size_t>((m_End - m_Pos) / (m_Pos - begin)) + 2;
            frequencies.reserve(count);
            m_Net.values.reserve(count * m_Net.values.size());
        }
    }
    if (frequencies.empty())
        Fail("expected network data, found " + Found());
    if (!IsVersion2() && m_Pos != m_End)
        Fail("expected numbers, since version 1 has no keywords, found " + Found());
    CheckAll(frequencies.size(), m_Frequencies);
}

std::size_t Reader::Pairs() const {
    const std::size_t n = static_cast<std::size_t>(m_Net.ports);
    return m_Layout.matrix == MatrixFormat::Full ? n * n : n * (n + 1) / 2;
}

void Reader::ReadMatrix() {
    m_MatrixLine = m_NumberLine;
    const std::size_t pairs = Pairs();
    const std::size_t base = m_Net.values.size();
    // A number takes a character and a blank at least. Where that can't be, the numbers are read up to where they end.
    const bool fits = static_cast<std::size_t>(m_End - m_Pos) / 4 + 1 >= pairs;
    if (fits)
        m_Net.values.resize(base + pairs);
    const double least =
        m_Layout.format == Format::DecibelAngle ? -std::numeric_limits<double>::infinity() : -kLargest;
    for (std::size_t i = 0; i < pairs; ++i) {
        const double first = MatrixNumber(2 * i, least);
        const double second = MatrixNumber(2 * i + 1, -kLargest);
        if (fits)
            m_Net.values[base + i] = {first, second};
    }
    FinishMatrix(base);
}

double Reader::MatrixNumber(std::size_t count, double least) {
    if (m_Pos != m_End && *m_Pos == ' ')
        ++m_Pos;
    const bool isAtNumber = m_Pos != m_End && *m_Pos >= '-' && *m_Pos <= '9';
    if (!isAtNumber && !ToNumber())
        Fail(fmt::format("expected {} numbers of {} ports at the frequency on line {}, found {} and then {}",
                         1 + 2 * Pairs(), m_Net.ports, m_MatrixLine, 1 + count, Found()));
    return Number(least);
}

// The values from `base` on as they are held.
void Reader::FinishMatrix(std::size_t base) {
    std::vector<std::complex<double>>& values = m_Net.values;
    const bool isPolar = m_Layout.format != Format::RealImaginary;
    for (std::size_t i = base; isPolar && i < values.size(); ++i) {
        double magnitude = values[i].real();
        if (m_Layout.format == Format::DecibelAngle) {
            if (std::isinf(magnitude) && !std::exchange(m_DecibelsOfZero, true))
                Warn(m_MatrixLine, "-inf dB is taken as the magnitude 0");
            magnitude = MagnitudeOfDecibels(magnitude);
        }
        values[i] = FromPolar(magnitude, values[i].imag());
    }
    if (m_Layout.matrix != MatrixFormat::Full)
        Unfold(base);
    else if (m_Net.ports == 2 && m_Layout.twoPortOrder == TwoPortOrder::Order21_12)
        std::swap(values[base + 1], values[base + 2]);
    const bool isNormalised = !IsVersion2() && m_Net.kind != Kind::S;
    if (isNormalised)
        Denormalise(base);
    if ((isNormalised || isPolar) &&
        !std::all_of(values.begin() + static_cast<std::ptrdiff_t>(base), values.end(), IsFinite))
        Fail(m_MatrixLine,
             "expected values within the range of numbers, found one at this frequency that isn't");
}

// A triangle of rows becomes a symmetric matrix; from its end, so that nothing is overwritten unread.
void Reader::Unfold(std::size_t base) {
    const std::size_t n = static_cast<std::size_t>(m_Net.ports);
    std::size_t from = m_Net.values.size();
    m_Net.values.resize(base + n * n);
    std::complex<double>* const matrix = m_Net.values.data() + base;
    const bool isLower = m_Layout.matrix == MatrixFormat::Lower;
    for (std::size_t row = n; row-- > 0;) {
        const std::size_t first = isLower ? 0 : row;
        for (std::size_t column = isLower ? row + 1 : n; column-- > first;)
            matrix[row * n + column] = m_Net.values[--from];
    }
    for (std::size_t row = 0; row < n; ++row)
        for (std::size_t column = 0; column < row; ++column) {
            std::complex<double>& below = matrix[row * n + column];
            std::complex<double>& above = matrix[column * n + row];
            if (isLower)
                above = below;
            else
                below = above;
        }
}

void Reader::Denormalise(std::size_t base) {
    const double reference = m_Net.references.front().real();
    for (int row = 0; row < m_Net.ports; ++row)
        for (int column = 0; column < m_Net.ports; ++column, ++base) {
            const Quantity quantity = QuantityOf(m_Net.kind, row, column);
            if (quantity == Quantity::Impedance)
                m_Net.values[base] *= reference;
            else if (quantity == Quantity::Admittance)
                m_Net.values[base] /= reference;
        }
}

// Whether the line, of which the first number has been read, holds the five of noise parameters.
bool Reader::IsNoise() {
    const char* const pos = m_Pos;
    const bool isNoise = WordsOnLine() == 4;
    m_Pos = pos;
    return isNoise;
}

void Reader::ReadNoise() {
    const std::complex<double> reference = m_OptionReferences.front();
    if (reference.imag() != 0)
        Fail(m_OptionLine,
             "expected a real reference on the option line for noise data, found a complex one");
    m_Net.noiseReference = reference.real();
    std::vector<NoiseParameters>& noise = m_Net.noise;
    m_NumberLine = 0;
    while (ToNumber()) {
        if (!IsVersion2() && m_Line == m_NumberLine)
            Fail("expected a new line behind 5 noise parameters, found " + Found());
        CheckMore(noise.size(), m_NoiseFrequencies);
        const double frequency = Frequency();
        if (!noise.empty())
            CheckOrder(frequency, noise.back().frequency);
        const int line = m_NumberLine;
        double numbers[4];
        int count = 1;
        for (double& number : numbers) {
            if (!ToNumber())
                Fail(fmt::format(
                    "expected 5 noise parameters at the frequency on line {}, found {} and then {}", line,
                    count, Found()));
            number = Number();
            ++count;
        }
        const double resistance = IsVersion2() ? numbers[3] : numbers[3] * reference.real();
        if (!std::isfinite(resistance))
            Fail(line, "expected a noise resistance within the range of numbers");
        noise.push_back({frequency, numbers[0], FromPolar(numbers[1], numbers[2]), resistance});
    }
}

void Reader::ReadBehindNetworkData() {
    Keyword keyword = Skip() ? ReadKeyword() : Keyword{};
    if (keyword.name == "noise data") {
        ExpectLineEnd();
        if (m_Net.ports != 2)
            Fail(fmt::format("expected noise data of 2 ports only, found {}", m_Net.ports));
        if (!m_NoiseFrequencies)
            Warn(keyword.line, "[Number of Noise Frequencies] is missing");
        ReadNoise();
        keyword = Skip() ? ReadKeyword() : Keyword{};
    }
    CheckAll(m_Net.noise.size(), m_NoiseFrequencies);
    if (keyword.name.empty()) {
        Warn(m_Line, "[End] is missing");
        return;
    }
    if (keyword.name != "end")
        Fail(fmt::format("expected [Noise Data] or [End] behind the network data, found [{}]", keyword.name));
    if (Skip())
        Fail("expected nothing behind [End], found " + Found());
}

void Reader::CheckMore(std::size_t count, std::optional<std::size_t> stated) const {
    if (count == stated)
        Fail(fmt::format("expected no data beyond the stated number of frequencies, {}, found {}", *stated,
                         Found()));
}

void Reader::CheckAll(std::size_t count, std::optional<std::size_t> stated) const {
    if (stated && count < *stated)
        Fail(fmt::format("expected the stated number of frequencies, {}, found {}", *stated, count));
}

void Reader::CheckOrder(double frequency, double before) const {
    if (!(frequency > before))
        Fail(fmt::format("expected a frequency above the {} Hz before it, found {} Hz", before, frequency));
}

std::string Reader::Found() const {
    return m_Pos == m_End ? "the end of the text" : Quoted(PeekWord());
}

File Read(std::string_view text, int portsByName) {
    return Reader(text, portsByName).Read();
}

} // namespace touchstone
