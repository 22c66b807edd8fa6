#include "plain_algebra.h"

#include <matrix/matrix_block.h>
#include <streamio/token_ostring.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using io::CBlock;

AString Wide(std::string_view text) {
    return AString(std::u16string(text.begin(), text.end()));
}

std::string Text(const CBlock& block) {
    AString text;
    block.ToText(text);
    return std::string(text.begin(), text.end());
}

// The block that stands in the text.
CBlock Parsed(std::string_view text) {
    CBlock block;
    EXPECT_TRUE(block.FromText(Wide(text))) << text;
    return block;
}

std::string Around(std::string_view items) {
    return "$begin 'b'\n" + std::string(items) + "$end 'b'\n";
}

ComplexMatrix Sample() {
    ComplexMatrix m(2, 2);
    m(1, 1) = {1, -0.5};
    m(1, 2) = {0, 2};
    m(2, 1) = {1e-20, 0.1};
    m(2, 2) = {-3, 0};
    return m;
}

TEST(MatrixBlock, IsWrittenToTheLetter) {
    CBlock block(u"Point");
    WriteMatrixBlock(block, Sample(), u"SMatrix");
    WriteMatrixBlock(block, ComplexMatrix(1, 1));
    ComplexVector v(2, {50, 0});
    v[1] = {75, 5};
    WriteVectorBlock(block, v, u"Gamma");
    WriteVectorBlock(block, ComplexVector());
    WriteComplexItem(block, {1, 2});
    EXPECT_EQ(Text(block), "$begin Point\n"
                           "\t$begin SMatrix\n"
                           "\t\tm=2\n"
                           "\t\tn=2\n"
                           "\t\t$begin r0\n"
                           "\t\t\tc(1, -0.5)\n"
                           "\t\t\tc(0, 2)\n"
                           "\t\t$end r0\n"
                           "\t\t$begin r1\n"
                           "\t\t\tc(1e-20, 0.1)\n"
                           "\t\t\tc(-3, 0)\n"
                           "\t\t$end r1\n"
                           "\t$end SMatrix\n"
                           "\t$begin matrix\n"
                           "\t\tm=1\n"
                           "\t\tn=1\n"
                           "\t\t$begin r0\n"
                           "\t\t\tc(0, 0)\n"
                           "\t\t$end r0\n"
                           "\t$end matrix\n"
                           "\t$begin Gamma\n"
                           "\t\tn=2\n"
                           "\t\t$begin r0\n"
                           "\t\t\tc(50, 0)\n"
                           "\t\t\tc(75, 5)\n"
                           "\t\t$end r0\n"
                           "\t$end Gamma\n"
                           "\t$begin vector\n"
                           "\t\tn=0\n"
                           "\t\t$begin r0\n"
                           "\t\t$end r0\n"
                           "\t$end vector\n"
                           "\tc(1, 2)\n"
                           "$end Point\n");
}

TEST(MatrixBlock, ComesBackThroughTextAndBinaryText) {
    RandomMatrices random;
    for (const auto& [m, n] : {std::pair{1, 1}, {3, 2}, {2, 7}, {12, 12}}) {
        const ComplexMatrix matrix = random.Make(m, n, RandomMatrices::Kind::Full);
        CBlock outer(u"b");
        WriteMatrixBlock(outer, matrix, u"M");
        ComplexVector vector(n);
        std::copy_n(matrix.Data(), n, vector.Data());
        WriteVectorBlock(outer, vector, u"V");
        AString text, binary;
        outer.ToText(text);
        outer.ToBinaryText(binary);
        for (const bool isBinary : {false, true}) {
            CBlock read(u"b"), block(u"m"), row(u"v");
            ASSERT_TRUE(read.FromText(isBinary ? binary : text));
            ASSERT_TRUE(read.GetBlock(block).IsGood()); // found without regard to case
            ASSERT_TRUE(read.GetBlock(row).IsGood());
            ComplexMatrix back(m, n, {9, 9});
            ComplexVector vectorBack(n);
            EXPECT_TRUE(ReadMatrixBlock(block, back));
            EXPECT_TRUE(ReadVectorBlock(row, vectorBack));
            // Unless it is told otherwise a text has six digits, a binary text all of them.
            for (int k = 0; k < matrix.Size(); ++k)
                EXPECT_LE(abs(back.Data()[k] - matrix.Data()[k]), isBinary ? 0.0 : 1e-6);
            for (int k = 0; k < n; ++k)
                EXPECT_TRUE(SameBits(vectorBack[k], back.Data()[k]));
        }
    }
}

