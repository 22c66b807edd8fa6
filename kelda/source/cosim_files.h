// The two files of a co-simulation from the command line: samples for the sources, values of the ports. Both are CSV with the
// time [s] in front.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace job {

// What a kernel says of the co-simulation that is about to begin.
struct CosimShape {
    std::int64_t steps = 0;
    double step = 0; // [s]
    double end = 0;  // of the last step, which may be shorter than the others [s]
    std::int32_t sources = 0;
    std::int32_t ports = 0;
};

// From the kernel's message; false for any other text. An engine of another making may say what it likes: what can't be
// made out is left as it was.
bool ReadCosimShape(std::string_view message, CosimShape& shape);

// The samples: the time, then a column for each source. A line of headings may come first.
class SampleFile {
public:
    // Reads it all. "-" is standard input. Throws std::runtime_error, which says "NAME:LINE: " and what was expected, unless
    // every row has the same number of columns and the times rise in equal steps.
    explicit SampleFile(const std::string& name);

    std::size_t Rows() const { return m_Lines.size(); }
    std::int32_t Sources() const { return static_cast<std::int32_t>(m_Columns.size()); }

    // Why these samples can't drive such a co-simulation; empty if they can. Row k is the sample that is reached at the
    // end of step k. Its time is that of the step's end or, in a file whose times begin at 0, of its beginning.
    std::string Misfit(const CosimShape& shape) const;

    // A source's sample of step `row`: behind the last row that of the last one.
    double At(std::int32_t source, std::int64_t row) const;

    // The time of the last row, as the file has it [s].
    double LastTime() const { return m_Times.back(); }

private:
    void Read(std::string_view text);
    void CheckTimes() const;
    std::string Place(std::size_t row) const;

    std::string m_Name;                         // as it is called in messages
    std::vector<std::vector<double>> m_Columns; // of each source
    std::vector<double> m_Times;
    std::vector<std::size_t> m_Lines; // of each row
};

// The ports' values: a line of headings, then for each step the time of its end and both values of each port. What is written is
// in the file when Flush has returned. The file may be a pipe.
class PortFile {
public:
    // Empties a file that is there. "-" is standard output. Throws std::runtime_error.
    explicit PortFile(const std::string& name);
    ~PortFile();
    PortFile(const PortFile&) = delete;
    PortFile& operator=(const PortFile&) = delete;

    void Headings(std::int32_t ports);
    void Number(double value); // the shortest digits that bring it back
    void Comma() { m_Pending += ','; }
    void EndLine() { m_Pending += '\n'; }

    // These throw std::runtime_error with the name and the reason.
    void Flush();
    void Close();

private:
    const std::string m_Name;
    int m_File;
    std::string m_Pending;
};

} // namespace job
