// One analysis of a job: the command that runs it and how far its points have come.
#pragma once

#include <ngspice/sharedspice.h>

#include <string>
#include <string_view>

namespace ckt {

struct Analysis {
    std::string kind;    // "tran", "ac", ...: the line's keyword without its dot
    std::string command; // the line without its dot, with all parameters as numbers
    std::string place;   // "FILE:LINE"
};

// What keeps an analysis from ever ending; empty if nothing does.
std::string endless_sweep(const Analysis& analysis);

// The share of an analysis that is done, from the value of its scale or the number of its points.
class AnalysisRange {
public:
    AnalysisRange() = default;
    // An analysis without a range that can be told in advance gives a range that never moves.
    explicit AnalysisRange(const Analysis& analysis);

    // To be called when the points begin: finds the scale's place among the vectors.
    void locate(const vecinfoall& plot);

    // The scale value or the point count of a point.
    double position(const vecvaluesall& values) const {
        return m_scale < 0 ? values.vecindex : values.vecsa[m_scale]->creal;
    }
    // From 0 to 1.
    double share(double position) const;
    // The position at which `share` is reached.
    double position_of(double share) const;

private:
    enum class Law { none, linear, logarithmic };
    Law m_law = Law::none;
    double m_begin = 0;
    double m_end = 0;
    std::string_view m_scale_name; // empty: points are counted
    int m_scale = -1;
};

} // namespace ckt
