#include "net_plot.h"

#include "deliver.h"
#include "exit_status.h"
#include "net_change.h"
#include "net_points.h"
#include "output.h"
#include "printable.h"
#include "quantity.h"

#include <fmt/format.h>

#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>

extern char** environ;

namespace {

using Complexes = std::vector<std::complex<double>>;

constexpr double kPi = 3.14159265358979323846;
constexpr int kCurvePoints = 1001;
constexpr std::size_t kMostTraces = 24;
constexpr std::size_t kDefaultTraces = 8;

struct Curve {
    std::vector<double> frequencies;
    Complexes values;
};

struct Trace {
    std::string title;
    Curve curve;
    Curve samples; // of an interpolated curve: where it was solved
};

std::vector<double> CurveFrequencies(const CNetworkDataSolution& solution) {
    double low = 0;
    double high = 0;
    solution.GetSolvedRange(low, high);
    std::vector<double> frequencies;
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        frequencies.push_back(frequency);
    for (int i = 1; i < kCurvePoints - 1; ++i)
        frequencies.push_back(low + (high - low) * i / (kCurvePoints - 1));
    std::sort(frequencies.begin(), frequencies.end());
    frequencies.erase(std::unique(frequencies.begin(), frequencies.end()), frequencies.end());
    return frequencies;
}

std::vector<std::pair<int, int>> EntriesOf(const NetPicture& picture, const std::string& name, int rows) {
    if (!picture.entries.empty()) {
        for (const auto& [row, column] : picture.entries) {
            if (row > rows || column > rows)
                throw std::runtime_error(
                    fmt::format("{}: there is no entry ({},{}) in {} rows", name, row, column, rows));
        }
        return picture.entries;
    }
    std::vector<std::pair<int, int>> entries;
    const int shown = std::min(rows, static_cast<int>(kDefaultTraces));
    for (int row = 1; row <= shown; ++row)
        entries.emplace_back(row, picture.quantity == PlotQuantity::kSmith ? row : 1);
    return entries;
}

std::string EntryName(touchstone::Kind kind, int row, int column) {
    return row < 10 && column < 10 ? fmt::format("{}{}{}", static_cast<char>(kind), row, column)
                                   : fmt::format("{}({},{})", static_cast<char>(kind), row, column);
}

void AddTraces(const NetPicture& picture, const std::string& name, std::vector<Trace>& traces) {
    networkfile::File file = ReadNetwork(name);
    CNetworkDataSolution& solution = *file.solution;
    if (solution.GetNumSolvedFrequencies() == 0)
        throw std::runtime_error(name + ": no frequencies");
    double low = 0;
    double high = 0;
    const bool isCurve = solution.GetInterpolationRange(low, high);
    if (!picture.frequencies.empty() && solution.GetSolutionType() == SolutionType::None)
        solution.SetSolutionType(SolutionType::InterpolateNeville);
    std::vector<double> frequencies = picture.frequencies;
    if (frequencies.empty() && isCurve)
        frequencies = CurveFrequencies(solution);
    else if (frequencies.empty())
        solution.GetFrequencies(frequencies, true);

    const auto entries = EntriesOf(picture, name, solution.GetMatrixSize());
    const std::size_t first = traces.size();
    const std::string prefix =
        picture.files.size() > 1
            ? Printable(std::filesystem::path(name).filename().string(), LineEnds::kWritten) + " "
            : "";
    for (const auto& [row, column] : entries)
        traces.push_back({prefix + EntryName(picture.kind, row, column), {}, {}});
    if (traces.size() > kMostTraces)
        throw std::runtime_error(
            fmt::format("{} traces in one picture, and {} can be told apart: name some by --entry",
                        traces.size(), kMostTraces));
    for (const double frequency : frequencies) {
        const bool isSolved = isCurve && solution.GetSolvedPoints().Find(frequency);
        CNetworkData* point = solution.GetData(frequency, 0.0, true, false);
        if (!point)
            throw std::runtime_error(name + ": there are no data at " + FrequencyText(frequency));
        for (std::size_t i = 0; i < entries.size(); ++i) {
            Trace& trace = traces[first + i];
            const Complex& element =
                MatrixOf(*point, picture.kind)[entries[i].first - 1][entries[i].second - 1];
            const std::complex<double> value(element.re, element.im);
            for (Curve* curve : {&trace.curve, isSolved ? &trace.samples : nullptr}) {
                if (!curve)
                    continue;
                curve->frequencies.push_back(frequency);
                curve->values.push_back(value);
            }
        }
    }
}

// Minus the slope of the phase over the angular frequency, in ns; between neighbours, and between both of them where there are
// two.
std::vector<double> Delays(const Curve& curve) {
    const std::size_t n = curve.values.size();
    std::vector<double> delays(n, std::nan(""));
    for (std::size_t i = 0; i < n && n > 1; ++i) {
        const std::size_t a = i == 0 ? 0 : i - 1;
        const std::size_t b = i == n - 1 ? i : i + 1;
        double phase = 0;
        for (std::size_t k = a; k < b; ++k)
            phase += std::arg(curve.values[k + 1] / curve.values[k]);
        delays[i] = -phase / (2 * kPi * (curve.frequencies[b] - curve.frequencies[a])) * 1e9;
    }
    return delays;
}

double Ordinate(PlotQuantity quantity, std::complex<double> value) {
    switch (quantity) {
    case PlotQuantity::kDecibels:
        return 20 * std::log10(std::abs(value));
    case PlotQuantity::kMagnitude:
        return std::abs(value);
    case PlotQuantity::kPhase:
        return std::arg(value) * 180 / kPi;
    case PlotQuantity::kImaginary:
        return value.imag();
    default:
        return value.real();
    }
}

std::string Rows(PlotQuantity quantity, const Curve& curve, double unit) {
    const auto delays = quantity == PlotQuantity::kDelay ? Delays(curve) : std::vector<double>();
    std::string rows;
    for (std::size_t i = 0; i < curve.values.size(); ++i) {
        const auto value = curve.values[i];
        const double x = quantity == PlotQuantity::kSmith ? value.real() : curve.frequencies[i] / unit;
        const double y = quantity == PlotQuantity::kSmith   ? value.imag()
                         : quantity == PlotQuantity::kDelay ? delays[i]
                                                            : Ordinate(quantity, value);
        if (std::isfinite(x) && std::isfinite(y))
            rows += fmt::format("{} {}\n", x, y);
    }
    return rows;
}

// Circles of constant resistance and arcs of constant reactance within the unit circle; with few characters that one alone.
std::string SmithGrid(bool isSparse) {
    const std::vector<double> values =
        isSparse ? std::vector<double>() : std::vector<double>{0.2, 0.5, 1, 2, 5};
    constexpr double kStep = kPi / 90; // as round as a screen can show
    std::string rows;
    const auto addArc = [&rows](double x, double y, double radius, double from, double to) {
        const int steps = static_cast<int>(std::ceil((to - from) / kStep));
        for (int i = 0; i <= steps; ++i) {
            const double angle = from + (to - from) * i / steps;
            rows +=
                fmt::format("{:.5f} {:.5f}\n", x + radius * std::cos(angle), y + radius * std::sin(angle));
        }
        rows += "\n";
    };
    addArc(0, 0, 1, 0, 2 * kPi);
    for (const double value : values) {
        addArc(value / (1 + value), 0, 1 / (1 + value), 0, 2 * kPi);
        // From where the resistance is 0, at the unit circle, to where it is infinite, at the right.
        const double x = (value * value - 1) / (value * value + 1), y = 2 * value / (value * value + 1);
        double edge = std::atan2(y - 1 / value, x - 1);
        edge += edge < 0 ? 2 * kPi : 0;
        addArc(1, 1 / value, 1 / value, edge, 1.5 * kPi);
        addArc(1, -1 / value, 1 / value, kPi / 2, 2 * kPi - edge);
    }
    return rows + "-1 0\n1 0\n";
}

struct Unit {
    double factor;
    const char* name;
};

Unit UnitOf(const std::vector<Trace>& traces) {
    double highest = 0;
    for (const Trace& trace : traces)
        highest = std::max(highest,
                           *std::max_element(trace.curve.frequencies.begin(), trace.curve.frequencies.end()));
    for (const Unit unit : {Unit{1e12, "THz"}, Unit{1e9, "GHz"}, Unit{1e6, "MHz"}, Unit{1e3, "kHz"}}) {
        if (highest >= unit.factor)
            return unit;
    }
    return {1, "Hz"};
}

std::string Label(const NetPicture& picture) {
    const char kind = static_cast<char>(picture.kind);
    const char* unit = kind == 'Y' ? " in S" : kind == 'Z' ? " in ohm" : "";
    switch (picture.quantity) {
    case PlotQuantity::kDecibels:
        return fmt::format("|{}| in dB", kind);
    case PlotQuantity::kMagnitude:
        return fmt::format("|{}|{}", kind, unit);
    case PlotQuantity::kPhase:
        return fmt::format("phase of {} in degrees", kind);
    case PlotQuantity::kDelay:
        return fmt::format("group delay of {} in ns", kind);
    case PlotQuantity::kImaginary:
        return fmt::format("imaginary part of {}{}", kind, unit);
    default:
        return fmt::format("real part of {}{}", kind, unit);
    }
}

// In single quotes, where only they need a second one.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? "''" : std::string(1, c);
    return quoted + "'";
}

