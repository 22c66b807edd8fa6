// What the tests of solutions have in common: solutions with named rows, points, and blocks from their lines.
#pragma once

#include "point_tests.h"

#include <sparamlib/zeph_modal_solution.h>
#include <sparamlib/zeph_terminal_solution.h>
#include <utility/assertion.h>

#include <string>
#include <utility>
#include <vector>

// Answers the question that a failed assertion puts.
inline AssertAnswer Ignore(AssertBox, const char*) {
    return AssertAnswer::Ignore;
}

// Gives the solution a row for each of the port names.
inline void SetRows(CNetworkDataSolution& solution, std::initializer_list<const wchar16*> ports) {
    std::vector<CMatrixEntry> entries;
    for (const wchar16* port : ports)
        entries.emplace_back(AString(port), 0);
    std::vector<CMatrixEntry*> pointers;
    for (CMatrixEntry& entry : entries)
        pointers.push_back(&entry);
    solution.SetMatrixEntries(pointers, true);
}

template <class Solution>
Solution WithRows(std::initializer_list<const wchar16*> ports) {
    Solution solution;
    SetRows(solution, ports);
    return solution;
}

// A one-row solution with S = frequency / 1e9 at each frequency.
template <class Solution>
Solution WithPoints(std::initializer_list<double> frequencies) {
    auto solution = WithRows<Solution>({u"P1"});
    for (double frequency : frequencies)
        solution.AddData(frequency)->SetValue(NetworkDataKind::SMatrix, frequency / 1e9, 0, 0);
    return solution;
}

struct FieldPoints : CZephModalSolution {
    CZephModalData* Add(double freq) { return static_cast<CZephModalData*>(AddData(freq)); }
};

inline io::CBlock BlockOf(const std::string& name, const std::string& lines) {
    io::CBlock block;
    EXPECT_TRUE(block.FromText(Wide("$begin " + name + "\n" + lines + "$end " + name + "\n"))) << lines;
    return block;
}
inline io::CBlock SolutionBlock(const std::string& lines) {
    return BlockOf("SolutionData", lines);
}

inline std::string Written(CNetworkDataSolution& solution, bool withInterpolated = true) {
    io::CBlock block(AString(u"SolutionData"));
    EXPECT_TRUE(solution.WriteToBlock(block, withInterpolated));
    return Text(block);
}

inline std::vector<double> FrequenciesOf(const CFrequencyMap& points) {
    std::vector<double> frequencies;
    for (const auto [frequency, point] : points) {
        EXPECT_EQ(point->GetFrequency(), frequency);
        frequencies.push_back(frequency);
    }
    return frequencies;
}

inline const ComplexMatrix& SOf(CNetworkData* point) {
    static const ComplexMatrix kNone;
    EXPECT_TRUE(point && point->GetSMatrix(false));
    return point && point->GetSMatrix(false) ? *point->GetSMatrix(false) : kNone;
}
