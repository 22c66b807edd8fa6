// What is said of a command line that can't be taken.
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

// The error in words, what was meant perhaps, and where help is to be had.
std::string DescribeWrongUse(const CLI::App& app, const CLI::ParseError& error);
