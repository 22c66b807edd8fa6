// An adaptive sweep played with dense data in the solver's place.
#pragma once

#include <string>

struct NetSweep {
    std::string in;
    std::string out; // empty: the table alone
    double tolerance = 1e-3;
    int maxBasis = 50;
    int passes = 1;
    bool json = false;
};

// Writes the solution with its basis, and to standard output the samples in the order taken, with the error after each, and
// the largest true error. Gives the program's exit status; throws std::runtime_error.
int SweepNetwork(const NetSweep& sweep);
