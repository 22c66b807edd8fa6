#include "progress_bar.h"

#include <fmt/format.h>

#include <algorithm>

std::string ClockText(double seconds) {
    auto whole = static_cast<long long>(seconds);
    long long hours = whole / 3600;
    if (hours > 0)
        return fmt::format("{}:{:02}:{:02}", hours, whole / 60 % 60, whole % 60);
    return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

std::string ProgressLine(double progress, double seconds, int columns) {
    constexpr int kLongestBar = 40;
    constexpr int kShortestBar = 10;
    double share = progress > 0 ? std::min(progress, 1.0) : 0.0;
    // Rounded down: 100 % is said of what is done.
    std::string line = fmt::format("{:3} %  {}", static_cast<int>(share * 100), ClockText(seconds));
    constexpr int kFrame = 3; // the brackets and a blank
    int left = columns - 1 - static_cast<int>(line.size()) - kFrame;
    if (left < kShortestBar)
        return line;
    int width = std::min(left, kLongestBar);
    int full = static_cast<int>(share * width);
    return fmt::format("[{:#>{}}{:->{}}] {}", "", full, "", width - full, line);
}

void ProgressBar::Draw(double progress, double seconds) {
    std::string line = ProgressLine(progress, seconds, m_Terminal.Columns());
    if (line == m_Shown)
        return;
    m_Terminal.Write("\r" + line + "\x1b[K");
    m_Shown = std::move(line);
}

void ProgressBar::Clear() {
    if (m_Shown.empty())
        return;
    m_Terminal.Write("\r\x1b[K");
    m_Shown.clear();
}
