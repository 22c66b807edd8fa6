#include "net_info.h"

#include "block_file.h"
#include "net_points.h"
#include "printable.h"
#include "quantity.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sparamlib/network_modal_data.h>
#include <sparamlib/network_terminal_data.h>

#include <algorithm>
#include <cmath>

namespace {

using Complexes = std::vector<std::complex<double>>;

// What rounding makes of a lossless network must pass.
constexpr double kPassivityMargin = 1e-9;

struct Summary {
    std::string form;
    std::string object;
    std::string type;
    std::string name;
    std::vector<std::string> rows;
    std::vector<double> frequencies;
    int interpolated = 0;
    std::vector<std::string> holds;
    Complexes references;
    bool referencesVary = false;
    std::string method; // how frequencies between are answered
    bool isPostprocessed = false;
    std::size_t noise = 0;
    double largest = 0;   // of the magnitudes in S
    double asymmetry = 0; // the largest difference of S(i, j) and S(j, i)
    bool isPassive = true;
    double activeAt = 0; // the first frequency at which it isn't passive
    bool hasS = false;
};

// Whether 1 - S^H S has no negative eigenvalue: it has a root by Cholesky then.
bool IsPassive(const ComplexMatrix& s) {
    const int n = s.Rows();
    std::vector<Complexes> root(static_cast<std::size_t>(n), Complexes(static_cast<std::size_t>(n)));
    const auto at = [&s](int i, int j) { return std::complex<double>(s[i][j].re, s[i][j].im); };
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j <= i; ++j) {
            std::complex<double> sum = i == j ? 1.0 + kPassivityMargin : 0.0;
            for (int k = 0; k < n; ++k)
                sum -= std::conj(at(k, i)) * at(k, j);
            auto& row = root[static_cast<std::size_t>(i)];
            const auto& other = root[static_cast<std::size_t>(j)];
            for (std::size_t k = 0; k < static_cast<std::size_t>(j); ++k)
                sum -= row[k] * std::conj(other[k]);
            if (i == j && !(sum.real() > 0))
                return false;
            row[static_cast<std::size_t>(j)] =
                i == j ? std::sqrt(sum.real()) : sum / other[static_cast<std::size_t>(j)].real();
        }
    }
    return true;
}

void LookAtS(Summary& summary, CNetworkData& point) {
    const ComplexMatrix* s = point.GetSMatrix(true);
    if (!s)
        return;
    summary.hasS = true;
    for (int i = 0; i < s->Rows(); ++i) {
        for (int j = 0; j < s->Columns(); ++j) {
            const std::complex<double> a((*s)[i][j].re, (*s)[i][j].im);
            const std::complex<double> b((*s)[j][i].re, (*s)[j][i].im);
            summary.largest = std::max(summary.largest, std::abs(a));
            summary.asymmetry = std::max(summary.asymmetry, std::abs(a - b));
        }
    }
    if (summary.isPassive && !IsPassive(*s)) {
        summary.isPassive = false;
        summary.activeAt = point.GetFrequency();
    }
}

void LookAtPoint(Summary& summary, CNetworkData& point) {
    const auto hold = [&summary](const char* what, bool is) {
        if (is && std::find(summary.holds.begin(), summary.holds.end(), what) == summary.holds.end())
            summary.holds.emplace_back(what);
    };
    hold("S", point.GetSMatrix(false) != nullptr);
    hold("Y", point.GetYMatrix(false) != nullptr);
    hold("Z", point.GetZMatrix(false) != nullptr);
    const Complexes references = ReferencesOf(point);
    hold("port impedances", !references.empty());
    if (summary.references.empty())
        summary.references = references;
    summary.referencesVary = summary.referencesVary || references != summary.references;
    if (const auto* modal = dynamic_cast<const CNetworkModalData*>(&point)) {
        hold("propagation constants", modal->GetGamma() != nullptr);
        hold("terminal transform", modal->GetTerminalTransform() != nullptr);
    } else if (const auto* terminal = dynamic_cast<const CNetworkTerminalData*>(&point)) {
        hold("propagation constants", terminal->GetGamma() != nullptr);
    }
    LookAtS(summary, point);
}

std::string FormOf(const networkfile::File& file) {
    if (file.form == networkfile::Form::kTouchstone)
        return fmt::format("Touchstone {}, {} in {} and {}", touchstone::Name(file.layout.version),
                           static_cast<char>(file.kind), touchstone::Name(file.layout.format),
                           touchstone::Name(file.layout.unit));
    return file.form == networkfile::Form::kBinary ? "solution, binary" : "solution, text";
}

template <std::size_t N, class Value>
std::string Keyword(const std::u16string_view (&keywords)[N], Value value) {
    const auto index = static_cast<std::size_t>(value);
    return index < N ? ToUtf8(keywords[index]) : std::to_string(index);
}

std::string MethodOf(SolutionType type) {
    switch (type) {
    case SolutionType::None:
    case SolutionType::InterpolateNeville:
        return "Neville interpolation";
    case SolutionType::ZephFastSweep:
    case SolutionType::ZephInterpolatingSweep:
        return "the sweep's own fit";
    default:
        return {};
    }
}

