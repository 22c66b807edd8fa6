#include "result_plot.h"

#include "saves.h"

#include <algorithm>

namespace ckt {

namespace {

struct Quantity {
    std::string_view type, unit;
};

// By the simulator's number for the quantity of a vector.
constexpr Quantity quantities[] = {
    {"notype", ""},
    {"time", "s"},
    {"frequency", "Hz"},
    {"voltage", "V"},
    {"current", "A"},
    {"voltage-density", "V/sqrt(Hz)"},
    {"current-density", "A/sqrt(Hz)"},
    {"voltage^2-density", "V^2/Hz"},
    {"current^2-density", "A^2/Hz"},
    {"voltage^2", "V^2"},
    {"current^2", "A^2"},
    {"pole", "rad/s"},
    {"zero", "rad/s"},
    {"s-param", ""},
    {"temp-sweep", "degC"},
    {"res-sweep", "ohm"},
    {"impedance", "ohm"},
    {"admittance", "S"},
    {"power", "W"},
    {"phase", "deg"},
    {"decibel", "dB"},
    {"capacitance", "F"},
    {"charge", "C"},
};

// The simulator gives the vectors of some analyses the quantity of a voltage, whatever they are.
Quantity quantity_of(std::string_view plot, std::string_view name, int number) {
    if (plot.starts_with("sp") && name.size() > 2) {
        if (name.starts_with("S_"))
            return {"s-param", ""};
        if (name.starts_with("Y_"))
            return {"admittance", "S"};
        if (name.starts_with("Z_"))
            return {"impedance", "ohm"};
        if (number == 3)
            return {"notype", ""};
    }
    if (plot.starts_with("tf"))
        return name.find("mpedance") != name.npos ? Quantity{"impedance", "ohm"} : Quantity{"notype", ""};
    if (plot.starts_with("sens"))
        return {"notype", ""};
    if (plot.starts_with("pz"))
        return name.starts_with("zero") ? Quantity{"zero", "rad/s"} : Quantity{"pole", "rad/s"};
    constexpr int count = sizeof quantities / sizeof quantities[0];
    return number >= 0 && number < count ? quantities[number] : quantities[0];
}

// "out" is "v(out)", "l1#branch" is "i(l1)"; what has a name of another kind keeps it.
std::string shown_name(std::string_view name, std::string_view type) {
    if (type == "current" && name.ends_with("#branch"))
        return "i(" + std::string(name.substr(0, name.size() - 7)) + ')';
    name = plain_vector(name);
    const bool is_node = type == "voltage" && name.front() != '@' && name.find('(') == name.npos &&
                         !name.starts_with("inoise") && !name.starts_with("onoise") && name != "v-sweep";
    return is_node ? "v(" + std::string(name) + ')' : std::string(name);
}

bool is_scale(std::string_view name) {
    return name == "time" || name == "frequency" || name.ends_with("-sweep");
}

} // namespace

const ResultVector* ResultPlot::find(std::string_view vector) const {
    const auto found = std::find_if(vectors.begin(), vectors.end(),
                                    [&](const ResultVector& candidate) { return candidate.name == vector; });
    return found == vectors.end() ? nullptr : &*found;
}

ResultPlot collect_plot(const Simulator& simulator, const std::string& id) {
    ResultPlot plot;
    plot.id = id;
    std::vector<std::string> names = simulator.vectors(id);
    std::reverse(names.begin(), names.end());
    for (const std::string& name : names) {
        const vector_info info = simulator.vector(id + '.' + name);
        if (info.v_length <= 0 || (!info.v_realdata && !info.v_compdata))
            continue;
        const Quantity quantity = quantity_of(id, name, info.v_type);
        ResultVector vector{shown_name(name, quantity.type),
                            quantity.type,
                            quantity.unit,
                            info.v_realdata,
                            info.v_compdata,
                            static_cast<std::size_t>(info.v_length)};
        plot.is_complex = plot.is_complex || vector.complex;
        plot.points = std::max(plot.points, vector.length);
        const bool scale = !plot.has_scale && is_scale(name);
        plot.has_scale = plot.has_scale || scale;
        plot.vectors.insert(scale ? plot.vectors.begin() : plot.vectors.end(), std::move(vector));
    }
    return plot;
}

void drop_points_before(ResultPlot& plot, double time) {
    if (!plot.has_scale || !plot.vectors.front().real)
        return;
    const ResultVector& scale = plot.vectors.front();
    const double* const begin = std::lower_bound(scale.real, scale.real + scale.length, time);
    const auto dropped = static_cast<std::size_t>(begin - scale.real);
    for (ResultVector& vector : plot.vectors) {
        // One that is shorter repeats its last value.
        const std::size_t skipped = std::min(dropped, vector.length - 1);
        vector.length -= skipped;
        if (vector.real)
            vector.real += skipped;
        else
            vector.complex += skipped;
    }
    plot.points -= dropped;
}

} // namespace ckt
