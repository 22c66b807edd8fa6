// Networks changed from file to file: other forms, other references, other reference planes, other frequencies.
#pragma once

#include <networkfile/network_file.h>

#include <complex>
#include <optional>
#include <string>
#include <vector>

// Reads a network and says on standard error what was taken for granted. Throws networkfile::Error.
networkfile::File ReadNetwork(const std::string& name);

struct NetChange {
    std::string in;
    std::string out;
    networkfile::WriteOptions form;
    // The rest by the command: one value for all rows, or one for each row or port.
    std::vector<std::complex<double>> references; // ohm
    std::vector<double> delays;                   // seconds
    std::vector<double> distances;                // metres
    std::vector<double> permittivities;           // relative; none: by the propagation constants of the data
    bool lossless = false;
};

// Each gives the program's exit status; a result that can't be right isn't written. They throw std::runtime_error.
int ConvertNetwork(const NetChange& change);
int RenormalizeNetwork(const NetChange& change);
int DeembedNetwork(const NetChange& change);
