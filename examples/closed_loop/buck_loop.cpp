// A digital controller in closed loop with a switched converter: the converter runs as a circuit in the engine, the controller
// here, in lock step, a switching period at a time.
//
//   buck_loop buck_loop.cir RESULTS > loop.csv
//
// Written to standard output, for each switching period: its end [s], the reference [V], the duty cycle for the period after
// the next, the output voltage [V] and the coil's current [A].

#include <client/cosim_exchange.h>
#include <client/kelda_client.h>
#include <stringutils/astring.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>

namespace {

constexpr double kPeriod = 4e-6; // of the switching [s], as in the circuit
constexpr double kSupply = 12.0; // [V]

// Up to 5 V in a soft start, later down to 3.3 V at once.
double Reference(double time) {
    constexpr double kSoftStart = 120e-6, kStep = 600e-6;
    return time < kStep ? 5.0 * std::min(time / kSoftStart, 1.0) : 3.3;
}

// The voltage at the switch is the reference, corrected by a proportional and an integral part; a share that falls with the
// coil's current acts as a resistor that damps the filter and loses nothing.
class Controller {
public:
    // The duty cycle, from the values at a period's end.
    double Next(double reference, double voltage, double current) {
        constexpr double kProportional = 1.5, kDamping = 1.5 /* ohm */, kIntegralTime = 25e-6 /* s */;
        const double error = reference - voltage;
        const double wanted = reference + kProportional * error + m_Integral - kDamping * current;
        const double duty = std::clamp(wanted / kSupply, 0.0, 0.95);
        // At a limit the integral stands still, so that it needn't be worked off afterwards.
        if (duty == wanted / kSupply)
            m_Integral += error * kPeriod / kIntegralTime;
        return duty;
    }

private:
    double m_Integral = 0; // [V]
};

platform::UniqueBstr Text(const std::filesystem::path& path) {
    const std::string bytes = std::filesystem::absolute(path).string();
    AString text;
    text.Assign(kEncodingUtf8, bytes.data(), static_cast<int>(bytes.size()));
    return platform::UniqueBstr::Adopt(text.ToBstr());
}

int Run(const char* circuitPath, const char* resultsPath) {
    auto exchange = std::make_shared<kelda::CosimExchange>();
    kelda::ActivationOptions options;
    options.onLost = [exchange](const kelda::LostEngine& engine) { exchange->Lost(engine); };
    auto engine = kelda::ActivateEngine(std::move(options));
    auto progress = platform::InterfacePtr<kelda::CosimProgress>::Adopt(new kelda::CosimProgress(exchange));

    COSIMSRCDATA duty(1, 1); // one source, one sample a block: the controller answers every period
    duty.m_TimeStep = kPeriod;
    exchange->Deliver(*engine, duty);

    auto circuit = Text(circuitPath), results = Text(resultsPath);
    std::int32_t job = 0;
    if (engine->StartAnalysis(progress.Get(), nullptr, circuit.Get(), results.Get(), &job) != S_OK) {
        std::fprintf(stderr, "buck_loop: the engine doesn't take the job\n");
        return 1;
    }

    std::printf("time,reference,duty,voltage,current\n");
    Controller controller;
    COSIMPORTDATA ports;
    kelda::CosimEvent event;
    for (int period = 1; (event = exchange->Wait(ports)) == kelda::CosimEvent::kPorts; ++period) {
        const double time = period * kPeriod, reference = Reference(time);
        const double voltage = ports.m_First[0][0], current = ports.m_Second[0][0];
        duty.m_Data[0][0] = controller.Next(reference, voltage, current);
        std::printf("%.9g,%.17g,%.17g,%.17g,%.17g\n", time, reference, duty.m_Data[0][0], voltage, current);
        exchange->Deliver(*engine, duty);
    }
    while (event == kelda::CosimEvent::kClosed || event == kelda::CosimEvent::kPorts)
        event = exchange->Wait(ports);
    if (event == kelda::CosimEvent::kLost)
        std::fprintf(stderr, "buck_loop: %s\n", exchange->Reason().c_str());
    else if (exchange->ReturnCode() != 0)
        std::fprintf(stderr, "buck_loop: the job failed with code %d; `kelda run` shows its messages\n",
                     exchange->ReturnCode());
    else
        return 0;
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "Usage: buck_loop CIRCUIT RESULTS\n");
        return 2;
    }
    try {
        return Run(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "buck_loop: %s\n", error.what());
        return 1;
    }
}
