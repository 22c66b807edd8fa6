#include "analysis.h"

#include "text.h"

#include <algorithm>
#include <cmath>

namespace ckt {

std::string endless_sweep(const Analysis& analysis) {
    if (analysis.kind != "dc")
        return {};
    const auto parts = words(analysis.command);
    for (std::size_t step = 4; step < parts.size(); step += 4)
        if (spice_number(parts[step]).value_or(1) == 0)
            return "the step of \"" + std::string(parts[step - 3]) + "\" is 0";
    return {};
}

AnalysisRange::AnalysisRange(const Analysis& analysis) {
    const auto parts = words(analysis.command);
    const auto number = [&](std::size_t index) {
        return index < parts.size() ? spice_number(parts[index]).value_or(0) : 0;
    };
    if (analysis.kind == "tran") {
        m_law = Law::linear;
        m_end = number(2);
        m_scale_name = "time";
    } else if (analysis.kind == "dc") {
        // Nested sweeps: source start stop step, again for the outer one.
        double points = 1;
        for (std::size_t sweep = 1; sweep + 3 < parts.size(); sweep += 4) {
            const double step = number(sweep + 3);
            points *= step == 0
                          ? 1
                          : std::floor(std::abs((number(sweep + 2) - number(sweep + 1)) / step) + 1e-9) + 1;
        }
        m_law = Law::linear;
        m_end = points;
    } else {
        for (std::size_t i = 1; i + 3 < parts.size(); ++i) {
            const bool linear = parts[i] == "lin";
            if (!linear && parts[i] != "dec" && parts[i] != "oct")
                continue;
            m_begin = number(i + 2);
            m_end = number(i + 3);
            m_law = linear || m_begin <= 0 ? Law::linear : Law::logarithmic;
            m_scale_name = "frequency";
            break;
        }
    }
    if (!(m_end > m_begin))
        m_law = Law::none;
}

void AnalysisRange::locate(const vecinfoall& plot) {
    m_scale = -1;
    if (m_scale_name.empty())
        return;
    for (int i = 0; i < plot.veccount; ++i)
        if (m_scale_name == plot.vecs[i]->vecname)
            m_scale = i;
    if (m_scale < 0)
        m_law = Law::none;
}

double AnalysisRange::share(double position) const {
    double share = 0;
    if (m_law == Law::linear)
        share = (position - m_begin) / (m_end - m_begin);
    else if (m_law == Law::logarithmic && position > 0)
        share = std::log(position / m_begin) / std::log(m_end / m_begin);
    return std::clamp(share, 0.0, 1.0);
}

double AnalysisRange::position_of(double share) const {
    switch (m_law) {
    case Law::linear:
        return m_begin + share * (m_end - m_begin);
    case Law::logarithmic:
        return m_begin * std::pow(m_end / m_begin, share);
    case Law::none:
        break;
    }
    return HUGE_VAL;
}

} // namespace ckt
