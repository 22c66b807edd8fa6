#include "result_writers.h"

#include <cstring>
#include <fmt/format.h>

namespace ckt {

void write_raw(OutputFile& file, const ResultPlot& plot) {
    file.text(fmt::format(
        "Title: {}\nDate: {}\nPlotname: {}\nFlags: {}\nNo. Variables: {}\nNo. Points: {}\nVariables:\n",
        plot.title, plot.date, plot.name, plot.is_complex ? "complex" : "real", plot.vectors.size(),
        plot.points));
    for (std::size_t i = 0; i < plot.vectors.size(); ++i)
        file.text(fmt::format("\t{}\t{}\t{}\n", i, plot.vectors[i].name, plot.vectors[i].type));
    file.text("Binary:\n");
    for (std::size_t point = 0; point < plot.points; ++point) {
        for (const ResultVector& vector : plot.vectors) {
            ngcomplex_t value = vector.at(point);
            if (vector.type == "frequency")
                value.cx_imag = 0;
            const std::size_t size = plot.is_complex ? sizeof value : sizeof value.cx_real;
            char* to = file.room(size);
            std::memcpy(to, &value, size);
            file.used(to + size);
        }
    }
    // ngspice ends the values without a line end, and so does every reader expect them.
}

} // namespace ckt
