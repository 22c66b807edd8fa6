#include <networkfile/network_file.h>

#include "touchstone_solution.h"

#include <networkfile/references.h>
#include <platform/read_bytes.h>
#include <sparamlib/network_modal_solution.h>
#include <sparamlib/network_terminal_solution.h>
#include <sparamlib/solution_factory.h>
#include <streamio/binary_utils.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/stored_file.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_ostring.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace networkfile {
namespace {

constexpr int kAllDigits = 17;
constexpr double kEngineOhms = 50.0;

std::string Shown(const std::string& name) {
    return name == "-" ? "standard input" : name;
}

[[noreturn]] void Refuse(const std::string& name, const std::string& text, int line = 0) {
    throw Error(line > 0 ? fmt::format("{}:{}: {}", Shown(name), line, text)
                         : fmt::format("{}: {}", Shown(name), text));
}

bool EndsWith(std::string_view name, std::string_view ending) {
    return name.size() > ending.size() &&
           std::equal(ending.rbegin(), ending.rend(), name.rbegin(),
                      [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

bool BeginsAsTouchstone(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
        const std::size_t first = line.find_first_not_of(" \t\r");
        if (first != line.npos && line[first] != '!')
            return std::string_view("#[0123456789+-.").find(line[first]) != std::string_view::npos;
    }
    return false;
}

Form FormOf(std::string_view bytes, const std::string& name) {
    if (const auto form = FormOfName(name); form && *form == Form::kTouchstone)
        return *form;
    if (io::IsBinaryForm(bytes))
        return Form::kBinary;
    return BeginsAsTouchstone(bytes) ? Form::kTouchstone : Form::kText;
}

AString TextOf(std::string_view bytes, const std::string& name) {
    AString text;
    if (const std::int32_t line = io::TextOfFile(bytes, text))
        Refuse(name, "not UTF-8", line);
    return text;
}

std::string Utf8(std::u16string_view text) {
    std::string bytes;
    io::AppendUtf8(text, bytes);
    return bytes;
}

// The first solution among the blocks of the top level, or null.
std::unique_ptr<CNetworkDataSolution> FindSolution(const std::vector<io::CBlockItemPtr>& items) {
    for (const io::CBlockItemPtr& item : items) {
        if (!item->IsBlock())
            continue;
        if (auto solution = CreateNetworkSolution(static_cast<io::CBlock&>(*item)))
            return solution;
    }
    return nullptr;
}

std::unique_ptr<CNetworkDataSolution> ReadStored(std::u16string_view text, const std::string& name) {
    std::vector<io::CBlockItemPtr> items;
    std::vector<io::StoredError> errors;
    io::ReadItems(text, io::DefaultTokenGrammar(), items, errors, io::kDropSourceText);
    if (!errors.empty())
        Refuse(name, Utf8(errors.front().text), errors.front().line);
    auto solution = FindSolution(items);
    if (!solution)
        Refuse(name, "no solution of a kind that can be read, and no Touchstone file");
    return solution;
}

File ReadTouchstone(std::string_view bytes, const std::string& name) {
    File file;
    file.form = Form::kTouchstone;
    try {
        const touchstone::File read = touchstone::Read(bytes, touchstone::PortsOfName(name));
        file.solution = ToSolution(read.network);
        file.kind = read.network.kind;
        file.layout = read.layout;
        for (const touchstone::Remark& remark : read.warnings)
            file.warnings.push_back(fmt::format("{}:{}: {}", Shown(name), remark.line, remark.text));
    } catch (const touchstone::Error& error) {
        Refuse(name, error.what(), error.Line());
    } catch (const std::runtime_error& error) {
        Refuse(name, error.what());
    }
    return file;
}

AString WriteStored(CNetworkDataSolution& solution, bool binary, const io::CBase_grammar& grammar) {
    io::CBlock block(solution.GetBlockName());
    if (!solution.WriteToBlock(block, false))
        throw Error("a point of the solution can't be written");
    // The solution itself doesn't write how it is to be presented.
    const auto* modal = dynamic_cast<CNetworkModalSolution*>(&solution);
    if (const CNetworkPostprocSetup* setup = modal ? modal->GetPostprocSetup() : nullptr) {
        const io::CBlockPtr stored(new io::CBlock(AString(u"Postprocessing")));
        setup->WriteToBlock(*stored.Get());
        block.Add(stored);
    }
    io::CToken_ostring s(0, binary, &grammar);
    s.SetPrecision(kAllDigits);
    block.Write(s);
    s.EnsureNewLine();
    return s.TakeText();
}

// Whether the engine reads the text as it stands: by its grammar a block that is a solution whose points have S.
bool IsForEngine(std::u16string_view text) {
    std::vector<io::CBlockItemPtr> items;
    std::vector<io::StoredError> errors;
    io::ReadItems(text, io::DefaultDelimiterGrammar(), items, errors, io::kDropSourceText);
    if (!errors.empty() || items.empty() || !items.front()->IsBlock())
        return false;
    const auto solution = CreateNetworkSolution(static_cast<io::CBlock&>(*items.front()));
    if (!solution)
        return false;
    const CFrequencyMap& points = solution->GetSolvedPoints();
    return std::all_of(points.begin(), points.end(),
                       [](const CFrequencyMap::Entry& entry) { return entry.point->GetSMatrix(false); });
}

// S alone, as terminal points: those need no references, neither to be interpolated nor to be left as they are by whoever
// refers them anew.
std::unique_ptr<CNetworkDataSolution> WithoutReferences(CNetworkDataSolution& solution) {
    auto bare = std::make_unique<CNetworkTerminalSolution>();
    std::vector<CMatrixEntry*> entries;
    for (int row = 0; row < solution.GetMatrixSize(); ++row)
        entries.push_back(solution.GetMatrixEntry(static_cast<unsigned>(row)));
    bare->SetMatrixEntries(entries, true);
    bare->SetName(solution.GetName());
    bare->SetSolutionType(solution.GetSolutionType());
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        bare->AddData(frequency)->SetSMatrix(point->GetSMatrix(false), true);
    return bare;
}

// Whether the engine has nothing to refer: all rows are at its reference. With fewer points than an interpolation with
// references takes the data stay as they are, so that a frequency beyond them is told.
bool IsAtEngineReference(const CNetworkDataSolution& solution) {
    constexpr int kLeastPoints = 3;
    const CFrequencyMap& points = solution.GetSolvedPoints();
    return solution.GetNumSolvedFrequencies() >= kLeastPoints &&
           std::all_of(points.begin(), points.end(), [](const CFrequencyMap::Entry& entry) {
               const ComplexVector* z = static_cast<CNetworkModalData*>(entry.point)->GetPortImpedance();
               return z && std::all_of(z->Data(), z->Data() + z->Size(),
                                       [](const Complex& of) { return of == Complex(kEngineOhms); });
           });
}

// The engine refers what it gets to 50 ohm by way of the admittances, near whose poles, at a line of half a wave for
// instance, digits are lost. Data at 50 ohm go without their references, which spares them that way; a network that has no
// admittances at some frequency is brought to 50 ohm before.
void SpareTheAdmittances(std::unique_ptr<CNetworkDataSolution>& solution) {
    const auto* modal = dynamic_cast<CNetworkModalSolution*>(solution.get());
    if (!modal || solution->GetObjectType() != ObjectType::Modal || modal->GetPostprocSetup())
        return;
    if (!IsAtEngineReference(*solution)) {
        auto referred = solution->Clone();
        try {
            if (Refer(*referred, ComplexVector(solution->GetMatrixSize(), Complex(kEngineOhms))))
                return;
        } catch (const std::runtime_error&) {
            return; // the engine's to refuse
        }
        solution = std::move(referred);
    }
    solution = WithoutReferences(*solution);
}

touchstone::Layout LayoutOf(const touchstone::Network& network, const WriteOptions& options) {
    touchstone::Layout layout = touchstone::LayoutFor(network);
    layout.format = options.format;
    layout.version = options.version.value_or(layout.version);
    return layout;
}

} // namespace

File Read(const std::string& name) {
    std::string bytes;
    try {
        bytes = platform::ReadBytes(name);
    } catch (const std::runtime_error& error) {
        throw Error(error.what());
    }
    return ReadBytes(bytes, name);
}

File ReadBytes(std::string_view bytes, const std::string& name) {
    const Form form = FormOf(bytes, name);
    if (form == Form::kTouchstone)
        return ReadTouchstone(bytes, name);
    File file;
    file.form = form;
    file.solution = ReadStored(TextOf(bytes, name), name);
    return file;
}

std::optional<Form> FormOfName(std::string_view name) {
    if (touchstone::PortsOfName(name) > 0 || EndsWith(name, ".ts"))
        return Form::kTouchstone;
    if (EndsWith(name, ".solb"))
        return Form::kBinary;
    if (EndsWith(name, ".sol"))
        return Form::kText;
    return std::nullopt;
}

Written Write(CNetworkDataSolution& solution, const std::string& name, const WriteOptions& options) {
    const std::optional<Form> form = FormOfName(name);
    if (!form)
        Refuse(name == "-" ? "standard output" : name,
               "the name says no form; it ends in .sol, .solb, .ts or .sNp, where N is the number of ports");
    Written written;
    if (*form != Form::kTouchstone) {
        written.bytes =
            io::FileOfText(WriteStored(solution, *form == Form::kBinary, io::DefaultTokenGrammar()));
        return written;
    }
    try {
        const touchstone::Network network = ToTouchstone(solution, options.kind, written.warnings);
        if (const int ports = touchstone::PortsOfName(name); ports > 0 && ports != network.ports)
            Refuse(name, fmt::format("the name says {} ports, and the network has {}", ports, network.ports));
        written.bytes = touchstone::Write(network, LayoutOf(network, options));
    } catch (const Error&) {
        throw;
    } catch (const std::runtime_error& error) {
        Refuse(name, error.what());
    }
    return written;
}

std::u16string ReadForEngine(const std::string& name) {
    std::string bytes;
    try {
        bytes = platform::ReadBytes(name);
    } catch (const std::runtime_error& error) {
        throw Error(error.what());
    }
    const Form form = FormOf(bytes, name);
    if (form == Form::kText) {
        AString text = TextOf(bytes, name);
        if (IsForEngine(text))
            return text;
    }
    File file = ReadBytes(bytes, name);
    try {
        CompleteS(*file.solution);
        SpareTheAdmittances(file.solution);
    } catch (const std::runtime_error& error) {
        Refuse(name, error.what());
    }
    return WriteStored(*file.solution, false, io::DefaultDelimiterGrammar());
}

} // namespace networkfile
