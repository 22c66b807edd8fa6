// What the kernel says of a netlist that it can't run, and what a netlist can't make it do.
#include "kernel_fixture.h"

#include <fmt/format.h>

namespace {

struct BadInput {
    const char* what;
    std::string netlist;
    int result;
    int code; // of the message
    std::string words;
};

void PrintTo(const BadInput& input, std::ostream* out) {
    *out << input.what;
}

class BadNetlist : public KernelTest, public testing::WithParamInterface<BadInput> {};

TEST_P(BadNetlist, IsToldInWordsWithItsLine) {
    write("cells.lib", ".lib slow\nR1 a 0 1\n.endl\n");
    write("fault.inc", "R1 a 0 1\n\nD1 a 0 nodiode\n");
    write("short.inc", "R1 a 0 1\nR2 a\n");
    write("call.inc", ".include fault.inc\n");
    const BadInput& input = GetParam();
    EXPECT_EQ(input.result, run_text(input.netlist)) << all_told();
    EXPECT_TRUE(says(input.code, input.words)) << all_told();
    EXPECT_EQ(input.result != CKT_GOOD, says(CKT_ERROR, "")) << all_told();
    for (const Message& message : told().messages)
        EXPECT_NE(std::string::npos, message.text.find(folder.string()))
            << "no file is named in: " << message.text;
}

const std::string source = "title\nV1 a 0 dc 0 ac 1\n"; // lines 1 and 2
const std::string good = source + "R1 a 0 1\n";         // line 3

INSTANTIATE_TEST_SUITE_P(
    Files, BadNetlist,
    testing::Values(BadInput{"empty", "", CKT_NOT_A_NETLIST, CKT_ERROR, "t.cir: the file is empty"},
                    BadInput{"blank", " \n\n\t\n", CKT_NOT_A_NETLIST, CKT_ERROR, "t.cir: the file is empty"},
                    BadInput{"a zero byte", "title\nV1 a 0 \x01" + std::string(3, '\0'), CKT_NOT_A_NETLIST,
                             CKT_ERROR, "t.cir:2: the file holds binary data (a zero byte)"},
                    BadInput{"control characters", std::string(80, '\x02'), CKT_NOT_A_NETLIST, CKT_ERROR,
                             "80 control characters in 80 bytes"},
                    BadInput{"UTF-16", "\xff\xfeV1 a 0 1", CKT_NOT_A_NETLIST, CKT_ERROR, "UTF-16"},
                    BadInput{"no analysis", good, CKT_NO_ANALYSIS, CKT_ERROR,
                             "t.cir: no analysis is asked for"},
                    BadInput{"no analysis left", good + ".param x=0\n.if (x==1)\n.op\n.endif\n",
                             CKT_NO_ANALYSIS, CKT_ERROR, "no analysis is left after .if and .else"},
                    BadInput{"include missing", source + ".include nothere.inc\n.op\n", CKT_NO_NETLIST,
                             CKT_ERROR, "nothere.inc\": No such file or directory"},
                    BadInput{"section missing", source + ".lib cells.lib fast\n.op\n", CKT_BAD_NETLIST,
                             CKT_ERROR, "t.cir:3: the library \"cells.lib\" has no section \"fast\""},
                    BadInput{"includes itself", source + ".include t.cir\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                             "t.cir:3: files are included more than 100 levels deep"},
                    BadInput{"model missing in an included file", source + ".include fault.inc\n.op\n",
                             CKT_BAD_NETLIST, CKT_ERROR, "fault.inc:3: there is no .model \"nodiode\""},
                    BadInput{"model missing two files away", source + ".include call.inc\n.op\n",
                             CKT_BAD_NETLIST, CKT_ERROR, "fault.inc:3: there is no .model \"nodiode\""},
                    BadInput{"short line in an included file", source + ".include short.inc\n.op\n",
                             CKT_BAD_NETLIST, CKT_ERROR, "short.inc:2: \"r2 a\" is too short"}));

INSTANTIATE_TEST_SUITE_P(
    Lines, BadNetlist,
    testing::Values(
        BadInput{"model missing", source + "\nD1 a 0 nodiode\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: there is no .model \"nodiode\""},
        BadInput{"model of another kind", source + ".model m npn\nD1 a 0 m\n.op\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:4: incorrect model type"},
        BadInput{"subcircuit missing", source + "X1 a 0 nosub\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:3: there is no .subckt \"nosub\", which \"x1\" calls"},
        BadInput{"subcircuit with other nodes", source + ".subckt s a\nR1 a 0 1\n.ends\nX1 a b s\n.op\n",
                 CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:6: the subcircuit is called with another number of nodes"},
        BadInput{"subcircuit within itself", source + "X1 a s\n.subckt s a\nX2 a s\n.ends\n.op\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "nest too deep: does \"s\" call itself?"},
        BadInput{"subcircuit left open", source + ".subckt s a\nR1 a 0 1\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:3: this .subckt has no .ends"},
        BadInput{"end of no subcircuit", good + ".ends\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: .ends without a .subckt"},
        BadInput{"too few words", source + "R1 a\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:3: \"r1 a\" is too short, expected \"NAME NODE NODE VALUE\""},
        BadInput{"unknown command", good + ".foo 1\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: this command is unknown: \".foo 1\""},
        BadInput{"unknown word", source + "R1 a 0 1 2 3\n.op\n", CKT_BAD_NETLIST, CKT_ERROR, "t.cir:3: "},
        BadInput{"name taken", good + "R1 a 0 2\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: a device of this name exists already"},
        BadInput{"nothing to continue", "title\n+ V1 a 0\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:2: a line that begins with \"+\" continues nothing"},
        BadInput{"parameter missing", good + ".param x={y*2}\nR2 a 0 {x}\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: Undefined parameter [y]"},
        BadInput{"model without a kind", good + ".model m\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: \".model m\" is too short"},
        BadInput{"code model without a connection", good + "A1 %v\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: \"a1 %v\" is too short"},
        BadInput{"external source", "title\nV1 a 0 dc 0 external\nR1 a 0 1\n.op\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:2: \"v1 a 0 dc 0 external\": an external source"}));

INSTANTIATE_TEST_SUITE_P(
    Analyses, BadNetlist,
    testing::Values(
        BadInput{"unknown sweep", good + ".ac foo 3 1 2\n", CKT_BAD_NETLIST, CKT_ERROR, "t.cir:4: "},
        BadInput{"sweep backwards", good + ".ac dec 3 10 1\n", CKT_ANALYSIS_FAILED, CKT_ERROR,
                 "t.cir:4: the analysis \".ac dec 3 10 1\" gave no points"},
        BadInput{"no end", good + ".tran 1u\n", CKT_BAD_NETLIST, CKT_ERROR, "t.cir:4: TSTOP is invalid"},
        BadInput{"long word", good + ".tran 1u" + std::string(2000, 'x') + " 1m\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:4: a word has 2002 characters, 400 at most are expected"},
        BadInput{"no step", good + ".dc V1 0 1 0\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: \".dc v1 0 1 0\": the step of \"v1\" is 0"},
        BadInput{"sweep of nothing", good + ".dc V9 0 1 0.1\n", CKT_ANALYSIS_FAILED, CKT_ERROR,
                 "t.cir:4: the analysis \".dc v9 0 1 0.1\" failed: no such device"},
        BadInput{"noise from nothing", good + ".noise v(a) V9 dec 3 1 10\n", CKT_ANALYSIS_FAILED, CKT_WARNING,
                 "t.cir:4: Noise input source v9 not in circuit"},
        BadInput{"nothing to save", good + ".op\n.save v(nothing)\n", CKT_ANALYSIS_FAILED, CKT_ERROR,
                 "none of the vectors that .save lists exists"},
        BadInput{"no ports", good + ".sp lin 3 1 2\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: \".sp lin 3 1 2\": no source has a \"portnum\""},
        BadInput{"ports with a gap",
                 "title\nV1 a 0 dc 0 portnum 1 z0 50\nV2 b 0 dc 0 portnum 3 z0 50\nR1 a b 1\n.sp lin 3 1 2\n",
                 CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:5: \".sp lin 3 1 2\": the ports have to be numbered 1 to 2"},
        BadInput{"port of negative impedance",
                 "title\nV1 a 0 dc 0 portnum 1 z0 -50\nR1 a 0 1\n.sp lin 3 1 2\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: \".sp lin 3 1 2\": port 1 has a z0 of -50 ohm"},
        BadInput{"port without a reference",
                 "title\nV1 a 0 dc 0 portnum 1 z0 50\nV2 b 0 dc 0 portnum 2\nR1 a b 1\n.sp lin 3 1 2\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "t.cir:5: \".sp lin 3 1 2\": port 2 has no z0"},
        BadInput{"no device", "title\n.param x=1\n.op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:3: there is nothing to analyse: the circuit has no device"},
        BadInput{"loop of sources", source + "V2 a 0 2\n.op\n", CKT_ANALYSIS_FAILED, CKT_ERROR,
                 "t.cir:4: the analysis \".op\" failed: no operating point was found; singular matrix"},
        BadInput{"sensitivity with a transistor", source + "Q1 a a 0 m\n.model m npn\n.sens v(a)\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "t.cir:5: the simulator can't do \".sens\""},
        BadInput{"transfer function with a guess", good + ".nodeset v(a)=1\n.tf v(a) V1\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:5: the simulator can't do \".tf\""},
        BadInput{"poles of resistors", good + ".pz a 0 a 0 vol pol\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: a circuit without a capacitor"}));

const std::string cosim_source = "*% cosim source 0 V1\n"; // line 4
const std::string cosim_port = "*% cosim port 0 v(a)\n";   // line 5
const std::string cosim = good + cosim_source + cosim_port;

INSTANTIATE_TEST_SUITE_P(
    Cosimulation, BadNetlist,
    testing::Values(
        BadInput{
            "unknown word", cosim + "*% cosim stop 1n\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
            "t.cir:6: \"cosim stop 1n\": \"step\", \"source\" or \"port\" is expected after \"cosim\", found "
            "\"stop\""},
        BadInput{"nothing behind cosim", cosim + "*% cosim\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:6: \"cosim\": \"step\""},
        BadInput{"another word", good + "*% cosin step 1n\n.op\n", CKT_GOOD, CKT_WARNING,
                 "t.cir:4: the line \"*% cosin step 1n\" is skipped"},
        BadInput{"step of 0", cosim + "*% cosim step 0\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:6: \"cosim step 0\": the step is \"0\", a time above 0 is expected"},
        BadInput{"step below 0", cosim + "*% cosim step -1n\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "the step is \"-1n\", a time above 0 is expected"},
        BadInput{"step of words", cosim + "*% cosim step soon\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "the step is \"soon\", a time above 0 is expected"},
        BadInput{"step with a remainder", cosim + "*% cosim step 1n*2\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "the step is \"1n*2\", a time above 0 is expected"},
        BadInput{"no step", cosim + "*% cosim step\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:6: \"cosim step\": expected \"cosim step TIME\""},
        BadInput{"two steps", cosim + "*% cosim step 1n\n*% cosim step 2n\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:7: \"cosim step 2n\": the step is given already at"},
        BadInput{"steps too small to tell apart", cosim + "*% cosim step 1e-18\n.tran 1n 1u\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "t.cir:6: 1e-06 s in steps of 1e-18 s can't be co-simulated"},
        BadInput{"source of another kind", good + "*% cosim source 0 R1\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR,
                 "t.cir:4: \"cosim source 0 r1\": the circuit has no voltage or current source \"r1\""},
        BadInput{"source in a subcircuit",
                 good + "*% cosim source 0 V2\n.subckt s a\nV2 a 0 1\n.ends\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "has no voltage or current source \"v2\" outside its subcircuits"},
        BadInput{"source without a number", good + "*% cosim source V1\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:4: \"cosim source v1\": expected \"cosim source NUMBER DEVICE\""},
        BadInput{"number of words", good + "*% cosim source one V1\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "the number is \"one\", one from 0 to 9999 is expected"},
        BadInput{"number below 0", good + "*% cosim source -1 V1\n.tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "the number is \"-1\""},
        BadInput{"number too large", good + "*% cosim source 99999999999 V1\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "the number is \"99999999999\""},
        BadInput{
            "source number twice",
            "title\nV1 a 0 1\nV2 b a 1\nR1 b 0 1\n" + cosim_source + "*% cosim source 0 V2\n.tran 1n 1u\n",
            CKT_BAD_NETLIST, CKT_ERROR, "t.cir:6: \"cosim source 0 v2\": there is a source 0 already, at"},
        BadInput{"device driven twice", cosim + "*% cosim source 1 v1\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:6: \"cosim source 1 v1\": \"v1\" is driven by source 0 already, at"},
        BadInput{"gap in the ports", cosim + "*% cosim port 2 v(a)\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:6: there is a port 2, but no port 1"},
        BadInput{"sources from 1", good + "*% cosim source 1 V1\n" + cosim_port + ".tran 1n 1u\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "t.cir:4: there is a source 1, but no source 0"},
        BadInput{"no port", good + cosim_source + ".tran 1n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: a co-simulation has at least \"cosim port 0\", found none"},
        BadInput{"port without a value", good + cosim_source + "*% cosim port 0\n.tran 1n 1u\n",
                 CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:5: \"cosim port 0\": expected \"cosim port NUMBER VALUE\""},
        BadInput{"port of three values",
                 good + cosim_source + "*% cosim port 0 v(a) v(a) v(a)\n.tran 1n 1u\n", CKT_BAD_NETLIST,
                 CKT_ERROR, "t.cir:5: \"cosim port 0 v(a) v(a) v(a)\": expected"},
        BadInput{"power of a port", good + cosim_source + "*% cosim port 0 p(R1)\n.tran 1n 1u\n",
                 CKT_BAD_NETLIST, CKT_ERROR,
                 "\"p(r1)\" is no value of a port, v(NODE), v(NODE,NODE) or i(SOURCE)"},
        BadInput{"port left open", good + cosim_source + "*% cosim port 0 v(a\n.tran 1n 1u\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "\"v(a\" is no value of a port"},
        BadInput{"port of nothing", good + cosim_source + "*% cosim port 0 v(,a)\n.tran 1n 1u\n",
                 CKT_BAD_NETLIST, CKT_ERROR, "\"v(,a)\" is no value of a port"},
        BadInput{"no transient analysis", cosim + ".op\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:4: a co-simulation is asked for, but there is no .tran"},
        BadInput{"two transient analyses", cosim + ".tran 1n 1u\n.tran 2n 1u\n", CKT_BAD_NETLIST, CKT_ERROR,
                 "t.cir:7: a co-simulation has one .tran, there is one already at"},
        BadInput{"nobody to ask", cosim + ".tran 1n 1u\n", CKT_ANALYSIS_FAILED, CKT_ERROR,
                 "t.cir:6: the analysis \".tran 1n 1u\" failed: its sources are driven by a client's "
                 "simulator, and "
                 "there is no client here (no \"SystemCosimSource\")"}));

// What would leave the simulator: run a program, write a file, end the process.
INSTANTIATE_TEST_SUITE_P(Escapes, BadNetlist,
                         testing::Values(BadInput{"shell in a saved vector",
                                                  good + ".op\n.save v(a) `touch escaped`\n", CKT_BAD_NETLIST,
                                                  CKT_ERROR, "t.cir:5: '`' isn't allowed"},
                                         BadInput{"output redirected", good + ".tran 1u 1m > escaped\n",
                                                  CKT_BAD_NETLIST, CKT_ERROR, "t.cir:4: '>' isn't allowed"},
                                         BadInput{"another file to read later", good + ".tran 1u 1m $HOME\n",
                                                  CKT_BAD_NETLIST, CKT_ERROR, "t.cir:4: '$' isn't allowed"}));

class HostileNetlist : public KernelTest {};

TEST_F(HostileNetlist, ControlBlocksAreSkippedWithAWarningWhereverTheyStand) {
    const std::string block = fmt::format(
        ".control\nshell touch {0}/escaped\nrun\nwrite {0}/escaped\nquit\n.endc\n", folder.string());
    write("control.inc", "R2 a b 1\nR3 b 0 1\n" + block);
    const std::string supply = "title\nV1 a 0 1\n";
    ASSERT_EQ(CKT_GOOD, run_text(supply + block + ".include control.inc\n.op\n")) << all_told();
    EXPECT_TRUE(says(CKT_WARNING, "t.cir:3: the .control block is skipped")) << all_told();
    EXPECT_TRUE(says(CKT_WARNING, "control.inc:3: the .control block is skipped")) << all_told();
    EXPECT_FALSE(std::filesystem::exists(folder / "escaped"));
    EXPECT_EQ((std::vector<double>{0.5}), table("t.op.csv")["v(b) [V]"]) << "the included divider";
}

TEST_F(HostileNetlist, AControlBlockThatNeverEndsHidesWhatFollows) {
    EXPECT_EQ(CKT_NO_ANALYSIS, run_text(good + ".control\nquit\n.op\n"));
    EXPECT_TRUE(says(CKT_WARNING, "the file ends inside a .control block")) << all_told();
}

TEST_F(HostileNetlist, TheUsersStartFilesAreNotRead) {
    write(".spiceinit", "echo start file\nshell touch escaped\nquit\n");
    const std::filesystem::path before = std::filesystem::current_path();
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
    std::filesystem::current_path(folder);
    ::setenv("HOME", folder.c_str(), 1);
    EXPECT_EQ(CKT_GOOD, run_text(good + ".op\n")) << all_told();
    ::setenv("HOME", home.c_str(), 1);
    EXPECT_TRUE(std::filesystem::equivalent(folder, std::filesystem::current_path()));
    std::filesystem::current_path(before);
    EXPECT_FALSE(says(CKT_INFORMATION, "start file"));
    EXPECT_FALSE(std::filesystem::exists(folder / "escaped"));
}

TEST_F(HostileNetlist, WhatIsNoFileIsToldByItsName) {
    struct Row {
        std::string path;
        std::string why;
    };
    std::filesystem::create_directory(folder / "folder.cir");
    for (const Row& row : {Row{folder / "missing.cir", "No such file or directory"},
                           Row{folder / "folder.cir", "it is a directory, a netlist file is expected"},
                           Row{"/dev/null", "it isn't a regular file"},
                           Row{folder / std::string(300, 'x'), "File name too long"}}) {
        EXPECT_EQ(CKT_NO_NETLIST, run(row.path));
        EXPECT_TRUE(says(CKT_ERROR, fmt::format("can't read \"{}\": {}", row.path, row.why))) << all_told();
        EXPECT_TRUE(told().progress.empty());
    }
    for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
        told() = {};
        EXPECT_EQ(CKT_FAILED, analyze(nothing));
        EXPECT_TRUE(says(CKT_ERROR, "no netlist is named"));
    }
}

} // namespace
