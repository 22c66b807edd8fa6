// The examples, held against what physics says of them.
#include "kernel_fixture.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace {

using std::numbers::pi;
using Complex = std::complex<double>;

class Physics : public KernelTest {};

// The value of `y` where `x` passes `at`, on a straight line between points.
double value_at(const std::vector<double>& x, const std::vector<double>& y, double at) {
    for (std::size_t i = 1; i < x.size(); ++i)
        if ((x[i - 1] <= at) != (x[i] <= at))
            return y[i - 1] + (y[i] - y[i - 1]) * (at - x[i - 1]) / (x[i] - x[i - 1]);
    throw std::runtime_error("no point there");
}

struct Touchstone {
    explicit Touchstone(const std::filesystem::path& path, std::size_t ports) {
        std::ifstream file(path);
        std::string line;
        std::stringstream numbers;
        while (std::getline(file, line)) {
            if (line.starts_with('#'))
                options = line;
            else if (!line.starts_with('!'))
                numbers << line << '\n';
        }
        for (double value = 0; numbers >> value;) {
            frequencies.push_back(value);
            std::vector<Complex>& matrix = matrices.emplace_back();
            for (std::size_t i = 0; i < ports * ports; ++i) {
                double re = 0, im = 0;
                numbers >> re >> im;
                matrix.emplace_back(re, im);
            }
        }
    }
    std::string options;
    std::vector<double> frequencies;
    std::vector<std::vector<Complex>> matrices; // row after row
};

// The smallest pivot of I - S^H S: no network without a source gives back more than it takes.
double least_loss(const std::vector<Complex>& s, std::size_t n) {
    std::vector<Complex> a(n * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            a[i * n + j] = i == j;
            for (std::size_t k = 0; k < n; ++k)
                a[i * n + j] -= std::conj(s[k * n + i]) * s[k * n + j];
        }
    double least = HUGE_VAL;
    for (std::size_t p = 0; p < n; ++p) {
        const double pivot = a[p * n + p].real();
        least = std::min(least, pivot);
        if (std::abs(pivot) < 1e-12)
            continue;
        for (std::size_t i = p + 1; i < n; ++i)
            for (std::size_t j = p + 1; j < n; ++j)
                a[i * n + j] -= a[i * n + p] * a[p * n + j] / pivot;
    }
    return least;
}

TEST_F(Physics, AnRcLowpassFollowsItsFormulaAtEveryFrequency) {
    ASSERT_EQ(CKT_GOOD, run_example("rc_lowpass")) << all_told();
    const Table ac = table("rc_lowpass.ac.csv");
    const auto& frequency = ac["frequency [Hz]"];
    ASSERT_EQ(101u, frequency.size());
    for (std::size_t i = 0; i < frequency.size(); ++i) {
        const Complex h = 1.0 / Complex(1, 2 * pi * frequency[i] * 1e3 * 100e-9);
        EXPECT_NEAR(20 * std::log10(std::abs(h)), ac["v(out) [dBV]"][i], 1e-9) << frequency[i];
        EXPECT_NEAR(std::arg(h) * 180 / pi, ac["v(out) [deg]"][i], 1e-9) << frequency[i];
    }
}

TEST_F(Physics, AButterworthLadderHasItsCornerAndItsSlope) {
    ASSERT_EQ(CKT_GOOD, run_example("lc_filter")) << all_told();
    const Table ac = table("lc_filter.ac.csv");
    const auto& frequency = ac["frequency [Hz]"];
    const auto& gain = ac["v(out) [dBV]"];
    const double passband = gain.front();
    // The coils' loss, 16 milliohm a microhenry and MHz, takes a little from a half.
    EXPECT_NEAR(20 * std::log10(0.5), passband, 0.1);
    EXPECT_NEAR(10e6, value_at(gain, frequency, passband - 3.0103), 0.03 * 10e6);
    EXPECT_NEAR(-100, value_at(frequency, gain, 0.999e9) - value_at(frequency, gain, 0.0999e9), 0.5);
}

