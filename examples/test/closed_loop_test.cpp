// The converter under digital control, from the program's own table of the loop.

#include "example_test.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr double kUs = 1e-6;

class ClosedLoop : public ExampleTest {
protected:
    enum Column { kTime, kReference, kDuty, kVoltage, kCurrent };

    void RunLoop() {
        ASSERT_EQ(Shell("'" BUCK_LOOP "' '" BUCK_CIRCUIT "' . > loop.csv"), 0);
        m_Loop = ReadTable(m_Folder / "loop.csv");
        ASSERT_EQ(m_Loop.size(), 200u) << "switching periods";
    }

    struct Range {
        double lowest = HUGE_VAL, highest = -HUGE_VAL;
    };
    // Of the periods that end within a span of time.
    Range RangeOf(Column column, double begin, double end) const {
        Range range;
        for (const auto& row : m_Loop)
            if (row[kTime] >= begin && row[kTime] <= end) {
                range.lowest = std::min(range.lowest, row[column]);
                range.highest = std::max(range.highest, row[column]);
            }
        return range;
    }

    std::vector<std::vector<double>> m_Loop;
};

TEST_F(ClosedLoop, TheVoltageSettlesAtItsReferenceAndReturnsAfterStepsOfLoadAndReference) {
    RunLoop();
    const Range start = RangeOf(kVoltage, 0, 400 * kUs), settled = RangeOf(kVoltage, 350 * kUs, 400 * kUs);
    EXPECT_LT(start.highest, 5 * 1.06);
    EXPECT_GT(settled.lowest, 5 * 0.995);
    EXPECT_LT(settled.highest, 5 * 1.005);
    EXPECT_NEAR(RangeOf(kCurrent, 350 * kUs, 400 * kUs).highest, 5 / 2.5, 0.5)
        << "the load's and half the ripple";

    const Range loaded = RangeOf(kVoltage, 404 * kUs, 600 * kUs),
                regained = RangeOf(kVoltage, 560 * kUs, 600 * kUs);
    EXPECT_LT(loaded.lowest, 4.9) << "the load step is to be seen";
    EXPECT_GT(loaded.lowest, 5 * 0.84);
    EXPECT_LT(loaded.highest, 5 * 1.06);
    EXPECT_GT(regained.lowest, 5 * 0.98);

    const Range lowered = RangeOf(kVoltage, 604 * kUs, 800 * kUs),
                low = RangeOf(kVoltage, 760 * kUs, 800 * kUs);
    EXPECT_GT(lowered.lowest, 3.3 * 0.85);
    EXPECT_GT(low.lowest, 3.3 * 0.995);
    EXPECT_LT(low.highest, 3.3 * 1.005);

    const Range duty = RangeOf(kDuty, 0, 800 * kUs);
    EXPECT_GE(duty.lowest, 0);
    EXPECT_LE(duty.highest, 0.95);
}

TEST_F(ClosedLoop, TheSameDutyCyclesFromAFileGiveTheSameVoltages) {
    RunLoop();
    std::ofstream samples(m_Folder / "duty.csv");
    samples.precision(17);
    samples << "time,duty\n"
            << 4 * kUs << ",0\n"; // the first period is over before the controller has spoken
    for (std::size_t k = 0; k + 1 < m_Loop.size(); ++k)
        samples << m_Loop[k][kTime] + 4 * kUs << ',' << m_Loop[k][kDuty] << '\n';
    samples.close();
    ASSERT_EQ(Shell("'" KELDA "' run '" BUCK_CIRCUIT
                    "' --project . --cosim-in duty.csv --cosim-out ports.csv --cosim-block 1 --quiet"),
              0);
    const auto ports = ReadTable(m_Folder / "ports.csv");
    ASSERT_EQ(ports.size(), m_Loop.size());
    for (std::size_t k = 0; k < ports.size(); ++k) {
        EXPECT_NEAR(ports[k][0], m_Loop[k][kTime], 1e-12);
        EXPECT_EQ(ports[k][1], m_Loop[k][kVoltage]) << "to the last bit, in period " << k;
        EXPECT_EQ(ports[k][2], m_Loop[k][kCurrent]) << "in period " << k;
    }
}

TEST_F(ClosedLoop, AJobThatFailsEndsTheProgramWithItsCode) {
    EXPECT_EQ(Shell("'" BUCK_LOOP "' missing.cir . > loop.csv 2> err"), 1);
    EXPECT_EQ(ReadAll(m_Folder / "err"),
              "buck_loop: the job failed with code 2; `kelda run` shows its messages\n");
}

} // namespace
