#include "point_tests.h"

#include <streamio/streamio_manip.h>

#include <iterator>

namespace {

std::int32_t ReadType(const std::string& lines, std::int32_t& value, std::int32_t count) {
    io::CBlock block = PointBlock(lines);
    return TransferEnumKeyword(block, true, u"SolutionType", 0, count, kSolutionTypeKeywords, value);
}

TEST(Keywords, AreFoundWithoutRegardToCaseAndOnlyWithinTheirTable) {
    struct Case {
        std::string lines;
        std::int32_t count;
        std::int32_t result;
        std::int32_t value;
    };
    for (const Case& c : {
             Case{"SolutionType='None'\n", 7, 0, 0},
             Case{"SolutionType='InterpolateNeville'\n", 7, 0, 4},
             Case{"SolutionType='INTERPOLATEneville'\n", 7, 0, 4},
             Case{"solutiontype=\"ZephFastSweep\"\n", 7, 0, 5},
             Case{"SolutionType=Adaptive\n", 7, 0, 1},
             Case{"SolutionType='ZephInterpolatingSweep'\n", 7, 0, 6},
             Case{"SolutionType='ZephInterpolatingSweep'\n", 6, 2, 77},
             Case{"SolutionType='Adaptiv'\n", 7, 2, 77},
             Case{"SolutionType='Adaptive '\n", 7, 2, 77},
             Case{"SolutionType=''\n", 7, 2, 77},
             Case{"SolutionType=1\n", 7, 2, 77},
             Case{"SolutionType('Adaptive')\n", 7, 2, 77},
             Case{"Other='Adaptive'\n", 7, 2, 77},
         }) {
        std::int32_t value = 77;
        EXPECT_EQ(ReadType(c.lines, value, c.count), c.result) << c.lines;
        EXPECT_EQ(value, c.value) << c.lines;
    }
}

TEST(Keywords, AreWrittenForValuesOfTheTableOnly) {
    for (std::int32_t value : {-2147483647 - 1, -1, 0, 3, 5, 6, 7, 2147483647}) {
        io::CBlock block(AString(u"B"));
        std::int32_t field = value;
        const bool known = value >= 0 && value < 6;
        EXPECT_EQ(TransferEnumKeyword(block, false, u"SolutionType", 0, 6, kSolutionTypeKeywords, field),
                  known ? 0 : 2);
        EXPECT_EQ(block.size(), known ? 1u : 0u) << value;
        EXPECT_EQ(field, value);
    }
}

TEST(Keywords, CountFromTheFirstValue) {
    io::CBlock block(AString(u"B"));
    std::int32_t value = 12;
    ASSERT_EQ(TransferEnumKeyword(block, false, u"Kind", 10, 4, kDataTypeKeywords, value), 0);
    EXPECT_EQ(Text(block), "$begin B\n\tKind='Extrapolated'\n$end B\n");
    value = 0;
    ASSERT_EQ(TransferEnumKeyword(block, true, u"Kind", 10, 4, kDataTypeKeywords, value), 0);
    EXPECT_EQ(value, 12);
}

TEST(Keywords, ComeBackForEveryValueOfEveryTable) {
    const auto check = [](const std::u16string_view* table, std::size_t count) {
        for (std::int32_t value = 0; value < static_cast<std::int32_t>(count); ++value) {
            io::CBlock block(AString(u"B"));
            std::int32_t field = value;
            ASSERT_EQ(
                TransferEnumKeyword(block, false, u"K", 0, static_cast<std::int32_t>(count), table, field),
                0);
            EXPECT_EQ(Text(block), "$begin B\n\tK='" + Narrow(AString(table[value])) + "'\n$end B\n");
            field = -1;
            ASSERT_EQ(
                TransferEnumKeyword(block, true, u"K", 0, static_cast<std::int32_t>(count), table, field), 0);
            EXPECT_EQ(field, value);
        }
    };
    check(kObjectTypeKeywords, std::size(kObjectTypeKeywords));
    check(kSolutionTypeKeywords, std::size(kSolutionTypeKeywords));
    check(kDataTypeKeywords, std::size(kDataTypeKeywords));
    check(kNoiseSolutionTypeKeywords, std::size(kNoiseSolutionTypeKeywords));
    check(kSolutionChoiceKeywords, std::size(kSolutionChoiceKeywords));
}

} // namespace