std::string TerminalOf(const NetPicture& picture) {
    const bool isSmith = picture.quantity == PlotQuantity::kSmith;
    const std::string format = PictureFormat(picture.out);
    if (format == "svg")
        return fmt::format("svg size {} dynamic background rgb 'white' noenhanced",
                           isSmith ? "720,640" : "900,560");
    if (format == "png")
        return fmt::format("pngcairo size {} noenhanced", isSmith ? "1080,960" : "1350,840");
    if (format == "pdf")
        return fmt::format("pdfcairo size {} noenhanced", isSmith ? "5.4,4.8" : "6.75,4.2");
    winsize window{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col < 20 || window.ws_row < 10)
        window = {24, 79, 0, 0};
    return fmt::format("dumb size {},{} aspect 2,1 {} noenhanced", window.ws_col, window.ws_row - 1,
                       Output(STDOUT_FILENO).IsStyled() ? "ansi" : "mono");
}

std::string Script(const NetPicture& picture, const std::vector<Trace>& traces) {
    const bool isSmith = picture.quantity == PlotQuantity::kSmith;
    const Unit unit = UnitOf(traces);
    std::string script = "set terminal " + TerminalOf(picture) + "\n";
    std::string plots;
    const auto add = [&](const std::string& rows, const std::string& how) {
        const std::string name = fmt::format("$d{}", std::count(plots.begin(), plots.end(), '$'));
        script += name + " << EOD\n" + rows + "EOD\n";
        plots += (plots.empty() ? "plot " : ", ") + name + " " + how;
    };
    if (isSmith)
        add(SmithGrid(picture.out.empty()), "with lines lc rgb 'gray70' dt 1 notitle");
    for (std::size_t i = 0; i < traces.size(); ++i) {
        const Trace& trace = traces[i];
        const std::string rows = Rows(picture.quantity, trace.curve, unit.factor);
        if (rows.empty())
            throw std::runtime_error(trace.title + " has nothing that can be drawn");
        const bool isOne = std::count(rows.begin(), rows.end(), '\n') == 1;
        add(rows, fmt::format("with {} lc {} lw 1.5 title {}", isOne ? "points pt 7" : "lines", i + 1,
                              Quoted(trace.title)));
        // A delay between samples says nothing about the curve.
        if (picture.quantity == PlotQuantity::kDelay || trace.samples.values.empty())
            continue;
        add(Rows(picture.quantity, trace.samples, unit.factor),
            fmt::format("with points pt 6 ps 0.7 lc {} title {}", i + 1,
                        Quoted(fmt::format("{} samples", trace.samples.values.size()))));
    }
    script += "set key outside right top\n";
    if (isSmith)
        script +=
            "set size ratio -1\nunset border\nunset tics\nset xrange [-1.05:1.05]\nset yrange [-1.05:1.05]\n";
    else
        script += fmt::format("set grid\nset xlabel {}\nset ylabel {}\n",
                              Quoted(std::string("frequency in ") + unit.name), Quoted(Label(picture)));
    return script + plots + "\n";
}

