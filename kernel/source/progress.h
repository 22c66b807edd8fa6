// The progress of a job from 0 to 1 over all its analyses. It never falls.
#pragma once

#include "analysis.h"

#include <cstddef>
#include <functional>

namespace ckt {

class Progress {
public:
    using Sink = std::function<void(double)>;

    explicit Progress(Sink sink) : m_sink(std::move(sink)) {}

    void begin_job(int analyses);
    // An analysis of several sweeps begins the later ones one by one.
    void begin_analysis(const Analysis& analysis, std::size_t sweeps = 1);
    void begin_sweep() { ++m_sweep; }
    void end_analysis();

    void plot_begins(const vecinfoall& plot);

    // Called at every point: one comparison, but for the few points that move the display.
    void point(const vecvaluesall& values) {
        const double position = m_range.position(values);
        if (position >= m_next)
            advance(position);
    }

private:
    void advance(double position);
    void report(double share);

    Sink m_sink;
    AnalysisRange m_range;
    int m_analyses = 1;
    int m_done = 0;
    double m_sweeps = 1;
    double m_sweep = 0; // the running one, from 0
    double m_next = 0;
    double m_reported = -1;
};

} // namespace ckt
