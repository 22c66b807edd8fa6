#include <sparamlib/zeph_interpolate_visitor.h>

#include <sparamlib/zeph_modal_solution.h>
#include <sparamlib/zeph_terminal_solution.h>
#include <utility/assertion.h>

#define TARVOK_VISITOR_ASSERT(expression, text)                                                              \
    TARVOK_ASSERT_AT("lib/sparamlib/source/ZephInterpolateVisitor", __LINE__, expression, text)

bool CZephInterpolateVisitor::Visit(CNetworkDataSolution* solution, CNetworkData* data) {
    if (auto* modal = dynamic_cast<CZephModalSolution*>(solution))
        return VisitZephModal(modal, dynamic_cast<CZephModalData*>(data));
    auto* terminal = dynamic_cast<CZephTerminalSolution*>(solution);
    return terminal && VisitZephTerminal(terminal, dynamic_cast<CZephTerminalData*>(data));
}

bool CZephInterpolateVisitor::VisitZephModal(CZephModalSolution* solution, CZephModalData* data) {
    CZephInterpolator* interp = solution->GetInterpolator();
    TARVOK_VISITOR_ASSERT(interp != nullptr, "interp != 0");
    const CFrequencyMap& solved = solution->GetSolvedPoints();
    CNetworkData* first = solved.IsEmpty() ? nullptr : solved.First().point;
    const bool hasY = first && first->GetYMatrix(false);
    const bool hasZ = first && first->GetZMatrix(false);
    if (!interp || !interp->FillPoint(data))
        return false;
    if (hasY && data->GetPortImpedance())
        data->GetYMatrix(true);
    if (hasZ && data->GetPortImpedance())
        data->GetZMatrix(true);
    return true;
}

bool CZephInterpolateVisitor::VisitZephTerminal(CZephTerminalSolution* solution, CZephTerminalData* data) {
    CZephInterpolator* interp = solution->GetInterpolator();
    TARVOK_VISITOR_ASSERT(interp != nullptr, "interp != 0");
    if (!interp || !interp->FillPoint(data))
        return false;
    const bool hasS = data->GetSMatrix(false);
    const int n = solution->GetMatrixSize();
    ComplexMatrix x(n, n), work(n, n);
    data->ComputeXMatrix(x);
    data->ComputePortImpedance(*data->GetTMatrix(), *data->GetPMatrix(), &x, work);
    if (hasS) {
        data->ComputeYFromS(solution->GetReferenceImpedance());
        data->ComputeZFromS(solution->GetReferenceImpedance());
    }
    return true;
}
