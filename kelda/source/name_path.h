// Paths of names, as a person writes them on the command line: "Block/Inner Block/Frequency".
#pragma once

#include <string>
#include <string_view>
#include <vector>

inline constexpr char kNamePathHelp[] = "Names divided by /; a backslash takes the next character as it is";

// The names of a path; one empty name for an empty path.
std::vector<std::string> NamesOfPath(std::string_view path);

// A name as it stands in a path.
std::string QuotedName(std::string_view name);
