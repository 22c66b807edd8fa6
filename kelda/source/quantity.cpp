#include "quantity.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace {

constexpr int kMostFrequencies = 10'000'000;

struct Prefix {
    char letter;
    double factor;
};
constexpr std::array<Prefix, 9> kPrefixes{{{'f', 1e-15},
                                           {'p', 1e-12},
                                           {'n', 1e-9},
                                           {'u', 1e-6},
                                           {'m', 1e-3},
                                           {'k', 1e3},
                                           {'M', 1e6},
                                           {'G', 1e9},
                                           {'T', 1e12}}};

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const auto first = text.find_first_not_of(kBlanks);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string_view> Split(std::string_view text, char divider) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto end = text.find(divider);
        parts.push_back(Trim(text.substr(0, end)));
        if (end == text.npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

// The number at the front, which is taken off. False if there is none, or one without an end.
bool TakeNumber(std::string_view& text, double& value) {
    const std::size_t plus = !text.empty() && text[0] == '+' ? 1 : 0;
    const auto [end, error] = std::from_chars(text.data() + plus, text.data() + text.size(), value);
    if (error != std::errc() || !std::isfinite(value))
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool TakePrefix(std::string_view& text, double& value) {
    const auto found = std::find_if(kPrefixes.begin(), kPrefixes.end(), [&](const Prefix& prefix) {
        return !text.empty() && prefix.letter == text[0];
    });
    if (found == kPrefixes.end())
        return false;
    value *= found->factor;
    text.remove_prefix(1);
    return true;
}

template <class Parse>
auto ParseList(std::string_view text, const Parse& parse) {
    std::vector<decltype(parse(text))> values;
    for (const std::string_view part : Split(text, ','))
        values.push_back(parse(part));
    return values;
}

[[noreturn]] void Refuse(std::string_view text, std::string_view expected) {
    throw std::invalid_argument(fmt::format("'{}' is not {}", text, expected));
}

} // namespace

double ParseQuantity(std::string_view text, std::string_view unit) {
    const std::string_view whole = text = Trim(text);
    double value = 0;
    if (TakeNumber(text, value)) {
        text = Trim(text);
        if (text.empty() || text == unit)
            return value;
        if (TakePrefix(text, value) && (text.empty() || text == unit))
            return value;
    }
    Refuse(whole, unit.empty() ? std::string("a number") : fmt::format("a number in {}", unit));
}

std::vector<double> ParseQuantities(std::string_view text, std::string_view unit) {
    return ParseList(text, [unit](std::string_view part) { return ParseQuantity(part, unit); });
}

std::complex<double> ParseComplex(std::string_view text) {
    const std::string_view whole = text = Trim(text);
    std::complex<double> value;
    for (bool hasReal = false, hasImaginary = false; !text.empty();) {
        double part = 0;
        const bool isFirst = text.data() == whole.data();
        if (!isFirst && text[0] != '+' && text[0] != '-')
            Refuse(whole, "a number such as 50, 1k or 75+5j");
        if (!TakeNumber(text, part))
            break;
        TakePrefix(text, part);
        const bool isImaginary = !text.empty() && (text[0] == 'j' || text[0] == 'i');
        if (isImaginary)
            text.remove_prefix(1);
        bool& has = isImaginary ? hasImaginary : hasReal;
        if (has)
            break;
        has = true;
        value += isImaginary ? std::complex<double>(0, part) : part;
        if (text.empty())
            return value;
    }
    Refuse(whole, "a number such as 50, 1k or 75+5j");
}

std::vector<std::complex<double>> ParseComplexList(std::string_view text) {
    return ParseList(text, ParseComplex);
}

std::vector<double> ParseFrequencies(std::string_view text) {
    std::vector<double> frequencies;
    for (const std::string_view part : Split(text, ',')) {
        const auto fields = Split(part, ':');
        if (fields.size() == 1) {
            frequencies.push_back(ParseQuantity(part, "Hz"));
            continue;
        }
        const double start = ParseQuantity(fields[0], "Hz");
        const double stop = fields.size() == 3 ? ParseQuantity(fields[1], "Hz") : 0;
        int count = 0;
        if (fields.size() == 3) {
            const auto [end, error] =
                std::from_chars(fields[2].data(), fields[2].data() + fields[2].size(), count);
            if (error != std::errc() || end != fields[2].data() + fields[2].size())
                count = 0;
        }
        if (count < 1 || count > kMostFrequencies || (count == 1 && start != stop))
            Refuse(part, fmt::format("START:STOP:COUNT with a count from 2 to {}", kMostFrequencies));
        for (int i = 0; i < count; ++i)
            frequencies.push_back(i == count - 1 ? stop : start + (stop - start) * i / (count - 1));
    }
    if (std::any_of(frequencies.begin(), frequencies.end(), [](double f) { return f < 0; }))
        Refuse(text, "a list of frequencies from 0 on");
    std::sort(frequencies.begin(), frequencies.end());
    frequencies.erase(std::unique(frequencies.begin(), frequencies.end()), frequencies.end());
    return frequencies;
}

std::string FrequencyText(double hertz) {
    double factor = 1;
    std::string letter;
    for (const Prefix& prefix : kPrefixes) {
        if (prefix.factor > 1 && std::fabs(hertz) >= prefix.factor) {
            factor = prefix.factor;
            letter = prefix.letter;
        }
    }
    return fmt::format("{:.10g} {}Hz", hertz / factor, letter);
}

std::string ComplexText(std::complex<double> value) {
    return value.imag() == 0 ? fmt::format("{:.10g}", value.real())
                             : fmt::format("{:.10g}{:+.10g}j", value.real(), value.imag());
}
