// Any bytes, under any of the names that a file has, are a network or an error that begins with the name. What was read is
// written in every form and comes back with the same frequencies, and what the engine is given of a file is a solution to its
// grammar, with S at every point. The first byte says the name.
#include <networkfile/network_file.h>

#include <sparamlib/solution_factory.h>
#include <streamio/abstract_stream.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/stored_file.h>
#include <testtools/temporary_folder.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

// Nothing if that is an error.
template <class Make>
auto OrError(const std::string& name, const Make& make) -> std::optional<decltype(make())> {
    try {
        return make();
    } catch (const networkfile::Error& error) {
        Require(std::string_view(error.what()).starts_with(name + ':'));
        return std::nullopt;
    }
}

std::vector<double> FrequenciesOf(const CNetworkDataSolution& solution) {
    std::vector<double> frequencies;
    solution.GetFrequencies(frequencies, false);
    return frequencies;
}

// Neither a number without end nor an empty name, which the grammars don't read back.
bool IsReadable(std::string_view text) {
    for (const char* part : {"inf", "nan", "('')", "('', ", ", '')", ", '', "})
        if (text.find(part) != text.npos)
            return false;
    return true;
}

void WriteAndRead(CNetworkDataSolution& solution, const std::string& name, bool isReadable) {
    const auto written = OrError(name, [&] { return networkfile::Write(solution, name); });
    if (!written)
        return;
    const auto again = OrError(name, [&] { return networkfile::ReadBytes(written->bytes, name); });
    Require(!isReadable || (again && FrequenciesOf(*again->solution) == FrequenciesOf(solution)));
}

void GiveToEngine(const std::string& file, std::string_view bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
    const auto text = OrError(file, [&] { return networkfile::ReadForEngine(file); });
    if (!text)
        return;
    std::vector<io::CBlockItemPtr> items;
    std::vector<io::StoredError> errors;
    io::ReadItems(*text, io::DefaultDelimiterGrammar(), items, errors, io::kDropSourceText);
    Require(errors.empty() && !items.empty() && items.front()->IsBlock());
    const auto solution = CreateNetworkSolution(static_cast<io::CBlock&>(*items.front()));
    Require(solution != nullptr);
    for (const auto [frequency, point] : solution->GetSolvedPoints())
        Require(point->GetSMatrix(false));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const testtools::TemporaryFolder folder("networkfile_fuzz");
    static const std::string names[] = {"x.sol", "x.solb", "x.s1p", "x.s2p", "x.y3p", "x.ts", "x"};
    if (size < 1)
        return 0;
    const std::string& name = names[data[0] % std::size(names)];
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto read = OrError(name, [&] { return networkfile::ReadBytes(bytes, name); });
    GiveToEngine(folder.File(name), bytes);
    if (!read)
        return 0;
    Require(read->solution != nullptr);
    for (const std::string& warning : read->warnings)
        Require(warning.starts_with(name + ':'));
    const std::string ports = std::to_string(read->solution->GetMatrixSize());
    const auto text = OrError("a.sol", [&] { return networkfile::Write(*read->solution, "a.sol"); });
    const bool isReadable = text && IsReadable(text->bytes);
    for (const std::string& form :
         {std::string("a.sol"), std::string("a.solb"), std::string("a.ts"), "a.s" + ports + 'p'})
        WriteAndRead(*read->solution, form, isReadable);
    return 0;
}