TEST(MatrixBlock, IsReadInAnyOrderWithZerosForWhatIsMissing) {
    const struct {
        const char* name;
        const char* items;
        Complex first, second, third, fourth;
    } cases[] = {
        {"rows before the shape",
         "$begin 'R1'\nc(3, 0)\nc(4, 0)\n$end 'R1'\n$begin 'r0'\nc(1, 0)\nc(2, 0)\n$end 'r0'\nN=2\nM=2\n",
         {1, 0},
         {2, 0},
         {3, 0},
         {4, 0}},
        {"a missing row",
         "m=2\nn=2\n$begin 'r1'\nc(3, 1)\nc(4, 0)\n$end 'r1'\n",
         {0, 0},
         {0, 0},
         {3, 1},
         {4, 0}},
        {"a short row", "m=2\nn=2\n$begin 'r0'\nc(1, 1)\n$end 'r0'\n", {1, 1}, {0, 0}, {0, 0}, {0, 0}},
        {"items beyond the columns",
         "m=2\nn=2\n$begin 'r0'\nc(1, 0)\nc(2, 0)\nx=1\n$end 'r0'\n",
         {1, 0},
         {2, 0},
         {0, 0},
         {0, 0}},
        {"one argument only",
         "m=2\nn=2\n$begin 'r0'\nc(1)\nd(2, 3, 4)\n$end 'r0'\n",
         {1, 0},
         {2, 3},
         {0, 0},
         {0, 0}},
        {"a value with the name of a row", "m=2\nn=2\nr0=5\n", {0, 0}, {0, 0}, {0, 0}, {0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CBlock block = Parsed(Around(c.items));
        ComplexMatrix m(2, 2);
        EXPECT_TRUE(ReadMatrixBlock(block, m));
        EXPECT_TRUE(SameBits(m(1, 1), c.first));
        EXPECT_TRUE(SameBits(m(1, 2), c.second));
        EXPECT_TRUE(SameBits(m(2, 1), c.third));
        EXPECT_TRUE(SameBits(m(2, 2), c.fourth));
    }
}

TEST(MatrixBlock, RefusesOtherShapesAndBadItems) {
    const struct {
        const char* name;
        const char* items;
        int m, n;
        bool good;
    } cases[] = {
        {"no m is one row", "n=2\n", 1, 2, true},
        {"no m is not two rows", "n=2\n", 2, 2, false},
        {"no n is no columns", "m=2\n", 2, 1, false},
        {"other rows", "m=3\nn=2\n", 2, 2, false},
        {"other columns", "m=2\nn=3\n", 2, 2, false},
        {"a shape that is no number", "m='two'\nn=2\n", 1, 2, false},
        {"a value in a row", "n=2\n$begin 'r0'\nx=1\n$end 'r0'\n", 1, 2, false},
        {"a block in a row", "n=2\n$begin 'r0'\n$begin 'c'\n$end 'c'\n$end 'r0'\n", 1, 2, false},
        {"no arguments", "n=2\n$begin 'r0'\nc()\n$end 'r0'\n", 1, 2, false},
        {"a text for a number", "n=2\n$begin 'r0'\nc('x', 1)\n$end 'r0'\n", 1, 2, false},
        {"a text for the second number", "n=2\n$begin 'r0'\nc(1, 'x')\n$end 'r0'\n", 1, 2, false},
        {"a third argument", "n=2\n$begin 'r0'\nc(1, 2, 'x')\n$end 'r0'\n", 1, 2, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CBlock block = Parsed(Around(c.items));
        ComplexMatrix m(c.m, c.n);
        EXPECT_EQ(ReadMatrixBlock(block, m), c.good);
    }
}

TEST(VectorBlock, TakesItsLengthFromTheItemsWhereNoneIsStated) {
    const struct {
        const char* name;
        const char* items;
        int n;
        bool good;
    } cases[] = {
        {"as stated", "n=2\n$begin 'r0'\nc(1, 0)\nc(2, 0)\n$end 'r0'\n", 2, true},
        {"by the items", "$begin 'r0'\nc(1, 0)\nc(2, 0)\n$end 'r0'\n", 2, true},
        {"other number of items", "$begin 'r0'\nc(1, 0)\nc(2, 0)\n$end 'r0'\n", 3, false},
        {"stated, with fewer items", "n=3\n$begin 'r0'\nc(1, 0)\nc(2, 0)\n$end 'r0'\n", 3, true},
        {"no row", "n=2\n", 2, true},
        {"nothing", "", 2, false},
        {"nothing for nothing", "", 0, true},
        {"a bad item", "n=1\n$begin 'r0'\nx=1\n$end 'r0'\n", 1, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CBlock block = Parsed(Around(c.items));
        ComplexVector v(c.n, {9, 9});
        EXPECT_EQ(ReadVectorBlock(block, v), c.good);
        if (c.n == 3 && c.good) {
            EXPECT_TRUE(SameBits(v[2], Complex(0, 0)));
        }
    }
}

TEST(ComplexItem, KeepsTheImaginaryPartThatItDoesNotState) {
    CBlock block = Parsed(Around("c(4)\nc(5, -1)\nx=3\n"));
    auto item = block.begin();
    Complex value(0, 7);
    EXPECT_TRUE(ReadComplexItem(**item, value));
    EXPECT_EQ(value, Complex(4, 7));
    EXPECT_TRUE(ReadComplexItem(**++item, value));
    EXPECT_EQ(value, Complex(5, -1));
    EXPECT_FALSE(ReadComplexItem(**++item, value));
    EXPECT_EQ(value, Complex(5, -1));
}

} // namespace
