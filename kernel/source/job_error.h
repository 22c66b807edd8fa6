// What ends a job early: the result of `analyze` and the reason in words.
#pragma once

#include <stdexcept>
#include <string>

namespace ckt {

class JobError : public std::runtime_error {
public:
    JobError(int code, const std::string& reason) : std::runtime_error(reason), m_code(code) {}
    int code() const { return m_code; }

private:
    int m_code;
};

} // namespace ckt
