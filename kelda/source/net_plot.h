// Pictures of networks, drawn by gnuplot.
#pragma once

#include <touchstone/touchstone.h>

#include <string>
#include <utility>
#include <vector>

enum class PlotQuantity { kDecibels, kMagnitude, kPhase, kDelay, kReal, kImaginary, kSmith };

struct NetPicture {
    std::vector<std::string> files;
    std::string out;         // its extension says the format: .svg, .png or .pdf; empty: the terminal
    bool inTerminal = false; // said with an `out` of nothing
    PlotQuantity quantity = PlotQuantity::kDecibels;
    touchstone::Kind kind = touchstone::Kind::S;
    std::vector<std::pair<int, int>>
        entries; // row and column from 1; none: the first column, or every diagonal in a Smith chart
    std::vector<double>
        frequencies; // none: those of the data, or a dense curve where the solution interpolates
};

// "21,11" or "2:1,12:3": rows and columns from 1. Throws std::invalid_argument.
std::vector<std::pair<int, int>> ParseEntries(const std::string& text);

// The picture's format by the file's name ("svg"); empty where it is none of ours.
std::string PictureFormat(const std::string& name);

// Gives the program's exit status; throws std::runtime_error.
int DrawNetworks(const NetPicture& picture);
