// The vectors of one plot of the simulator, as result files show them. The data stays the simulator's.
#pragma once

#include "simulator.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ckt {

struct ResultVector {
    std::string name;      // "time", "v(out)", "i(l1)"
    std::string_view type; // "voltage": the raw file's word for the quantity
    std::string_view unit; // "V"; empty for a bare number
    const double* real;    // one of the two is null
    ngcomplex_t* complex;
    std::size_t length; // above 0

    // The value at a point; a vector shorter than its plot repeats its last one.
    ngcomplex_t at(std::size_t point) const {
        const std::size_t index = point < length ? point : length - 1;
        return complex ? complex[index] : ngcomplex_t{real[index], 0};
    }
};

struct ResultPlot {
    std::string id;    // the simulator's name for it
    std::string title; // the netlist's
    std::string date;
    std::string name;                  // "Transient Analysis"
    std::vector<ResultVector> vectors; // the scale first, if the plot has one
    bool has_scale = false;
    bool is_complex = false;
    std::size_t points = 0;

    const ResultVector* find(std::string_view vector) const;
};

// Collects the plot that the simulator calls `id` ("tran1"); title, date and name stay empty.
ResultPlot collect_plot(const Simulator& simulator, const std::string& id);

// Of a transient analysis, whose scale is the time [s].
void drop_points_before(ResultPlot& plot, double time);

} // namespace ckt
