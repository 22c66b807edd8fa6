#include "progress.h"

#include <algorithm>
#include <cmath>

namespace ckt {

namespace {
// Reports of one job, so that a display moves smoothly and a client in another process isn't kept busy.
constexpr double steps = 200;
} // namespace

void Progress::begin_job(int analyses) {
    m_analyses = std::max(analyses, 1);
    m_done = 0;
    report(0);
}

void Progress::begin_analysis(const Analysis& analysis, std::size_t sweeps) {
    m_sweeps = static_cast<double>(sweeps);
    m_sweep = 0;
    m_range = AnalysisRange(analysis);
    m_next = HUGE_VAL;
}

void Progress::plot_begins(const vecinfoall& plot) {
    m_range.locate(plot);
    m_next = m_range.position_of(0);
}

void Progress::advance(double position) {
    const double share = m_range.share(position);
    report((m_done + (m_sweep + share) / m_sweeps) / m_analyses);
    m_next = share < 1 ? m_range.position_of(share + m_analyses * m_sweeps / steps) : HUGE_VAL;
}

void Progress::end_analysis() {
    ++m_done;
    m_next = HUGE_VAL;
    report(static_cast<double>(m_done) / m_analyses);
}

void Progress::report(double share) {
    if (share <= m_reported)
        return;
    m_reported = share;
    if (m_sink)
        m_sink(share);
}

} // namespace ckt
