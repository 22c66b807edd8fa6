// From a stored block to the solution object that it describes.
//
//   io::CBlock block;
//   block.FromText(text);
//   std::unique_ptr<CNetworkDataSolution> solution = CreateNetworkSolution(block);
//
// A block with a keyword under "ObjectType" is a solution's own form; any other is taken for the compact form, which has
// no keywords but function items with positional arguments:
//
//   A(object type, solution type, 'name', adaptive pass)
//   $begin Ps                                         one function for each matrix entry, by any name
//       p('modal entry', 'terminal entry', 'port', mode, 'mode name', 'terminal name', index)
//   $end Ps
//   $begin Fs                                         one function for each point
//       f(frequency, has S, has Y, has Z, has transform, has port impedance, has gamma, values ...)
//   $end Fs
//   $begin PP                                         post-processing, of object type 1 only
//       S=number of ports
//       PR(re, im, ...)                               impedances
//       PD(lossless, distance, ...)
//   $end PP
//
// The values of n rows, two numbers each: for each row i of object types 1 and 3 the port impedance and gamma of the row;
// for each column j, of object types 2 and 4 those of the element, then S, Y, Z and transform. Each only if the point has
// it. Missing arguments: behind the first argument that isn't of its kind nothing of that function is read; what it
// would have set keeps its default, and elements stay zero where the matrix was begun. A function without a frequency is
// no point. A point of more than 64 values of which less than an eighth stands there has none of them.
//
// Nothing throws for what stands in the block and no message is posted. A block and its solutions belong to one thread.
#pragma once

#include <sparamlib/network_data_solution.h>

#include <memory>

// The solution, read as far as that goes (its code isn't looked at); null for an object type without a class, and for a
// block of neither form.
std::unique_ptr<CNetworkDataSolution> CreateNetworkSolution(io::CBlock& block);

// The same for the compact form alone. Null without "A" and for an object type without a class. The setup that "PP"
// gives is modal; impedances and distances take effect with as many of them as there are rows and ports.
std::unique_ptr<CNetworkDataSolution> ReadCompactSolution(io::CBlock& block);
