// What the tests of the examples share: a folder of the test's own, programs run in it, and tables of results.
#pragma once

#include <testtools/folder_test.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// A CSV file without its headings.
inline std::vector<std::vector<double>> ReadTable(const std::filesystem::path& file) {
    std::vector<std::vector<double>> rows;
    std::ifstream lines(file);
    std::string line, cell;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        rows.emplace_back();
        for (std::istringstream cells(line); std::getline(cells, cell, ',');)
            rows.back().push_back(std::strtod(cell.c_str(), nullptr));
    }
    return rows;
}

using testtools::ReadAll;

class ExampleTest : public testtools::FolderTest {
protected:
    ExampleTest() : FolderTest("example_test") { setenv("TARVOK_SERVER", ENGINE, 1); }

    int Shell(const std::string& command) const {
        const int status = std::system(("cd '" + m_Folder.string() + "' && " + command).c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};
