#include "netlist.h"

#include "text.h"

#include <algorithm>
#include <array>

namespace ckt {

bool is_analysis(std::string_view keyword) {
    constexpr std::array<std::string_view, 11> analyses = {".op", ".dc", ".ac",   ".tran",  ".noise", ".sp",
                                                           ".tf", ".pz", ".sens", ".disto", ".pss"};
    return std::find(analyses.begin(), analyses.end(), keyword) != analyses.end();
}

std::string_view without_comment(std::string_view line) {
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quote) {
            if (c == quote)
                quote = 0;
        } else if (c == '"') {
            quote = c;
        } else if (c == ';' || (c == '/' && i + 1 < line.size() && line[i + 1] == '/') ||
                   (c == '$' && i + 1 < line.size() && line[i + 1] == ' ')) {
            return line.substr(0, i);
        }
    }
    return line;
}

std::string Netlist::where(std::int32_t file, std::int32_t line) const {
    return files[static_cast<std::size_t>(file)] + ':' + std::to_string(line);
}

std::string Netlist::where(std::size_t index) const {
    const NetlistLine& line = lines[std::min(index, lines.size() - 1)];
    return where(line.file, line.line);
}

std::size_t Netlist::card_end(std::size_t begin) const {
    std::size_t end = begin + 1;
    while (end < lines.size() && lines[end].text.front() == '+')
        ++end;
    return end;
}

std::string Netlist::card_text(std::size_t begin) const {
    std::string text;
    for (std::size_t i = begin, end = card_end(begin); i < end; ++i) {
        std::string_view part = without_comment(lines[i].text);
        if (i > begin) {
            part.remove_prefix(1);
            text += ' ';
        }
        text += part;
    }
    return lower(trim(text));
}

void Netlist::build_scopes() const {
    std::vector<std::string> open{""};
    for (std::size_t i = 1; i < lines.size(); i = card_end(i)) {
        const auto parts = words(lines[i].text);
        if (parts.empty())
            continue;
        const std::string name = lower(parts.front());
        if (name == ".subckt" && parts.size() > 1) {
            open.push_back(lower(parts[1]));
            m_scopes[""].emplace(".subckt " + open.back(), i);
        } else if (name == ".ends" && open.size() > 1) {
            open.pop_back();
        } else {
            m_scopes[open.back()].emplace(name, i);
        }
    }
    m_scopes[""];
}

std::optional<std::size_t> Netlist::find_device(std::string_view name) const {
    if (m_scopes.empty())
        build_scopes();
    std::vector<std::string> path;
    const std::string wanted = lower(name);
    for (std::size_t begin = 0; begin <= wanted.size();) {
        const std::size_t end = std::min(wanted.find('.', begin), wanted.size());
        path.push_back(wanted.substr(begin, end - begin));
        begin = end + 1;
    }
    // "q.x1.q1" repeats the device's letter in front; "x1.x2" is a subcircuit's own call.
    if (path.size() > 2 && path.front().size() == 1)
        path.erase(path.begin());

    std::string scope;
    std::optional<std::size_t> found;
    for (std::size_t depth = 0; depth < path.size(); ++depth) {
        const auto names = m_scopes.find(scope);
        if (names == m_scopes.end())
            return found;
        const auto device = names->second.find(path[depth]);
        if (device == names->second.end())
            return found;
        found = device->second;
        // The called subcircuit's name stands last before the parameters.
        scope.clear();
        const std::string card = card_text(*found);
        for (const std::string_view part : words(card)) {
            if (part.find('=') != part.npos || part == "params:")
                break;
            if (m_scopes.contains(std::string(part)))
                scope = part;
        }
        if (scope.empty())
            return found;
    }
    return found;
}

std::optional<std::size_t> Netlist::find_word(std::string_view word) const {
    const std::string wanted = lower(word);
    const auto is_name = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '#' || c == '.';
    };
    if (wanted.empty())
        return std::nullopt;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string text = lower(lines[i].text);
        for (std::size_t at = text.find(wanted); at != text.npos; at = text.find(wanted, at + 1)) {
            const std::size_t end = at + wanted.size();
            if ((at == 0 || !is_name(text[at - 1])) && (end == text.size() || !is_name(text[end])))
                return i;
        }
    }
    return std::nullopt;
}

} // namespace ckt
