#include "cosim_run.h"

#include "job_error.h"

#include <cmath>
#include <fmt/format.h>
#include <utility>

namespace ckt {

namespace {

// Of a step: points nearer than this to its end are at its end. The simulator ends an analysis a few billionths short.
constexpr double nearness = 1e-6;

template <class CallBack>
void take(CallBack& call_back, const std::map<std::string, void*>& call_backs, const char* name) {
    const auto found = call_backs.find(name);
    if (found == call_backs.end())
        throw JobError(
            CKT_ANALYSIS_FAILED,
            fmt::format("its sources are driven by a client's simulator, and there is no client here "
                        "(no \"{}\")",
                        name));
    call_back = reinterpret_cast<CallBack>(found->second);
}

} // namespace

CosimRun::CosimRun(const CosimPlan& plan, const std::map<std::string, void*>& call_backs, double step,
                   double end)
    : m_plan(plan), m_step(step), m_end(end), m_tolerance(nearness * step),
      m_steps(static_cast<std::int64_t>(std::ceil(end / step - nearness))) {
    take(m_ask, call_backs, "SystemCosimSource");
    take(m_tell, call_backs, "SystemCosimPort");
    take(m_flush, call_backs, "SystemCosimPortFlush");
    for (std::size_t i = 0; i < plan.sources.size(); ++i)
        m_sources.push_back({.name = plan.sources[i].name, .number = std::to_string(i)});
    for (std::size_t i = 0; i < plan.ports.size(); ++i)
        m_ports.push_back({.number = std::to_string(i), .first = {}, .second = {}});
}

void CosimRun::locate(const vecinfoall& plot) {
    const auto index_of = [&](const std::string& name) {
        for (int i = 0; i < plot.veccount; ++i)
            if (name == plain_vector(plot.vecs[i]->vecname))
                return i;
        return -1;
    };
    m_time = index_of("time");
    for (std::size_t i = 0; i < m_ports.size(); ++i) {
        const CosimPort& port = m_plan.ports[i];
        const auto place = [&](Value& value, const std::optional<Probe>& probe) {
            if (!probe)
                return;
            for (const auto& [name, index] :
                 {std::pair<const std::string&, int&>{probe->plus, value.plus},
                  std::pair<const std::string&, int&>{probe->minus, value.minus}}) {
                index = name.empty() ? -1 : index_of(name);
                if (!name.empty() && index < 0 && m_fault.empty())
                    m_fault = fmt::format("port {} at {}: the circuit has no {}", i, port.place, probe->text);
            }
        };
        place(m_ports[i].first, port.values[0]);
        place(m_ports[i].second, port.values[1]);
    }
}

CosimRun::Source* CosimRun::find(const char* name) noexcept {
    const std::size_t count = m_sources.size();
    for (std::size_t n = 0; n < count; ++n) {
        const std::size_t at = m_expected + n < count ? m_expected + n : m_expected + n - count;
        Source& source = m_sources[at];
        if (source.identity == name || (!source.identity && source.name == name)) {
            source.identity = name;
            m_expected = at + 1 < count ? at + 1 : 0;
            return &source;
        }
    }
    return nullptr;
}

double CosimRun::source_value(const char* name, double time) noexcept {
    Source* source = find(name);
    if (!source)
        return 0;
    if (source->time == time)
        return source->value;
    // Behind the last step nobody has anything to say any more; its line goes on for the last billionth.
    if (m_flushed == m_steps || !m_fault.empty())
        return source->value + source->slope * (time - source->time);
    const int result = m_ask(source->number.c_str(), time, &source->value, &source->slope);
    source->time = time;
    if (result != 0)
        m_fault = fmt::format("the client has no value for source {} (\"{}\") at {} s (result {})",
                              source->number, source->name, time, result);
    return source->value;
}

bool CosimRun::point(const vecvaluesall& values) noexcept {
    if (!m_fault.empty())
        return false;
    const double time = values.vecsa[m_time]->creal;
    if (m_flushed < m_steps && time >= step_end(m_flushed + 1) - m_tolerance)
        flush(values, time);
    return m_fault.empty();
}

void CosimRun::flush(const vecvaluesall& values, double time) {
    const auto at = [&](int index) { return index < 0 ? 0.0 : values.vecsa[index]->creal; };
    ++m_flushed;
    for (const Port& port : m_ports) {
        const double first = at(port.first.plus) - at(port.first.minus);
        const double second = at(port.second.plus) - at(port.second.minus);
        if (const int result = m_tell(port.number.c_str(), time, first, second); result != 0) {
            m_fault = fmt::format("the client doesn't take the values of port {} at {} s (result {})",
                                  port.number, time, result);
            return;
        }
    }
    if (const int result = m_flush(); result != 0)
        m_fault = fmt::format("the client doesn't take the step that ends at {} s (result {})", time, result);
}

void CosimRun::limit(double time, double& delta) const noexcept {
    if (m_flushed == m_steps)
        return;
    const double rest = step_end(m_flushed + 1) - time;
    if (delta >= rest)
        delta = rest;
    else if (delta > rest / 2)
        delta = rest / 2;
}

} // namespace ckt
