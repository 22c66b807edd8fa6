#include <startup/command_line.h>

#include <platform/character.h>

#include <algorithm>
#include <optional>

namespace {

struct Verb {
    const wchar16* name;
    ServerRoad road;
};

constexpr Verb kVerbs[] = {
    {u"RegServer", ServerRoad::kRegister},
    {u"UnregServer", ServerRoad::kUnregister},
    {u"Embedding", ServerRoad::kServe},
    {u"Automation", ServerRoad::kServe},
};

std::optional<ServerRoad> FindVerb(const AString& line) {
    for (std::size_t at = line.find_first_of(u"-/"); at != AString::npos;
         at = line.find_first_of(u"-/", at + 1))
        for (const Verb& verb : kVerbs)
            if (CompareNoCase(line.c_str() + at + 1, verb.name) == 0)
                return verb.road;
    return std::nullopt;
}

} // namespace

AString BuildCommandLine(int argc, const char* const* argv) {
    AString line;
    for (int i = 0; i < argc; ++i) {
        AString argument(argv[i]);
        bool is_open = argument.empty() || std::any_of(argument.begin(), argument.end(), platform::IsSpace);
        if (is_open && argument.find(u'"') == AString::npos)
            argument = u'"' + argument + u'"';
        if (i > 0)
            line += u' ';
        line += argument;
    }
    return line;
}

ServerRoad ChooseRoad(const AString& line) {
    if (std::optional<ServerRoad> road = FindVerb(line))
        return *road;
    return TokeniseCommandLine(line).size() < 2 ? ServerRoad::kServe : ServerRoad::kCommandLine;
}

std::vector<AString> TokeniseCommandLine(const AString& line) {
    AString rest = line;
    rest.Trim();
    std::vector<AString> tokens;
    bool quoted = false;
    bool in_token = false;
    for (wchar16 unit : rest) {
        if (unit == u'"')
            quoted = !quoted;
        if (!quoted && platform::IsSpace(unit)) {
            in_token = false;
            continue;
        }
        if (!in_token)
            tokens.emplace_back();
        in_token = true;
        tokens.back() += unit;
    }
    return tokens;
}
