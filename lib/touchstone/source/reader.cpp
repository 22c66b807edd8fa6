#include "network_rules.h"
#include "scanner.h"
#include "words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fast_float/fast_float.h>
#include <fmt/format.h>
#include <limits>
#include <map>
#include <optional>
#include <utility>

namespace touchstone {
namespace {

using Complex = std::complex<double>;

bool IsOdd(std::size_t count) {
    return count % 2 != 0;
}

// In lower case, its words apart by one blank.
std::string KeywordName(std::string_view inBrackets) {
    std::string name;
    for (const char c : inBrackets) {
        const bool isGap = IsBlank(c) || c == '-' || c == '_';
        if (!isGap)
            name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        else if (!name.empty() && name.back() != ' ')
            name += ' ';
    }
    if (!name.empty() && name.back() == ' ')
        name.pop_back();
    return name;
}

class Reader : Scanner {
public:
    Reader(std::string_view text, int portsByName) : Scanner(text), m_PortsByName(portsByName) {}

    File Read() {
        ReadHeader();
        SettlePorts();
        SettleReferences();
        ReadNetworkData();
        if (IsVersion2(Layout().version))
            ReadBehindNetworkData();
        if (!Net().noise.empty() && m_NoiseReference.imag() != 0)
            Fail(m_OptionLine, "noise data need a real reference on the option line");
        if (m_MixedModeLine != 0)
            CheckMixedMode();
        std::stable_sort(m_File.warnings.begin(), m_File.warnings.end(),
                         [](const Remark& a, const Remark& b) { return a.line < b.line; });
        return std::move(m_File);
    }

private:
    struct Keyword {
        std::string name;
        int line = 0;
    };

    Network& Net() { return m_File.network; }
    touchstone::Layout& Layout() { return m_File.layout; }

    void Warn(int line, const std::string& text) { m_File.warnings.push_back({line, text}); }

    // Scanning

    // In Hz. The unit moves the decimal point in the text, so that 75.175 GHz is the number nearest to 75175000000.
    double Frequency() {
        const int shift = ExponentOf(Layout().unit);
        const std::string_view word = PeekWord();
        double value = Number();
        if (shift != 0 && value != 0) {
            const std::size_t sign = word.front() == '+' ? 1 : 0;
            const std::size_t mark = std::min(word.find_first_of("eE"), word.size());
            long exponent = 0;
            if (mark != word.size()) {
                const std::size_t digits = mark + (word[mark + 1] == '+' ? 2 : 1);
                std::from_chars(word.data() + digits, word.data() + word.size(), exponent);
            }
            m_Shifted.assign(word.substr(sign, mark - sign));
            m_Shifted += 'e';
            m_Shifted += std::to_string(exponent + shift);
            fast_float::from_chars(m_Shifted.data(), m_Shifted.data() + m_Shifted.size(), value);
        }
        if (!(value >= 0 && value <= kLargest))
            Fail("expected a finite frequency of at least 0, found " + Quoted(word));
        return value;
    }

    // The header

    void ReadHeader() {
        for (;;) {
            if (!Skip())
                Fail("expected network data, found the end of the text");
            if (*m_Pos == '#') {
                ReadOptionLine();
            } else if (*m_Pos == '[') {
                const Keyword keyword = ReadKeyword();
                if (keyword.name == "network data") {
                    ExpectLineEnd();
                    break;
                }
                ReadSetting(keyword);
            } else if (IsVersion2(Layout().version)) {
                Fail("expected [Network Data] before the data, found " + Quoted(PeekWord()));
            } else {
                break;
            }
        }
        if (m_OptionLine == 0)
            Warn(m_Line, "there is no option line: taken as # GHz S MA R 50");
        if (IsVersion2(Layout().version) && m_Frequencies == 0)
            Warn(m_Line, "[Number of Frequencies] is missing");
    }