TEST_F(Physics, AnAmplifierIsTheSameInEveryAnalysis) {
    ASSERT_EQ(CKT_GOOD, run_example("amplifier")) << all_told();

    const Table op = table("amplifier.op.csv");
    const auto node = [&](const char* name) { return op[std::string("v(") + name + ") [V]"].front(); };
    const double collector = (12 - node("coll")) / 4.7e3, emitter = node("emit") / 900;
    const double base = (12 - node("base")) / 82e3 - node("base") / 15e3;
    EXPECT_NEAR(emitter, collector + base, 1e-6 * emitter) << "a transistor's currents sum up to none";
    EXPECT_GT(collector / base, 50);
    EXPECT_NEAR(0.65, node("base") - node("emit"), 0.05);

    // The amplifier's formula, with the transistor's own emitter resistance of 26 mV / I.
    const Table ac = table("amplifier.ac.csv");
    const double gain =
        std::pow(10, value_at(ac["frequency [Hz]"], ac["v(out) [dBV]"], 1e3 * (1 + 1e-9)) / 20);
    const double degeneration = 220 + 0.0259 / collector, load = 1 / (1 / 4.7e3 + 1 / 47e3);
    const double beta = collector / base;
    const double input = 1 / (1 / 82e3 + 1 / 15e3 + 1 / (beta * degeneration));
    EXPECT_NEAR(load / degeneration * input / (input + 600), gain, 0.05 * gain);

    const Table tran = table("amplifier.tran.csv");
    double low = HUGE_VAL, high = -HUGE_VAL;
    for (std::size_t i = 0; i < tran["time [s]"].size(); ++i)
        if (tran["time [s]"][i] > 3e-3) {
            low = std::min(low, tran["v(out) [V]"][i]);
            high = std::max(high, tran["v(out) [V]"][i]);
        }
    EXPECT_NEAR(gain, (high - low) / 20e-3, 0.01 * gain);

    // The source's 600 ohm alone make 4kTR at the input; biasing and transistor add to it.
    const Table noise = table("amplifier.noise.csv");
    const double at_1k = value_at(noise["frequency [Hz]"], noise["inoise_spectrum [V/sqrt(Hz)]"], 1001);
    const double source = std::sqrt(4 * 1.380649e-23 * 300.15 * 600);
    EXPECT_GT(at_1k, source);
    EXPECT_LT(at_1k, 2 * source);
}

TEST_F(Physics, AConverterGivesOutTheEnergyThatItTakesIn) {
    ASSERT_EQ(CKT_GOOD, run_example("buck")) << all_told();
    const Table tran = table("buck.tran.csv");
    const auto& time = tran["time [s]"];
    const auto column = [&](const char* name) -> const std::vector<double>& { return tran[name]; };
    const auto &in = column("v(in) [V]"), &sw = column("v(sw) [V]"), &gate = column("v(gate) [V]"),
               &drive = column("v(drive) [V]"), &out = column("v(out) [V]"), &plate = column("v(plate) [V]"),
               &supply = column("i(vin) [A]"), &driver = column("i(vdrive) [A]"), &coil = column("i(l1) [A]");

    // Over the last 25 of its periods of 4 microseconds.
    std::size_t begin = 0;
    while (time[begin] < 500e-6)
        ++begin;
    const std::size_t end = time.size() - 1;
    const double duration = time[end] - time[begin];
    EXPECT_NEAR(100e-6, duration, 0.1e-6);
    const auto mean = [&](auto power) {
        double energy = 0;
        for (std::size_t i = begin; i < end; ++i)
            energy += (power(i) + power(i + 1)) / 2 * (time[i + 1] - time[i]);
        return energy / duration;
    };
    const double taken = mean([&](std::size_t i) { return -in[i] * supply[i]; }) +
                         mean([&](std::size_t i) { return -(drive[i] - sw[i]) * driver[i]; });
    const double load = mean([&](std::size_t i) { return out[i] * out[i] / 2.5; });
    const double transistor = mean([&](std::size_t i) { return -(in[i] - sw[i]) * supply[i]; }) +
                              mean([&](std::size_t i) { return -(gate[i] - sw[i]) * driver[i]; });
    const double gate_resistor = mean([&](std::size_t i) { return 5 * driver[i] * driver[i]; });
    const double diode = mean([&](std::size_t i) { return -sw[i] * (coil[i] + supply[i]); });
    const double coil_loss = mean([&](std::size_t i) { return 25e-3 * coil[i] * coil[i]; });
    const double capacitor_loss = mean([&](std::size_t i) { return plate[i] * plate[i] / 12e-3; });
    const auto stored = [&](std::size_t i) {
        return 22e-6 / 2 * coil[i] * coil[i] + 22e-6 / 2 * std::pow(out[i] - plate[i], 2);
    };
    const double growth = (stored(end) - stored(begin)) / duration;

    EXPECT_NEAR(taken, load + transistor + gate_resistor + diode + coil_loss + capacitor_loss + growth,
                1e-3 * taken);
    for (const double loss : {transistor, gate_resistor, diode, coil_loss, capacitor_loss})
        EXPECT_GT(loss, 0);
    const double voltage = mean([&](std::size_t i) { return out[i]; });
    EXPECT_NEAR(5, voltage, 0.1);
    EXPECT_GT(load / taken, 0.90);
    EXPECT_LT(load / taken, 0.98);
    // No mean voltage stays at a coil, and no mean current flows into a capacitor.
    EXPECT_NEAR(mean([&](std::size_t i) { return sw[i] - 25e-3 * coil[i]; }), voltage, 0.01 * voltage);
    EXPECT_NEAR(mean([&](std::size_t i) { return coil[i]; }), voltage / 2.5, 0.01 * voltage);
}

