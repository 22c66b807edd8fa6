// How a solution gets a point at a frequency that it doesn't hold: the visitor knows a method, the solution which
// points there are.
//
//   CNevilleInterpolateVisitor neville;
//   CNetworkData* point = solution.Interpolate(1.5e9, neville, false);
//
// An operation fills the new point `data`, which has its frequency and its owner, from the solved points of
// `solution`; true if it is filled. Of a point for which it is false nothing is kept. What answers which solution, by
// its type and class, is chosen by CNetworkDataSolution::GetData:
//
//   type                          modal             terminal          field solver's
//   None, Adaptive, CircuitData   -                 -                 -
//   DiscreteSweep                 -                 -                 -
//   InterpolateNeville            Neville           Neville           Neville, modal only
//   Zeph...Sweep                  -                 -                 the fitted sweep
//
// No visitor looks at the range: below the first point and above the last one, and at 0 Hz, the same formulas go on.
// A visitor has no state; it is made for one request, on the thread of the solution.
#pragma once

class CNetworkData;
class CNetworkDataSolution;
class CNetworkModalData;
class CNetworkModalSolution;
class CNetworkTerminalData;
class CNetworkTerminalSolution;
class CZephModalData;
class CZephModalSolution;
class CZephTerminalData;
class CZephTerminalSolution;

// Refuses everything.
class CInterpolateVisitor {
public:
    virtual ~CInterpolateVisitor() = default;
    virtual bool VisitZephTerminal(CZephTerminalSolution*, CZephTerminalData*) { return false; }
    virtual bool VisitZephModal(CZephModalSolution*, CZephModalData*) { return false; }
    virtual bool VisitModal(CNetworkModalSolution*, CNetworkModalData*) { return false; }
    virtual bool VisitTerminal(CNetworkTerminalSolution*, CNetworkTerminalData*) { return false; }
    virtual bool Visit(CNetworkDataSolution*, CNetworkData*) { return false; }
};