    void ReadOptionLine() {
        if (m_OptionLine != 0) {
            if (!std::exchange(m_SecondOptionLine, true))
                Warn(m_Line, fmt::format("only the option line on line {} counts", m_OptionLine));
            SkipToLineEnd();
            return;
        }
        m_OptionLine = m_Line;
        ++m_Pos; // '#'
        bool unit = false, kind = false, format = false;
        const auto once = [this](bool& seen, std::string_view what, std::string_view word) {
            if (std::exchange(seen, true))
                Fail(fmt::format("the option line states its {} twice: {}", what, Quoted(word)));
        };
        for (std::string_view word = Word(); !word.empty();) {
            if (SameWord(word, "R")) {
                if (!m_OptionReferences.empty())
                    Fail("the option line states its reference twice: " + Quoted(word));
                for (word = Word(); !word.empty() && (word.front() < 'A' || m_OptionReferences.empty());
                     word = Word())
                    m_OptionReferences.push_back(ReferenceOf(word));
                if (m_OptionReferences.empty())
                    Fail("expected a reference in ohm behind R, found the end of the option line");
                continue;
            }
            if (const auto itsUnit = UnitOf(word)) {
                once(unit, "unit", word);
                Layout().unit = *itsUnit;
            } else if (const auto itsKind = KindOf(word)) {
                once(kind, "kind of parameter", word);
                Net().kind = *itsKind;
            } else if (const auto itsFormat = FormatOf(word)) {
                once(format, "format", word);
                Layout().format = *itsFormat;
            } else {
                Fail("expected a unit (Hz, kHz, MHz, GHz, THz), S, Y, Z, G or H, a format (RI, MA, DB) or R "
                     "with a "
                     "reference on the option line, found " +
                     Quoted(word));
            }
            word = Word();
        }
    }

    // In ohm: "50", or "50+5j" in brackets or without them.
    Complex ReferenceOf(std::string_view word) {
        std::string_view text = word;
        if (text.size() > 2 && text.front() == '(' && text.back() == ')')
            text = text.substr(1, text.size() - 2);
        const char* const end = text.data() + text.size();
        const auto part = [end](const char* begin, double& value) {
            const bool plus = begin != end && *begin == '+' && end - begin > 1 && begin[1] != '-';
            const auto result = fast_float::from_chars(begin + (plus ? 1 : 0), end, value);
            return result.ec == std::errc{} ? result.ptr : nullptr;
        };
        double real = 0;
        double imaginary = 0;
        const char* pos = part(text.data(), real);
        if (pos && pos != end) {
            const bool isSigned = *pos == '+' || *pos == '-';
            pos = isSigned ? part(pos, imaginary) : nullptr;
            if (pos && end - pos == 1 && (*pos == 'j' || *pos == 'i'))
                pos = end;
        }
        if (pos != end)
            Fail("expected a reference in ohm, found " + Quoted(word));
        const std::string fault = FaultOfReference({real, imaginary});
        if (!fault.empty())
            Fail(fault);
        if (imaginary != 0 && !std::exchange(m_ComplexReference, true))
            Warn(m_Line, "a complex reference is no part of the format: " + Quoted(word));
        return {real, imaginary};
    }

    // From "[" to behind "]". A keyword that stands for the second time is an error.
    Keyword ReadKeyword() {
        Keyword keyword;
        keyword.line = m_Line;
        const std::string_view shown = PeekTo(']');
        m_Pos += shown.size();
        if (m_Pos == m_End || *m_Pos != ']')
            Fail("expected a keyword in brackets, found " + Quoted(shown));
        ++m_Pos;
        keyword.name = KeywordName(shown.substr(1));
        static constexpr std::string_view kKnown[] = {"version",
                                                      "number of ports",
                                                      "two port data order",
                                                      "number of frequencies",
                                                      "number of noise frequencies",
                                                      "reference",
                                                      "matrix format",
                                                      "mixed mode order",
                                                      "begin information",
                                                      "end information",
                                                      "network data",
                                                      "noise data",
                                                      "end"};
        if (std::find(std::begin(kKnown), std::end(kKnown), keyword.name) == std::end(kKnown))
            Fail("expected a keyword of the format, found " + Quoted(std::string(shown) + ']'));
        const auto [seen, isNew] = m_Seen.try_emplace(keyword.name, m_Line);
        if (!isNew)
            Fail(fmt::format("{}] stands on line {} already", shown, seen->second));
        if (keyword.name != "version" && !IsVersion2(Layout().version))
            Fail(fmt::format("{}] needs [Version] 2.0 or 2.1 before it", shown));
        return keyword;
    }

