// Reading and writing Touchstone text: against a count of the text's lines, which is a scan of its bytes, against strtod
// and snprintf for the same numbers, and against scikit-rf's reader where python3 has it. Processor time; a time is the
// median of ours over the median of the other's, by turns in one run. `touchstone_bench [rounds]`.
#include "measure.h"

#include <touchstone/touchstone.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <unistd.h>

namespace {

using namespace touchstone;

int gRounds = 15;

Network Random(int ports, int points) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> part(-1, 1);
    Network network;
    network.ports = ports;
    network.references.assign(static_cast<std::size_t>(ports), 50);
    for (int i = 0; i < points; ++i) {
        network.frequencies.push_back(1e9 + 1e6 * i);
        for (int k = 0; k < ports * ports; ++k)
            network.values.emplace_back(part(random), part(random));
    }
    return network;
}

// The numbers alone, wherever they stand.
double SumOfNumbers(const std::string& text) {
    double sum = 0;
    const char* pos = text.c_str() + text.find('\n');
    for (char* end = nullptr;; pos = end) {
        const double value = std::strtod(pos, &end);
        if (end == pos)
            return sum;
        sum += value;
    }
}

std::size_t LengthOfNumbers(const Network& network) {
    char text[64];
    std::size_t length = 0;
    for (const std::complex<double> value : network.values)
        length += static_cast<std::size_t>(
            std::snprintf(text, sizeof text, " %.17g %.17g", value.real(), value.imag()));
    return length;
}

// Seconds of scikit-rf for the file; 0 where there is none. One thread, as ours.
double SecondsOfPeer(const std::filesystem::path& file) {
    const std::string command = "OPENBLAS_NUM_THREADS=1 python3 -c '"
                                "import numpy, sys, time\n"
                                "numpy.complex = complex\n"
                                "output, sys.stdout = sys.stdout, sys.stderr\n" // it reports what it misses
                                "import skrf\n"
                                "def read():\n"
                                "    start = time.process_time()\n"
                                "    skrf.Network(sys.argv[1])\n"
                                "    return time.process_time() - start\n"
                                "print(sorted(read() for _ in range(5))[2], file=output)' '" +
                                file.string() + "' 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> child(popen(command.c_str(), "r"), pclose);
    double seconds = 0;
    return child && std::fscanf(child.get(), "%lf", &seconds) == 1 ? seconds : 0;
}

void ReadAndWrite(int ports, int points, Format format, int digits) {
    const Network network = Random(ports, points);
    Layout layout = LayoutFor(network);
    layout.format = format;
    layout.digits = digits;
    const std::string text = Write(network, layout);
    std::vector<double> read, scan, numbers, write, print;
    double sum = 0;
    std::ptrdiff_t lines = 0;
    for (int round = 0; round < gRounds; ++round) {
        read.push_back(
            Seconds([&] { Require(Read(text, ports).network.values.size() == network.values.size()); }));
        scan.push_back(Seconds([&] { lines += std::count(text.begin(), text.end(), '\n'); }));
        numbers.push_back(Seconds([&] { sum += SumOfNumbers(text); }));
        write.push_back(Seconds([&] { Require(Write(network, layout).size() == text.size()); }));
        print.push_back(Seconds([&] { Require(LengthOfNumbers(network) > 0); }));
    }
    Require(lines > 0 && sum != 0);
    const double megabytes = 1e-6 * static_cast<double>(text.size());
    fmt::print("{:>2} ports, {:>6} points, {} {:>2} digits, {:>5.1f} MB   read {:>4.0f} MB/s (best {:.0f})   "
               "of a scan {:>5.1f}   of strtod {:.2f}   write {:>4.0f} MB/s   of snprintf {:.2f}\n",
               ports, points, Name(format), digits ? digits : 17, megabytes, megabytes / Median(read),
               megabytes / *std::min_element(read.begin(), read.end()), Median(read) / Median(scan),
               Median(read) / Median(numbers), megabytes / Median(write), Median(write) / Median(print));
}

void Peer(int ports, int points) {
    const Network network = Random(ports, points);
    const std::string text = Write(network, LayoutFor(network));
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / fmt::format("touchstone_bench_{}.s{}p", getpid(), ports);
    std::ofstream(file, std::ios::binary) << text;
    const double theirs = SecondsOfPeer(file);
    std::vector<double> ours;
    for (int round = 0; round < gRounds; ++round)
        ours.push_back(Seconds([&] {
            std::ifstream stream(file, std::ios::binary);
            std::string bytes(text.size(), '\0');
            stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            Require(Read(bytes, ports).network.frequencies.size() == network.frequencies.size());
        }));
    std::filesystem::remove(file);
    if (theirs == 0)
        fmt::print("python3 has no scikit-rf to compare with\n");
    else
        fmt::print("{:>2} ports, {:>6} points, from a file {:.1f} ms   scikit-rf {:.1f} ms   ratio {:.4f}\n",
                   ports, points, 1e3 * Median(ours), 1e3 * theirs, Median(ours) / theirs);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        gRounds = std::max(1, std::atoi(argv[1]));
    ReadAndWrite(4, 10001, Format::RealImaginary, 0);
    ReadAndWrite(4, 10001, Format::RealImaginary, 7);
    ReadAndWrite(4, 10001, Format::MagnitudeAngle, 0);
    ReadAndWrite(4, 10001, Format::DecibelAngle, 0);
    ReadAndWrite(1, 10001, Format::RealImaginary, 0);
    ReadAndWrite(2, 10001, Format::RealImaginary, 0);
    ReadAndWrite(16, 1001, Format::RealImaginary, 0);
    Peer(2, 10001);
    Peer(4, 10001);
}
