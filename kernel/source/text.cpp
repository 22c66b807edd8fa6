#include "text.h"

#include <algorithm>
#include <charconv>

namespace ckt {

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    while ((begin = text.find_first_not_of(separators, begin)) != text.npos) {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return parts;
}

} // namespace

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = lower(c);
    return result;
}

std::string_view trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\f\v";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == text.npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

bool starts_with_ignoring_case(std::string_view text, std::string_view lower_case_start) {
    if (text.size() < lower_case_start.size())
        return false;
    for (std::size_t i = 0; i < lower_case_start.size(); ++i)
        if (lower(text[i]) != lower_case_start[i])
            return false;
    return true;
}

std::vector<std::string_view> tokens(std::string_view text) {
    return split(text, " \t\r,()=");
}

std::vector<std::string_view> words(std::string_view text) {
    return split(text, " \t\r");
}

std::vector<std::string> spaced_words(std::string_view text) {
    std::vector<std::string> result;
    int depth = 0;
    for (std::string_view word : words(text)) {
        if (!result.empty() && (depth > 0 || word.front() == '('))
            result.back() += word;
        else
            result.emplace_back(word);
        for (const char c : word)
            depth += (c == '(') - (c == ')');
    }
    return result;
}

std::optional<double> spice_number(std::string_view text) {
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{})
        return std::nullopt;
    // Small units divide by a whole power of ten, so that "3n" is the number that "3e-9" is.
    struct Suffix {
        std::string_view text;
        double factor, divisor;
    };
    constexpr Suffix suffixes[] = {
        {"meg", 1e6, 1}, {"mil", 25.4, 1e6}, {"t", 1e12, 1}, {"g", 1e9, 1},  {"k", 1e3, 1},  {"m", 1, 1e3},
        {"u", 1, 1e6},   {"n", 1, 1e9},      {"p", 1, 1e12}, {"f", 1, 1e15}, {"a", 1, 1e18},
    };
    const std::string_view rest = text.substr(static_cast<std::size_t>(end - text.data()));
    for (const Suffix& suffix : suffixes)
        if (starts_with_ignoring_case(rest, suffix.text))
            return value * suffix.factor / suffix.divisor;
    return value;
}

} // namespace ckt
