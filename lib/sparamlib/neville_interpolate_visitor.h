// Interpolation over all solved points: matrices by a rational tableau, vectors and the transform by three points.
//
// Each element of S, and of the other matrices in the table, is the rational function of Bulirsch and Stoer through all
// solved points; none is left out, so that an element takes time by the square of their number. A frequency within
// 1e-06 Hz of a point's gives that point's matrix, with an error of 0. With a tableau that meets a pole the whole
// interpolation refuses. The new point's error estimate (GetAuxValue) is the largest last correction of an element of S.
//
//   quantity                          method                   demanded of the points
//   S                                 tableau                  all have it; it is computed where it is absent and stays
//   terminal Gamma, PortImpedance     tableau, if the first    then all have it
//                                     point has it
//   modal PortImpedance               three points             all have it (of GetPortImpedance)
//   modal Gamma                       three points             taken if all have it
//   TerminalTransform                 three points             taken if all have it
//   Zpi, Zvi, Zpv                     three points, if the     then all have it
//                                     first point has it
//   TerminalPMatrix, -TMatrix         tableau, likewise        then all have it
//
// The three-point formula is the parabola through the point nearest to the frequency and its two neighbours, so that it
// refuses with fewer than three points; at the ends of the sweep it is the three outermost. Quantities of other shapes
// than the first point's, or than the new point's, refuse as absent ones do. Y and Z of the new point aren't
// set: they come from S on demand.
//
// The results are those of the formulas step by step, whatever the processor: products as complex.h has them, a
// quotient of two complex numbers guarded, one by a difference of frequencies part by part.
#pragma once

#include <sparamlib/interpolate_visitor.h>

class CNevilleInterpolateVisitor : public CInterpolateVisitor {
public:
    bool VisitZephModal(CZephModalSolution* solution, CZephModalData* data) override;
    bool VisitModal(CNetworkModalSolution* solution, CNetworkModalData* data) override;
    bool VisitTerminal(CNetworkTerminalSolution* solution, CNetworkTerminalData* data) override;
    // S alone. False, and nothing is set, for a null `data` and without solved points.
    bool Visit(CNetworkDataSolution* solution, CNetworkData* data) override;
};