Summary Summarize(networkfile::File& file) {
    CNetworkDataSolution& solution = *file.solution;
    Summary summary;
    summary.form = FormOf(file);
    summary.object = Keyword(kObjectTypeKeywords, solution.GetObjectType());
    summary.type = Keyword(kSolutionTypeKeywords, solution.GetSolutionType());
    summary.name = ToUtf8(solution.GetName());
    for (int row = 0; row < solution.GetMatrixSize(); ++row)
        summary.rows.push_back(RowName(solution, row));
    summary.interpolated = static_cast<int>(solution.GetInterpolatedPoints().Size());
    summary.method = MethodOf(solution.GetSolutionType());
    summary.isPostprocessed = IsPostprocessed(solution);
    if (const CNoiseDataSolution* noise = solution.GetNoiseSolution())
        summary.noise = noise->GetPoints().size();
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        summary.frequencies.push_back(frequency);
        LookAtPoint(summary, *point);
    }
    return summary;
}

std::string ListText(const std::vector<std::string>& words) {
    constexpr std::size_t kShown = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(words.size(), kShown); ++i)
        text += (i == 0 ? "" : ", ") + words[i];
    if (words.size() > kShown)
        text += fmt::format(" and {} more", words.size() - kShown);
    return text;
}

std::string FrequenciesText(const std::vector<double>& frequencies) {
    if (frequencies.empty())
        return "none";
    if (frequencies.size() == 1)
        return "1, " + FrequencyText(frequencies[0]);
    const double step =
        (frequencies.back() - frequencies.front()) / static_cast<double>(frequencies.size() - 1);
    bool isUniform = true;
    for (std::size_t i = 1; i < frequencies.size(); ++i)
        isUniform = isUniform && std::fabs(frequencies[i] - frequencies[i - 1] - step) <= 1e-6 * step;
    return fmt::format("{}, {} to {}{}", frequencies.size(), FrequencyText(frequencies.front()),
                       FrequencyText(frequencies.back()),
                       isUniform ? ", every " + FrequencyText(step) : std::string());
}

std::string ReferencesText(const Summary& summary) {
    const Complexes& z = summary.references;
    if (z.empty())
        return "none";
    const bool isOne = std::all_of(z.begin(), z.end(), [&z](auto value) { return value == z[0]; });
    std::vector<std::string> words;
    for (const auto value : z)
        words.push_back(ComplexText(value));
    return (isOne ? ComplexText(z[0]) : ListText(words)) + " ohm" +
           (summary.referencesVary ? " at the first frequency, another one later" : "");
}

std::string Text(const std::string& name, const Summary& summary) {
    std::string text = name + ": " + summary.form + "\n";
    const auto line = [&text](const char* what, const std::string& value) {
        if (!value.empty())
            text += fmt::format("  {:<14}{}\n", what, value);
    };
    line("name", Printable(summary.name, LineEnds::kWritten));
    line("class", summary.object);
    line("type", summary.type);
    line("rows", fmt::format("{}{}{}", summary.rows.size(), summary.rows.empty() ? "" : ": ",
                             ListText(summary.rows)));
    line("frequencies", FrequenciesText(summary.frequencies));
    line("interpolated", summary.interpolated ? std::to_string(summary.interpolated) : "");
    line("holds", ListText(summary.holds));
    line("references", ReferencesText(summary));
    line("between", summary.method.empty() ? "no data" : summary.method);
    line("setup", summary.isPostprocessed ? "renormalises, de-embeds or converts on request" : "");
    line("noise", summary.noise ? fmt::format("{} frequencies", summary.noise) : "");
    if (summary.hasS) {
        line("largest |S|", fmt::format("{:.6g}", summary.largest));
        line("reciprocal",
             fmt::format("{}, |Sij - Sji| up to {:.2g}",
                         summary.asymmetry <= 1e-6 * std::max(1.0, summary.largest) ? "yes" : "no",
                         summary.asymmetry));
        line("passive", summary.isPassive ? "yes" : "no, first at " + FrequencyText(summary.activeAt));
    }
    return text;
}

std::string SummaryJson(const std::string& name, const Summary& summary) {
    nlohmann::json references = nlohmann::json::array();
    for (const auto z : summary.references)
        references.push_back({z.real(), z.imag()});
    nlohmann::json object = {{"file", name},
                             {"form", summary.form},
                             {"name", summary.name},
                             {"class", summary.object},
                             {"type", summary.type},
                             {"rows", summary.rows},
                             {"frequencies", summary.frequencies},
                             {"interpolated", summary.interpolated},
                             {"holds", summary.holds},
                             {"references", references},
                             {"references_vary", summary.referencesVary},
                             {"postprocessed", summary.isPostprocessed},
                             {"noise", summary.noise}};
    if (summary.hasS) {
        object["largest"] = summary.largest;
        object["asymmetry"] = summary.asymmetry;
        object["passive"] = summary.isPassive;
    }
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

} // namespace

std::string DescribeNetwork(const std::string& name, networkfile::File& file, bool json) {
    const Summary summary = Summarize(file);
    return json ? SummaryJson(name, summary) : Text(name, summary);
}
