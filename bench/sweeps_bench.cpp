// Fitted sweeps against the plain way, on one thread: a fit evaluated at many frequencies, the choice of the next frequency
// against the same written out (and to the same bits), a whole adaptive sweep of many ports, a reply
// that holds a sweep, and the samples that a
// tolerance takes with the true error that it leaves. Times are of the processor; a ratio is that of medians, by turns in
// one run. `sweeps_bench [rounds]`.
#include "measure.h"

#include <sparamlib/adaptive_sweep.h>
#include <sparamlib/solution_factory.h>
#include <sparamlib/test/plain_sweep.h>
#include <streamio/block.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

namespace {

int gRounds = 9;

// Random poles in 1 to 3 GHz with losses of 1 / q or more, the same in all elements: n by n, symmetric. Behind lines of up
// to so many seconds it is of no finite order.
class Network {
public:
    Network(int n, int poles, double q, unsigned seed, double delay = 0.0) : m_Size(n) {
        std::mt19937_64 random(seed);
        const auto between = [&](double low, double high) {
            return std::uniform_real_distribution<double>(low, high)(random);
        };
        for (int p = 0; p < poles; ++p) {
            Pole pole{between(0.5, 1.5), std::exp(between(0.0, std::log(10.0))) / q, {}};
            for (int i = 0; i < n; ++i)
                pole.coupling.push_back(between(-1.0, 1.0) / std::sqrt(n));
            m_Poles.push_back(pole);
        }
        for (int i = 0; i < n; ++i)
            m_Delays.push_back(between(0.5, 1.0) * delay);
    }
    int Size() const { return m_Size; }
    void Fill(double frequency, ComplexMatrix& s) const {
        const Complex at(0.0, frequency / 2e9);
        s.fill(Complex());
        for (const Pole& pole : m_Poles) {
            const Complex resonance = Quotient(Complex(pole.loss) * at,
                                               at * at + Complex(pole.loss) * at + Complex(pole.f * pole.f));
            for (int i = 0; i < m_Size; ++i) {
                for (int j = 0; j < m_Size; ++j)
                    s[i][j] += pole.coupling[static_cast<std::size_t>(i)] *
                               pole.coupling[static_cast<std::size_t>(j)] * resonance;
            }
        }
        for (int i = 0; i < m_Size; ++i) {
            s[i][i] -= Complex(0.5);
            for (int j = 0; j < m_Size; ++j)
                s[i][j] *= Line(frequency, i) * Line(frequency, j);
        }
    }
    ComplexMatrix At(double frequency) const {
        ComplexMatrix s(m_Size, m_Size);
        Fill(frequency, s);
        return s;
    }

private:
    Complex Line(double frequency, int port) const {
        const double phase = -2 * 3.141592653589793 * frequency * m_Delays[static_cast<std::size_t>(port)];
        return {std::cos(phase), std::sin(phase)};
    }

