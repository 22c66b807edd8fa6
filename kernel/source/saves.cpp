#include "saves.h"

#include "text.h"

#include <algorithm>
#include <set>

namespace ckt {

namespace {

constexpr std::string_view branch = "#branch"; // the end of a current's name

} // namespace

std::string node_vector(std::string_view node) {
    return node == "0" || node == "gnd" ? std::string() : std::string(node);
}

std::string_view plain_vector(std::string_view name) {
    const bool wrapped = name.starts_with("V(") && name.ends_with(')');
    return wrapped ? name.substr(2, name.size() - 3) : name;
}

std::string branch_vector(std::string_view device) {
    return std::string(device).append(branch);
}

std::optional<Probe> parse_probe(std::string_view text) {
    if (text.size() < 4 || text[1] != '(' || text.back() != ')' || (text[0] != 'v' && text[0] != 'i'))
        return std::nullopt;
    Probe probe{std::string(text), "", ""};
    const std::string_view inner = text.substr(2, text.size() - 3);
    const auto names = tokens(inner);
    const auto commas = std::count(inner.begin(), inner.end(), ',');
    if (inner.find_first_of("()=") != inner.npos || names.size() != static_cast<std::size_t>(commas) + 1)
        return std::nullopt;
    if (text[0] == 'v' && names.size() <= 2) {
        probe.plus = node_vector(names[0]);
        probe.minus = names.size() == 2 ? node_vector(names[1]) : std::string();
        return probe;
    }
    if (text[0] == 'i' && names.size() == 1) {
        probe.plus = branch_vector(names[0]);
        return probe;
    }
    return std::nullopt;
}

std::vector<std::string> not_saved(const std::vector<Card>& saves, const std::vector<std::string>& vectors) {
    std::vector<std::string> missing;
    if (saves.empty())
        return missing;
    std::set<std::string> saved;
    for (const Card& card : saves)
        for (const std::string& word : spaced_words(card.text)) {
            if (word == "all")
                return missing;
            const auto probe = parse_probe(word);
            saved.insert(probe ? probe->plus : word);
            if (probe)
                saved.insert(probe->minus);
        }
    for (const std::string& name : vectors)
        if (!name.empty() && saved.insert(name).second)
            missing.push_back(name.ends_with(branch)
                                  ? "i(" + name.substr(0, name.size() - branch.size()) + ')'
                                  : "v(" + name + ')');
    return missing;
}

} // namespace ckt
