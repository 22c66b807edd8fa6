#include "result_writers.h"

#include <cmath>
#include <fmt/format.h>
#include <numbers>

namespace ckt {

namespace {

std::string column(std::string_view name, std::string_view unit) {
    std::string text = unit.empty() ? std::string(name) : fmt::format("{} [{}]", name, unit);
    if (text.find_first_of(",\"") == text.npos)
        return text;
    for (std::size_t at = text.find('"'); at != text.npos; at = text.find('"', at + 2))
        text.insert(at, 1, '"');
    return '"' + text + '"';
}

enum class Columns { one, polar, cartesian };

// A point of the complex plane is shown as such, every other complex value as a response.
Columns columns_of(const ResultVector& vector) {
    if (!vector.complex || vector.type == "frequency")
        return Columns::one;
    return vector.type == "pole" || vector.type == "zero" ? Columns::cartesian : Columns::polar;
}

} // namespace

void write_csv(OutputFile& file, const ResultPlot& plot) {
    std::string header;
    for (const ResultVector& vector : plot.vectors) {
        if (!header.empty())
            header += ',';
        switch (columns_of(vector)) {
        case Columns::one:
            header += column(vector.name, vector.unit);
            break;
        case Columns::polar:
            header +=
                column(vector.name, fmt::format("dB{}", vector.unit)) + ',' + column(vector.name, "deg");
            break;
        case Columns::cartesian:
            header +=
                column(vector.name + " re", vector.unit) + ',' + column(vector.name + " im", vector.unit);
            break;
        }
    }
    file.text(header + '\n');
    for (std::size_t point = 0; point < plot.points; ++point) {
        char separator = 0;
        for (const ResultVector& vector : plot.vectors) {
            if (separator)
                file.text({&separator, 1});
            separator = ',';
            const ngcomplex_t value = vector.at(point);
            switch (columns_of(vector)) {
            case Columns::one:
                file.number(value.cx_real);
                break;
            case Columns::polar:
                file.number(20 * std::log10(std::hypot(value.cx_real, value.cx_imag)));
                file.text(",");
                file.number(std::atan2(value.cx_imag, value.cx_real) * 180 / std::numbers::pi);
                break;
            case Columns::cartesian:
                file.number(value.cx_real);
                file.text(",");
                file.number(value.cx_imag);
                break;
            }
        }
        file.text("\n");
    }
}

} // namespace ckt
