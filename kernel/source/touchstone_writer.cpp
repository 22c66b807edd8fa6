#include "result_writers.h"

#include "job_error.h"

#include <ckt_kernel.h>

#include <algorithm>
#include <fmt/format.h>

namespace ckt {

void write_touchstone(OutputFile& file, const ResultPlot& plot, const std::vector<Port>& ports) {
    const std::size_t count = ports.size();
    const ResultVector* frequency = plot.find("frequency");
    std::vector<const ResultVector*> entries; // rows first
    for (std::size_t row = 1; row <= count; ++row)
        for (std::size_t column = 1; column <= count; ++column)
            entries.push_back(plot.find(fmt::format("S_{}_{}", row, column)));
    if (!frequency || std::find(entries.begin(), entries.end(), nullptr) != entries.end())
        throw JobError(CKT_ANALYSIS_FAILED,
                       fmt::format("the simulator gave no complete S matrix for {} ports", count));
    // Two ports have their own order in version 1, and keep it in 2.0.
    if (count == 2)
        std::swap(entries[1], entries[2]);

    const double reference = ports.front().impedance;
    const bool one_reference = std::all_of(ports.begin(), ports.end(),
                                           [&](const Port& port) { return port.impedance == reference; });
    file.text(fmt::format("! {}\n", plot.title));
    if (!one_reference)
        file.text("[Version] 2.0\n");
    file.text(fmt::format("# Hz S RI R {}\n", one_reference ? reference : 50.0));
    if (!one_reference) {
        file.text(fmt::format("[Number of Ports] {}\n", count));
        if (count == 2)
            file.text("[Two-Port Data Order] 21_12\n");
        file.text(fmt::format("[Number of Frequencies] {}\n[Reference]", plot.points));
        for (const Port& port : ports)
            file.text(fmt::format(" {}", port.impedance));
        file.text("\n[Matrix Format] Full\n[Network Data]\n");
    }
    for (std::size_t point = 0; point < plot.points; ++point) {
        file.number(frequency->at(point).cx_real);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            // From three ports on every row of the matrix begins a line, and a line holds four entries at
            // most.
            const std::size_t column = i % count;
            if (count > 2 && i > 0 && column % 4 == 0)
                file.text("\n");
            const ngcomplex_t value = entries[i]->at(point);
            file.text(" ");
            file.number(value.cx_real);
            file.text(" ");
            file.number(value.cx_imag);
        }
        file.text("\n");
    }
    if (!one_reference)
        file.text("[End]\n");
}

} // namespace ckt