    void ReadSetting(const Keyword& keyword) {
        const std::string& name = keyword.name;
        if (name == "version") {
            Layout().version = Argument<Version>(VersionOf, "1.0, 1.1, 2.0 or 2.1");
            if (!IsVersion2(Layout().version))
                Warn(m_Line, "version 1 has no keywords: [Version] is taken for what it says");
        } else if (name == "number of ports") {
            Net().ports = static_cast<int>(Count(1, std::numeric_limits<int>::max()));
        } else if (name == "two port data order") {
            Layout().twoPortOrder = Argument<TwoPortOrder>(TwoPortOrderOf, "12_21 or 21_12");
        } else if (name == "number of frequencies") {
            m_Frequencies = Count(1, std::numeric_limits<std::size_t>::max());
        } else if (name == "number of noise frequencies") {
            m_NoiseFrequencies = Count(0, std::numeric_limits<std::size_t>::max());
        } else if (name == "matrix format") {
            Layout().matrix = Argument<MatrixFormat>(MatrixFormatOf, "Full, Lower or Upper");
        } else if (name == "reference") {
            ForWordsUntilKeyword(
                [this](std::string_view word) { Net().references.push_back(ReferenceOf(word)); });
            if (Net().references.empty())
                Fail(keyword.line, "expected references in ohm behind [Reference], found none");
            return;
        } else if (name == "mixed mode order") {
            m_MixedModeLine = keyword.line;
            ForWordsUntilKeyword([this](std::string_view word) { Net().mixedMode.push_back(TermOf(word)); });
            return;
        } else if (name == "begin information") {
            SkipInformation(keyword.line);
        } else {
            Fail(keyword.line, fmt::format("expected [Network Data] before [{}]", name));
        }
        ExpectLineEnd();
    }

    template <class Value, class Parse>
    Value Argument(Parse parse, std::string_view expected) {
        const std::string_view word = Word();
        if (const std::optional<Value> value = parse(word))
            return *value;
        Fail(fmt::format("expected {}, found {}", expected, word.empty() ? "nothing" : Quoted(word)));
    }

    std::size_t Count(std::size_t least, std::size_t most) {
        const std::string_view word = Word();
        std::size_t count = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
        if (word.empty() || error != std::errc{} || end != word.data() + word.size() || count < least ||
            count > most)
            Fail(fmt::format("expected a whole number from {}, found {}", least,
                             word.empty() ? "nothing" : Quoted(word)));
        return count;
    }

    void ExpectLineEnd() {
        const std::string_view word = Word();
        if (!word.empty())
            Fail("expected the end of the line, found " + Quoted(word));
    }

    // Over as many lines as it takes.
    template <class Take>
    void ForWordsUntilKeyword(Take take) {
        while (Skip() && *m_Pos != '[' && *m_Pos != '#')
            take(Word());
    }

    MixedModeTerm TermOf(std::string_view word) {
        using Mode = MixedModeTerm::Mode;
        MixedModeTerm term;
        const char* pos = word.data() + 1;
        const char* const end = word.data() + word.size();
        const auto port = [&](int& number) {
            const auto [last, error] = std::from_chars(pos, end, number);
            pos = last;
            return error == std::errc{};
        };
        bool good = true;
        if (SameWord(word.substr(0, 1), "S"))
            good = port(term.port);
        else if (SameWord(word.substr(0, 1), "D") || SameWord(word.substr(0, 1), "C")) {
            term.mode = SameWord(word.substr(0, 1), "D") ? Mode::Differential : Mode::Common;
            good = port(term.port) && pos != end && *pos++ == ',' && port(term.negative);
        } else
            good = false;
        if (!good || pos != end)
            Fail("expected a mixed-mode term such as S1, D2,3 or C2,3, found " + Quoted(word));
        return term;
    }

    void SkipInformation(int begin) {
        do {
            SkipToLineEnd();
            if (!Skip())
                Fail(begin, "[Begin Information] has no [End Information]");
        } while (*m_Pos != '[' || KeywordName(PeekTo(']').substr(1)) != "end information");
        ReadKeyword();
    }

    // What header and data say together

    void SettlePorts() {
        if (IsVersion2(Layout().version)) {
            if (Net().ports == 0)
                Fail("expected [Number of Ports] before [Network Data]");
            if (m_PortsByName != 0 && m_PortsByName != Net().ports)
                Warn(m_Seen["number of ports"],
                     fmt::format("the file's name says {} ports, the text {}: the text holds", m_PortsByName,
                                 Net().ports));
            if (Net().ports == 2 && !m_Seen.contains("two port data order") &&
                Layout().matrix == MatrixFormat::Full)
                Fail("expected [Two-Port Data Order] before [Network Data]");
        } else {
            Net().ports = m_PortsByName != 0 ? m_PortsByName : PortsOfLines();
        }
        const std::string fault = FaultOfKind(Net().kind, Net().ports);
        if (!fault.empty())
            Fail(m_OptionLine, fault);
    }

