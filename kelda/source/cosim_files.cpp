#include "cosim_files.h"

#include <platform/read_bytes.h>

#include <fmt/format.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace job {
namespace {

// Of a step: how far the times of a file, which may have been rounded, may be from where they should be.
constexpr double kRounding = 1e-3;

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos)
        return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// A number that is the whole of `text`.
bool ReadNumber(std::string_view text, double& number) {
    if (text.starts_with('+'))
        text.remove_prefix(1);
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() && std::isfinite(number);
}

std::vector<std::string_view> Cells(std::string_view line) {
    std::vector<std::string_view> cells;
    for (;;) {
        std::size_t comma = line.find(',');
        cells.push_back(Trimmed(line.substr(0, comma)));
        if (comma == line.npos)
            return cells;
        line.remove_prefix(comma + 1);
    }
}

// Takes a number and the word behind it, in singular or plural.
template <class Number>
bool Take(std::string_view& text, Number& number, std::string_view word) {
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{})
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (!text.starts_with(word))
        return false;
    text.remove_prefix(word.size());
    if (text.starts_with('s'))
        text.remove_prefix(1);
    return true;
}

bool Skip(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word))
        return false;
    text.remove_prefix(word.size());
    return true;
}

} // namespace

bool ReadCosimShape(std::string_view message, CosimShape& shape) {
    CosimShape read;
    if (!Skip(message, "co-simulation: ") || !Take(message, read.steps, " step") || !Skip(message, " of ") ||
        !Take(message, read.step, " ") || !Skip(message, " to ") || !Take(message, read.end, " ") ||
        !Skip(message, ", ") || !Take(message, read.sources, " source") || !Skip(message, ", ") ||
        !Take(message, read.ports, " port"))
        return false;
    constexpr std::int32_t kMostPorts = 1'000'000; // each has its place in memory before it has been seen
    if (read.steps < 1 || !(read.step > 0) || read.sources < 1 || read.ports < 1 || read.ports > kMostPorts)
        return false;
    shape = read;
    return true;
}

SampleFile::SampleFile(const std::string& name) : m_Name(name == "-" ? "standard input" : name) {
    std::string text = platform::ReadBytes(name);
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::string_view rest = text;
    Skip(rest, kByteOrderMark);
    Read(rest);
    CheckTimes();
}

void SampleFile::Read(std::string_view text) {
    std::size_t number = 0;
    bool headings = true; // may still come
    while (!text.empty()) {
        ++number;
        std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = Trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty())
            continue;
        auto refuse = [&](const std::string& why) {
            throw std::runtime_error(fmt::format("{}:{}: {}", m_Name, number, why));
        };
        std::vector<std::string_view> cells = Cells(line);
        if (cells.size() < 2)
            refuse(fmt::format(
                "one column was found, the time and a column for each source are expected, divided by "
                "commas"));
        double value = 0;
        if (std::exchange(headings, false) &&
            std::none_of(cells.begin(), cells.end(),
                         [&](std::string_view cell) { return ReadNumber(cell, value); }))
            continue;
        if (m_Times.empty())
            m_Columns.resize(cells.size() - 1);
        if (cells.size() != m_Columns.size() + 1)
            refuse(fmt::format("{} columns were found, {} are expected as in line {}", cells.size(),
                               m_Columns.size() + 1, m_Lines.front()));
        for (std::size_t i = 0; i < cells.size(); ++i) {
            constexpr std::size_t kShown = 40;
            if (!ReadNumber(cells[i], value))
                refuse(fmt::format("\"{}\" was found in column {}, a number is expected",
                                   cells[i].substr(0, kShown), i + 1));
            (i == 0 ? m_Times : m_Columns[i - 1]).push_back(value);
        }
        m_Lines.push_back(number);
    }
    if (m_Times.empty())
        throw std::runtime_error(
            fmt::format("{}: no samples were found, lines of numbers are expected", m_Name));
}

std::string SampleFile::Place(std::size_t row) const {
    return fmt::format("{}:{}: ", m_Name, m_Lines[row]);
}

