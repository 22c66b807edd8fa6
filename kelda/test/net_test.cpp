// The program on network files.
#include "kelda_process.h"

#include <sys/resource.h>

#include <cmath>
#include <complex>

using namespace kelda_test;

namespace {

// A series impedance of 100 ohm between ports of 50 ohm, and an ideal through.
constexpr char kSeries[] = "# GHz S RI R 50\n1 0.5 0 0.5 0 0.5 0 0.5 0\n2 0.5 0 0.5 0 0.5 0 0.5 0\n"
                           "3 0.5 0 0.5 0 0.5 0 0.5 0\n";
constexpr char kThrough[] = "# GHz S RI R 50\n1 0 0 1 0 1 0 0 0\n";

class NetTest : public KeldaTest {
protected:
    NetTest() {
        Write("series.s2p", kSeries);
        Write("through.s2p", kThrough);
    }
    Finished Net(Words arguments) {
        arguments.insert(arguments.begin(), "net");
        return Run({arguments});
    }
    std::complex<double> S(const std::string& file, const std::string& frequency, std::size_t row,
                           std::size_t column) {
        const auto answer = Net({"at", file, "--freq", frequency, "--json"});
        EXPECT_EQ(answer.status, 0) << answer.err;
        const Json value = JsonLines(answer.out).at(0)["s"][row][column];
        return {value[0], value[1]};
    }
};

void ExpectNear(std::complex<double> value, std::complex<double> expected) {
    EXPECT_NEAR(std::abs(value - expected), 0, 1e-12) << value << " " << expected;
}

TEST_F(NetTest, TellsWhatAFileHolds) {
    const Json info = Json::parse(Net({"info", "series.s2p", "--json"}).out);
    EXPECT_EQ(info["form"], "Touchstone 1.0, S in RI and GHz");
    EXPECT_EQ(info["rows"].size(), 2u);
    EXPECT_EQ(info["frequencies"], Json({1e9, 2e9, 3e9}));
    EXPECT_EQ(info["references"], Json({{50.0, 0.0}, {50.0, 0.0}}));
    EXPECT_EQ(info["passive"], true);
    EXPECT_EQ(info["asymmetry"], 0.0);
    Write("gain.s2p", "# Hz S RI R 50\n7 0 0 2 0 0 0 0 0\n");
    const std::string text = Net({"info", "gain.s2p"}).out;
    EXPECT_NE(text.find("passive       no, first at 7 Hz"), std::string::npos) << text;
    EXPECT_NE(text.find("reciprocal    no"), std::string::npos) << text;
}

// No file that a child of this process writes gets longer meanwhile.
class FullDisk {
public:
    explicit FullDisk(rlim_t room) {
        getrlimit(RLIMIT_FSIZE, &m_Former);
        const rlimit limit{room, m_Former.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &m_Former); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_Former;
};

TEST_F(NetTest, AFullDiskLeavesNoHalfFileAndTheFormerOneAsItWas) {
    Write("old.sol", "a network");
    std::filesystem::create_symlink("old.sol", m_Folder / "link.sol");
    for (const char* out : {"new.sol", "old.sol", "link.sol"}) {
        const Finished convert = [&] {
            const FullDisk full(300);
            return Net({"convert", "series.s2p", out});
        }();
        EXPECT_EQ(convert.status, 1);
        EXPECT_EQ(convert.err, std::string("kelda: can't write to ") + out + ": File too large\n");
        for (const auto& entry : std::filesystem::directory_iterator(m_Folder)) {
            const std::string name = entry.path().filename();
            EXPECT_FALSE(name.starts_with("new") || name.ends_with(".part")) << name;
        }
        EXPECT_EQ(ReadAll(m_Folder / "old.sol"), "a network");
    }
    EXPECT_EQ(Net({"convert", "series.s2p", "link.sol"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(m_Folder / "link.sol"));
    EXPECT_TRUE(ReadAll(m_Folder / "old.sol").starts_with("$begin"));
}

TEST_F(NetTest, ComesBackFromEveryForm) {
    for (const char* form : {"a.sol", "a.solb", "a.ts"}) {
        EXPECT_EQ(Net({"convert", "series.s2p", form}).status, 0);
        EXPECT_EQ(Net({"convert", form, "back.s2p"}).status, 0);
        EXPECT_EQ(Net({"convert", "series.s2p", "straight.s2p"}).status, 0);
        EXPECT_EQ(ReadAll(m_Folder / "back.s2p"), ReadAll(m_Folder / "straight.s2p")) << form;
    }
    EXPECT_EQ(Net({"convert", "series.s2p", "y.s2p", "--param", "Y", "--format", "MA"}).status, 0);
    EXPECT_EQ(ReadAll(m_Folder / "y.s2p").substr(0, 15), "# Hz Y MA R 50\n");
    ExpectNear(S("y.s2p", "2GHz", 1, 0), 0.5);
    // What a solution's class doesn't write again stays from one stored form to the other.
    Write("setup.sol", "$begin SolutionData\n\tObjectType='Modal'\n\tremark='kept'\n$end SolutionData\n");
    EXPECT_EQ(Net({"convert", "setup.sol", "setup.solb"}).status, 0);
    EXPECT_EQ(Run({{"block", "get", "setup.solb", "SolutionData/remark"}}).out, "remark='kept'\n");
}

TEST_F(NetTest, RefersToOtherImpedances) {
    struct {
        const char* z;
        std::complex<double> s11, s21;
    } cases[] = {
        // A series impedance Z between z1 and z2: (Z + z2 - z1) / (Z + z1 + z2) and 2 sqrt(z1 z2) / (Z + z1 + z2).
        {"100", 1.0 / 3.0, 2.0 / 3.0},
        {"0.1k,100", 1.0 / 3.0, 2.0 / 3.0},
        {"25,75", 0.75, 2 * std::sqrt(25.0 * 75.0) / 200},
        {"50+50j", 100.0 / std::complex<double>(200, 100),
         2.0 * std::complex<double>(50, 50) / std::complex<double>(200, 100)},
    };
    for (const auto& c : cases) {
        const auto result = Net({"renorm", "series.s2p", "z.sol", "--z", c.z});
        EXPECT_EQ(result.status, 0) << result.err;
        ExpectNear(S("z.sol", "2GHz", 0, 0), c.s11);
        ExpectNear(S("z.sol", "2GHz", 1, 0), c.s21);
    }
    // Without admittances, by way of which it would come out wrong.
    ASSERT_EQ(Net({"renorm", "through.s2p", "z.s2p", "--z", "25,100"}).status, 0);
    ExpectNear(S("z.s2p", "1GHz", 0, 0), 0.6);
    ExpectNear(S("z.s2p", "1GHz", 1, 0), 0.8);
    Write("bare.sol", "$begin SolutionData\n\tObjectType='Modal'\n\t$begin Ports\n\t\tPort(PortName='a')\n"
                      "\t$end Ports\n\t$begin Frequencies\n\t\t$begin DataPoint\n\t\t\tFrequency=1\n"
                      "\t\t$end DataPoint\n\t$end Frequencies\n$end SolutionData\n");
    const auto refused = Net({"renorm", "bare.sol", "z.sol", "--z", "75"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "kelda: bare.sol: the data at 1 Hz have no references\n");
}

TEST_F(NetTest, MovesTheReferencePlanes) {
    const auto turned = [](double turns) { return std::polar(1.0, 2 * M_PI * turns); };
    ASSERT_EQ(Net({"deembed", "through.s2p", "d.s2p", "--delay", "0.1ns,50ps"}).status, 0);
    ExpectNear(S("d.s2p", "1GHz", 1, 0), turned(0.15));
    ASSERT_EQ(
        Net({"deembed", "series.s2p", "d.sol", "--distance", "29.9792458mm", "--permittivity", "4"}).status,
        0);
    ExpectNear(S("d.sol", "1e9", 0, 0), 0.5 * turned(0.4));
    const auto refused = Net({"deembed", "series.s2p", "d.s2p", "--distance", "1mm"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("propagation constants"), std::string::npos) << refused.err;
}

TEST_F(NetTest, AnswersBetweenItsPoints) {
    const auto lines = JsonLines(Net({"at", "series.s2p", "--freq", "1GHz:2GHz:3,4GHz", "--json"}).out);
    ASSERT_EQ(lines.size(), 4u);
    const char* origins[] = {"stored", "interpolated", "stored", "extrapolated"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(lines[i]["origin"], origins[i]);
        EXPECT_EQ(lines[i].contains("error"), i % 2 == 1);
    }
    EXPECT_EQ(lines[1]["frequency"], 1.5e9);
    const auto table = Net({"at", "series.s2p", "--freq", "1500MHz", "-o", "at.s2p"});
    EXPECT_EQ(table.out.rfind("# Hz origin error\n1500000000 interpolated ", 0), 0u) << table.out;
    ExpectNear(S("at.s2p", "1.5GHz", 0, 1), 0.5);
    Write("none.sol",
          "$begin SolutionData\n\tObjectType='Modal'\n\tSolutionType='CircuitData'\n\t$begin Frequencies\n"
          "\t\t$begin DataPoint\n\t\t\tFrequency=1\n\t\t$end DataPoint\n\t$end Frequencies\n"
          "$end SolutionData\n");
    const auto refused = Net({"at", "none.sol", "--freq", "2"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("none.sol: there are no data at 2 Hz"), std::string::npos) << refused.err;
}

TEST_F(NetTest, DrawsPictures) {
    struct {
        const char* out;
        const char* beginning;
    } files[] = {{"p.svg", "<?xml"}, {"p.png", "\x89PNG"}, {"p.pdf", "%PDF"}};
    for (const auto& file : files) {
        const auto result = Net({"plot", "series.s2p", "-o", file.out});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(ReadAll(m_Folder / file.out).rfind(file.beginning, 0), 0u) << file.out;
    }
    for (const char* what : {"db", "mag", "phase", "re", "im", "smith"}) {
        const auto result = Net({"plot", "series.s2p", "--what", what, "--entry", "21"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_NE(result.out.find("S21 "), std::string::npos) << result.out;
    }
    // A delay of 0.25 ns: the scale of the picture has it, and no other one.
    Write("line.s2p",
          "# GHz S MA R 50\n1 0 0 1 -90 1 -90 0 0\n2 0 0 1 -180 1 -180 0 0\n3 0 0 1 90 1 90 0 0\n");
    const auto delay = Net({"plot", "line.s2p", "--what", "delay", "--entry", "21", "--terminal"});
    EXPECT_NE(delay.out.find("0.25 "), std::string::npos) << delay.out;
    // Several networks in one picture, each trace with its file's name; samples marked where a curve goes through them.
    ASSERT_EQ(Net({"convert", "series.s2p", "a.sol"}).status, 0);
    std::string stored = ReadAll(m_Folder / "a.sol");
    const auto type = stored.find("SolutionType='None'");
    ASSERT_NE(type, std::string::npos);
    Write("curve.sol", stored.replace(type, 19, "SolutionType='InterpolateNeville'"));
    ASSERT_EQ(Net({"plot", "curve.sol", "line.s2p", "--entry", "21", "-o", "two.svg"}).status, 0);
    const std::string picture = ReadAll(m_Folder / "two.svg");
    for (const char* title : {"curve.sol S21", "line.s2p S21", "3 samples"})
        EXPECT_NE(picture.find(title), std::string::npos) << title;
}

TEST_F(NetTest, PlaysASolverWithDenseData) {
    // Two resonances and a pole, at 201 frequencies in GHz.
    const auto network = [](double f) {
        const std::complex<double> j(0, 1);
        return 0.5 / (1.0 + j * f) + 0.2 / (1.0 + 8.0 * j * (f - 1.5)) + 0.2 / (1.0 + 15.0 * j * (f - 3.1));
    };
    std::string dense = "# GHz S RI R 50\n";
    for (int i = 0; i <= 200; ++i) {
        const double f = 0.1 + 0.02 * i;
        const auto through = network(f), reflected = 1.0 - through;
        std::ostringstream line;
        line.precision(17);
        line << f;
        for (const auto value : {reflected, through, through, reflected})
            line << " " << value.real() << " " << value.imag();
        dense += line.str() + "\n";
    }
    Write("pole.s2p", dense);
    for (const char* passes : {"1", "3"}) {
        const auto result =
            Net({"sweep", "pole.s2p", "--tolerance", "1e-6", "--passes", passes, "-o", "fit.sol", "--json"});
        ASSERT_EQ(result.status, 0) << result.err;
        const Json sweep = Json::parse(result.out);
        EXPECT_EQ(sweep["converged"], true);
        EXPECT_LT(sweep["largest_error"], 1e-6);
        const auto samples = sweep["samples"].size();
        EXPECT_LT(samples, 30u);
        EXPECT_DOUBLE_EQ(sweep["samples"][0]["frequency"], 4.1e9);
        EXPECT_DOUBLE_EQ(sweep["samples"][1]["frequency"], 1e8);
        const Json info = Json::parse(Net({"info", "fit.sol", "--json"}).out);
        EXPECT_EQ(info["frequencies"].size(), samples);
        EXPECT_EQ(info["type"], "ZephInterpolatingSweep");
        ExpectNear(S("fit.sol", "4.1GHz", 1, 0), network(4.1));
        EXPECT_NEAR(std::abs(S("fit.sol", "1.234GHz", 1, 0) - network(1.234)), 0, 1e-6);
        ASSERT_EQ(Net({"plot", "fit.sol", "pole.s2p", "--entry", "21", "-o", "fit.svg"}).status, 0);
        EXPECT_NE(ReadAll(m_Folder / "fit.svg").find(std::to_string(samples) + " samples"),
                  std::string::npos);
    }
    const auto full = Net({"sweep", "pole.s2p", "--tolerance", "1e-300", "--max-basis", "5"});
    EXPECT_NE(full.out.find("# the basis is full after 5 samples\n"), std::string::npos)
        << full.out << full.err;
    const auto refused = Net({"sweep", "through.s2p", "--tolerance", "1e-3"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err.rfind("kelda: through.s2p: ", 0), 0u) << refused.err;
}

TEST_F(NetTest, SaysWhatIsWrongWithACommand) {
    struct {
        Words arguments;
        int status;
        const char* text;
    } cases[] = {
        {{"renorm", "series.s2p", "o.s2p", "--z", "7x5"}, 2, "--z: '7x5' is not a number"},
        {{"renorm", "series.s2p", "o.s2p", "--z", "5+3"}, 2, "'5+3' is not a number"},
        {{"renorm", "series.s2p", "o.s2p", "--z", "1,2,3"}, 1, "3 references for 2 rows"},
        {{"renorm", "series.s2p", "o.s2p", "--z", "50,0"}, 2, "--z: '50,0' holds a reference of 0 ohm"},
        {{"renorm", "series.s2p", "o.s2p"}, 2, "--z is required"},
        {{"conver", "series.s2p", "o.s2p"}, 2, "kelda net: unknown command conver; did you mean convert?"},
        {{}, 2, "kelda net: a command is required: info, convert, renorm, deembed, at, sweep, plot\n"},
        {{"deembed", "series.s2p", "o.s2p"}, 2, "--delay"},
        {{"deembed", "series.s2p", "o.s2p", "--delay", "1ps", "--distance", "1mm"}, 2, "--delay"},
        {{"deembed", "series.s2p", "o.s2p", "--delay", "1mm"}, 2, "'1mm' is not a number in s"},
        {{"at", "series.s2p", "--freq", "1:2"}, 2, "'1:2' is not START:STOP:COUNT"},
        {{"at", "series.s2p", "--freq", "1:2:99999999"}, 2, "START:STOP:COUNT"},
        {{"at", "series.s2p", "--freq", "-1"}, 2, "from 0 on"},
        {{"at", "series.s2p", "--freq", "nan"}, 2, "'nan' is not a number in Hz"},
        {{"convert", "series.s2p", "o.s3p"}, 1, "o.s3p"},
        {{"convert", "series.s2p", "no/such/o.s2p"}, 1, "No such file"},
        {{"convert", "missing.s2p", "o.s2p"}, 1, "kelda: missing.s2p: No such file or directory\n"},
        {{"convert", "through.s2p", "o.s2p", "--param", "y"}, 1, "there is no Y at"},
        {{"convert", "series.s2p", "o.s2p", "--param", "h"}, 2, "--param"},
        {{"sweep", "series.s2p", "-o", "o.sol"}, 2, "--tolerance is required"},
        {{"sweep", "series.s2p", "--tolerance", "-1"}, 2, "--tolerance: '-1' is not above 0"},
        {{"sweep", "series.s2p", "--tolerance", "few"}, 2, "--tolerance: 'few' is not a number"},
        {{"sweep", "series.s2p", "--tolerance", "1", "-o", "o.s2p"},
         2,
         "'o.s2p' doesn't end in .sol or .solb"},
        {{"plot", "series.s2p", "-o", "o.jpg"}, 2, "'o.jpg' doesn't end in"},
        {{"plot", "series.s2p", "--entry", "2"}, 2, "'2' is not an entry"},
        {{"plot", "series.s2p", "--entry", "21,31"}, 1, "series.s2p: there is no entry (3,1) in 2 rows"},
        {{"plot", "missing.s2p"}, 1, "kelda: missing.s2p: No such file or directory\n"},
    };
    for (const auto& c : cases) {
        const auto result = Net(c.arguments);
        EXPECT_EQ(result.status, c.status) << c.text;
        EXPECT_NE(result.err.find(c.text), std::string::npos) << result.err;
        EXPECT_FALSE(Exists("o.s2p"));
    }
}

} // namespace
