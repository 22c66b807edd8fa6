#include "point_tests.h"

#include <sparamlib/noise_data.h>

#include <array>
#include <cmath>

namespace {

using Values = std::array<double, 4>;

Values ValuesOf(const CNoiseData& point) {
    Values values;
    point.GetValues(values[0], values[1], values[2], values[3]);
    return values;
}

io::CBlock NoiseBlock(const std::string& lines) {
    io::CBlock block;
    EXPECT_TRUE(block.FromText(Wide("$begin NoiseSolution\n" + lines + "$end NoiseSolution\n"))) << lines;
    return block;
}

std::string Written(const CNoiseDataSolution& noise) {
    io::CBlock block(AString(u"NoiseSolution"));
    EXPECT_TRUE(noise.WriteToBlock(block, false));
    return Text(block);
}

constexpr const char* kTwoPoints = "$begin NoiseSolution\n"
                                   "\tNoiseSolutionType='NoiseFigure'\n"
                                   "\t$begin Frequencies\n"
                                   "\t\t$begin DataPoint\n"
                                   "\t\t\tFrequency=1e+09\n"
                                   "\t\t\tFmin=0.5\n"
                                   "\t\t\tGoptMag=0.25\n"
                                   "\t\t\tGoptAng=30\n"
                                   "\t\t\tRn=0.125\n"
                                   "\t\t$end DataPoint\n"
                                   "\t\t$begin DataPoint\n"
                                   "\t\t\tFrequency=2e+09\n"
                                   "\t\t\tFmin=1\n"
                                   "\t\t\tGoptMag=0\n"
                                   "\t\t\tGoptAng=-60\n"
                                   "\t\t\tRn=0.5\n"
                                   "\t\t$end DataPoint\n"
                                   "\t$end Frequencies\n"
                                   "$end NoiseSolution\n";

TEST(Noise, IsStoredByAscendingFrequencyAndComesBack) {
    CNoiseDataSolution noise;
    noise.SetNoiseSolutionType(NoiseSolutionType::NoiseFigure);
    noise.AddData(2e9)->SetValues(1, 0, -60, 0.5);
    noise.AddData(1e9)->SetValues(0.5, 0.25, 30, 0.125);
    EXPECT_EQ(Written(noise), kTwoPoints);

    io::CBlock block;
    ASSERT_TRUE(block.FromText(Wide(kTwoPoints)));
    CNoiseDataSolution again;
    EXPECT_EQ(again.ReadFromBlock(block), 0);
    EXPECT_EQ(Written(again), kTwoPoints);
    for (const auto& [frequency, point] : again.GetPoints()) {
        EXPECT_EQ(point->GetFrequency(), frequency);
        EXPECT_EQ(point->GetOwner(), &again);
    }
}

TEST(Noise, WithoutPointsIsItsTypeOnlyAndWithoutAKeywordIsNotWritten) {
    CNoiseDataSolution noise;
    EXPECT_EQ(Written(noise),
              "$begin NoiseSolution\n\tNoiseSolutionType='NoiseResistance'\n$end NoiseSolution\n");
    noise.SetNoiseSolutionType(static_cast<NoiseSolutionType>(2));
    io::CBlock block(AString(u"NoiseSolution"));
    EXPECT_FALSE(noise.WriteToBlock(block, false));
    EXPECT_EQ(block.size(), 0u);
}

TEST(Noise, ReadingReplacesThePointsAndKeepsWhatTheBlockDoesNotSay) {
    const std::string point = "$begin DataPoint\nFrequency=1e9\nFmin=2\n$end DataPoint\n";
    struct Case {
        std::string lines;
        std::int32_t code;
        NoiseSolutionType type;
        std::size_t points;
    };
    const auto kFigure = NoiseSolutionType::NoiseFigure;
    for (const Case& c : {
             Case{"", 0, kFigure, 0},
             Case{"NoiseSolutionType='noiseRESISTANCE'\n", 0, NoiseSolutionType::NoiseResistance, 0},
             Case{"NoiseSolutionType='Loud'\n", 0, kFigure, 0},
             Case{"Frequencies=1\n", 0, kFigure, 0},
             Case{"$begin Frequencies\n" + point + "$end Frequencies\n", 0, kFigure, 1},
             Case{"$begin Frequencies\nx=1\nDataPoint(1)\n" + point + "$end Frequencies\n", 0, kFigure, 1},
             Case{"$begin Frequencies\n" + point + point + "$end Frequencies\n", 1, kFigure, 1},
             Case{"$begin Frequencies\n$begin Any\n$end Any\n" + point + "$end Frequencies\n", 0, kFigure, 2},
         }) {
        CNoiseDataSolution noise;
        noise.SetNoiseSolutionType(kFigure);
        noise.AddData(5e9);
        io::CBlock block = NoiseBlock(c.lines);
        EXPECT_EQ(noise.ReadFromBlock(block), c.code) << c.lines;
        EXPECT_EQ(noise.GetNoiseSolutionType(), c.type) << c.lines;
        EXPECT_EQ(noise.GetPoints().size(), c.points) << c.lines;
    }
}

TEST(Noise, OfTwoPointsOfOneFrequencyTheFirstStays) {
    io::CBlock block = NoiseBlock("$begin Frequencies\n"
                                  "$begin DataPoint\nFrequency=1\nRn=3\n$end DataPoint\n"
                                  "$begin DataPoint\nFrequency=1\nRn=4\n$end DataPoint\n"
                                  "$end Frequencies\n");
    CNoiseDataSolution noise;
    EXPECT_EQ(noise.ReadFromBlock(block), 1);
    EXPECT_EQ(ValuesOf(*noise.AddData(1.0)), (Values{0, 0, 0, 3}));
}

TEST(Noise, APointReadsTheKeysThatStandThere) {
    CNoiseData point(nullptr, 7.0);
    point.SetValues(1, 2, 3, 4);
    io::CBlock block = PointBlock("GoptAng=30\nRn='four'\nFmin(1)\nAny=1\n");
    EXPECT_EQ(point.ReadFromBlock(block), 0);
    EXPECT_EQ(point.GetFrequency(), 7.0);
    EXPECT_EQ(ValuesOf(point), (Values{1, 2, 30, 4}));
}

TEST(Noise, AFrequencyIsHeldOnce) {
    CNoiseDataSolution noise;
    CNoiseData* held = noise.AddData(1e9);
    held->SetValues(1, 2, 3, 4);
    EXPECT_EQ(noise.AddData(1e9), held);
    CNoiseData other(nullptr, 1e9);
    other.SetValues(5, 6, 7, 8);
    EXPECT_EQ(noise.AddData(&other), held);
    EXPECT_EQ(ValuesOf(*held), (Values{1, 2, 3, 4}));
    EXPECT_EQ(noise.AddData(nullptr), nullptr);

    other = CNoiseData(nullptr, std::nextafter(1e9, 2e9));
    EXPECT_NE(noise.AddData(&other), held);
    EXPECT_TRUE(noise.RemoveData(1e9));
    EXPECT_FALSE(noise.RemoveData(1e9));
    EXPECT_EQ(noise.GetPoints().size(), 1u);
}

TEST(Noise, AFrequencyThatIsNoNumberTakesNoOtherPointsPlace) {
    CNoiseDataSolution noise;
    CNoiseData* strange = noise.AddData(std::nan(""));
    for (double frequency : {3.0, 1.0, 2.0})
        noise.AddData(frequency)->SetValues(frequency, 0, 0, 0);
    EXPECT_EQ(noise.GetPoints().size(), 4u);
    EXPECT_EQ(noise.AddData(std::nan("")), strange);
    EXPECT_EQ(ValuesOf(*noise.AddData(2.0))[0], 2.0);
    EXPECT_TRUE(noise.RemoveData(std::nan("")));
}

TEST(Noise, ACopyHasPointsOfItsOwn) {
    CNoiseDataSolution noise;
    noise.SetNoiseSolutionType(NoiseSolutionType::NoiseFigure);
    noise.AddData(1e9)->SetValues(1, 2, 3, 4);
    CNoiseDataSolution copy(noise);
    noise.AddData(1e9)->SetValues(0, 0, 0, 0);
    EXPECT_EQ(copy.GetNoiseSolutionType(), NoiseSolutionType::NoiseFigure);
    EXPECT_EQ(ValuesOf(*copy.AddData(1e9)), (Values{1, 2, 3, 4}));
    EXPECT_EQ(copy.AddData(1e9)->GetOwner(), &copy);

    const CNoiseDataSolution& self = copy;
    copy = self;
    EXPECT_EQ(ValuesOf(*copy.AddData(1e9)), (Values{1, 2, 3, 4}));
    copy = CNoiseDataSolution();
    EXPECT_TRUE(copy.GetPoints().empty());
}

} // namespace
