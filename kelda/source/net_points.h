// What the commands on networks ask of a solution and its points.
#pragma once

#include <sparamlib/network_data_solution.h>
#include <touchstone/touchstone.h>

#include <complex>
#include <memory>
#include <string>
#include <vector>

// The references of S, one for each row; empty where the point holds none. Of a terminal point those of its rows alone.
std::vector<std::complex<double>> ReferencesOf(CNetworkData& point);

// Whether what the solution answers isn't what it holds: it has post-processing to do.
bool IsPostprocessed(const CNetworkDataSolution& solution);

// The points that the solution gives at these frequencies, as solved points of a solution of their own. Throws
// std::runtime_error with the frequency for which it gives none.
std::unique_ptr<CNetworkDataSolution> Collect(CNetworkDataSolution& source,
                                              const std::vector<double>& frequencies);

// The point's matrix, computed where need be. Throws std::runtime_error where there is none.
const ComplexMatrix& MatrixOf(CNetworkData& point, touchstone::Kind kind);

// A row's name in the form that its solution has, for a person: "P1", or its number from 1.
std::string RowName(const CNetworkDataSolution& solution, int row);
