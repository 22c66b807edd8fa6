// Lock step with a client's simulator: a host gives samples and writes down every question and every step.
#include "kernel_fixture.h"

#include <fmt/format.h>

#include <cmath>
#include <functional>
#include <string_view>
#include <utility>

namespace {

// The host's side of the exchange. Between two samples a source is a straight line; sample k is reached at the end of step
// k, and the first one holds from the start.
struct Host {
    double step = 0;
    std::vector<std::vector<double>> samples;                  // for each source
    std::vector<std::vector<std::pair<double, double>>> ports; // for each port, a pair for each step
    std::vector<double> times;                                 // of the steps' ends, as port 0 was told
    std::vector<std::string> faults;                           // breaches of the lock step
    std::size_t questions = 0;
    int source_result = 0, port_result = 0, flush_result = 0; // from step `failing_step` on
    std::size_t failing_step = 0;
    std::size_t flushed = 0;
    std::size_t ports_in_step = 0;
    std::vector<double> asked; // the latest time of each source
    bool failed = false;

    int answer(int result) {
        if (failed)
            faults.push_back("called after a failure");
        failed = result != 0 && flushed >= failing_step;
        return failed ? result : 0;
    }

    int source(const char* name, double time, double* value, double* slope) {
        const auto i = static_cast<std::size_t>(std::atoi(name));
        const double begin = static_cast<double>(flushed) * step;
        ++questions;
        if (time < begin * (1 - 1e-12) || time > (begin + step) * (1 + 1e-12))
            faults.push_back(fmt::format("source {} at {} in step {}", name, time, flushed));
        asked.resize(samples.size(), -1);
        if (asked[i] == time)
            faults.push_back(fmt::format("source {} asked again at {}", name, time));
        asked[i] = time;
        if (flushed >= samples[i].size()) {
            faults.push_back(fmt::format("source {} at {}, behind its samples", name, time));
            return 2;
        }
        const double s1 = samples[i][flushed], s0 = flushed == 0 ? s1 : samples[i][flushed - 1];
        *slope = (s1 - s0) / step;
        *value = *slope * (time - begin) + s0;
        return answer(source_result);
    }

    int port(const char* name, double time, double first, double second) {
        const auto p = static_cast<std::size_t>(std::atoi(name));
        if (p != ports_in_step++)
            faults.push_back(fmt::format("port {} out of order in step {}", name, flushed));
        ports.resize(std::max(ports.size(), p + 1));
        ports[p].emplace_back(first, second);
        if (p == 0)
            times.push_back(time);
        return answer(port_result);
    }

    int flush() {
        if (ports_in_step != ports.size())
            faults.push_back(fmt::format("{} ports in step {}", ports_in_step, flushed));
        ports_in_step = 0;
        ++flushed;
        return answer(flush_result);
    }
};

class Cosim : public KernelTest {
protected:
    Cosim() {
        host() = {};
        set_cosim_call_back("SystemCosimSource",
                            call_back<ckt_cosim_source_call_back>(
                                [](const char* name, double time, double* value, double* slope) {
                                    return host().source(name, time, value, slope);
                                }));
        set_cosim_call_back("SystemCosimPort",
                            call_back<ckt_cosim_port_call_back>(
                                [](const char* name, double time, double first, double second) {
                                    return host().port(name, time, first, second);
                                }));
        set_cosim_call_back("SystemCosimPortFlush",
                            call_back<ckt_cosim_port_flush_call_back>([] { return host().flush(); }));
    }

    static Host& host() {
        static Host the_host;
        return the_host;
    }

    // A source's samples from a function of time: one for each step's end.
    static std::vector<double> sampled(double step, int steps, const std::function<double(double)>& wave) {
        std::vector<double> samples;
        for (int k = 1; k <= steps; ++k)
            samples.push_back(wave(k * step));
        return samples;
    }

    // The same source as a waveform of the netlist.
    static std::string waveform(double step, const std::vector<double>& samples) {
        std::string text = fmt::format("pwl(0 {}", samples.front());
        for (std::size_t k = 0; k < samples.size(); ++k)
            text += fmt::format("\n+ {} {}", static_cast<double>(k + 1) * step, samples[k]);
        return text + ')';
    }

