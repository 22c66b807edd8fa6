// The elements that each class of points takes and gives by their kind.
#include "point_tests.h"

#include <sparamlib/zeph_modal_data.h>

namespace {

using Kind = NetworkDataKind;

enum Outcome {
    kRefused,
    kIgnored, // true, and nothing is kept
    kKept,
};

struct Row {
    int kind, i, j;
    Outcome outcome;
};

constexpr int kS = 1, kY = 2, kZ = 4, kImpedance = 8, kGamma = 16, kVswr = 32, kZpi = 64, kZvi = 128,
              kZpv = 256, kT = 512, kP = 1024, kTerminalS = 2048;
constexpr int kLargest = 2147483647;

// Elements of the S, Y and Z that all have, and those of no kind.
const std::vector<Row> kOfAll = {
    {kS, 0, 1, kKept},
    {kY, 1, 0, kKept},
    {kZ, 1, 1, kKept},
    {kS, -1, 0, kRefused},
    {kS, 0, 2, kRefused},
    {kY, 2, 0, kRefused},
    {kZ, kLargest, -kLargest - 1, kRefused},
    {0, 0, 0, kRefused},
    {-1, 0, 0, kRefused},
    {3, 0, 0, kRefused},
    {24, 0, 0, kRefused},
    {33, 0, 0, kRefused},
    {65, 0, 0, kRefused},
    {kTerminalS, 0, 0, kRefused},
    {32768, 0, 0, kRefused},
};

template <class Point>
void Check(const char* name, const std::vector<Row>& own) {
    Ports ports(2);
    std::vector<Row> rows = kOfAll;
    rows.insert(rows.end(), own.begin(), own.end());
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << name << " " << row.kind << " " << row.i << " " << row.j);
        const Kind kind = static_cast<Kind>(row.kind);
        Point point(&ports, 1e9);
        EXPECT_EQ(point.GetValue(kind, row.i, row.j), Complex());
        EXPECT_EQ(point.SetValue(kind, {3, 4}, row.i, row.j), row.outcome != kRefused);
        EXPECT_EQ(point.GetValue(kind, row.i, row.j), row.outcome == kKept ? Complex(3, 4) : Complex());
        if (row.outcome == kKept) {
            EXPECT_EQ(point.GetValue(kind, 1 - row.i, 1 - row.i), Complex()) << "made of zeros";
            EXPECT_EQ(point.GetValue(kind, 2, 2), Complex());
        }
        point.SetOwner(nullptr);
        EXPECT_FALSE(point.SetValue(kind, {3, 4}, row.i, row.j));
        EXPECT_EQ(point.GetValue(kind, row.i, row.j), Complex());
    }
}

TEST(PointValues, AreTakenAndGivenByKind) {
    Check<CNetworkData>("point", {{kVswr, 9, 9, kIgnored},
                                  {kImpedance, 0, 0, kRefused},
                                  {kGamma, 0, 0, kRefused},
                                  {kZpi, 0, 0, kRefused}});
    const std::vector<Row> modal = {{kVswr, 9, 9, kIgnored},      {kImpedance, 1, 1, kKept},
                                    {kImpedance, 0, 1, kIgnored}, {kImpedance, 2, 2, kRefused},
                                    {kGamma, 1, 1, kKept},        {kGamma, 0, 1, kIgnored},
                                    {kGamma, -1, -1, kRefused}};
    Check<CNetworkModalData>("modal", modal);
    Check<CNetworkTerminalData>("terminal", {{kVswr, 9, 9, kIgnored},
                                             {kImpedance, 0, 1, kKept},
                                             {kGamma, 1, 0, kKept},
                                             {kGamma, 2, 0, kRefused},
                                             {kZpi, 0, 0, kRefused}});
    std::vector<Row> solver = modal;
    // The second index of a vector isn't looked at.
    for (const Row& row :
         {Row{kZpi, 1, 1, kKept}, Row{kZpi, 0, 9, kKept}, Row{kZpv, 0, 0, kKept}, Row{kZvi, 1, 0, kKept},
          Row{kT, 1, 0, kKept}, Row{kP, 0, 1, kKept}, Row{kZpi, 2, 0, kRefused}, Row{kZvi, -1, 0, kRefused},
          Row{kT, 0, 2, kRefused}, Row{kP, -1, 0, kRefused}})
        solver.push_back(row);
    Check<CZephModalData>("solver's modal", solver);
    Check<CZephTerminalData>("solver's terminal", {{kVswr, 0, 0, kRefused},
                                                   {kImpedance, 0, 1, kKept},
                                                   {kT, 1, 0, kKept},
                                                   {kP, 0, 1, kKept},
                                                   {kT, 2, 0, kRefused},
                                                   {kGamma, 0, 0, kRefused},
                                                   {kZpi, 0, 0, kRefused}});
}

} // namespace