TEST_F(Physics, AThreePortIsReciprocalPassiveAndDividesByTwo) {
    ASSERT_EQ(CKT_GOOD, run_example("three_port")) << all_told();
    const Touchstone data(folder / "three_port.s3p", 3);
    EXPECT_EQ("# Hz S RI R 50", data.options);
    ASSERT_EQ(151u, data.frequencies.size());
    const Table csv = table("three_port.sp.csv");
    for (std::size_t f = 0; f < data.frequencies.size(); ++f) {
        SCOPED_TRACE(data.frequencies[f]);
        const std::vector<Complex>& s = data.matrices[f];
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column) {
                EXPECT_LT(std::abs(s[row * 3 + column] - s[column * 3 + row]), 1e-12);
                const std::string name =
                    "S_" + std::to_string(row + 1) + '_' + std::to_string(column + 1) + " [dB]";
                const double size = std::pow(10, csv[name][f] / 20);
                EXPECT_NEAR(size, std::abs(s[row * 3 + column]), 1e-12) << name;
            }
        EXPECT_GT(least_loss(s, 3), -1e-9);
    }
    const std::size_t center = 50;
    ASSERT_DOUBLE_EQ(1e9, data.frequencies[center]);
    const std::vector<Complex>& s = data.matrices[center];
    for (const std::size_t matched_or_isolated : {0, 4, 8, 5, 7})
        EXPECT_LT(std::abs(s[matched_or_isolated]), 1e-6) << matched_or_isolated;
    EXPECT_NEAR(std::sqrt(0.5), std::abs(s[3]), 1e-6);
    EXPECT_NEAR(-90, std::arg(s[3]) * 180 / pi, 1e-4);
}

TEST_F(Physics, PortsOfUnequalImpedanceKeepTheirReferences) {
    // A series resistor between 50 and 75 ohm: S11 = (R + z2 - z1) / (R + z1 + z2) and its like.
    ASSERT_EQ(CKT_GOOD, run_text("two references\n"
                                 "V1 a 0 dc 0 ac 1 portnum 1 z0 50\n"
                                 "V2 b 0 dc 0 ac 0 portnum 2 z0 75\n"
                                 "R1 a b 100\n"
                                 ".sp lin 3 1k 3k\n"))
        << all_told();
    std::ifstream file(folder / "t.s2p");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const char* words : {"[Version] 2.0", "[Number of Ports] 2", "[Two-Port Data Order] 21_12",
                              "[Number of Frequencies] 3", "[Reference] 50 75", "[Network Data]\n1000 "})
        EXPECT_NE(std::string::npos, text.find(words)) << words << " is missing in\n" << text;
    std::istringstream numbers(text.substr(text.find("[Network Data]") + 15));
    double f = 0, s11 = 0, i11 = 0, s21 = 0, i21 = 0, s12 = 0, i12 = 0, s22 = 0;
    numbers >> f >> s11 >> i11 >> s21 >> i21 >> s12 >> i12 >> s22;
    EXPECT_NEAR(125.0 / 225, s11, 1e-12);
    EXPECT_NEAR(75.0 / 225, s22, 1e-12);
    EXPECT_NEAR(2 * std::sqrt(50.0 * 75) / 225, s21, 1e-12);
    EXPECT_NEAR(s21, s12, 1e-12);
}

TEST_F(Physics, ASinglePortHasItsReflection) {
    ASSERT_EQ(CKT_GOOD, run_text("one port\n"
                                 "V1 a 0 dc 0 ac 1 portnum 1 z0 50\n"
                                 "R1 a b 25\nL1 b 0 1u\n"
                                 ".sp lin 5 1meg 5meg\n"))
        << all_told();
    const Touchstone data(folder / "t.s1p", 1);
    ASSERT_EQ(5u, data.frequencies.size());
    for (std::size_t f = 0; f < 5; ++f) {
        const Complex z(25, 2 * pi * data.frequencies[f] * 1e-6);
        EXPECT_LT(std::abs((z - 50.0) / (z + 50.0) - data.matrices[f][0]), 1e-9);
    }
    const Table csv = table("t.sp.csv");
    for (const std::string& heading : csv.headings())
        for (const char* other : {"_2", "second"})
            EXPECT_EQ(std::string::npos, heading.find(other)) << heading << ": there is no other port";
}

TEST_F(Physics, AResistorMakesThermalNoise) {
    ASSERT_EQ(CKT_GOOD, run_text("noise of one kilohm\n"
                                 "V1 a 0 dc 0 ac 1\n"
                                 "R1 a b 1k\n"
                                 ".noise v(b) V1 dec 5 10 1meg\n"))
        << all_told();
    const double density = std::sqrt(4 * 1.380649e-23 * 300.15 * 1e3); // at 27 degrees
    const Table noise = table("t.noise.csv");
    ASSERT_EQ(26u, noise["frequency [Hz]"].size());
    for (const double value : noise["onoise_spectrum [V/sqrt(Hz)]"])
        EXPECT_NEAR(density, value, 1e-4 * density);
    EXPECT_NEAR(density * std::sqrt(1e6 - 10), table("t.noise_total.csv")["onoise_total [V]"].front(),
                1e-4 * density * 1e3);
}

} // namespace