    // Numbers come in pairs behind the frequency, so that a line with an odd count of words begins a frequency.
    int PortsOfLines() {
        const char* const pos = m_Pos;
        const int line = m_Line;
        std::size_t count = WordsOnLine();
        if (IsOdd(count))
            while (Skip()) {
                const std::size_t more = *m_Pos == '#' ? (SkipToLineEnd(), 0) : WordsOnLine();
                if (IsOdd(more))
                    break;
                count += more;
            }
        m_Pos = pos;
        m_Line = line;
        const std::size_t ports =
            static_cast<std::size_t>(std::llround(std::sqrt(static_cast<double>(count) / 2)));
        if (ports == 0 || count != 1 + 2 * ports * ports)
            Fail(fmt::format(
                "the file's name doesn't say the number of ports, nor do the data: expected 1 + 2 n^2 "
                "numbers at the first frequency, found {}",
                count));
        return static_cast<int>(ports);
    }

    void SettleReferences() {
        const std::size_t ports = static_cast<std::size_t>(Net().ports);
        const auto fits = [&](const std::vector<Complex>& references, int line) {
            if (references.size() > 1 && references.size() != ports)
                Fail(line, fmt::format("expected one reference or one for each of {} ports, found {}", ports,
                                       references.size()));
        };
        if (m_OptionReferences.empty())
            m_OptionReferences.push_back(50);
        fits(m_OptionReferences, m_OptionLine);
        m_NoiseReference = m_OptionReferences.front();
        Net().noiseReference = m_NoiseReference.real();
        if (m_OptionReferences.size() > 1) {
            if (IsVersion2(Layout().version))
                Warn(m_OptionLine, "version 2 states one reference for each port by [Reference]");
            else
                Layout().version = Version::V1_1;
        }
        if (Net().references.empty())
            Net().references = std::move(m_OptionReferences);
        else
            fits(Net().references, m_Seen["reference"]);
        if (!IsVersion2(Layout().version) && Net().kind != Kind::S && !IsOneReal(Net().references))
            Fail(m_OptionLine,
                 fmt::format("{} parameters of version 1 are normalised to one real reference, found {}",
                             static_cast<char>(Net().kind),
                             Net().references.size() > 1 ? "several" : "a complex one"));
    }

    // One for each port; only now that a matrix of as many values has been read.
    void SpreadReferences() {
        if (Net().references.size() == 1)
            Net().references.resize(static_cast<std::size_t>(Net().ports), Net().references.front());
    }

    void CheckMixedMode() {
        const std::string fault = FaultOfMixedMode(Net().mixedMode, Net().kind, Net().references);
        if (!fault.empty())
            Fail(m_MixedModeLine, fault);
    }

    // The data

    // To the next number; false where the data end, before a keyword or at the text's end.
    bool ToNumber() {
        while (Skip()) {
            if (*m_Pos == '[')
                return false;
            if (*m_Pos != '#')
                return true;
            ReadOptionLine();
        }
        return false;
    }

    void ReadNetworkData() {
        const bool isVersion2 = IsVersion2(Layout().version);
        std::vector<double>& frequencies = Net().frequencies;
        m_NumberLine = 0;
        for (;;) {
            const bool more = ToNumber();
            if (frequencies.empty() && !more)
                Fail("expected network data, found " + Found());
            if (!more)
                break;
            if (!isVersion2 && m_Line == m_NumberLine)
                Fail(fmt::format(
                    "expected a new line after the {} numbers of a frequency of {} ports, found {}",
                    1 + 2 * Pairs(), Net().ports, Quoted(PeekWord())));
            if (frequencies.size() == m_Frequencies && m_Frequencies != 0)
                Fail(fmt::format(
                    "expected no more than the {} frequencies of [Number of Frequencies], found {}",
                    m_Frequencies, Quoted(PeekWord())));
            const char* const begin = m_Pos;
            const double frequency = Frequency();
            if (!frequencies.empty() && !(frequency > frequencies.back())) {
                if (!isVersion2 && Net().ports == 2 && IsNoise()) {
                    m_Pos = begin;
                    ReadNoise();
                    break;
                }
                FailOrder(frequency, frequencies.back());
            }
            ReadMatrix();
            frequencies.push_back(frequency);
            if (frequencies.size() == 1)
                Reserve(static_cast<std::size_t>(m_Pos - begin));
        }
        SpreadReferences();
        if (!isVersion2 && Skip())
            Fail("expected numbers, found " + Found());
        if (frequencies.size() < m_Frequencies)
            Fail(fmt::format("expected the {} frequencies of [Number of Frequencies], found {}",
                             m_Frequencies, frequencies.size()));
    }

