// What a network is at given frequencies.
#pragma once

#include <networkfile/network_file.h>

#include <string>
#include <vector>

struct NetQuestion {
    std::string in;
    std::string out; // a file for the answers; empty: the matrices stand in the table
    std::vector<double> frequencies;
    networkfile::WriteOptions form;
    bool json = false;
};

// Answers by the method that the solution states, by Neville interpolation if it states none. The table goes to standard
// output: each frequency, where its data come from, and what the interpolation thinks its error is. Gives the program's
// exit status; throws std::runtime_error.
int AnswerNetwork(const NetQuestion& question);