    static void expect_lock_step(std::size_t steps) {
        EXPECT_EQ(steps, host().flushed);
        EXPECT_TRUE(host().faults.empty())
            << host().faults.size() << " faults, the first: " << host().faults[0];
        for (std::size_t k = 0; k < host().times.size(); ++k)
            EXPECT_NEAR(static_cast<double>(k + 1), host().times[k] / host().step, 1e-6);
    }

private:
    template <class Type>
    static void* call_back(Type function) {
        return reinterpret_cast<void*>(function);
    }
};

double at(const std::vector<double>& times, const std::vector<double>& values, double time) {
    const auto above = std::lower_bound(times.begin(), times.end(), time);
    if (above == times.begin())
        return values.front();
    if (above == times.end())
        return values.back();
    const auto i = static_cast<std::size_t>(above - times.begin());
    const double share = (time - times[i - 1]) / (times[i] - times[i - 1]);
    return values[i - 1] + share * (values[i] - values[i - 1]);
}

struct Circuit {
    const char* what;
    const char* lines;  // of all but the driven source
    const char* device; // the driven source without its value
    const char* output;
    const char* column; // of the output in the result file
    double step;        // [s]
    int steps;
    double amplitude, frequency, tolerance; // the last one of the output
};

void PrintTo(const Circuit& circuit, std::ostream* out) {
    *out << circuit.what;
}

class CosimCircuit : public Cosim, public testing::WithParamInterface<Circuit> {};

TEST_P(CosimCircuit, GivesAtEverySampleWhatAPiecewiseLinearSourceGives) {
    const Circuit& circuit = GetParam();
    const double end = circuit.step * circuit.steps;
    const auto samples = sampled(circuit.step, circuit.steps, [&](double t) {
        return circuit.amplitude * std::sin(2 * M_PI * circuit.frequency * t);
    });
    const auto netlist = [&](const std::string& value, const std::string& more) {
        return fmt::format("title\n{} {}\n{}{}.tran {} {}\n.save {}\n.option reltol=1e-5\n.end\n",
                           circuit.device, value, circuit.lines, more, circuit.step, end, circuit.output);
    };
    ASSERT_EQ(CKT_GOOD, run_text(netlist(waveform(circuit.step, samples), ""))) << all_told();
    const Table reference = table("t.tran.csv");

    host().step = circuit.step;
    host().samples = {samples};
    const std::string lines =
        fmt::format("*% cosim source 0 {}in\n*% cosim port 0 {}\n", circuit.device[0], circuit.output);
    ASSERT_EQ(CKT_GOOD, run_text(netlist("0", lines))) << all_told();
    expect_lock_step(samples.size());
    EXPECT_EQ(1.0, told().progress.back());

    const Table driven = table("t.tran.csv");
    ASSERT_EQ(samples.size(), host().ports[0].size());
    for (std::size_t k = 0; k < samples.size(); ++k) {
        const double time = static_cast<double>(k + 1) * circuit.step;
        EXPECT_NEAR(at(reference["time [s]"], reference[circuit.column], time), host().ports[0][k].first,
                    circuit.tolerance)
            << "at sample " << k;
        EXPECT_NEAR(at(driven["time [s]"], driven[circuit.column], time), host().ports[0][k].first,
                    1e-3 * circuit.tolerance)
            << "the result file at sample " << k;
        EXPECT_EQ(0, host().ports[0][k].second);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Circuits, CosimCircuit,
    testing::Values(
        Circuit{"low-pass of numbered nodes", "R1 1 2 1k\nC1 2 0 1n\n", "Vin 1 0", "v(2)", "v(2) [V]", 50e-9,
                400, 1, 100e3, 3e-4},
        Circuit{"current source", "R1 in out 1k\nR2 in 0 1k\nC1 out 0 1n\n", "Iin 0 in", "v(out)",
                "v(out) [V]", 50e-9, 400, 1e-3, 100e3, 3e-4},
        Circuit{"rectifier", "D1 in out d\nR1 out 0 10k\nC1 out 0 10n\n.model d d(is=1f rs=1 cjo=2p tt=5n)\n",
                "Vin in 0", "v(out)", "v(out) [V]", 500e-9, 400, 5, 10e3, 3e-4},
        Circuit{
            "MOS inverter",
            "Vdd vdd 0 1.8\nM1 out in 0 0 n l=180n w=1u\nM2 out in vdd vdd p l=180n w=2.5u\nC1 out 0 20f\n"
            ".model n nmos(level=14 version=4.8.1 toxe=4n vth0=0.45)\n"
            ".model p pmos(level=14 version=4.8.1 toxe=4n vth0=-0.45)\n",
            "Vin in 0", "v(out)", "v(out) [V]", 20e-12, 500, 1.8, 200e6, 5e-3},
        Circuit{"stiff",
                "R1 in a 1\nC1 a 0 1p\nR2 a b 1k\nC2 b 0 1n\nR3 b out 100k\nC3 out 0 1n\nD1 b 0 d\n"
                ".model d d(is=1p cjo=1p)\n",
                "Vin in 0", "v(b)", "v(b) [V]", 200e-9, 300, 3, 50e3, 1e-3},
        Circuit{"current of a resonance", "L1 in a 1u\nR1 a out 5\nC1 out 0 1n\n", "Vin in 0", "i(l1)",
                "i(l1) [A]", 10e-9, 500, 1, 1e6, 1.5e-4}));

const std::string low_pass =
    "title\nVin in 0 dc 2 ac 1\nR1 in out 1k\nC1 out 0 1n\nVsense out end 0\nR2 end 0 1k\n";
const std::string ports =
    "*% cosim source 0 Vin\n*% cosim port 0 v(in,out) i(Vsense)\n*% cosim port 1 v(out)\n";

class CosimJob : public Cosim {
protected:
    // A ramp, one sample a step.
    void give_ramp(double step, int steps) {
        host() = {};
        host().step = step;
        host().samples = {sampled(step, steps, [&](double t) { return t / (step * steps); })};
    }
};

TEST_F(CosimJob, EveryStepIsHandedInOnceAndInOrderHoweverTheStepsLie) {
    struct Row {
        const char* lines;
        double step;
        int steps;
        double last_end; // of the last step, in steps
    };
    const Row rows[] = {
        {".tran 10n 1u\n", 10e-9, 100, 100},
        {"*% cosim step 1n\n.tran 10n 1u\n", 1e-9, 1000, 1000},
        {"*% cosim step 250ns ; four of them\n.tran 10n 1u\n", 250e-9, 4, 4},
        {"*% COSIM STEP 1u\n.tran 10n 1u\n", 1e-6, 1, 1},
        {"*% cosim step 5u\n.tran 10n 1u\n", 5e-6, 1, 0.2},
        {"*% cosim step 30n\n.tran 10n 1u\n", 30e-9, 34, 1000.0 / 30},
        {".tran 10n 1u uic\n", 10e-9, 100, 100},
        {".option interp reltol=1e-4\n.tran 10n 1u\n", 10e-9, 100, 100},
        {"V9 x 0 pulse(0 1 3n 1p 1p 7n 33n)\nC9 x y 1p\nR9 y 0 1\n.tran 10n 1u\n", 10e-9, 100, 100},
        {"V9 x 0 1\nA1 [x] [d] adc\nA2 [d] [y] dac\nR9 y 0 1k\n.model adc adc_bridge(in_low=0.4 "
         "in_high=0.6)\n"
         ".model dac dac_bridge(out_low=0 out_high=1 t_rise=1n t_fall=1n)\n.tran 10n 1u\n",
         10e-9, 100, 100},
    };
    for (const Row& row : rows) {
        give_ramp(row.step, row.steps);
        ASSERT_EQ(CKT_GOOD, run_text(low_pass + ports + row.lines)) << row.lines << all_told();
        EXPECT_EQ(static_cast<std::size_t>(row.steps), host().flushed) << row.lines;
        EXPECT_TRUE(host().faults.empty()) << row.lines << host().faults.front();
        ASSERT_EQ(2u, host().ports.size()) << row.lines;
        EXPECT_NEAR(row.last_end, host().times.back() / row.step, 1e-6) << row.lines;
        EXPECT_TRUE(says(CKT_INFORMATION,
                         fmt::format("co-simulation: {} step{} of {} s to 1e-06 s, 1 source, 2 ports",
                                     row.steps, row.steps == 1 ? "" : "s", row.step)))
            << all_told();
        for (std::size_t k = 0; k < host().flushed; ++k) {
            const auto& [drop, current] = host().ports[0][k];
            const double out = host().ports[1][k].first;
            EXPECT_NEAR(out / 1000, current, 1e-9) << row.lines;
            if (k + 1 < host().flushed) {
                EXPECT_NEAR(host().samples[0][k], drop + out, 1e-6) << row.lines;
            }
        }
    }
    EXPECT_GE(host().questions, host().flushed);
}

TEST_F(CosimJob, AllOtherAnalysesHaveTheSourcesOwnValuesAndAskNobody) {
    // Written so that each part has to be found: a waveform of its own, a continued line, a comment at its end.
    const std::string netlist =
        "title\nVin in 0 pulse(1 5 0 1n 1n\n+ 1u 2u) ac 1 ; driven\nR1 in out 1k\nC1 out 0 1n\n";
    constexpr std::string_view analyses = ".op\n.ac lin 1 1k 1k\n{}.dc Vin 0 3 1\n.op\n";
    ASSERT_EQ(CKT_GOOD, run_text(netlist + fmt::format(analyses, ""))) << all_told();
    std::map<std::string, std::string> plain;
    const auto contents = [&](const std::string& name) {
        std::ifstream file(folder / name);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    for (const char* name : {"t.op.csv", "t.ac.csv", "t.dc.csv", "t.op2.csv"})
        plain[name] = contents(name);

    give_ramp(10e-9, 100);
    write("lines.inc", "*% cosim source 0 vin\n*% cosim port 0 v(out)\n");
    ASSERT_EQ(CKT_GOOD, run_text(netlist + ".include lines.inc\n" + fmt::format(analyses, ".tran 10n 1u\n")))
        << all_told();
    expect_lock_step(100);
    for (const auto& [name, text] : plain)
        EXPECT_EQ(text, contents(name)) << name;
    EXPECT_NEAR(1, table("t.tran.csv")["v(in) [V]"].back(), 1e-6) << "the ramp's end";
    for (const Message& message : told().messages)
        EXPECT_EQ(CKT_INFORMATION, message.code) << message.text;
}

TEST_F(CosimJob, TheResultsHoldWhatTheNetlistAsksForAndNothingElse) {
    give_ramp(10e-9, 100);
    ASSERT_EQ(CKT_GOOD, run_text(low_pass + ports + ".save v(in)\n.tran 10n 1u 500n\n")) << all_told();
    expect_lock_step(100);
    const Table kept = table("t.tran.csv");
    EXPECT_EQ((std::vector<std::string>{"time [s]", "v(in) [V]"}), kept.headings());
    EXPECT_NEAR(500e-9, kept["time [s]"].front(), 10e-9);
    EXPECT_GE(kept["time [s]"].front(), 500e-9 * (1 - 1e-9));
    EXPECT_NEAR(kept["time [s]"].front() / 1e-6, kept["v(in) [V]"].front(), 1e-6);
    EXPECT_EQ((std::vector<std::string>{"t.raw", "t.tran.csv"}), results());

    give_ramp(10e-9, 100);
    ASSERT_EQ(CKT_GOOD, run_text(low_pass + ports + ".save all\n.tran 10n 1u\n.meas tran top max v(in)\n"));
    EXPECT_EQ(6u, table("t.tran.csv").headings().size()) << "time, three nodes, two currents";
    EXPECT_TRUE(says(CKT_INFORMATION, "top")) << all_told();
}

TEST_F(CosimJob, ManySourcesEachHaveTheirOwnSamples) {
    constexpr std::size_t count = 40;
    std::string netlist = "title\n", lines;
    host().step = 1e-6;
    for (std::size_t i = 0; i < count; ++i) {
        netlist += (i % 2 ? fmt::format("I{0} 0 n{0}\n", i) : fmt::format("V{0} n{0} 0\n", i)) +
                   fmt::format("R{0} n{0} 0 1\n", i);
        lines += fmt::format("*% cosim port {0} v(n{0})\n*% cosim source {0} {1}{0}\n", i, i % 2 ? 'I' : 'V');
        host().samples.emplace_back(20, static_cast<double>(i) + 0.5);
    }
    ASSERT_EQ(CKT_GOOD, run_text(netlist + lines + ".tran 1u 20u\n")) << all_told();
    expect_lock_step(20);
    for (std::size_t i = 0; i < count; ++i)
        EXPECT_NEAR(static_cast<double>(i) + 0.5, host().ports[i].back().first, 1e-6);
}

TEST_F(CosimJob, AResultOtherThan0EndsTheAnalysisWithAMessageAndNothingElse) {
    struct Row {
        int Host::*result;
        int value;
        std::size_t step;
        std::string words;
    };
    const Row rows[] = {
        {&Host::source_result, 2, 0, "the client has no value for source 0 (\"vin\") at 0 s (result 2)"},
        {&Host::source_result, 2, 40, "the client has no value for source 0 (\"vin\") at 4"},
        {&Host::port_result, 1, 10, "the client doesn't take the values of port 0 at 1.1"},
        {&Host::flush_result, 4, 20, "the client doesn't take the step that ends at "},
    };
    for (const Row& row : rows) {
        give_ramp(10e-9, 100);
        host().*row.result = row.value;
        host().failing_step = row.step;
        EXPECT_EQ(CKT_ANALYSIS_FAILED, run_text(low_pass + ports + ".op\n.tran 10n 1u\n.ac lin 1 1k 1k\n"));
        EXPECT_TRUE(says(CKT_ERROR, "t.cir:11: the analysis \".tran 10n 1u\" failed: " + row.words))
            << all_told();
        EXPECT_TRUE(host().faults.empty()) << host().faults.front();
        EXPECT_EQ(row.step, host().flushed);
        EXPECT_EQ((std::vector<std::string>{"t.ac.csv", "t.op.csv", "t.raw"}), results()) << all_told();
        EXPECT_NEAR(2, table("t.op.csv")["v(in) [V]"].front(), 1e-12);
        EXPECT_EQ(1.0, told().progress.back());
        EXPECT_EQ(1, std::count_if(told().messages.begin(), told().messages.end(),
                                   [](const Message& message) { return message.code != CKT_INFORMATION; }))
            << all_told();
    }
}

TEST_F(CosimJob, APortOfANodeThatIsNotThereIsToldBeforeAnybodyIsAsked) {
    give_ramp(10e-9, 100);
    EXPECT_EQ(CKT_ANALYSIS_FAILED,
              run_text(low_pass + "*% cosim source 0 Vin\n*% cosim port 0 v(in,nowhere)\n.tran 10n 1u\n"));
    EXPECT_TRUE(says(CKT_ERROR, "t.cir:9: the analysis \".tran 10n 1u\" failed: port 0 at " +
                                    folder.string() + "/t.cir:8: the circuit has no v(in,nowhere)"))
        << all_told();
    EXPECT_EQ(0u, host().questions);
}

TEST_F(CosimJob, AnAnalysisThatFailsByItselfTellsItsOwnReason) {
    give_ramp(10e-9, 100);
    EXPECT_EQ(CKT_ANALYSIS_FAILED, run_text(low_pass + ports + "V9 in 0 1\n.tran 10n 1u\n"));
    EXPECT_TRUE(says(CKT_ERROR, "singular")) << all_told();
    EXPECT_EQ(0u, host().flushed);
    give_ramp(10e-9, 100);
    EXPECT_EQ(CKT_GOOD, run_text(low_pass + ports + ".tran 10n 1u\n")) << all_told();
    expect_lock_step(100);
}

} // namespace