    std::string Found() const { return m_Pos == m_End ? "the end of the text" : Quoted(PeekWord()); }

    [[noreturn]] void FailOrder(double frequency, double before) const {
        Fail(m_NumberLine,
             fmt::format("expected a frequency above the {} Hz before it, found {} Hz", before, frequency));
    }

    // Whether the rest of the line, behind its first number, makes noise parameters of it.
    bool IsNoise() {
        const char* const pos = m_Pos;
        const bool noise = WordsOnLine() == 4;
        m_Pos = pos;
        return noise;
    }

    std::size_t Pairs() const {
        const std::size_t n = static_cast<std::size_t>(m_File.network.ports);
        return m_File.layout.matrix == MatrixFormat::Full ? n * n : n * (n + 1) / 2;
    }

    void ReadMatrix() {
        const int begin = m_NumberLine;
        const std::size_t pairs = Pairs();
        std::vector<Complex>& values = Net().values;
        const std::size_t base = values.size();
        // A number takes a digit and a blank at least.
        const bool fits = static_cast<std::size_t>(m_End - m_Pos) / 4 + 1 >= pairs;
        if (fits)
            values.resize(base + pairs);
        const double least =
            Layout().format == Format::DecibelAngle ? -std::numeric_limits<double>::infinity() : -kLargest;
        for (std::size_t i = 0; i < pairs; ++i) {
            const double first = MatrixNumber(2 * i, begin, least);
            const double second = MatrixNumber(2 * i + 1, begin, -kLargest);
            if (fits)
                values[base + i] = {first, second};
        }
        FinishMatrix(base, begin);
    }

    double MatrixNumber(std::size_t count, int begin, double least) {
        if (m_Pos != m_End && *m_Pos == ' ')
            ++m_Pos;
        if ((m_Pos == m_End || static_cast<unsigned char>(*m_Pos - '-') > '9' - '-') && !ToNumber())
            Fail(
                fmt::format("expected {} numbers at the frequency on line {}, {} ports, found {} and then {}",
                            1 + 2 * Pairs(), begin, Net().ports, 1 + count, Found()));
        return Number(least);
    }

    // The values from `base` on as they are held: unfolded, in order, with real and imaginary part, in ohm or siemens.
    void FinishMatrix(std::size_t base, int line) {
        std::vector<Complex>& values = Net().values;
        const std::size_t n = static_cast<std::size_t>(Net().ports);
        if (Layout().format != Format::RealImaginary)
            for (std::size_t i = base; i < values.size(); ++i) {
                const bool decibels = Layout().format == Format::DecibelAngle;
                if (std::isinf(values[i].real()) && !std::exchange(m_DecibelsOfZero, true))
                    Warn(line, "-inf dB is taken as the magnitude 0");
                values[i] = FromPolar(decibels ? MagnitudeOfDecibels(values[i].real()) : values[i].real(),
                                      values[i].imag());
            }
        if (Layout().matrix != MatrixFormat::Full)
            Unfold(base);
        else if (n == 2 && Layout().twoPortOrder == TwoPortOrder::Order21_12)
            std::swap(values[base + 1], values[base + 2]);
        const bool isNormalised = !IsVersion2(Layout().version) && Net().kind != Kind::S;
        if (isNormalised) {
            const double reference = Net().references.front().real();
            for (std::size_t i = 0; i < n * n; ++i) {
                const Quantity quantity =
                    QuantityOf(Net().kind, static_cast<int>(i / n), static_cast<int>(i % n));
                Complex& value = values[base + i];
                if (quantity != Quantity::Ratio)
                    value = quantity == Quantity::Impedance ? value * reference : value / reference;
            }
        }
        if (isNormalised || Layout().format != Format::RealImaginary)
            for (std::size_t i = base; i < values.size(); ++i)
                if (!std::isfinite(values[i].real()) || !std::isfinite(values[i].imag()))
                    Fail(line, "a value at this frequency is beyond the range of numbers");
    }

