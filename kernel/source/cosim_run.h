// The lock step of one transient analysis with the client's simulator.
//
// The analysis is held to points at every multiple of the step; there the ports' values are handed in and the step is
// flushed, exactly once and in order. In between, a source's value is asked for once a point in time, and never for a
// point beyond the step that is flushed next: the answer may have to be waited for, and it comes only when all
// steps before are flushed.
#pragma once

#include "cosim_plan.h"

#include <ckt_kernel.h>
#include <ngspice/sharedspice.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ckt {

class CosimRun {
public:
    // `step` and `end` in seconds, above 0. Throws JobError with CKT_ANALYSIS_FAILED if a callback is missing.
    CosimRun(const CosimPlan& plan, const std::map<std::string, void*>& call_backs, double step, double end);

    std::int64_t steps() const { return m_steps; }

    // The simulator's questions, in the order in which they come.

    // The vectors of the points are known: finds the ports' values among them.
    void locate(const vecinfoall& plot);

    // The value of a driven source.
    double source_value(const char* name, double time) noexcept;

    // An accepted point. False: the analysis has to be ended.
    bool point(const vecvaluesall& values) noexcept;

    // `delta` is what would be stepped from `time`; it is made smaller as needed.
    void limit(double time, double& delta) const noexcept;

    // Why the exchange broke off, in words; empty if it didn't.
    const std::string& fault() const { return m_fault; }

private:
    struct Source {
        std::string name;
        std::string number;             // as the callback wants it
        const char* identity = nullptr; // the simulator's own copy of the name, once it has been seen
        double time = -1;               // of the last question
        double value = 0;
        double slope = 0;
    };
    struct Value {
        int plus = -1; // index in a point's values; -1 is ground
        int minus = -1;
    };
    struct Port {
        std::string number;
        Value first, second;
    };

    Source* find(const char* name) noexcept;
    void flush(const vecvaluesall& values, double time);
    double step_end(std::int64_t step) const {
        return step < m_steps ? static_cast<double>(step) * m_step : m_end;
    }

    const CosimPlan& m_plan;
    const double m_step;
    const double m_end;
    const double m_tolerance; // within which a point is at a step's end
    const std::int64_t m_steps;
    ckt_cosim_source_call_back m_ask = nullptr;
    ckt_cosim_port_call_back m_tell = nullptr;
    ckt_cosim_port_flush_call_back m_flush = nullptr;

    std::vector<Source> m_sources;
    std::vector<Port> m_ports;
    int m_time = -1;            // index in a point's values
    std::size_t m_expected = 0; // the source that is asked for next, as a rule
    std::int64_t m_flushed = 0;
    std::string m_fault;
};

} // namespace ckt
