#include <sparamlib/solution_factory.h>

#include "function_items.h"
#include "point_items.h"

#include <sparamlib/zeph_modal_solution.h>
#include <sparamlib/zeph_terminal_solution.h>
#include <streamio/streamio_manip.h>
#include <utility/assertion.h>

#include <array>
#include <iterator>

namespace {

std::unique_ptr<CNetworkDataSolution> MakeSolution(ObjectType type) {
    switch (type) {
    case ObjectType::Modal:
        return std::make_unique<CNetworkModalSolution>();
    case ObjectType::Terminal:
        return std::make_unique<CNetworkTerminalSolution>();
    case ObjectType::ZephModal:
        return std::make_unique<CZephModalSolution>();
    case ObjectType::ZephTerminal:
        return std::make_unique<CZephTerminalSolution>();
    default:
        return nullptr;
    }
}

CMatrixEntry ReadEntry(const io::CBlock_func& stored) {
    CMatrixEntry entry;
    CArguments arguments(stored);
    arguments.Next(entry.m_ModalEntryName);
    arguments.Next(entry.m_TerminalEntryName);
    arguments.Next(entry.m_PortName);
    arguments.Next(entry.m_Mode);
    arguments.Next(entry.m_ModeName);
    arguments.Next(entry.m_TerminalName);
    arguments.Next(entry.m_MatrixIndex);
    entry.m_AliasName = entry.m_TerminalEntryName;
    return entry;
}

void ReadEntries(io::CBlock& block, CNetworkDataSolution& solution) {
    std::vector<CMatrixEntry> entries;
    if (const io::CBlock* stored = FindBlock(block, u"Ps")) {
        for (const auto& item : *stored) {
            if (item->IsFunc())
                entries.push_back(ReadEntry(static_cast<const io::CBlock_func&>(*item)));
        }
    }
    std::vector<CMatrixEntry*> pointers;
    for (CMatrixEntry& entry : entries)
        pointers.push_back(&entry);
    solution.SetMatrixEntries(pointers, true);
}

// What a point of the compact form holds, in the order of its flags.
struct Held {
    std::int32_t s = 0;
    std::int32_t y = 0;
    std::int32_t z = 0;
    std::int32_t transform = 0;
    std::int32_t impedance = 0;
    std::int32_t gamma = 0;

