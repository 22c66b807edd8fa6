// Between the network of a Touchstone text and a solution.
#pragma once

#include <sparamlib/network_data_solution.h>
#include <touchstone/touchstone.h>

#include <memory>
#include <string>
#include <vector>

namespace networkfile {

// Both throw std::runtime_error without a name, for the caller to add.
std::unique_ptr<CNetworkDataSolution> ToSolution(const touchstone::Network& network);
touchstone::Network ToTouchstone(CNetworkDataSolution& solution, touchstone::Kind kind,
                                 std::vector<std::string>& warnings);

// Gives each solved point that has none its S. Throws where there is none.
void CompleteS(CNetworkDataSolution& solution);

} // namespace networkfile
