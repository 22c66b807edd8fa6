#include "name_path.h"

std::vector<std::string> NamesOfPath(std::string_view path) {
    std::vector<std::string> names(1);
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (path[i] == '/')
            names.emplace_back();
        else
            names.back() += path[i] == '\\' && i + 1 < path.size() ? path[++i] : path[i];
    }
    return names;
}

std::string QuotedName(std::string_view name) {
    std::string quoted;
    for (char c : name) {
        if (c == '/' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted;
}