void SampleFile::CheckTimes() const {
    if (Rows() < 2)
        return;
    const auto refuse = [&](std::size_t row, double expected) {
        throw std::runtime_error(
            fmt::format("{}the time is {:.9g} s, {:.9g} s is expected, since the times of the file "
                        "have to rise in equal steps",
                        Place(row), m_Times[row], expected));
    };
    // A row too few or too many is told where it is, before the mean is taken that it would falsify.
    constexpr double kTorn = 0.1;
    const double gap = m_Times[1] - m_Times[0];
    for (std::size_t row = 1; row < Rows(); ++row) {
        if (!(m_Times[row] > m_Times[row - 1]))
            throw std::runtime_error(
                fmt::format("{}the time {:.9g} s comes after {:.9g} s, a later one is expected", Place(row),
                            m_Times[row], m_Times[row - 1]));
        if (std::abs(m_Times[row] - m_Times[row - 1] - gap) > kTorn * gap)
            refuse(row, m_Times[row - 1] + gap);
    }
    const double step = (m_Times.back() - m_Times.front()) / static_cast<double>(Rows() - 1);
    for (std::size_t row = 1; row < Rows(); ++row)
        if (const double expected = m_Times.front() + static_cast<double>(row) * step;
            std::abs(m_Times[row] - expected) > kRounding * step)
            refuse(row, expected);
}

std::string SampleFile::Misfit(const CosimShape& shape) const {
    if (Sources() != shape.sources)
        return fmt::format("{}the file has samples for {} source(s), the circuit has {}", Place(0), Sources(),
                           shape.sources);
    const double first = m_Times.front();
    const auto near = [&](double time, double expected) {
        return std::abs(time - expected) <= kRounding * shape.step;
    };
    if (!near(first, 0) && !near(first, shape.step))
        return fmt::format(
            "{}the time is {:.9g} s, the first one is expected to be 0 or the circuit's step of {} s",
            Place(0), first, shape.step);
    for (std::size_t row = 1; row < Rows(); ++row)
        if (const double expected = first + static_cast<double>(row) * shape.step;
            !near(m_Times[row], expected))
            return fmt::format("{}the time is {:.9g} s, {:.9g} s is expected by the circuit's step of {} s",
                               Place(row), m_Times[row], expected, shape.step);
    return {};
}

double SampleFile::At(std::int32_t source, std::int64_t row) const {
    const std::vector<double>& column = m_Columns[static_cast<std::size_t>(source)];
    return column[std::min(static_cast<std::size_t>(row), column.size() - 1)];
}

PortFile::PortFile(const std::string& name)
    : m_Name(name == "-" ? "standard output" : name),
      m_File(name == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                         : open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (m_File < 0)
        throw std::runtime_error(fmt::format("can't write to {}: {}", m_Name, std::strerror(errno)));
}

PortFile::~PortFile() {
    if (m_File >= 0)
        close(m_File);
}

void PortFile::Headings(std::int32_t ports) {
    m_Pending += "time [s]";
    for (std::int32_t port = 0; port < ports; ++port)
        m_Pending += fmt::format(",port {0} first,port {0} second", port);
    EndLine();
}

void PortFile::Number(double value) {
    char digits[32];
    m_Pending.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
}

void PortFile::Flush() {
    for (std::string_view rest = m_Pending; !rest.empty();) {
        const ssize_t count = write(m_File, rest.data(), rest.size());
        if (count > 0)
            rest.remove_prefix(static_cast<std::size_t>(count));
        else if (count < 0 && errno != EINTR)
            throw std::runtime_error(fmt::format("can't write to {}: {}", m_Name, std::strerror(errno)));
    }
    m_Pending.clear();
}

void PortFile::Close() {
    Flush();
    const int result = close(m_File);
    const int error = errno;
    m_File = -1;
    if (result != 0 && error != EINTR)
        throw std::runtime_error(fmt::format("can't write to {}: {}", m_Name, std::strerror(error)));
}

} // namespace job