    // A triangle of rows becomes a symmetric matrix; from its end, so that nothing is overwritten unread.
    void Unfold(std::size_t base) {
        std::vector<Complex>& values = Net().values;
        const std::size_t n = static_cast<std::size_t>(Net().ports);
        std::size_t from = values.size();
        values.resize(base + n * n);
        const bool lower = Layout().matrix == MatrixFormat::Lower;
        for (std::size_t row = n; row-- > 0;) {
            const std::size_t first = lower ? 0 : row;
            for (std::size_t column = lower ? row + 1 : n; column-- > first;)
                values[base + row * n + column] = values[--from];
        }
        for (std::size_t row = 0; row < n; ++row)
            for (std::size_t column = 0; column < row; ++column) {
                Complex& below = values[base + row * n + column];
                Complex& above = values[base + column * n + row];
                (lower ? above : below) = lower ? below : above;
            }
    }

    // For as many frequencies as the text holds if they are all as long as the first one.
    void Reserve(std::size_t bytes) {
        const std::size_t count = static_cast<std::size_t>(m_End - m_Pos) / bytes + 2;
        Net().frequencies.reserve(count);
        Net().values.reserve(count * Net().values.size());
    }

    void ReadNoise() {
        const bool isVersion2 = IsVersion2(Layout().version);
        std::vector<NoiseParameters>& noise = Net().noise;
        m_NumberLine = 0;
        while (ToNumber()) {
            if (!isVersion2 && m_Line == m_NumberLine)
                Fail("expected a new line after 5 noise parameters, found " + Quoted(PeekWord()));
            if (noise.size() == m_NoiseFrequencies && isVersion2 &&
                m_Seen.contains("number of noise frequencies"))
                Fail(fmt::format(
                    "expected no more than the {} frequencies of [Number of Noise Frequencies], found {}",
                    m_NoiseFrequencies, Quoted(PeekWord())));
            const double frequency = Frequency();
            if (!noise.empty() && !(frequency > noise.back().frequency))
                FailOrder(frequency, noise.back().frequency);
            const int line = m_NumberLine;
            double numbers[4];
            for (double& number : numbers) {
                if (!ToNumber())
                    Fail(fmt::format(
                        "expected 5 noise parameters at the frequency on line {}, found {} and then {}", line,
                        1 + (&number - numbers), Found()));
                number = Number();
            }
            NoiseParameters parameters{frequency, numbers[0], FromPolar(numbers[1], numbers[2]), numbers[3]};
            if (!isVersion2)
                parameters.resistance *= Net().noiseReference;
            if (!std::isfinite(parameters.resistance))
                Fail(line, "the noise resistance is beyond the range of numbers");
            noise.push_back(parameters);
        }
    }

    void ReadBehindNetworkData() {
        Keyword keyword;
        if (Skip())
            keyword = ReadKeyword();
        if (keyword.name == "noise data") {
            ExpectLineEnd();
            if (Net().ports != 2)
                Fail(keyword.line, fmt::format("noise data are of 2 ports, found {}", Net().ports));
            ReadNoise();
            if (!m_Seen.contains("number of noise frequencies"))
                Warn(keyword.line, "[Number of Noise Frequencies] is missing");
            keyword = Skip() ? ReadKeyword() : Keyword{};
        }
        if (Net().noise.size() < m_NoiseFrequencies)
            Fail(fmt::format("expected the {} frequencies of [Number of Noise Frequencies], found {}",
                             m_NoiseFrequencies, Net().noise.size()));
        if (keyword.name.empty()) {
            Warn(m_Line, "[End] is missing");
            return;
        }
        if (keyword.name != "end")
            Fail(keyword.line,
                 fmt::format("expected [Noise Data] or [End] behind the data, found [{}]", keyword.name));
        if (Skip())
            Fail("expected nothing behind [End], found " + Quoted(PeekWord()));
    }

    const int m_PortsByName;
    File m_File;
    std::map<std::string, int> m_Seen; // keywords and their lines
    std::vector<Complex> m_OptionReferences;
    Complex m_NoiseReference = 50;
    std::size_t m_Frequencies = 0; // stated; 0 if they aren't
    std::size_t m_NoiseFrequencies = 0;
    int m_OptionLine = 0;
    int m_MixedModeLine = 0;
    bool m_SecondOptionLine = false; // warned of
    bool m_ComplexReference = false;
    bool m_DecibelsOfZero = false;
    std::string m_Shifted;
};

} // namespace

File Read(std::string_view text, int portsByName) {
    return Reader(text, portsByName).Read();
}

} // namespace touchstone
