// Interpolation by the fitted sweep of a field solver's solution (see zeph_interpolator.h).
//
// A new modal point gets all quantities of which the sweep has samples, and Y and Z from its S if the first solved point
// has them. A new terminal point gets S, T and P of the sweep, R = T X^-1, and Y and Z from S at the solution's reference
// impedances. False where the sweep can't fill the point; a solution without a sweep is an assertion, and false.
#pragma once

#include <sparamlib/interpolate_visitor.h>

class CZephInterpolateVisitor : public CInterpolateVisitor {
public:
    bool VisitZephTerminal(CZephTerminalSolution* solution, CZephTerminalData* data) override;
    bool VisitZephModal(CZephModalSolution* solution, CZephModalData* data) override;
    // By the classes of both; false for any other.
    bool Visit(CNetworkDataSolution* solution, CNetworkData* data) override;
};
