#include "point_tests.h"

#include <sparamlib/frequency_map.h>

#include <cmath>
#include <limits>
#include <map>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

// What the map must do, one point after the other.
struct Reference {
    std::map<double, const CNetworkData*, FrequencyLess> points;

    const CNetworkData* FindFirst(double frequency, double tolerance) const {
        for (const auto& [held, point] : points) {
            if (std::fabs(held - frequency) <= tolerance)
                return point;
        }
        return nullptr;
    }
};

void Check(const CFrequencyMap& map, const Reference& reference) {
    ASSERT_EQ(map.Size(), reference.points.size());
    auto expected = reference.points.begin();
    for (const auto [frequency, point] : map) {
        ASSERT_EQ(point, expected->second);
        ++expected;
    }
    ASSERT_TRUE(expected == reference.points.end());
    if (!map.IsEmpty()) {
        EXPECT_EQ(map.First().point, reference.points.begin()->second);
        EXPECT_EQ(map.Last().point, reference.points.rbegin()->second);
    }
}

TEST(FrequencyMap, HoldsFindsAndForgetsLikeAnOrderedMapInWhateverOrderThePointsCome) {
    Networks random(1);
    const double special[] = {0.0, -0.0, kInfinity, -kInfinity, kNaN, 1e300, -1e300, 5e-324};
    for (int order : {0, 1, 2}) {
        CFrequencyMap map;
        Reference reference;
        for (int step = 0; step < 6000; ++step) {
            const int n = step % 3000;
            double frequency = order == 0 ? n : order == 1 ? -n : std::floor(random.Between(-900, 900));
            if (order == 2 && random.Between(0, 1) < 0.02)
                frequency = special[static_cast<std::size_t>(random.Between(0, 7.99))];
            const bool isHeld = reference.points.count(frequency) > 0;
            if (random.Between(0, 1) < 0.4 && step > 3000) {
                ASSERT_EQ(map.Erase(frequency), isHeld);
                reference.points.erase(frequency);
            } else {
                auto point = std::make_unique<CNetworkData>(nullptr, frequency);
                const CNetworkData* added = point.get();
                ASSERT_EQ(map.Insert(std::move(point)), !isHeld);
                if (!isHeld)
                    reference.points[frequency] = added;
            }
            const auto found = reference.points.find(frequency);
            ASSERT_EQ(map.Find(frequency), found == reference.points.end() ? nullptr : found->second);
            if (step % 20 != 0)
                continue;
            for (double tolerance : {0.5, 1.0, 700.0, -1.0, kInfinity, kNaN}) {
                ASSERT_EQ(map.FindFirst(frequency, tolerance), reference.FindFirst(frequency, tolerance))
                    << frequency << " " << tolerance;
            }
            ASSERT_EQ(map.FindFirst(frequency + 0.25, 0.3), reference.FindFirst(frequency + 0.25, 0.3));
        }
        Check(map, reference);
        while (!map.IsEmpty())
            ASSERT_TRUE(map.Erase(map.First().frequency));
        EXPECT_EQ(map.FindFirst(0.0, kInfinity), nullptr);
        EXPECT_FALSE(map.Erase(0.0));
    }
}

TEST(FrequencyMap, ComparesRoundedDifferencesAsTheyAre) {
    // Frequencies so large that the difference is rounded, and infinities, whose difference is no number.
    const double frequencies[] = {-kInfinity,         9007199254740991.0, 9007199254740992.0,
                                  9007199254740994.0, kInfinity,          kNaN};
    CFrequencyMap map;
    Reference reference;
    for (double frequency : frequencies) {
        auto point = std::make_unique<CNetworkData>(nullptr, frequency);
        reference.points[frequency] = point.get();
        map.Insert(std::move(point));
    }
    for (double frequency : {-kInfinity, 9007199254740993.0, 9007199254740992.5, 1e300, kInfinity, kNaN}) {
        for (double tolerance : {0.0, 0.5, 1.0, 2.0, 1e16, kInfinity})
            EXPECT_EQ(map.FindFirst(frequency, tolerance), reference.FindFirst(frequency, tolerance))
                << frequency << " " << tolerance;
    }
}

} // namespace
