// Scattering data referred to other impedances, also where the network has no admittances.
#pragma once

#include <sparamlib/network_data_solution.h>

namespace networkfile {

// Refers the solved points to these impedances, one for each row [ohm]. The points' own way leads through the admittances. A
// short, an open and an ideal through have none, and come out of it wrong without a sign of it; modal points that don't come
// back on that way go straight from S, with k = sqrt(z / z') of each row:
//
//   S' = ((k + 1/k) S + (k - 1/k)) ((k - 1/k) S + (k + 1/k))^-1
//
// A solution that refers its points when it is asked, by a setup or a sweep, is told to. False if a point went straight. Throws std::runtime_error, with the
// solution partly changed, for a number of impedances that doesn't fit, for a point without S or references, and where there
// is no S at these impedances.
bool Refer(CNetworkDataSolution& solution, const ComplexVector& impedances);

} // namespace networkfile
