// Jobs in an engine with the real kernel: many of them, and ones with a client's sweeps.

#include <client/kelda_client.h>

#include <engine/test/recorder.h>

#include <stringutils/astring.h>
#include <testtools/process.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>
#include <numbers>
#include <sstream>

namespace {

struct RealKernelTest : testtools::FolderTest {
    RealKernelTest() : FolderTest("tarvok_jobs") {}

    void Run(const std::string& netlist, IKeldaSolutionInterface* data = nullptr) {
        Write("t.cir", netlist);
        const auto client = Recorder::New();
        std::int32_t job = 0;
        ASSERT_EQ(engine->StartAnalysis(client.Get(), data,
                                        platform::UniqueBstr(AString((m_Folder / "t.cir").string())).Get(),
                                        platform::UniqueBstr(AString(m_Folder.string())).Get(), &job),
                  S_OK);
        ASSERT_TRUE(client->WaitDone());
        ASSERT_EQ(client->Calls().back(), "done 0") << testing::PrintToString(client->Calls());
    }

    platform::InterfacePtr<IKeldaEngine> engine =
        kelda::ActivateEngine({.server = REAL_SERVER, .onLost = {}});
};

// The resident memory of the one engine that this process has started, in bytes.
long EngineMemory() {
    long total = 0, resident = 0;
    for (pid_t engine : testtools::Children(getpid()))
        std::ifstream("/proc/" + std::to_string(engine) + "/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

TEST_F(RealKernelTest, TwoHundredJobsInOneEngineLeaveItsMemoryAlone) {
    const auto run = [&] {
        Run("RC\nV1 in 0 dc 0 ac 1 pulse(0 1 0 1u 1u 1m 2m)\nR1 in out 1k\nC1 out 0 100n\n"
            ".op\n.ac dec 10 1 100k\n.tran 1u 200u\n.end\n");
    };
    // The first jobs fill pools and caches. On a busy machine one job's thread may still be there when the next has
    // begun, and the pools then grow once more at any time: that is no loss, so the worst of the four parts is
    // set aside.
    constexpr int kParts = 4;
    constexpr int kJobs = 50; // of a part
    for (int i = 0; i < 5; ++i)
        run();
    std::vector<long> perJob;
    long before = EngineMemory();
    ASSERT_GT(before, 0);
    for (int part = 0; part < kParts; ++part) {
        for (int i = 0; i < kJobs; ++i)
            run();
        const long now = EngineMemory();
        perJob.push_back((now - before) / kJobs);
        before = now;
    }
    std::ranges::sort(perJob);
    const long typical = (perJob[0] + perJob[1] + perJob[2]) / 3;
    RecordProperty("bytes_per_job", std::to_string(typical));
    EXPECT_LT(typical, 5000);
}

// A coil and a resistor in series, and a capacitor beside them [ohm].
std::complex<double> Load(double frequency) {
    const std::complex<double> s(0, 2 * std::numbers::pi * frequency);
    const std::complex<double> coil = 30.0 + s * 20e-9;
    return coil / (1.0 + coil * s * 2e-12);
}

constexpr double kStoredOhms = 75;

// The load as a field solver's sweep with its fit, at references of 75 ohm.
std::string Sweep(const char* type, const std::string& ofPoint, const char* ofSolution) {
    constexpr int kSamples = 9;
    constexpr double kStep = 250e6;
    std::ostringstream text;
    text.precision(17);
    text << "$begin 'SolutionData'\nObjectType='" << type
         << "'\n$begin 'Ports'\nPort(PortName='P')\n$end 'Ports'\n$begin 'Frequencies'\n";
    for (int i = 0; i < kSamples; ++i) {
        const std::complex<double> z = Load(i * kStep), s = (z - kStoredOhms) / (z + kStoredOhms);
        text << "$begin 'DataPoint'\nFrequency=" << i * kStep
             << "\n$begin 'SMatrix'\nm=1 n=1\n$begin 'r0'\nc(" << s.real() << ", " << s.imag()
             << ")\n$end 'r0'\n$end 'SMatrix'\n"
             << ofPoint << "$end 'DataPoint'\n";
    }
    text
        << "$end 'Frequencies'\n"
        << ofSolution
        << "$begin 'InterpolationBasis'\nErrorTolerance=1e-06\nMaxBasisSize=9\nBasisSize=9\nLowSampleFreq=0\n"
           "HighSampleFreq=2e9\nNumSamples=101\nLastBasisFreq=0\n$end 'InterpolationBasis'\n$end "
           "'SolutionData'\n";
    return text.str();
}

struct Data final : kelda::SolutionInterface {
    HRESULT GetFieldSolverData(BSTR, BSTR, BSTR, BSTR, BSTR, BSTR, BSTR* netwData, std::int32_t*) override {
        *netwData = platform::UniqueBstr(AString(reply)).Release();
        return S_OK;
    }
    std::string reply;
};

TEST_F(RealKernelTest, AFieldSolversSweepActsAsTheLoadThatItWasMadeOf) {
    struct Row {
        const char* what;
        std::string reply;
    };
    const auto one = [](const std::string& name, const char* size, const char* value) {
        return "$begin '" + name + "'\n" + size + "\n$begin 'r0'\nc(" + value + ", 0)\n$end 'r0'\n$end '" +
               name + "'\n";
    };
    const Row rows[] = {
        {"modal", Sweep("ZephModal", one("Zpi", "n=1", "75"), "")},
        {"terminal", Sweep("ZephTerminal", one("TMatrix", "m=1 n=1", "1") + one("PMatrix", "m=1 n=1", "1"),
                           "PortModes(1)\nPortTerminals('t')\nReferenceImpedance(75, 0)\n")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto data = platform::InterfacePtr<Data>::Adopt(new Data);
        data->reply = row.reply;
        Run("divider\nV1 in 0 dc 1 ac 1\nR1 in a 100\n*% nport N1 a 0 design=load\n"
            ".save v(a)\n.op\n.ac lin 12 10meg 1.9g\n",
            data.Get());
        std::ifstream op(m_Folder / "t.op.csv"), ac(m_Folder / "t.ac.csv");
        std::string line;
        double direct = 0;
        ASSERT_TRUE(std::getline(op, line) && op >> direct);
        EXPECT_NEAR(direct, 30.0 / 130.0, 1e-9);
        std::getline(ac, line);
        int lines = 0;
        double frequency = 0, decibels = 0, degrees = 0;
        while (std::getline(ac, line) &&
               std::sscanf(line.c_str(), "%lf,%lf,%lf", &frequency, &decibels, &degrees) == 3) {
            const std::complex<double> expected = Load(frequency) / (Load(frequency) + 100.0);
            EXPECT_LT(std::abs(std::polar(std::pow(10, decibels / 20), degrees * std::numbers::pi / 180) -
                               expected),
                      1e-6)
                << line;
            ++lines;
        }
        EXPECT_EQ(lines, 12);
    }
}

} // namespace
