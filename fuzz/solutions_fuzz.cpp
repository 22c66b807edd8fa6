// Any block becomes a solution, by its own form and by the compact one: what is read is written, read and written again as
// it is, a copy is the same, and every question to it ends.
#include <sparamlib/network_modal_solution.h>
#include <sparamlib/network_terminal_solution.h>
#include <sparamlib/solution_factory.h>
#include <streamio/block.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kFewRows = 8; // for what takes time by their cube

void Require(bool holds) {
    if (!holds)
        std::abort();
}

AString TextOf(CNetworkDataSolution& solution) {
    io::CBlock block(solution.GetBlockName());
    Require(solution.WriteToBlock(block, true));
    AString text;
    block.ToText(text, 0, 17);
    return text;
}

// Not: a number without end, and an empty name among the arguments of a port table.
bool IsReadable(const AString& text) {
    for (const char16_t* part : {u"inf", u"nan", u"('')", u"('', ", u", '')", u", '', "}) {
        if (text.find(part) != text.npos)
            return false;
    }
    return true;
}

// The port tables of a block are appended, so that only a new object reads the same again.
void ReadAgain(CNetworkDataSolution& solution) {
    const AString text = TextOf(solution);
    Require(TextOf(*solution.Clone()) == text);
    // Without rows no matrix of a point is read, not even one of 0 by 0; and not every type has a stored keyword.
    if (solution.GetMatrixSize() == 0 || text.find(u"\n\tSolutionType=") == text.npos || !IsReadable(text))
        return;
    io::CBlock block;
    Require(block.FromText(text));
    const auto again = CreateNetworkSolution(block);
    Require(again && TextOf(*again) == text);
}

void Ask(CNetworkDataSolution& solution) {
    double low = 0.0;
    double high = 0.0;
    solution.GetSolvedRange(low, high);
    for (double frequency : {low, high, low + (high - low) / 3, 0.0, high + 1.0}) {
        for (bool raw : {false, true}) {
            CNetworkData* point = solution.GetData(frequency, 0.0, true, raw);
            Require(!point || point == solution.GetData(frequency, 0.0, false, raw));
            if (point) {
                point->GetValue(NetworkDataKind::ZMatrix, 0, 0);
                point->GetValue(NetworkDataKind::TerminalSMatrix, 0, 0);
            }
        }
        solution.GetDominantData(frequency, 1.0, true);
    }
    std::vector<double> frequencies;
    Require(solution.GetFrequencies(frequencies, true) >= solution.GetNumSolvedFrequencies());
    solution.IsUniformFromDC();
    const int n = solution.GetMatrixSize();
    const int ports = solution.GetNumPorts();
    for (int count : {n, ports}) {
        solution.DeembedPorts(RealVector(count, 1e-3), false, true);
        solution.DeembedPortsByLength(RealVector(count, 1e-3), RealVector(count, 2.0), true);
        solution.RenormalizePorts(ComplexVector(n, Complex(50, 1)), true);
    }
    for (int row = 0; row <= n; ++row)
        solution.GetMatrixEntryName(static_cast<unsigned>(row));
    solution.FindMatrixEntry(u"P1");
    solution.BuildMatrixEntries();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AString text;
    for (std::size_t i = 0; i < size; ++i)
        text += static_cast<wchar16>(data[i]);
    io::CBlock block;
    block.FromText(text);

    CNetworkModalSolution modal;
    modal.ReadFromBlock(block);
    CNetworkTerminalSolution terminal;
    terminal.ReadFromBlock(block);
    const auto made = CreateNetworkSolution(block);
    const auto compact = ReadCompactSolution(block);
    for (CNetworkDataSolution* solution :
         {static_cast<CNetworkDataSolution*>(&modal), static_cast<CNetworkDataSolution*>(&terminal),
          made.get(), compact.get()}) {
        if (!solution)
            continue;
        ReadAgain(*solution);
        if (solution->GetMatrixSize() <= kFewRows)
            Ask(*solution);
    }
    return 0;
}
