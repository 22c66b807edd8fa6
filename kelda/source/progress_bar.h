// A line at the foot of a terminal that shows how far a job is and how long it has run.
#pragma once

#include "output.h"

class ProgressBar {
public:
    explicit ProgressBar(Output& terminal) : m_Terminal(terminal) {}

    // `progress` from 0 to 1; anything else is brought into that range.
    void Draw(double progress, double seconds);

    // Takes the line away, so that other text can be written in its place.
    void Clear();

private:
    Output& m_Terminal;
    std::string m_Shown;
};

// "0:07", "12:34", "1:02:03".
std::string ClockText(double seconds);

// The line for a terminal so many characters wide: `[####------]  40 %  0:07`, without the bar where it is
// narrow.
std::string ProgressLine(double progress, double seconds, int columns);
