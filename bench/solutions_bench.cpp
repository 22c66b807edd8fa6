// Solutions against what they consist of and against the plain way: the lookup of a stored frequency as their number
// grows, an interpolated point against the tableau written out element by element (and bit for bit the same), and the
// memory of a solution against its elements. A time is the median of ours over the median of the other's, by turns in
// one run. `solutions_bench [rounds]`.
#include "measure.h"

#include <sparamlib/network_modal_solution.h>
#include <sparamlib/neville_interpolate_visitor.h>
#include <sparamlib/test/plain_tableau.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <map>
#include <random>
#include <vector>

namespace {

int gRounds = 21;

double Nanoseconds(const std::function<void()>& work, int count) {
    return 1e9 * Seconds(work) / count;
}

void SetRows(CNetworkModalSolution& solution, int n) {
    std::vector<CMatrixEntry*> entries;
    for (int i = 0; i < n; ++i)
        entries.push_back(new CMatrixEntry(AString(fmt::format("P{}", i)), i));
    solution.SetMatrixEntries(entries, false);
}

ComplexMatrix RandomMatrix(std::mt19937_64& random, int n) {
    std::uniform_real_distribution<double> element(-0.6 / n, 0.6 / n);
    ComplexMatrix matrix(n, n);
    for (int k = 0; k < matrix.Size(); ++k)
        matrix.Data()[k] = {element(random), element(random)};
    return matrix;
}

// Random stored frequencies, against the smallest number of points, and against an ordered map of the standard library
// that is asked for the first key not below.
void Lookup() {
    double smallest = 0.0;
    for (int count : {11, 101, 1001, 10001, 100001}) {
        CNetworkModalSolution solution;
        std::map<double, CNetworkData*> map;
        for (int i = 0; i < count; ++i) {
            const double frequency = 1e9 + 1e5 * i;
            map[frequency] = solution.AddData(frequency);
        }
        std::mt19937_64 random(1);
        std::vector<double> asked(10000);
        for (double& frequency : asked)
            frequency = 1e9 + 1e5 * static_cast<double>(random() % static_cast<unsigned>(count));
        std::vector<double> ours, theirs;
        std::size_t found = 0;
        for (int round = 0; round < gRounds; ++round) {
            ours.push_back(Nanoseconds(
                [&] {
                    for (double frequency : asked)
                        found += solution.GetData(frequency, 0.0, false, false) != nullptr ? 1 : 0;
                },
                10000));
            theirs.push_back(Nanoseconds(
                [&] {
                    for (double frequency : asked)
                        found += map.lower_bound(frequency - 1.0)->second != nullptr ? 1 : 0;
                },
                10000));
        }
        Require(found == 20000u * static_cast<unsigned>(gRounds));
        const double median = Median(ours);
        smallest = smallest == 0.0 ? median : smallest;
        fmt::print("lookup among {:>6} points {:>8.1f} ns (best {:.1f})   of 11 points {:.2f}   of an "
                   "ordered map {:.2f}\n",
                   count, median, Best(ours), median / smallest, median / Median(theirs));
    }
}

void Neville(int n, int points) {
    std::mt19937_64 random(2);
    CNetworkModalSolution solution;
    SetRows(solution, n);
    std::vector<const ComplexMatrix*> samples;
    RealVector frequencies(points);
    for (int i = 0; i < points; ++i) {
        frequencies[i] = 1e9 + 1e7 * i;
        ComplexMatrix s = RandomMatrix(random, n);
        CNetworkData* point = solution.AddData(frequencies[i]);
        point->SetSMatrix(&s, true);
        samples.push_back(point->GetSMatrix(false));
    }
    const double x = 1e9 + 1e7 * points * 0.4321;
    CNevilleInterpolateVisitor visitor;
    CNetworkModalData point(&solution, x);
    ComplexMatrix plain(n, n), error(n, n);
    std::vector<double> ours, theirs;
    for (int round = 0; round < gRounds; ++round) {
        ours.push_back(Nanoseconds([&] { Require(visitor.Visit(&solution, &point)); }, 1));
        theirs.push_back(
            Nanoseconds([&] { Require(PlainTableau(x, plain, samples, frequencies, error)); }, 1));
    }
    const ComplexMatrix& s = *point.GetSMatrix(false);
    Require(std::equal(s.Data(), s.Data() + s.Size(), plain.Data()));
    fmt::print("Neville {0} x {0}, {1:>4} points {2:>10.1f} us   written out {3:>10.1f} us   ratio {4:.3f} "
               "(best {5:.3f})\n",
               n, points, 1e-3 * Median(ours), 1e-3 * Median(theirs), Median(ours) / Median(theirs),
               Best(ours) / *std::min_element(theirs.begin(), theirs.end()));
}

void Memory(int n, int points) {
    std::mt19937_64 random(3);
    ComplexMatrix s = RandomMatrix(random, n);
    CNetworkModalSolution solution;
    SetRows(solution, n);
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < points; ++i)
        solution.AddData(1e9 + i)->SetSMatrix(&s, true);
    const double bytes = static_cast<double>(mallinfo2().uordblks - before);
    const double elements = 16.0 * n * n * points;
    fmt::print("memory of {} points of {} ports with S   {:.0f} bytes of {:.0f}   ratio {:.3f}\n", points, n,
               bytes, elements, bytes / elements);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        gRounds = std::max(1, std::atoi(argv[1]));
    Lookup();
    Neville(4, 201);
    Neville(1, 201);
    Neville(16, 201);
    Neville(4, 1001);
    Memory(4, 1001);
    Memory(16, 1001);
    Memory(64, 101);
}
