// The program on stored files.
#include "kelda_process.h"

using namespace kelda_test;

namespace {

constexpr char kSample[] = "$begin Sample\n"
                           "\tName='first'\n"
                           "\tCount=3\n"
                           "\tRatio=0.50\n"
                           "\tOn=true\n"
                           "\tFreq(1, 2, Unit='Hz')\n"
                           "\tData[3: 1, 2.50, 3]\n"
                           "\tEmpty[0:]\n"
                           "\t$begin 'Inner Block'\n"
                           "\t\tx=1\n"
                           "\t\t'\xC3\xA9/b'=2\n"
                           "\t$end 'Inner Block'\n"
                           "$end Sample\n";

class BlockTest : public KeldaTest {
protected:
    Finished Block(Words arguments) {
        arguments.insert(arguments.begin(), "block");
        return Run({arguments});
    }
    std::string Read(const std::string& name) const { return ReadAll(m_Folder / name); }
};

TEST_F(BlockTest, ShowsAFileInAnyFormAndBack) {
    Write("a.txt", kSample);
    EXPECT_EQ(Block({"show", "a.txt"}).out, kSample);
    EXPECT_EQ(Block({"show", "a.txt", "--to", "binary", "-o", "a.bin"}).status, 0);
    EXPECT_EQ(Read("a.bin").at(0), '\0');
    std::string back = Block({"show", "a.bin"}).out;
    EXPECT_EQ(back.find("Ratio=0.5\n") != std::string::npos, true) << back;
    EXPECT_EQ(Block({"show", "a.txt", "--precision", "3"}).out, back);
    EXPECT_EQ(Block({"show", "a.txt", "--scientific", "--precision", "2"}).out.find("Ratio=5.00e-01") !=
                  std::string::npos,
              true);
    Json json = Json::parse(Block({"show", "a.bin", "--to", "json"}).out);
    EXPECT_EQ(json[0]["name"], "Sample");
    EXPECT_EQ(json[0]["items"][4]["arguments"][2]["value"], "Hz");
    EXPECT_EQ(json[0]["items"][5]["elements"][1], 2.5);
    EXPECT_EQ(json[0]["items"][7]["items"][1]["name"], "\xC3\xA9/b");
    EXPECT_EQ(json[0]["items"][6]["elements"], Json::array());
}

TEST_F(BlockTest, ListsEveryErrorWithItsLine) {
    Write("a.txt", "$begin A\nx=1\nf(,)\n$begin B\n=\n$end C\n$end A\nstray\n");
    auto result = Block({"check", "a.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "a.txt:3: identifier expected\n"
                          "a.txt:5: identifier expected\n"
                          "a.txt:6: begin/end block syntax invalid\n"
                          "a.txt:9: expected a '(' or a '='\n");
    auto lines = JsonLines(Block({"check", "a.txt", "--json"}).out);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1]["block"], "B");
    EXPECT_EQ(lines[1]["line"], 5);
    Write("good.txt", kSample);
    EXPECT_EQ(Block({"check", "good.txt"}).status, 0);
    // What could be read is shown all the same.
    result = Block({"show", "a.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "$begin A\n\tx=1\n\t$begin B\n\t$end B\n$end A\n");
    EXPECT_NE(result.err.find("a.txt:3: "), std::string::npos);
}

TEST_F(BlockTest, RefusesWhatItCannotRead) {
    Write("latin1.txt", "$begin A\nx='\xE9'\n$end A\n");
    auto result = Block({"check", "latin1.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kelda: latin1.txt:2: not UTF-8\n");
    EXPECT_EQ(Block({"check", "missing.txt"}).err, "kelda: missing.txt: No such file or directory\n");
    EXPECT_EQ(Block({"check"}).status, 2);
    EXPECT_EQ(Block({"show", "a.txt", "--to", "yaml"}).status, 2);
    EXPECT_EQ(Block({"show", "a.txt", "--precision", "40"}).status, 2);
    Write("a.txt", kSample);
    EXPECT_EQ(Block({"show", "a.txt", "-o", "no/such/folder"}).status, 1);
}

TEST_F(BlockTest, GetsOneItemByItsPath) {
    Write("a.txt", kSample);
    EXPECT_EQ(Block({"get", "a.txt", "sample/data"}).out, "Data[3: 1, 2.50, 3]\n");
    EXPECT_EQ(Block({"get", "a.txt", "Sample/Inner Block/\xC3\xA9\\/b"}).out, "'\xC3\xA9/b'=2\n");
    auto result = Block({"get", "a.txt", "Sample/Other"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kelda: a.txt: there is no Other in Sample\n");
    EXPECT_EQ(Block({"get", "a.txt", "Sample/Count/x"}).err,
              "kelda: a.txt: Sample/Count is no block and holds no x\n");
}

TEST_F(BlockTest, ReachesABlockThroughItsIndex) {
    Write("a.txt", kSample);
    EXPECT_EQ(Block({"index", "a.txt", "--all-levels", "-o", "indexed.txt"}).status, 0);
    EXPECT_NE(Read("indexed.txt").find("$begin $index$"), std::string::npos);
    const std::string inner = "$begin 'Inner Block'\n\tx=1\n\t'\xC3\xA9/b'=2\n$end 'Inner Block'\n";
    // With an index, without, and with one made anew from what has one already.
    EXPECT_EQ(Block({"find", "indexed.txt", "Sample/Inner Block"}).out, inner);
    EXPECT_EQ(Block({"find", "a.txt", "Sample/Inner Block"}).out, inner);
    EXPECT_EQ(Block({"index", "indexed.txt", "-o", "again.txt"}).status, 0);
    EXPECT_EQ(Block({"find", "again.txt", "Sample/Inner Block"}).out, inner);
    EXPECT_EQ(Block({"find", "again.txt", "Sample"}).out, kSample);
    auto result = Block({"find", "indexed.txt", "Sample/x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kelda: indexed.txt: there is no block Sample/x\n");
}

} // namespace
