#include "point_tests.h"

namespace {

// Reads, with the code, and gives what is written of the point afterwards.
template <class Point>
std::string ReadAndWritten(Point& point, const std::string& lines, std::int32_t code) {
    io::CBlock block = PointBlock(lines);
    EXPECT_EQ(point.ReadFromBlock(block), code) << lines;
    return Text(point);
}

constexpr const char* kMatrixRows = "\t\tm=2\n\t\tn=2\n"
                                    "\t\t$begin r0\n\t\t\tc(1, 0.5)\n\t\t\tc(2, 0)\n\t\t$end r0\n"
                                    "\t\t$begin r1\n\t\t\tc(3, 0)\n\t\t\tc(4, -1)\n\t\t$end r1\n";
constexpr const char* kVectorRow = "\t\tn=2\n\t\t$begin r0\n\t\t\tc(50, 0)\n\t\t\tc(75, 25)\n\t\t$end r0\n";

std::string MatrixItem(const std::string& name) {
    return "\t$begin " + name + "\n" + kMatrixRows + "\t$end " + name + "\n";
}
std::string VectorItem(const std::string& name) {
    return "\t$begin " + name + "\n" + kVectorRow + "\t$end " + name + "\n";
}
std::string Stored(const std::string& items) {
    return "$begin DataPoint\n" + items + "$end DataPoint\n";
}

const std::string kBaseItems = "\tFrequency=1.5\n\tDataType='ExactPoint'\n" + MatrixItem("SMatrix") +
                               MatrixItem("YMatrix") + MatrixItem("ZMatrix");

ComplexMatrix StoredMatrix() {
    return Matrix_(2, {{1, 0.5}, {2, 0}, {3, 0}, {4, -1}});
}
ComplexVector StoredVector() {
    return Vector_({{50, 0}, {75, 25}});
}

TEST(PointBlock, OfEachClassStandsToTheLetterAndComesBack) {
    Ports ports(2);
    const auto check = [&](CNetworkData& point, CNetworkData& again, const std::string& items) {
        ComplexMatrix matrix = StoredMatrix();
        point.SetDataType(DataType::ExactPoint);
        point.SetSMatrix(&matrix, true);
        point.SetYMatrix(&matrix, true);
        point.SetZMatrix(&matrix, true);
        EXPECT_EQ(Text(point), Stored(items));
        again.SetOwner(&ports);
        AString binary;
        EXPECT_TRUE(again.FromText(point.ToBinaryText(binary)));
        EXPECT_EQ(again.GetReadStatus(), 0);
        EXPECT_EQ(Text(again), Stored(items));
    };
    ComplexMatrix matrix = StoredMatrix();
    ComplexVector vector = StoredVector();
    CNetworkData plain(&ports, 1.5), plainAgain;
    check(plain, plainAgain, kBaseItems);

    CNetworkModalData modal(&ports, 1.5), modalAgain;
    modal.SetPortImpedance(&vector, true);
    modal.SetGamma(&vector, true);
    modal.SetTerminalTransform(&matrix);
    check(modal, modalAgain,
          kBaseItems + VectorItem("PortImpedance") + VectorItem("Gamma") + MatrixItem("TerminalTransform"));

    CNetworkTerminalData terminal(&ports, 1.5), terminalAgain;
    terminal.SetPortImpedance(&matrix, true);
    terminal.SetGamma(&matrix, true);
    check(terminal, terminalAgain, kBaseItems + MatrixItem("PortImpedance") + MatrixItem("Gamma"));

    CNetworkTerminalData transformed(&ports, 0);
    EXPECT_EQ(ReadAndWritten(transformed, "Frequency=2\n" + MatrixItem("transform"), 0),
              Stored("\tFrequency=2\n\tDataType='None'\n" + MatrixItem("Transform")));
}

TEST(PointBlock, LeavesOutWhatWasComputedAndAnOriginWithoutAKeyword) {
    Ports ports(2);
    CNetworkModalData point(&ports, 0);
    ComplexMatrix s = Matrix_(2, {0.5, 0, 0, 0.25});
    ComplexVector z = Vector_({50, 50});
    point.SetSMatrix(&s, true);
    point.SetPortImpedance(&z, true);
    point.GetYMatrix(true);
    point.GetZMatrix(true);
    point.SetDataType(static_cast<DataType>(4));
    const std::string text = Text(point);
    EXPECT_NE(text.find("SMatrix"), text.npos);
    for (const char* absent : {"YMatrix", "ZMatrix", "DataType"})
        EXPECT_EQ(text.find(absent), text.npos) << absent;

    CNetworkModalData computed(&ports, 0);
    computed.SetYMatrix(point.GetYMatrix(false), true);
    computed.SetPortImpedance(&z, true);
    computed.GetSMatrix(true);
    EXPECT_EQ(Text(computed).find("SMatrix"), std::string::npos);
    EXPECT_EQ(ReadAndWritten(computed, MatrixItem("SMatrix"), 0).find("SMatrix") != std::string::npos, true)
        << "what is read is primary";
}

TEST(PointBlock, MissingAndUnknownKeysLeaveTheirFields) {
    Ports ports(2);
    CNetworkData point(&ports, 7.0);
    ComplexMatrix matrix = StoredMatrix();
    point.SetSMatrix(&matrix, true);
    point.SetDataType(DataType::Interpolated);
    const std::string before = Text(point);
    for (const char* lines : {"", "Frequency='high'\n", "Frequency(3)\n", "DataType='Guessed'\n",
                              "DataType=2\n", "SMatrix=1\n", "SMatrix(1, 2)\n", "SMatrix[1: 2]\n", "Any=1\n"})
        EXPECT_EQ(ReadAndWritten(point, lines, 0), before) << lines;
    EXPECT_EQ(ReadAndWritten(point, "dataTYPE='EXTRAPOLATED'\nFREQUENCY=8\n", 0),
              Stored("\tFrequency=8\n\tDataType='Extrapolated'\n" + MatrixItem("SMatrix")));
}

TEST(PointBlock, WithoutAnOwnerOnlyFrequencyAndOriginAreRead) {
    CNetworkData plain;
    CNetworkModalData modal;
    CNetworkTerminalData terminal;
    for (CNetworkData* point :
         {&plain, static_cast<CNetworkData*>(&modal), static_cast<CNetworkData*>(&terminal)})
        EXPECT_EQ(ReadAndWritten(*point, kBaseItems + VectorItem("PortImpedance"), 0),
                  Stored("\tFrequency=1.5\n\tDataType='ExactPoint'\n"));
}

TEST(PointBlock, AMatrixThatIsCutShortIsFilledUpWithZeros) {
    Ports ports(2);
    struct Case {
        std::string rows;
        ComplexMatrix expected;
    };
    for (const Case& c : {
             Case{"m=2 n=2\n", Matrix_(2, {0, 0, 0, 0})},
             Case{"m=2 n=2\n$begin r1\nc(1)\n$end r1\n", Matrix_(2, {0, 0, 1, 0})},
             Case{"n=2 m=2\n$begin r1\nc(1, 2) c(3, 4) c(5, 6)\n$end r1\n$begin r0\nc(7, 8)\n$end r0\n",
                  Matrix_(2, {{7, 8}, 0, {1, 2}, {3, 4}})},
         }) {
        CNetworkData point(&ports, 0);
        io::CBlock block = PointBlock("$begin SMatrix\n" + c.rows + "$end SMatrix\n");
        EXPECT_EQ(point.ReadFromBlock(block), 0) << c.rows;
        ASSERT_TRUE(point.GetSMatrix(false)) << c.rows;
        EXPECT_TRUE(Equal(*point.GetSMatrix(false), c.expected)) << c.rows;
    }
}

// Of a bad item the point keeps what came before it, and nothing of the item.
TEST(PointBlock, ABadMatrixIsAbsentAndEndsTheReadingWithOne) {
    Ports ports(2);
    for (const char* rows :
         {"", "m=2\n", "m=2 n=3\n", "m=3 n=2\n", "n=2\n", "m='two' n=2\n", "m=2 n=-2\n",
          "m=2 n=2\n$begin r0\nx=1\n$end r0\n", "m=2 n=2\n$begin r0\nc()\n$end r0\n",
          "m=2 n=2\n$begin r0\nc('one', 2)\n$end r0\n", "m=2 n=2\n$begin r0\nc(1, 'two')\n$end r0\n",
          "m=2 n=2\n$begin r1\nc(1, 2)\n$begin c\n$end c\n$end r1\n"}) {
        const std::string bad = std::string("$begin YMatrix\n") + rows + "$end YMatrix\n";
        CNetworkData point(&ports, 0);
        ComplexMatrix held = StoredMatrix();
        point.SetYMatrix(&held, true);
        EXPECT_EQ(ReadAndWritten(point, MatrixItem("SMatrix") + bad + MatrixItem("ZMatrix"), 1),
                  Stored("\tFrequency=0\n\tDataType='None'\n" + MatrixItem("SMatrix")))
            << rows;
    }
}

TEST(PointBlock, TheItemsOfEachClassAreReadInOrderUpToABadOne) {
    Ports ports(2);
    struct Case {
        std::string lines;
        std::int32_t code;
        std::string left; // the items of the point, without frequency and origin
    };
    const auto bad = [](const std::string& name) { return "$begin " + name + "\nn=3\n$end " + name + "\n"; };
    const std::string impedance = VectorItem("PortImpedance"), gamma = VectorItem("Gamma"),
                      transform = MatrixItem("TerminalTransform");
    for (const Case& c : {
             Case{transform + gamma + impedance, 0, impedance + gamma + transform},
             Case{bad("SMatrix") + impedance + gamma, 1, impedance + gamma},
             Case{bad("PortImpedance") + gamma + transform, 1, ""},
             Case{impedance + bad("Gamma") + transform, 1, impedance},
             Case{impedance + gamma + bad("TerminalTransform"), 1, impedance + gamma},
             Case{"Gamma=1\nPortImpedance(50, 50)\n", 0, ""},
             Case{"$begin Gamma\n$begin r0\nc(50, 0) c(75, 25)\n$end r0\n$end Gamma\n", 0, gamma},
             Case{"$begin Gamma\nn=2\n$begin r0\nc(50, 0) x=75\n$end r0\n$end Gamma\n", 1, ""},
         }) {
        CNetworkModalData point(&ports, 0);
        EXPECT_EQ(ReadAndWritten(point, c.lines, c.code),
                  Stored("\tFrequency=0\n\tDataType='None'\n" + c.left))
            << c.lines;
    }
    const std::string r = MatrixItem("PortImpedance"), g = MatrixItem("Gamma"), t = MatrixItem("Transform");
    for (const Case& c : {
             Case{t + g + r, 0, r + g + t},
             Case{bad("ZMatrix") + r, 1, r},
             Case{bad("PortImpedance") + g + t, 1, ""},
             Case{r + bad("Gamma") + t, 1, r},
             Case{r + g + bad("Transform"), 1, r + g},
             Case{impedance, 1, ""},
         }) {
        CNetworkTerminalData point(&ports, 0);
        EXPECT_EQ(ReadAndWritten(point, c.lines, c.code),
                  Stored("\tFrequency=0\n\tDataType='None'\n" + c.left))
            << c.lines;
    }
}

TEST(PointBlock, AShortTextDoesNotMakeALargeMatrix) {
    Ports ports(1);
    ports.size = 40000;
    CNetworkData point(&ports, 0);
    io::CBlock block = PointBlock("$begin SMatrix\nm=40000 n=40000\n$end SMatrix\n");
    EXPECT_EQ(point.ReadFromBlock(block), 1);
    EXPECT_EQ(point.GetSMatrix(false), nullptr);

    // A good eighth of a large one is enough.
    ports.size = 264;
    std::string rows = "$begin SMatrix\nm=264 n=264\n";
    std::string row;
    for (int j = 0; j < 264; ++j)
        row += "c(1)\n";
    for (int i = 0; i < 33; ++i)
        rows += "$begin r" + std::to_string(i) + "\n" + row + "$end r" + std::to_string(i) + "\n";
    block = PointBlock(rows + "$end SMatrix\n");
    EXPECT_EQ(point.ReadFromBlock(block), 0);
    ASSERT_TRUE(point.GetSMatrix(false));
    EXPECT_EQ((*point.GetSMatrix(false))[32][263], Complex(1.0));
    EXPECT_EQ((*point.GetSMatrix(false))[33][0], Complex());
}

TEST(PointBlock, IsReadAndWrittenByOneTransferOperation) {
    Ports ports(2);
    CNetworkData point(&ports, 0);
    io::CBlock block = PointBlock(kBaseItems);
    EXPECT_EQ(point.TransferBlock(block, true), 0);
    io::CBlock written(AString(u"DataPoint"));
    EXPECT_EQ(point.TransferBlock(written, false), 0);
    EXPECT_EQ(Text(written), Stored(kBaseItems));
    io::CBlock bad = PointBlock("$begin SMatrix\n$end SMatrix\n");
    EXPECT_EQ(point.TransferBlock(bad, true), 1);
}

} // namespace
