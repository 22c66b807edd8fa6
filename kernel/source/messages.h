// The road of messages to the host: information, warning or error, each in words.
//
// A text that has been told is not told again, so that a simulator that repeats itself at every step doesn't
// flood the host.
#pragma once

#include <functional>
#include <string>
#include <unordered_set>

namespace ckt {

enum class Level { information = 1, warning = 2, error = 3 };

class Messages {
public:
    using Sink = std::function<void(Level, const std::string&)>;

    explicit Messages(Sink sink) : m_sink(std::move(sink)) {}

    void information(const std::string& text) { tell(Level::information, text); }
    void warning(const std::string& text) { tell(Level::warning, text); }
    void error(const std::string& text) { tell(Level::error, text); }
    void tell(Level level, const std::string& text);

    void begin_section() { m_told.clear(); }

    // Number of errors told so far.
    int errors() const { return m_errors; }

private:
    Sink m_sink;
    std::unordered_set<std::string> m_told;
    int m_errors = 0;
};

} // namespace ckt
