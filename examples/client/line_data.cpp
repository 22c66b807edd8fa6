// Runs a circuit in which lines are known to this program alone: it answers the engine's requests for their data from a formula.
//
//   line_data CIRCUIT RESULTS
//
// A line stands in the circuit as `*% nport NAME a 0 b 0 design=line params="OHM SECONDS"`: its impedance and its delay.

#include "job.h"

#include <sparamlib/network_modal_solution.h>
#include <streamio/block.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <exception>
#include <numbers>
#include <optional>
#include <string>

namespace {

constexpr double kReference = 50.0; // [ohm], the engine's

struct Line {
    double impedance; // [ohm]
    double delay;     // [s]

    // At the reference.
    ComplexMatrix Scattering(double frequency) const {
        const double angle = 2 * std::numbers::pi * frequency * delay, ratio = impedance / kReference;
        const std::complex<double> j(0, 1),
            d = 2 * std::cos(angle) + j * (ratio + 1 / ratio) * std::sin(angle),
            reflected = j * (ratio - 1 / ratio) * std::sin(angle) / d, passed = 2.0 / d;
        ComplexMatrix s(2, 2);
        s[0][0] = s[1][1] = Complex(reflected.real(), reflected.imag());
        s[0][1] = s[1][0] = Complex(passed.real(), passed.imag());
        return s;
    }
};

std::optional<Line> LineOf(const std::string& parameters) {
    Line line{};
    char rest = 0;
    const int read = std::sscanf(parameters.c_str(), "%lf %lf %c", &line.impedance, &line.delay, &rest);
    if (read != 2 || !(line.impedance > 0) || !(line.delay > 0))
        return std::nullopt;
    return line;
}

// A solution of two ports with a point at each frequency that the engine asks for. Without port impedances S is taken to be at 50 ohm
// as it stands; with them it would go by way of the admittances, which a line of half a wave hasn't.
platform::UniqueBstr Solve(const Line& line, BSTR frequencies) {
    CNetworkModalSolution solution;
    CMatrixEntry first(AString(u"a"), 1, 0), second(AString(u"b"), 1, 1);
    solution.SetMatrixEntries({&first, &second}, true);

    io::CToken_istring asked(AString(frequencies, SysStringLen(frequencies)), &io::DefaultDelimiterGrammar());
    for (double frequency = 0; asked.Read(frequency), asked.Good();) {
        ComplexMatrix s = line.Scattering(frequency);
        solution.AddData(frequency)->SetSMatrix(&s, true);
    }

    io::CBlock block(solution.GetBlockName());
    solution.WriteToBlock(block, false);
    io::CToken_ostring text(0, false, &io::DefaultDelimiterGrammar());
    text.SetPrecision(17);
    block.Write(text);
    return platform::UniqueBstr(text.TakeText());
}

class Lines : public kelda::SolutionInterface {
public:
    enum Failure : std::int32_t { kNoDesign = 101, kBadParameters = 102 };

    HRESULT GetFieldSolverData(BSTR designName, BSTR compInstID, BSTR, BSTR, BSTR paramValues,
                               BSTR freqValues, BSTR* netwData, std::int32_t* msg) override {
        try {
            const auto line = LineOf(Narrow(paramValues));
            *msg = Narrow(designName) != "line" ? kNoDesign : !line ? kBadParameters : 0;
            if (*msg == 0)
                *netwData = Solve(*line, freqValues).Release();
            else // the engine hands the code on, and the words are the client's
                std::fprintf(stderr, "line_data: %s: expected design=line params=\"OHM SECONDS\"\n",
                             Narrow(compInstID).c_str());
            return S_OK;
        } catch (const std::exception&) {
            return E_OUTOFMEMORY; // no exception leaves a callback
        }
    }
};

// Gives why the job has no results, or nothing.
std::string Run(const char* circuitPath, const char* resultsPath) {
    auto ending = std::make_shared<Ending>();
    auto engine = Activate(ending);
    auto progress = platform::InterfacePtr<JobProgress>::Adopt(new JobProgress(ending));
    auto lines = platform::InterfacePtr<Lines>::Adopt(new Lines);
    auto circuit = PathText(circuitPath), results = PathText(resultsPath);
    std::int32_t job = 0;
    if (engine->StartAnalysis(progress.Get(), lines.Get(), circuit.Get(), results.Get(), &job) != S_OK)
        return "the engine doesn't take the job";
    return ending->Fault();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: line_data CIRCUIT RESULTS\n");
        return 2;
    }
    try {
        const std::string fault = Run(argv[1], argv[2]);
        if (fault.empty())
            return 0;
        std::fprintf(stderr, "line_data: %s\n", fault.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "line_data: %s\n", error.what());
    }
    return 1;
}