// Memory that another process reads or writes as a file.
class MemoryFile {
public:
    explicit MemoryFile(const char* name) : m_File(memfd_create(name, MFD_CLOEXEC)) {
        if (m_File < 0)
            throw std::runtime_error(std::strerror(errno));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(m_File); }

    int Descriptor() const { return m_File; }
    std::string Content() const {
        std::string content;
        char part[65536];
        for (off_t at = 0;;) {
            const ssize_t got = pread(m_File, part, sizeof part, at);
            if (got <= 0)
                return content;
            content.append(part, static_cast<std::size_t>(got));
            at += got;
        }
    }

private:
    int m_File;
};

std::string Draw(const std::string& script) {
    const MemoryFile in("script");
    const MemoryFile out("picture");
    const MemoryFile err("errors");
    Output writer(in.Descriptor());
    writer.Write(script);
    if (!writer.Flush() || lseek(in.Descriptor(), 0, SEEK_SET) != 0)
        throw std::runtime_error("no memory for the picture's script");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.Descriptor(), 0);
    posix_spawn_file_actions_adddup2(&actions, out.Descriptor(), 1);
    posix_spawn_file_actions_adddup2(&actions, err.Descriptor(), 2);
    char program[] = "gnuplot";
    char noInit[] = "-d"; // a user's own settings don't belong in it
    char* const arguments[] = {program, noInit, nullptr};
    pid_t process = 0;
    const int error = posix_spawnp(&process, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT)
        throw std::runtime_error(
            "pictures are drawn by gnuplot, which isn't installed (package gnuplot-nox)");
    if (error != 0)
        throw std::runtime_error(std::string("gnuplot: ") + std::strerror(error));
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    std::string picture = out.Content();
    if (status != 0 || picture.empty())
        throw std::runtime_error("gnuplot can't draw it: " + Printable(err.Content()));
    return picture;
}

} // namespace

