#include "net_at.h"

#include "deliver.h"
#include "exit_status.h"
#include "net_change.h"
#include "net_points.h"
#include "quantity.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cctype>
#include <cmath>
#include <stdexcept>

namespace {

std::string ValueText(const Complex& value, touchstone::Format format) {
    const std::complex<double> z(value.re, value.im);
    switch (format) {
    case touchstone::Format::MagnitudeAngle:
        return fmt::format("{:.9g} {:.9g}", std::abs(z), std::arg(z) / kDegree);
    case touchstone::Format::DecibelAngle:
        return fmt::format("{:.9g} {:.9g}", 20 * std::log10(std::abs(z)), std::arg(z) / kDegree);
    default:
        return fmt::format("{:.9g} {:.9g}", z.real(), z.imag());
    }
}

// Of a value: its two columns.
const char* Columns(touchstone::Format format) {
    switch (format) {
    case touchstone::Format::MagnitudeAngle:
        return "magnitude degrees";
    case touchstone::Format::DecibelAngle:
        return "dB degrees";
    default:
        return "re im";
    }
}

class Table {
public:
    Table(const NetQuestion& question, CNetworkDataSolution& solution)
        : m_Question(question), m_HasValues(question.out.empty()) {
        solution.GetSolvedRange(m_Low, m_High);
        const SolutionType type = solution.GetSolutionType();
        m_HasEstimate = type == SolutionType::InterpolateNeville || type == SolutionType::DiscreteSweep;
        if (!question.json)
            m_Text = "# Hz origin error" + (m_HasValues ? Entries(solution.GetMatrixSize()) : "") + "\n";
    }

    void Add(double frequency, CNetworkData& point, bool isHeld) {
        const char* origin = isHeld                                    ? "stored"
                             : frequency < m_Low || frequency > m_High ? "extrapolated"
                                                                       : "interpolated";
        if (m_Question.json)
            AddObject(frequency, point, origin, isHeld);
        else
            AddLine(frequency, point, origin, isHeld);
    }

    const std::string& Text() const { return m_Text; }

private:
    std::string Entries(int n) const {
        std::string text;
        for (int i = 1; i <= n; ++i) {
            for (int j = 1; j <= n; ++j)
                text += fmt::format(" {}({},{}) {}", static_cast<char>(m_Question.form.kind), i, j,
                                    Columns(m_Question.form.format));
        }
        return text;
    }
    void AddLine(double frequency, CNetworkData& point, const char* origin, bool isHeld) {
        m_Text += fmt::format("{} {} {}", frequency, origin,
                              isHeld || !m_HasEstimate ? std::string("-")
                                                       : fmt::format("{:.3g}", point.GetAuxValue()));
        if (m_HasValues) {
            const ComplexMatrix& matrix = MatrixOf(point, m_Question.form.kind);
            for (int i = 0; i < matrix.Size(); ++i)
                m_Text += " " + ValueText(matrix.Data()[i], m_Question.form.format);
        }
        m_Text += "\n";
    }
    void AddObject(double frequency, CNetworkData& point, const char* origin, bool isHeld) {
        nlohmann::json object = {{"frequency", frequency}, {"origin", origin}};
        if (!isHeld && m_HasEstimate)
            object["error"] = point.GetAuxValue();
        if (m_HasValues) {
            const ComplexMatrix& matrix = MatrixOf(point, m_Question.form.kind);
            nlohmann::json rows = nlohmann::json::array();
            for (int i = 0; i < matrix.Rows(); ++i) {
                rows.push_back(nlohmann::json::array());
                for (int j = 0; j < matrix.Columns(); ++j)
                    rows.back().push_back({matrix[i][j].re, matrix[i][j].im});
            }
            const char name[] = {static_cast<char>(std::tolower(static_cast<char>(m_Question.form.kind))),
                                 '\0'};
            object[name] = rows;
        }
        m_Text += object.dump() + "\n";
    }

    const NetQuestion& m_Question;
    const bool m_HasValues;
    bool m_HasEstimate = false; // a sweep's fit has none
    double m_Low = 0;
    double m_High = 0;
    std::string m_Text;
};

} // namespace

int AnswerNetwork(const NetQuestion& question) {
    networkfile::File file = ReadNetwork(question.in);
    CNetworkDataSolution& solution = *file.solution;
    if (solution.GetSolutionType() == SolutionType::None)
        solution.SetSolutionType(SolutionType::InterpolateNeville);
    Table table(question, solution);
    for (const double frequency : question.frequencies) {
        const bool isHeld = solution.GetData(frequency, 0.0, false, true) != nullptr;
        CNetworkData* point = solution.GetData(frequency, 0.0, true, false);
        if (!point) {
            double low = 0;
            double high = 0;
            solution.GetSolvedRange(low, high);
            throw std::runtime_error(fmt::format("there are no data at {}: the solution holds {} to {} and "
                                                 "states no method that answers there",
                                                 FrequencyText(frequency), FrequencyText(low),
                                                 FrequencyText(high)));
        }
        table.Add(frequency, *point, isHeld);
    }
    if (!question.out.empty()) {
        const auto answers = Collect(solution, question.frequencies);
        const networkfile::Written written = networkfile::Write(*answers, question.out, question.form);
        if (const int status = Deliver(written.bytes, question.out, kDone); status != kDone)
            return status;
    }
    return Deliver(table.Text(), "-", kDone);
}
