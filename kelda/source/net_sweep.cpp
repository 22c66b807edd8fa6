#include "net_sweep.h"

#include "deliver.h"
#include "exit_status.h"
#include "net_change.h"
#include "quantity.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sparamlib/adaptive_sweep.h>

#include <cmath>
#include <stdexcept>

namespace {

const char* EndText(AdaptiveSweepEnd end) {
    switch (end) {
    case AdaptiveSweepEnd::Converged:
        return "the tolerance is met";
    case AdaptiveSweepEnd::BasisFull:
        return "the basis is full";
    case AdaptiveSweepEnd::NoMoreData:
        return "all of the data are taken";
    default:
        return "no further frequency can be proposed";
    }
}

double Decibels(double value) {
    return 20 * std::log10(value);
}

std::string Table(const AdaptiveSweep& result) {
    std::string text = "# sample Hz error\n";
    int number = 0;
    for (const AdaptiveSweepSample& sample : result.samples)
        text += fmt::format("{} {} {}\n", ++number, sample.frequency,
                            sample.error ? fmt::format("{:.3g}", *sample.error) : std::string("-"));
    text += fmt::format("# {} after {} samples\n", EndText(result.end), result.samples.size());
    text += fmt::format("# largest true error {:.3g} ({:.1f} dB) at {}\n", result.largestError,
                        Decibels(result.largestError), FrequencyText(result.largestErrorFrequency));
    return text;
}

std::string Json(const AdaptiveSweep& result) {
    nlohmann::json samples = nlohmann::json::array();
    for (const AdaptiveSweepSample& sample : result.samples) {
        samples.push_back({{"frequency", sample.frequency}});
        if (sample.error)
            samples.back()["error"] = *sample.error;
    }
    const nlohmann::json object = {{"samples", samples},
                                   {"converged", result.end == AdaptiveSweepEnd::Converged},
                                   {"end", EndText(result.end)},
                                   {"largest_error", result.largestError},
                                   {"largest_error_frequency", result.largestErrorFrequency}};
    return object.dump() + "\n";
}

} // namespace

int SweepNetwork(const NetSweep& sweep) {
    networkfile::File file = ReadNetwork(sweep.in);
    AdaptiveSweepOptions options;
    options.tolerance = sweep.tolerance;
    options.maxBasis = sweep.maxBasis;
    options.passes = sweep.passes;
    const AdaptiveSweep result = RunAdaptiveSweep(*file.solution, options);
    if (!result.solution)
        throw std::runtime_error(result.fault);
    if (!sweep.out.empty()) {
        const networkfile::Written written = networkfile::Write(*result.solution, sweep.out);
        if (const int status = Deliver(written.bytes, sweep.out, kDone); status != kDone)
            return status;
    }
    const int status = result.end == AdaptiveSweepEnd::Failed ? kWorkFailed : kDone;
    return Deliver(sweep.json ? Json(result) : Table(result), "-", status);
}
