// The whole content of a file.
#pragma once

#include <string>

namespace platform {

// "-" is standard input. Throws std::runtime_error with the name and the reason.
std::string ReadBytes(const std::string& name);

} // namespace platform
