#include "point_tests.h"

namespace {

const Complex kZero;

TEST(Point, StartsEmptyAndHandsOutWhatItHolds) {
    Ports ports(2);
    CNetworkData point(&ports, 1e9);
    EXPECT_EQ(point.GetFrequency(), 1e9);
    EXPECT_EQ(point.GetDataType(), DataType::None);
    EXPECT_EQ(point.GetAuxValue(), 0.0);
    EXPECT_EQ(point.GetPostprocessedData(), &point);
    for (bool create : {false, true}) {
        EXPECT_EQ(point.GetSMatrix(create), nullptr);
        EXPECT_EQ(point.GetYMatrix(create), nullptr);
        EXPECT_EQ(point.GetZMatrix(create), nullptr);
    }
    EXPECT_FALSE(point.Deembed(Reals({1, 1}), false, false));
    EXPECT_FALSE(point.DeembedByDelay(Reals({1, 1})));
    EXPECT_FALSE(point.Renormalize(Vector_({50, 50})));
}

TEST(Point, AsksItsOwnerForSizeAndEntries) {
    Ports ports(3);
    ports.entry = reinterpret_cast<CMatrixEntry*>(&ports);
    CNetworkData point(&ports, 0);
    EXPECT_EQ(point.GetMatrixSize(), 3);
    EXPECT_EQ(point.GetMatrixEntry(0), ports.entry);
    EXPECT_EQ(point.GetMatrixEntry(1), nullptr);
    point.SetOwner(nullptr);
    EXPECT_EQ(point.GetMatrixSize(), 0);
    EXPECT_EQ(point.GetMatrixEntry(0), nullptr);
}

TEST(Point, GivesTheStandingWaveRatioOfAPort) {
    Ports ports(1);
    struct Case {
        Complex reflection;
        double ratio;
    };
    for (const Case& c : {
             Case{0.0, 1.0},
             Case{0.5, 3.0},
             Case{{0.0, -0.5}, 3.0},
             Case{{0.3, 0.4}, 3.0},
             Case{1.0, 200000.0},
             Case{-1.0, 200000.0},
             Case{1.0 - 0.9e-5, 200000.0},
             Case{1.0 + 0.9e-5, 200000.0},
             Case{1.0 - 1.1e-5, 181817.18},
             Case{1.0 + 1.1e-5, -181819.18},
             Case{3.0, -2.0},
         }) {
        CNetworkData point(&ports, 0);
        point.SetValue(NetworkDataKind::SMatrix, c.reflection, 0, 0);
        const Complex ratio = point.GetValue(NetworkDataKind::Vswr, 0, 7);
        EXPECT_NEAR(ratio.re, c.ratio, 1e-7 * std::fabs(c.ratio));
        EXPECT_EQ(ratio.im, 0.0);
        EXPECT_EQ(point.GetValue(NetworkDataKind::Vswr, 1, 0), kZero);
    }
}

TEST(Point, TakesMatricesByCopyOrAltogether) {
    Ports ports(2);
    CNetworkData point(&ports, 0);
    ComplexMatrix s = Matrix_(2, {1, 2, 3, 4});
    point.SetSMatrix(&s, true);
    ComplexMatrix* held = point.GetSMatrix(false);
    EXPECT_NE(held, &s);
    EXPECT_TRUE(Equal(*held, s));
    s[0][0] = 9.0;
    point.SetSMatrix(&s, true);
    EXPECT_EQ(point.GetSMatrix(false), held) << "the storage is kept";
    EXPECT_EQ((*held)[0][0], Complex(9.0));
    point.SetSMatrix(held, true);
    point.SetSMatrix(held, false);
    EXPECT_EQ(point.GetSMatrix(false), held) << "its own matrix changes nothing";

    auto* adopted = new ComplexMatrix(2, 2);
    point.SetSMatrix(adopted, false);
    EXPECT_EQ(point.GetSMatrix(false), adopted);
    point.SetSMatrix(nullptr, true);
    EXPECT_EQ(point.GetSMatrix(false), nullptr);

    point.SetYMatrix(&s, true);
    point.SetZMatrix(&s, true);
    EXPECT_TRUE(Equal(*point.GetYMatrix(false), s));
    EXPECT_TRUE(Equal(*point.GetZMatrix(false), s));
    point.SetYMatrix(nullptr, false);
    EXPECT_EQ(point.GetYMatrix(false), nullptr);
}

TEST(Point, ACopyIsDeepAndHasTheSameOwnerWhereAnAssignmentKeepsIts) {
    Ports two(2);
    Ports three(3);
    CNetworkData point(&two, 1e9);
    point.SetValue(NetworkDataKind::SMatrix, 5.0, 0, 0);
    point.SetDataType(DataType::Extrapolated);
    point.SetAuxValue(0.25);

    CNetworkData copy(point);
    EXPECT_EQ(copy.GetOwner(), &two);
    EXPECT_EQ(copy.GetFrequency(), 1e9);
    EXPECT_EQ(copy.GetDataType(), DataType::Extrapolated);
    EXPECT_EQ(copy.GetAuxValue(), 0.25);
    EXPECT_NE(copy.GetSMatrix(false), point.GetSMatrix(false));
    EXPECT_TRUE(Equal(*copy.GetSMatrix(false), *point.GetSMatrix(false)));

    CNetworkData other(&three, 2e9);
    for (auto kind : {NetworkDataKind::SMatrix, NetworkDataKind::YMatrix, NetworkDataKind::ZMatrix})
        other.SetValue(kind, 1.0, 2, 2);
    other = point;
    EXPECT_EQ(other.GetOwner(), &three);
    EXPECT_EQ(other.GetFrequency(), 1e9);
    EXPECT_EQ(other.GetSMatrix(false)->Rows(), 2);
    EXPECT_EQ(other.GetYMatrix(false), nullptr) << "nothing of the old shape survives";
    EXPECT_EQ(other.GetZMatrix(false), nullptr);

    const CNetworkData& self = point;
    point = self;
    EXPECT_EQ((*point.GetSMatrix(false))[0][0], Complex(5.0));
}

TEST(Point, IsVisitedByItsClass) {
    struct Visitor : INetworkDataVisitor {
        bool Visit(CZephTerminalData&) override { return false; }
        bool Visit(CZephModalData&) override { return false; }
        bool Visit(CNetworkModalData& data) override { return Note('m', &data); }
        bool Visit(CNetworkTerminalData& data) override { return Note('t', &data); }
        bool Visit(CNetworkData& data) override { return Note('p', &data); }
        bool Note(char what, CNetworkData* data) {
            visited += what;
            last = data;
            return what != 'p';
        }
        std::string visited;
        CNetworkData* last = nullptr;
    } visitor;
    CNetworkData plain;
    CNetworkModalData modal;
    CNetworkTerminalData terminal;
    EXPECT_FALSE(plain.Accept(visitor));
    EXPECT_EQ(visitor.last, &plain);
    for (CNetworkData* point : {static_cast<CNetworkData*>(&modal), static_cast<CNetworkData*>(&terminal)}) {
        EXPECT_TRUE(point->Accept(visitor));
        EXPECT_EQ(visitor.last, point);
    }
    EXPECT_EQ(visitor.visited, "pmt");
}

} // namespace