    bool IsBackedUp(std::size_t arguments, bool isModal, std::size_t n) const {
        const std::size_t vectors = (impedance ? 1u : 0u) + (gamma ? 1u : 0u);
        const std::size_t matrices = (s ? 1u : 0u) + (y ? 1u : 0u) + (z ? 1u : 0u) + (transform ? 1u : 0u);
        const std::size_t values = (isModal ? vectors * n : vectors * n * n) + matrices * n * n;
        return IsStoredShare(arguments / 2, values);
    }
};

// False where the values end too early.
bool ReadValues(CArguments& arguments, const Held& held, bool isModal, CNetworkData& point,
                ComplexMatrix& transform) {
    const auto read = [&](std::int32_t isHeld, NetworkDataKind kind, int i, int j) {
        Complex value;
        if (!isHeld)
            return true;
        if (!arguments.Next(value))
            return false;
        point.SetValue(kind, value, i, j);
        return true;
    };
    const int n = point.GetMatrixSize();
    for (int i = 0; i < n; ++i) {
        if (isModal && !(read(held.impedance, NetworkDataKind::PortImpedance, i, i) &&
                         read(held.gamma, NetworkDataKind::Gamma, i, i)))
            return false;
        for (int j = 0; j < n; ++j) {
            if (!isModal && !(read(held.impedance, NetworkDataKind::PortImpedance, i, j) &&
                              read(held.gamma, NetworkDataKind::Gamma, i, j)))
                return false;
            if (!(read(held.s, NetworkDataKind::SMatrix, i, j) &&
                  read(held.y, NetworkDataKind::YMatrix, i, j) &&
                  read(held.z, NetworkDataKind::ZMatrix, i, j)))
                return false;
            if (held.transform && !arguments.Next(transform[i][j]))
                return false;
        }
    }
    return true;
}

void ReadPoint(const io::CBlock_func& stored, bool isModal, CNetworkDataSolution& solution) {
    CArguments arguments(stored);
    double frequency = 0.0;
    if (!arguments.Next(frequency))
        return;
    CNetworkData* point = solution.AddData(frequency);
    Held held;
    for (std::int32_t* flag : {&held.s, &held.y, &held.z, &held.transform, &held.impedance, &held.gamma})
        arguments.Next(*flag);
    const int n = solution.GetMatrixSize();
    if (!point || !held.IsBackedUp(arguments.Left(), isModal, static_cast<std::size_t>(n)))
        return;
    ComplexMatrix transform(held.transform ? n : 0, held.transform ? n : 0);
    ReadValues(arguments, held, isModal, *point, transform);
    auto* modal = dynamic_cast<CNetworkModalData*>(point);
    if (held.transform && modal)
        modal->SetTerminalTransform(&transform);
}

void ReadPostprocessing(io::CBlock& stored, CNetworkModalSolution& solution) {
    CNetworkPostprocSetup setup(solution.GetPortModes());
    std::int32_t count = 0;
    stored >> io::CNamed_value_manip<int>(u"S", count);
    // Only vectors of the right length come into force; no other is made.
    std::unique_ptr<ComplexVector> impedances;
    std::unique_ptr<RealVector> distances;
    bool isLossless = false;
    const io::CBlock_func* targets = FindFunction(stored, u"PR");
    if (targets && count == setup.GetMatrixSize()) {
        impedances = std::make_unique<ComplexVector>(count);
        CArguments arguments(*targets);
        for (int i = 0; i < count; ++i)
            arguments.Next((*impedances)[i]);
    }
    if (const io::CBlock_func* planes = FindFunction(stored, u"PD")) {
        CArguments arguments(*planes);
        arguments.Next(isLossless);
        if (count == setup.GetNumPorts()) {
            distances = std::make_unique<RealVector>(count, 0.0);
            for (int i = 0; i < count; ++i)
                arguments.Next((*distances)[i]);
        }
    }
    setup.SetDefaults(true, impedances.get(), distances.get());
    setup.mLosslessDeembed = isLossless;
    solution.SetPostprocSetup(&setup);
}

} // namespace

std::unique_ptr<CNetworkDataSolution> CreateNetworkSolution(io::CBlock& block) {
    ObjectType type = ObjectType::None;
    if (TransferEnumKeyword(block, true, u"ObjectType", 0, std::size(kObjectTypeKeywords),
                            kObjectTypeKeywords, type) != 0)
        return ReadCompactSolution(block);
    auto solution = MakeSolution(type);
    if (solution)
        solution->ReadFromBlock(block);
    return solution;
}

std::unique_ptr<CNetworkDataSolution> ReadCompactSolution(io::CBlock& block) {
    const io::CBlock_func* head = FindFunction(block, u"A");
    if (!head)
        return nullptr;
    CArguments arguments(*head);
    std::int32_t type = 0;
    arguments.Next(type);
    auto solution = MakeSolution(static_cast<ObjectType>(type));
    if (!solution)
        return nullptr;
    auto solutionType = static_cast<std::int32_t>(solution->GetSolutionType());
    AString name;
    std::int32_t pass = solution->GetAdaptivePass();
    arguments.Next(solutionType);
    arguments.Next(name);
    arguments.Next(pass);
    solution->SetSolutionType(static_cast<SolutionType>(solutionType));
    solution->SetName(name);
    solution->SetAdaptivePass(pass);

    ReadEntries(block, *solution);
    const auto objectType = static_cast<ObjectType>(type);
    const bool isModal = objectType == ObjectType::Modal || objectType == ObjectType::ZephModal;
    if (const io::CBlock* points = FindBlock(block, u"Fs")) {
        for (const auto& item : *points) {
            if (item->IsFunc())
                ReadPoint(static_cast<const io::CBlock_func&>(*item), isModal, *solution);
        }
    }
    if (objectType == ObjectType::Modal) {
        if (io::CBlock* stored = FindBlock(block, u"PP")) {
            auto* modal_sol = dynamic_cast<CNetworkModalSolution*>(solution.get());
            TARVOK_ASSERT_AT("lib/sparamlib/source/NetworkDataUtilities", __LINE__, modal_sol, "modal_sol");
            if (modal_sol)
                ReadPostprocessing(*stored, *modal_sol);
        }
    }
    return solution;
}