std::vector<std::pair<int, int>> ParseEntries(const std::string& text) {
    std::vector<std::pair<int, int>> entries;
    const auto number = [](std::string_view digits) {
        int value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return error == std::errc() && end == digits.data() + digits.size() && value > 0 ? value : 0;
    };
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        const std::string_view part = std::string_view(text).substr(at, end - at);
        const std::size_t colon = part.find(':');
        const std::size_t split = colon == part.npos ? (part.size() == 2 ? 1 : 0) : colon;
        const int row = number(part.substr(0, split));
        const int column = number(part.substr(std::min(part.size(), split + (colon == part.npos ? 0 : 1))));
        if (row == 0 || column == 0)
            throw std::invalid_argument(fmt::format("'{}' is not an entry such as 21 or 12:3", part));
        entries.emplace_back(row, column);
        at = end + 1;
    }
    return entries;
}

std::string PictureFormat(const std::string& name) {
    for (const char* format : {"svg", "png", "pdf"}) {
        if (std::filesystem::path(name).extension() == std::string(".") + format)
            return format;
    }
    return {};
}

int DrawNetworks(const NetPicture& picture) {
    std::vector<Trace> traces;
    for (const std::string& name : picture.files)
        AddTraces(picture, name, traces);
    return Deliver(Draw(Script(picture, traces)), picture.out.empty() ? "-" : picture.out, kDone);
}
