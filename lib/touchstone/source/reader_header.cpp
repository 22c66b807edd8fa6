#include "network_rules.h"
#include "reader.h"
#include "words.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <utility>

namespace touchstone {
namespace {

using Complex = std::complex<double>;

constexpr const char* kVersion = "version";
constexpr const char* kPorts = "number of ports";
constexpr const char* kTwoPortOrder = "two port data order";
constexpr const char* kReference = "reference";
constexpr const char* kEndInformation = "end information";
constexpr const char* kNetworkData = "network data";

constexpr std::string_view kKeywords[] = {kVersion,
                                          kPorts,
                                          kTwoPortOrder,
                                          "number of frequencies",
                                          "number of noise frequencies",
                                          kReference,
                                          "matrix format",
                                          "mixed mode order",
                                          "begin information",
                                          kEndInformation,
                                          kNetworkData,
                                          "noise data",
                                          "end"};

// In lower case, its words apart by one blank.
std::string KeywordName(std::string_view inBrackets) {
    std::string name;
    for (const char c : inBrackets) {
        const bool isGap = IsBlank(c) || c == '-' || c == '_';
        if (!isGap)
            name += LowerLetter(c);
        else if (!name.empty() && name.back() != ' ')
            name += ' ';
    }
    if (!name.empty() && name.back() == ' ')
        name.pop_back();
    return name;
}

std::string QuotedOrNothing(std::string_view word) {
    return word.empty() ? "nothing" : Quoted(word);
}

// The number at `begin`, and where it ends; null if there is none.
const char* ParsePart(const char* begin, const char* end, double& value) {
    if (end - begin > 1 && *begin == '+' && begin[1] != '-')
        ++begin;
    const auto result = fast_float::from_chars(begin, end, value);
    return result.ec == std::errc{} ? result.ptr : nullptr;
}

// Of a matrix with a frequency in front; 0 if it can't be.
int PortsOfCount(std::size_t numbers) {
    const std::size_t ports = static_cast<std::size_t>(std::sqrt(static_cast<double>(numbers) / 2));
    return numbers == 1 + 2 * ports * ports ? static_cast<int>(ports) : 0;
}

} // namespace

void Reader::ReadHeader() {
    for (;;) {
        if (!Skip())
            Fail("expected network data, found the end of the text");
        if (*m_Pos == '#') {
            if (m_OptionLine == 0)
                ReadOptionLine();
            else
                IgnoreOptionLine();
        } else if (*m_Pos == '[') {
            const Keyword keyword = ReadKeyword();
            if (keyword.name == kNetworkData)
                break;
            ReadSetting(keyword);
        } else if (IsVersion2()) {
            Fail("expected [Network Data] before the data, found " + Quoted(PeekWord()));
        } else {
            break;
        }
    }
    if (IsVersion2())
        ExpectLineEnd();
    if (m_OptionLine == 0)
        Warn(m_Line, "there is no option line: taken as # GHz S MA R 50");
    if (IsVersion2() && !m_Frequencies)
        Warn(m_Line, "[Number of Frequencies] is missing");
}

void Reader::ReadOptionLine() {
    m_OptionLine = m_Line;
    ++m_Pos; // '#'
    bool hasUnit = false, hasKind = false, hasFormat = false;
    const auto once = [this](bool& seen, std::string_view what, std::string_view word) {
        if (std::exchange(seen, true))
            Fail(fmt::format("expected the option line to state its {} once, found {} as well", what,
                             Quoted(word)));
    };
    std::string_view word = Word();
    while (!word.empty()) {
        if (SameWord(word, "R")) {
            bool hasReference = !m_OptionReferences.empty();
            once(hasReference, "reference", word);
            for (word = Word(); !word.empty() && (m_OptionReferences.empty() || word.front() < 'A');
                 word = Word())
                m_OptionReferences.push_back(ReferenceOf(word));
            if (m_OptionReferences.empty())
                Fail("expected a reference in ohm behind R, found the end of the option line");
            continue;
        }
        if (const auto unit = UnitOf(word)) {
            once(hasUnit, "unit", word);
            m_Layout.unit = *unit;
        } else if (const auto kind = KindOf(word)) {
            once(hasKind, "kind of parameters", word);
            m_Net.kind = *kind;
        } else if (const auto format = FormatOf(word)) {
            once(hasFormat, "format", word);
            m_Layout.format = *format;
        } else {
            Fail(
                "expected on the option line a unit (Hz, kHz, MHz, GHz, THz), S, Y, Z, G or H, a format (RI, "
                "MA, DB) or R and references, found " +
                Quoted(word));
        }
        word = Word();
    }
}

void Reader::IgnoreOptionLine() {
    if (!std::exchange(m_SecondOptionLine, true))
        Warn(m_Line, fmt::format("only the option line on line {} counts", m_OptionLine));
    SkipToLineEnd();
}

// In ohm: "50", or "50+5j" in brackets or without them.
Complex Reader::ReferenceOf(std::string_view word) {
    std::string_view text = word;
    if (text.size() > 2 && text.front() == '(' && text.back() == ')')
        text = text.substr(1, text.size() - 2);
    const char* const end = text.data() + text.size();
    double real = 0;
    double imaginary = 0;
    const char* pos = ParsePart(text.data(), end, real);
    if (pos && pos != end) {
        const bool isSigned = *pos == '+' || *pos == '-';
        pos = isSigned ? ParsePart(pos, end, imaginary) : nullptr;
        if (pos && end - pos == 1 && (*pos == 'j' || *pos == 'i'))
            ++pos;
        else
            pos = nullptr;
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

Reader::Keyword Reader::ReadKeyword() {
    const std::string_view shown = PeekTo(']');
    m_Pos += shown.size();
    if (m_Pos == m_End || *m_Pos != ']')
        Fail("expected a keyword in brackets, found " + Quoted(shown));
    ++m_Pos;
    Keyword keyword{KeywordName(shown.substr(1)), m_Line};
    const std::string quoted = Quoted(std::string(shown) + ']');
    if (std::find(std::begin(kKeywords), std::end(kKeywords), keyword.name) == std::end(kKeywords))
        Fail("expected a keyword of the format, found " + quoted);
    const auto [seen, isNew] = m_Seen.try_emplace(keyword.name, m_Line);
    if (!isNew)
        Fail(fmt::format("expected {} once, found it on line {} already", quoted, seen->second));
    if (keyword.name != kVersion && !IsVersion2())
        Fail(fmt::format("expected [Version] 2.0 or 2.1 before keywords, found {}", quoted));
    return keyword;
}

void Reader::ReadSetting(const Keyword& keyword) {
    const std::string& name = keyword.name;
    const auto forWordsUntilKeyword = [this](auto take) {
        while (Skip() && *m_Pos != '[' && *m_Pos != '#')
            take(Word());
    };
    if (name == kReference) {
        forWordsUntilKeyword(
            [this](std::string_view word) { m_Net.references.push_back(ReferenceOf(word)); });
        if (m_Net.references.empty())
            Fail(keyword.line, "expected references in ohm behind [Reference], found nothing");
        return;
    }
    if (name == "mixed mode order") {
        forWordsUntilKeyword([this](std::string_view word) { m_Net.mixedMode.push_back(TermOf(word)); });
        if (m_Net.mixedMode.empty())
            Fail(keyword.line, "expected terms behind [Mixed-Mode Order], found nothing");
        return;
    }
    if (name == kVersion) {
        m_Layout.version = Argument<Version>(VersionOf, "version 1.0, 1.1, 2.0 or 2.1");
        if (!IsVersion2())
            Warn(m_Line, "version 1 has no keywords, [Version] neither");
    } else if (name == kPorts) {
        m_Net.ports = static_cast<int>(Count(1, std::numeric_limits<int>::max()));
    } else if (name == kTwoPortOrder) {
        m_Layout.twoPortOrder = Argument<TwoPortOrder>(TwoPortOrderOf, "12_21 or 21_12");
    } else if (name == "number of frequencies") {
        m_Frequencies = Count(1, std::numeric_limits<std::size_t>::max());
    } else if (name == "number of noise frequencies") {
        m_NoiseFrequencies = Count(0, std::numeric_limits<std::size_t>::max());
    } else if (name == "matrix format") {
        m_Layout.matrix = Argument<MatrixFormat>(MatrixFormatOf, "Full, Lower or Upper");
    } else if (name == "begin information") {
        SkipInformation(keyword.line);
    } else {
        Fail(fmt::format("expected [Network Data] first, found [{}]", name));
    }
    ExpectLineEnd();
}

void Reader::SkipInformation(int begin) {
    do {
        SkipToLineEnd();
        if (!Skip())
            Fail(begin, "expected [End Information] behind [Begin Information], found the end of the text");
    } while (*m_Pos != '[' || KeywordName(PeekTo(']').substr(1)) != kEndInformation);
    ReadKeyword();
}

template <class Value, class Parse>
Value Reader::Argument(Parse parse, std::string_view expected) {
    const std::string_view word = Word();
    if (const std::optional<Value> value = parse(word))
        return *value;
    Fail(fmt::format("expected {}, found {}", expected, QuotedOrNothing(word)));
}

std::size_t Reader::Count(std::size_t least, std::size_t most) {
    const std::string_view word = Word();
    const char* const end = word.data() + word.size();
    std::size_t count = 0;
    const auto [last, error] = std::from_chars(word.data(), end, count);
    if (error != std::errc{} || last != end || count < least || count > most)
        Fail(fmt::format("expected a whole number from {} to {}, found {}", least, most,
                         QuotedOrNothing(word)));
    return count;
}

MixedModeTerm Reader::TermOf(std::string_view word) {
    using Mode = MixedModeTerm::Mode;
    MixedModeTerm term;
    const char* pos = word.data() + 1;
    const char* const end = word.data() + word.size();
    const auto port = [&](int& number) {
        const auto [last, error] = std::from_chars(pos, end, number);
        pos = last;
        return error == std::errc{};
    };
    bool isGood = false;
    for (const Mode mode : {Mode::Single, Mode::Differential, Mode::Common})
        if (LowerLetter(word.front()) == LowerLetter(static_cast<char>(mode))) {
            term.mode = mode;
            isGood = port(term.port) &&
                     (mode == Mode::Single || (pos != end && *pos++ == ',' && port(term.negative)));
        }
    if (!isGood || pos != end)
        Fail("expected a mixed-mode term such as S1, D2,3 or C2,3, found " + Quoted(word));
    return term;
}

void Reader::ExpectLineEnd() {
    const std::string_view word = Word();
    if (!word.empty())
        Fail("expected the end of the line, found " + Quoted(word));
}

void Reader::SettlePorts() {
    const auto warnOfName = [this](int line, std::string_view what, int ports, std::string_view holds) {
        if (ports != 0 && m_PortsByName > 0 && m_PortsByName != ports)
            Warn(line, fmt::format("the file's name says {} ports, {} {}: {} holds", m_PortsByName, what,
                                   ports, holds));
    };
    if (!IsVersion2()) {
        const std::size_t count = NumbersOfFrequency();
        const int ports = PortsOfCount(count);
        warnOfName(m_Line, "the lines of the first frequency", ports, "the name");
        m_Net.ports = m_PortsByName > 0 ? m_PortsByName : ports;
        if (m_Net.ports == 0)
            Fail(fmt::format(
                "expected 1 + 2 n^2 numbers at the first frequency, since the file's name doesn't say "
                "its number of ports n, found {}",
                count));
    } else {
        if (m_Net.ports == 0)
            Fail("expected [Number of Ports] before [Network Data]");
        warnOfName(m_Seen[kPorts], "[Number of Ports]", m_Net.ports, "the keyword");
        if (m_Net.ports == 2 && !m_Seen.contains(kTwoPortOrder) && m_Layout.matrix == MatrixFormat::Full)
            Fail("expected [Two-Port Data Order] before [Network Data] of 2 ports");
    }
    const std::string fault = FaultOfKind(m_Net.kind, m_Net.ports);
    if (!fault.empty())
        Fail(m_OptionLine, fault);
}

// By its lines: numbers come in pairs behind a frequency, so that a line with an odd count of words begins one.
std::size_t Reader::NumbersOfFrequency() {
    const auto isOdd = [](std::size_t count) { return count % 2 != 0; };
    const char* const pos = m_Pos;
    const int line = m_Line;
    std::size_t count = WordsOnLine();
    while (isOdd(count) && Skip()) {
        if (*m_Pos == '#')
            SkipToLineEnd();
        const std::size_t more = WordsOnLine();
        if (isOdd(more))
            break;
        count += more;
    }
    m_Pos = pos;
    m_Line = line;
    return count;
}

void Reader::SettleReferences() {
    const std::size_t ports = static_cast<std::size_t>(m_Net.ports);
    const auto checkCount = [&](const std::vector<Complex>& references, int line) {
        if (references.size() > 1 && references.size() != ports)
            Fail(line, fmt::format("expected one reference or {}, one for each port, found {}", ports,
                                   references.size()));
    };
    if (m_OptionReferences.empty())
        m_OptionReferences.push_back(50);
    checkCount(m_OptionReferences, m_OptionLine);
    if (m_OptionReferences.size() > 1) {
        if (IsVersion2())
            Warn(m_OptionLine, "version 2 states one reference for each port by [Reference]");
        else
            m_Layout.version = Version::V1_1;
    }
    if (m_Net.references.empty()) {
        m_Net.references = m_OptionReferences;
    } else {
        checkCount(m_Net.references, m_Seen[kReference]);
        if (m_Net.references.size() < ports)
            Warn(m_Seen[kReference], "the one reference is taken for all ports");
    }
    if (!IsVersion2() && m_Net.kind != Kind::S && !IsOneReal(m_Net.references))
        Fail(m_OptionLine,
             fmt::format(
                 "expected one real reference, to which {} parameters are normalised in version 1, found {}",
                 static_cast<char>(m_Net.kind), m_Net.references.size() > 1 ? "several" : "a complex one"));
}

} // namespace touchstone
