#include "messages.h"

namespace ckt {

void Messages::tell(Level level, const std::string& text) {
    constexpr std::size_t remembered = 10000;
    if (level != Level::information && m_told.size() < remembered && !m_told.insert(text).second)
        return;
    if (level == Level::error)
        ++m_errors;
    if (m_sink)
        m_sink(level, text);
}

} // namespace ckt
