#include "net_change.h"

#include "block_file.h"
#include "deliver.h"
#include "exit_status.h"
#include "net_points.h"
#include "output.h"
#include "quantity.h"

#include <fmt/format.h>
#include <networkfile/references.h>
#include <sparamlib/network_modal_data.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace {

void Warn(const std::vector<std::string>& warnings) {
    Output err(STDERR_FILENO);
    for (const std::string& warning : warnings)
        err.Write("kelda: " + warning + "\n");
    err.Flush();
}

// What the file answers: its setup isn't stored again, so it is applied here.
std::unique_ptr<CNetworkDataSolution> ReadAnswers(const std::string& name) {
    networkfile::File file = ReadNetwork(name);
    if (!IsPostprocessed(*file.solution))
        return std::move(file.solution);
    Warn({name + ": its post-processing is applied, and no longer stated in the result"});
    std::vector<double> frequencies;
    file.solution->GetFrequencies(frequencies, false);
    auto answers = Collect(*file.solution, frequencies);
    return answers ? std::move(answers) : std::move(file.solution);
}

int WriteNetwork(CNetworkDataSolution& solution, const NetChange& change) {
    const networkfile::Written written = networkfile::Write(solution, change.out, change.form);
    Warn(written.warnings);
    return Deliver(written.bytes, change.out, kDone);
}

// One value each: for the rows, or for the ports where they have several.
template <class Value>
std::vector<Value> Spread(const std::vector<Value>& given, const CNetworkDataSolution& solution,
                          const char* what) {
    const auto rows = static_cast<std::size_t>(solution.GetMatrixSize());
    const auto ports = static_cast<std::size_t>(solution.GetNumPorts());
    if (given.size() == 1)
        return std::vector<Value>(rows, given[0]);
    if (given.size() == rows || (given.size() == ports && ports < rows))
        return given;
    throw std::runtime_error(
        fmt::format("{} {} for {} rows: one for all or one for each", given.size(), what, rows));
}

template <class Target, class Value>
Target VectorOf(const std::vector<Value>& values) {
    Target vector(static_cast<int>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        if constexpr (std::is_same_v<Value, double>)
            vector[static_cast<int>(i)] = values[i];
        else
            vector[static_cast<int>(i)] = Complex(values[i].real(), values[i].imag());
    }
    return vector;
}

// Of one source: its reflection against another reference.
void RereferNoise(CNetworkDataSolution& solution, std::complex<double> from, std::complex<double> to) {
    const CNoiseDataSolution* noise = solution.GetNoiseSolution();
    if (!noise || from == to)
        return;
    auto changed = std::make_unique<CNoiseDataSolution>();
    changed->SetNoiseSolutionType(noise->GetNoiseSolutionType());
    for (const auto& [frequency, point] : noise->GetPoints()) {
        double figure = 0, magnitude = 0, degrees = 0, resistance = 0;
        point->GetValues(figure, magnitude, degrees, resistance);
        const auto reflection = std::polar(magnitude, degrees * kDegree);
        const auto impedance = from * (1.0 + reflection) / (1.0 - reflection);
        const auto result = (impedance - to) / (impedance + to);
        changed->AddData(frequency)->SetValues(figure, std::abs(result), std::arg(result) / kDegree,
                                               resistance);
    }
    solution.SetNoiseSolution(std::move(changed));
}

// A modal point wants propagation constants, though a delay makes no use of them: zeros where there are none.
class BorrowedGammas {
public:
    explicit BorrowedGammas(CNetworkDataSolution& solution) {
        for (const auto [frequency, point] : solution.GetSolvedPoints()) {
            auto* modal = dynamic_cast<CNetworkModalData*>(point);
            if (!modal || modal->GetGamma())
                continue;
            modal->SetGamma(new ComplexVector(modal->GetMatrixSize()), false);
            m_Points.push_back(modal);
        }
    }
    BorrowedGammas(const BorrowedGammas&) = delete;
    BorrowedGammas& operator=(const BorrowedGammas&) = delete;
    ~BorrowedGammas() {
        for (CNetworkModalData* point : m_Points)
            point->SetGamma(nullptr, false);
    }

private:
    std::vector<CNetworkModalData*> m_Points;
};

// Each point's S, by computing it where need be; throws where there is none.
void NeedS(CNetworkDataSolution& solution) {
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        if (!point->GetSMatrix(true))
            throw std::runtime_error("the data at " + FrequencyText(frequency) + " hold no S");
    }
}

} // namespace

networkfile::File ReadNetwork(const std::string& name) {
    networkfile::File file = networkfile::Read(name);
    Warn(file.warnings);
    return file;
}

int ConvertNetwork(const NetChange& change) {
    networkfile::File file = ReadNetwork(change.in);
    const auto to = networkfile::FormOfName(change.out);
    const bool isStored = file.form != networkfile::Form::kTouchstone && change.in != "-";
    if (!isStored || !to || *to == networkfile::Form::kTouchstone)
        return WriteNetwork(*file.solution, change);
    // From one stored form to the other all items stay, those that the solution's class doesn't write again among them.
    std::vector<io::CBlockItemPtr> items;
    std::vector<io::StoredError> errors;
    BlockFile(change.in).Read(items, errors);
    BlockFormat format;
    format.binary = *to == networkfile::Form::kBinary;
    return Deliver(WriteItems(items, format), change.out, kDone);
}

int RenormalizeNetwork(const NetChange& change) {
    const auto solution = ReadAnswers(change.in);
    const auto references = Spread(change.references, *solution, "references");
    if (references.size() != static_cast<std::size_t>(solution->GetMatrixSize()))
        throw std::runtime_error("a port has several rows: one reference for each row");
    std::complex<double> source = references[0];
    if (solution->GetNumSolvedFrequencies() > 0) {
        if (const auto former = ReferencesOf(*solution->GetSolvedPoints().First().point); !former.empty())
            source = former[0];
    }
    networkfile::Refer(*solution, VectorOf<ComplexVector>(references));
    RereferNoise(*solution, source, references[0]);
    return WriteNetwork(*solution, change);
}

int DeembedNetwork(const NetChange& change) {
    const auto solution = ReadAnswers(change.in);
    NeedS(*solution);
    bool isGood = false;
    if (!change.delays.empty()) {
        const BorrowedGammas gammas(*solution);
        isGood = solution->DeembedPortsByDelay(
            VectorOf<RealVector>(Spread(change.delays, *solution, "delays")), true);
    } else {
        const auto distances = VectorOf<RealVector>(Spread(change.distances, *solution, "distances"));
        if (change.permittivities.empty()) {
            isGood = solution->DeembedPorts(distances, change.lossless, true);
            if (!isGood)
                throw std::runtime_error("the data don't hold the propagation constants that distances need; "
                                         "--permittivity or --delay does without");
        } else {
            const BorrowedGammas gammas(*solution);
            const auto permittivities =
                VectorOf<RealVector>(Spread(change.permittivities, *solution, "permittivities"));
            isGood = solution->DeembedPortsByLength(distances, permittivities, true);
        }
    }
    if (!isGood)
        throw std::runtime_error("the reference planes can't be moved by these values");
    if (solution->GetNoiseSolution()) {
        Warn({change.in + ": its noise data belong to the old reference planes and are left out"});
        solution->ClearNoiseSolution();
    }
    return WriteNetwork(*solution, change);
}
