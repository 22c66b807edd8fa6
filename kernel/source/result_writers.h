// The forms of result files. Each writes straight from the simulator's vectors into the file's buffer.
#pragma once

#include "output_file.h"
#include "result_plot.h"

#include <vector>

namespace ckt {

// Appends one plot to a SPICE raw file: the header's lines, then the values in binary, point by point, as
// doubles of this machine's byte order; pairs of them if any vector of the plot is complex. The imaginary
// part of a frequency is 0.
void write_raw(OutputFile& file, const ResultPlot& plot);

// A header with names and units, then a line for each point. A complex vector takes two columns: 20 log10 of
// its magnitude, and its phase in degrees from -180 to 180.
void write_csv(OutputFile& file, const ResultPlot& plot);

// A port of an S-parameter analysis.
struct Port {
    int number = 0;
    double impedance = 50; // ohm
};

// Touchstone of the plot's vectors S_i_j, for ports numbered from 1 without a gap. Version 1 when all ports
// have one reference; 2.0 with [Reference] otherwise, since version 1 can't say it.
void write_touchstone(OutputFile& file, const ResultPlot& plot, const std::vector<Port>& ports);

} // namespace ckt
