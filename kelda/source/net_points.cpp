#include "net_points.h"

#include "block_file.h"
#include "printable.h"
#include "quantity.h"

#include <fmt/format.h>
#include <sparamlib/network_modal_solution.h>
#include <sparamlib/network_terminal_solution.h>

#include <stdexcept>

std::vector<std::complex<double>> ReferencesOf(CNetworkData& point) {
    std::vector<std::complex<double>> references;
    const int n = point.GetMatrixSize();
    if (auto* modal = dynamic_cast<CNetworkModalData*>(&point)) {
        const ComplexVector* impedances = modal->GetPortImpedance();
        for (int row = 0; impedances && row < std::min(n, impedances->Size()); ++row)
            references.emplace_back((*impedances)[row].re, (*impedances)[row].im);
    } else if (const auto* terminal = dynamic_cast<const CNetworkTerminalData*>(&point)) {
        const ComplexMatrix* impedances = terminal->GetPortImpedance();
        for (int row = 0; impedances && row < std::min({n, impedances->Rows(), impedances->Columns()}); ++row)
            references.emplace_back((*impedances)[row][row].re, (*impedances)[row][row].im);
    }
    return references;
}

bool IsPostprocessed(const CNetworkDataSolution& solution) {
    const auto* modal = dynamic_cast<const CNetworkModalSolution*>(&solution);
    return modal && modal->GetPostprocSetup() && modal->GetPostprocSetup()->IsActive();
}

std::unique_ptr<CNetworkDataSolution> Collect(CNetworkDataSolution& source,
                                              const std::vector<double>& frequencies) {
    std::unique_ptr<CNetworkDataSolution> result;
    for (const double frequency : frequencies) {
        CNetworkData* point = source.GetData(frequency, 0.0, true, false);
        if (!point)
            throw std::runtime_error("there are no data at " + FrequencyText(frequency));
        if (!result) {
            if (dynamic_cast<CNetworkTerminalData*>(point))
                result = std::make_unique<CNetworkTerminalSolution>();
            else
                result = std::make_unique<CNetworkModalSolution>();
            std::vector<CMatrixEntry*> entries;
            for (int row = 0; row < source.GetMatrixSize(); ++row)
                entries.push_back(source.GetMatrixEntry(static_cast<unsigned>(row)));
            result->SetMatrixEntries(entries, true);
            result->SetName(source.GetName());
            if (const CNoiseDataSolution* noise = source.GetNoiseSolution())
                result->SetNoiseSolution(std::make_unique<CNoiseDataSolution>(*noise));
        }
        result->AddData(point);
    }
    return result;
}

std::string RowName(const CNetworkDataSolution& solution, int row) {
    const std::string name =
        Printable(ToUtf8(solution.GetMatrixEntryName(static_cast<unsigned>(row))), LineEnds::kWritten);
    return name.empty() ? std::to_string(row + 1) : name;
}

const ComplexMatrix& MatrixOf(CNetworkData& point, touchstone::Kind kind) {
    const ComplexMatrix* matrix = kind == touchstone::Kind::Y   ? point.GetYMatrix(true)
                                  : kind == touchstone::Kind::Z ? point.GetZMatrix(true)
                                                                : point.GetSMatrix(true);
    if (!matrix)
        throw std::runtime_error(fmt::format("the data at {} give no {}", FrequencyText(point.GetFrequency()),
                                             static_cast<char>(kind)));
    return *matrix;
}