    struct Pole {
        double f, loss;
        std::vector<double> coupling;
    };
    int m_Size;
    std::vector<Pole> m_Poles;
    std::vector<double> m_Delays;
};

// The samples of a sweep in an order in which they may come, the last one in the middle of an interval.
std::vector<double> Frequencies(int count) {
    std::vector<double> frequencies{3e9, 1e9};
    for (double step = 1e9; static_cast<int>(frequencies.size()) < count; step /= 2) {
        for (double f = 1e9 + step; f < 3e9 && static_cast<int>(frequencies.size()) < count; f += 2 * step)
            frequencies.push_back(f);
    }
    return frequencies;
}

void Evaluate(int n, int samples, int count) {
    const Network network(n, samples, 50, 1);
    AdaptiveInterp sweep(1e9, 3e9, n, 1e-3, samples);
    for (double f : Frequencies(samples))
        Require(sweep.AddSample(0, f, network.At(f)) == kSweepDone);
    sweep.Evaluate(0, 1e9);
    std::vector<plain::Fit> fits;
    std::vector<double> scaled;
    for (double f : Frequencies(samples))
        scaled.push_back(f / sweep.GetFreqScale());
    for (int e = 0; e < n * n; ++e) {
        plain::Values values;
        for (double f : Frequencies(samples))
            values.push_back(network.At(f).Data()[e]);
        fits.emplace_back(scaled, values, plain::UpTo(scaled.size()));
    }
    std::vector<double> ours, theirs;
    double sum = 0.0, plainSum = 0.0;
    for (int round = 0; round < gRounds; ++round) {
        ours.push_back(Seconds([&] {
            for (int i = 0; i < count; ++i)
                sum += sweep.Evaluate(0, 1e9 + 2e9 * i / (count - 1))[n * n - 1].re;
        }));
        theirs.push_back(Seconds([&] {
            for (int i = 0; i < count; ++i) {
                for (const plain::Fit& fit : fits) {
                    const Complex value = fit((1e9 + 2e9 * i / (count - 1)) / sweep.GetFreqScale());
                    plainSum += &fit == &fits.back() ? value.re : 0.0;
                }
            }
        }));
    }
    Require(sum == plainSum);
    fmt::print(
        "evaluate {0} x {0}, {1} samples, {2} frequencies   {3:.1f} million entries/s   of written out "
        "{4:.3f}\n",
        n, samples, count, 1e-6 * n * n * count / Median(ours), Median(ours) / Median(theirs));
}

void Choose(int n, int samples) {
    const Network network(n, samples, 50, 2);
    std::vector<double> ours, theirs;
    for (int round = 0; round < gRounds; ++round) {
        AdaptiveInterp sweep(1e9, 3e9, n, 1e-12, samples + 1);
        plain::Sweep expected(1e9, 3e9, 1e-12, static_cast<std::size_t>(samples) + 1);
        for (double f : Frequencies(samples)) {
            const ComplexMatrix s = network.At(f);
            sweep.AddSample(0, f, s);
            expected.Add(0, f, plain::Values(s.Data(), s.Data() + s.Size()));
        }
        sweep.SetLastFreq(Frequencies(samples).back());
        expected.lastFreq = Frequencies(samples).back() / expected.freqScale;
        double frequency = 0.0, plainFrequency = 0.0;
        ours.push_back(Seconds([&] { Require(sweep.NextFrequency(frequency) == kSweepWantsSample); }));
        theirs.push_back(
            Seconds([&] { Require(expected.NextFrequency(plainFrequency) == kSweepWantsSample); }));
        Require(frequency == plainFrequency && sweep.GetLastError() == expected.lastError);
    }
    fmt::print("choose the next of {0} samples, {1} x {1}   {2:.2f} ms   of written out {3:.3f}\n", samples,
               n, 1e3 * Median(ours), Median(ours) / Median(theirs));
}

// The sweep alone, without the time that the solver takes.
void Whole(const Network& network, double tolerance, int maxBasis) {
    AdaptiveInterp sweep(1e9, 3e9, network.Size(), tolerance, maxBasis);
    ComplexMatrix s(network.Size(), network.Size());
    double seconds = 0.0, frequency = 0.0;
    int code = kSweepWantsSample;
    while (code == kSweepWantsSample && sweep.GetNumFreqs() <= maxBasis) {
        seconds += Seconds([&] { code = sweep.NextFrequency(frequency); });
        if (code != kSweepWantsSample || sweep.GetNumFreqs() == maxBasis)
            break;
        network.Fill(frequency, s);
        seconds += Seconds([&] { sweep.AddSample(0, frequency, s); });
    }
    fmt::print("adaptive sweep of {} ports to {:.0e}   {} samples, code {}   {:.3f} s\n", network.Size(),
               tolerance, sweep.GetNumFreqs(), code, seconds);
}

CNetworkModalSolution Dense(const Network& network, int count) {
    CNetworkModalSolution dense;
    std::vector<CMatrixEntry*> entries;
    for (int i = 0; i < network.Size(); ++i)
        entries.push_back(new CMatrixEntry(AString(fmt::format("P{}", i)), i));
    dense.SetMatrixEntries(entries, false);
    for (int i = 0; i < count; ++i) {
        const double frequency = 1e9 + 2e9 * i / (count - 1);
        dense.AddData(frequency)->SetSMatrix(new ComplexMatrix(network.At(frequency)), false);
    }
    return dense;
}

// From the text of a reply to all matrices at 50 ohm, with a sweep and with all points stored.
void Road(int n, int samples, int count) {
    const Network network(n, samples - 5, 50, 4);
    CZephModalSolution sweep, stored;
    const auto fill = [&](CZephModalSolution& solution, double frequency) {
        auto* point = static_cast<CZephModalData*>(solution.AddData(frequency));
        point->SetSMatrix(new ComplexMatrix(network.At(frequency)), false);
        point->SetZpi(new ComplexVector(n, Complex(40.0)), false);
    };
    for (CZephModalSolution* solution : {&sweep, &stored}) {
        std::vector<CMatrixEntry*> entries;
        for (int i = 0; i < n; ++i)
            entries.push_back(new CMatrixEntry(AString(fmt::format("P{}", i)), i));
        solution->SetMatrixEntries(entries, false);
    }
    auto basis = std::make_unique<CZephInterpolator>(n);
    basis->m_LowSampleFreq = 1e9;
    basis->m_HighSampleFreq = 3e9;
    basis->m_NumSamples = count;
    for (double frequency : Frequencies(samples))
        fill(sweep, frequency);
    sweep.SetInterpolator(std::move(basis));
    std::vector<double> frequencies;
    for (int i = 0; i < count; ++i) {
        frequencies.push_back(1e9 + 2e9 * i / (count - 1));
        fill(stored, frequencies.back());
    }
    const auto textOf = [](CZephModalSolution& solution) {
        io::CBlock block(solution.GetBlockName());
        Require(solution.WriteToBlock(block, false));
        AString text;
        return block.ToText(text, 0, 17);
    };
    const auto answer = [&](const AString& text) {
        return Seconds([&] {
            io::CBlock block;
            Require(block.FromText(text));
            const auto solution = CreateNetworkSolution(block);
            for (double frequency : frequencies)
                Require(solution->GetData(frequency, 1e-5, true, false));
            solution->RenormalizePorts(ComplexVector(n, Complex(50.0)), true);
            for (double frequency : frequencies)
                Require(solution->GetData(frequency, 1e-5, true, false)->GetSMatrix(false));
        });
    };
    const AString sweepText = textOf(sweep), storedText = textOf(stored);
    std::vector<double> ours, theirs;
    for (int round = 0; round < std::min(gRounds, 5); ++round) {
        ours.push_back(answer(sweepText));
        theirs.push_back(answer(storedText));
    }
    fmt::print(
        "reply of {} ports at {} frequencies   sweep of {} samples {:.3f} s   stored points {:.3f} s   ratio "
        "{:.3f}\n",
        n, count, samples, Median(ours), Median(theirs), Median(ours) / Median(theirs));
}

// Medians and worst cases over networks of their own.
void Samples(int n, int poles, double q, double delay) {
    fmt::print(
        "{} ports, {} resonances of Q up to {}, lines of {:.1f} ns: tolerance, samples (median, most), true "
        "error (median, worst), not converged\n",
        n, poles, q, 1e9 * delay);
    for (int passes : {1, 2}) {
        for (double tolerance : {1e-2, 1e-3, 1e-4, 1e-5, 1e-6}) {
            std::vector<double> samples, errors;
            int open = 0;
            for (unsigned seed = 0; seed < 20; ++seed) {
                CNetworkModalSolution dense = Dense(Network(n, poles, q, 100 + seed, delay), 2001);
                const AdaptiveSweep sweep =
                    RunAdaptiveSweep(dense, {.tolerance = tolerance, .maxBasis = 100, .passes = passes});
                samples.push_back(static_cast<double>(sweep.samples.size()));
                errors.push_back(sweep.largestError);
                open += sweep.end != AdaptiveSweepEnd::Converged ? 1 : 0;
            }
            fmt::print("  {} passes {:.0e}   {:>3.0f} {:>3.0f}   {:.1e} {:.1e}   {}\n", passes, tolerance,
                       Median(samples), *std::max_element(samples.begin(), samples.end()), Median(errors),
                       *std::max_element(errors.begin(), errors.end()), open);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        gRounds = std::max(1, std::atoi(argv[1]));
    Evaluate(4, 40, 10001);
    Evaluate(1, 40, 10001);
    Evaluate(16, 40, 1001);
    Choose(4, 40);
    Choose(1, 40);
    Choose(2, 20);
    Whole(Network(16, 60, 200, 3), 1e-3, 60);
    Whole(Network(16, 25, 200, 3), 1e-3, 60);
    Road(16, 30, 1001);
    Samples(2, 6, 200, 0.0);
    Samples(4, 12, 1000, 0.0);
    Samples(2, 6, 200, 0.5e-9);
    Samples(4, 12, 1000, 0.5e-9);
}
