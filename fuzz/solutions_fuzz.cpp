// Any block becomes a solution, by its own form and by the compact one: what is read is written, read and written again as
// it is, a copy is the same, and every question to it ends.
#include <sparamlib/network_modal_solution.h>
#include <sparamlib/network_terminal_solution.h>
#include <sparamlib/solution_factory.h>
#include <sparamlib/zeph_modal_solution.h>
#include <sparamlib/zeph_terminal_solution.h>
#include <streamio/block.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr int kFewRows = 8; // for what takes time by their cube
constexpr int kFewFrequencies = 100;

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

// A field solver's modal solution without a type is read as a discrete sweep. Its terminal solution makes its rows from the
// ports, which read again are the rows; none of it where a pair ended the reading.
bool IsReadable(const CNetworkDataSolution& solution) {
    if (solution.GetObjectType() == ObjectType::ZephModal && solution.GetSolutionType() == SolutionType::None)
        return false;
    const auto* terminal = dynamic_cast<const CZephTerminalSolution*>(&solution);
    if (!terminal)
        return true;
    const std::vector<std::int32_t>& modes = terminal->GetPortModes();
    return terminal->GetReferenceImpedance().Size() == terminal->GetMatrixSize() &&
           terminal->GetPortNames().size() == modes.size() &&
           std::all_of(modes.begin(), modes.end(), [](std::int32_t count) { return count == 1; });
}

// The port tables of a block are appended, so that only a new object reads the same again.
void ReadAgain(CNetworkDataSolution& solution) {
    const AString text = TextOf(solution);
    Require(TextOf(*solution.Clone()) == text);
    // Without rows no matrix of a point is read, not even one of 0 by 0; and not every type has a stored keyword.
    const bool isTyped = text.find(u"\n\tSolutionType=") != text.npos ||
                         text.find(u"\n\t$begin InterpolationBasis") != text.npos;
    if (solution.GetMatrixSize() == 0 || !isTyped || !IsReadable(text) || !IsReadable(solution))
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
    const auto* modal = dynamic_cast<const CZephModalSolution*>(&solution);
    const bool isServedAnew = modal && !modal->IsModalData();
    for (double frequency : {low, high, low + (high - low) / 3, 0.0, high + 1.0}) {
        for (bool raw : {false, true}) {
            CNetworkData* point = solution.GetData(frequency, 0.0, true, raw);
            CNetworkData* again = solution.GetData(frequency, 0.0, false, raw);
            Require(!point || isServedAnew ? !again == !point : again == point);
            if (point) {
                point->GetValue(NetworkDataKind::ZMatrix, 0, 0);
                point->GetValue(NetworkDataKind::TerminalSMatrix, 0, 0);
            }
        }
        solution.GetDominantData(frequency, 1.0, true);
    }
    std::vector<double> frequencies;
    Require(solution.GetFrequencies(frequencies, true) >= solution.GetNumSolvedFrequencies() ||
            (modal && modal->GetInterpolator()));
    solution.IsUniformFromDC();
    const int n = solution.GetMatrixSize();
    const int ports = solution.GetNumPorts();
    for (int count : {n, ports}) {
        if (solution.GetNumFrequencies() <= kFewFrequencies)
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
    CZephModalSolution zephModal;
    zephModal.ReadFromBlock(block);
    CZephTerminalSolution zephTerminal;
    zephTerminal.ReadFromBlock(block);
    const auto made = CreateNetworkSolution(block);
    const auto compact = ReadCompactSolution(block);
    for (CNetworkDataSolution* solution : std::initializer_list<CNetworkDataSolution*>{
             &modal, &terminal, &zephModal, &zephTerminal, made.get(), compact.get()}) {
        if (!solution)
            continue;
        ReadAgain(*solution);
        if (solution->GetMatrixSize() <= kFewRows)
            Ask(*solution);
    }
    return 0;
}
