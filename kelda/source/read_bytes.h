// The whole content of a file that was named on the command line.
#pragma once

#include <string>

// "-" is standard input. Throws std::runtime_error with the name and the reason.
std::string ReadBytes(const std::string& name);
