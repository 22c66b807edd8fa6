// Any text is a network or an error with a line of the text, whatever the number of ports. A network is written in every
// layout that can say it and comes back: the same where nothing is rounded, else near.
#include <touchstone/touchstone.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace touchstone;

void Require(bool holds) {
    if (!holds)
        std::abort();
}

bool IsNear(std::complex<double> a, std::complex<double> b) {
    return std::abs(a - b) <= 1e-11 * std::abs(b) + 1e-290;
}

// Far enough from the end of the range for its logarithm and its multiple of a reference.
bool IsModerate(const Network& network) {
    const auto isModerate = [](std::complex<double> value) { return std::abs(value) < 1e150; };
    return std::all_of(network.values.begin(), network.values.end(), isModerate) &&
           std::all_of(
               network.references.begin(), network.references.end(),
               [](std::complex<double> value) { return std::abs(value) < 1e100 && value.real() > 1e-100; }) &&
           std::all_of(network.noise.begin(), network.noise.end(), [&](const NoiseParameters& noise) {
               return isModerate(noise.optimumReflection) && isModerate(noise.resistance);
           });
}

void WriteAndRead(const Network& network, const Layout& layout) {
    std::string text;
    try {
        text = Write(network, layout);
    } catch (const Error& error) {
        Require(error.Line() == 0);
        return;
    }
    const Network again = Read(text, network.ports).network;
    Require(again.kind == network.kind && again.ports == network.ports &&
            again.frequencies == network.frequencies && again.references == network.references &&
            again.mixedMode == network.mixedMode);
    Require(std::equal(again.values.begin(), again.values.end(), network.values.begin(), network.values.end(),
                       IsNear));
    const bool isExact = layout.format == Format::RealImaginary &&
                         (layout.version >= Version::V2_0 || network.kind == Kind::S);
    Require(!isExact || again.values == network.values);
    Require(std::equal(again.noise.begin(), again.noise.end(), network.noise.begin(), network.noise.end(),
                       [](const NoiseParameters& a, const NoiseParameters& b) {
                           return a.frequency == b.frequency && a.minimumFigure == b.minimumFigure &&
                                  IsNear(a.optimumReflection, b.optimumReflection) &&
                                  IsNear(a.resistance, b.resistance);
                       }));
}

// A text that isn't read has no ports.
File ReadOrFail(std::string_view text, int ports) {
    const auto lines =
        std::count_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }) + 1;
    const auto isLine = [lines](int line) { return line >= 1 && line <= lines; };
    try {
        File file = Read(text, ports);
        for (const Remark& warning : file.warnings)
            Require(isLine(warning.line) && !warning.text.empty());
        return file;
    } catch (const Error& error) {
        Require(isLine(error.Line()) && *error.what() != '\0');
        return {};
    }
}

void ReadAndWrite(std::string_view text, int ports) {
    const File file = ReadOrFail(text, ports);
    if (file.network.ports == 0 || !IsModerate(file.network))
        return;
    for (const Version version : {Version::V1_0, Version::V1_1, Version::V2_0})
        for (const Format format : {Format::RealImaginary, Format::MagnitudeAngle, Format::DecibelAngle})
            for (const MatrixFormat matrix : {MatrixFormat::Full, MatrixFormat::Lower, MatrixFormat::Upper})
                WriteAndRead(file.network,
                             {version, file.layout.unit, format, matrix, file.layout.twoPortOrder, 0});
    WriteAndRead(file.network, LayoutFor(file.network));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const int ports : {0, 1, 2, 3})
        ReadAndWrite(text, ports);
    return 0;
}
