// The conversions of network data against Eigen and LAPACK doing the same formulas in the same run. Eigen comes twice:
// compiled as everything else here, and for this very processor. Times are microseconds for one matrix, the best of a
// peer; the ratios are those of the best times and of the medians, below 1 where ours is faster.
// `matrix_bench [rounds]`.
#include "allocation_count.h"
#include "matrix_bench_peers.h"

#include <matrix/wave_math.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

namespace {

ComplexMatrix RandomMatrix(int n, std::mt19937_64& random, double size) {
    std::uniform_real_distribution<double> part(-size, size);
    ComplexMatrix m(n, n);
    for (int k = 0; k < m.Size(); ++k)
        m.Data()[k] = {part(random), part(random)};
    return m;
}

// What a point holds, and room for what is computed.
struct Point {
    ComplexMatrix s, y, z, from, half, negativeHalf;
    ComplexVector oldZ, newZ;
    ComplexMatrix oldR, newR;
};

Point MakePoint(int n) {
    std::mt19937_64 random(7);
    Point p{RandomMatrix(n, random, 0.7 / n), {}, {}, {}, {}, {}, ComplexVector(n), ComplexVector(n), {}, {}};
    std::uniform_real_distribution<double> ohm(10, 100);
    for (int i = 0; i < n; ++i) {
        p.oldZ[i] = {ohm(random), ohm(random) / 10};
        p.newZ[i] = {50, 0};
    }
    p.oldR = RandomMatrix(n, random, 5.0 / n) + DiagonalMatrix(p.oldZ);
    p.newR = RandomMatrix(n, random, 5.0 / n) + DiagonalMatrix(p.newZ);
    SolveWaveFraction(p.s, WaveFraction::PlusMinus, p.from);
    DivideByRoots(p.from, p.oldZ);
    return p;
}

void SToY(Point& p) {
    SolveWaveFraction(p.s, WaveFraction::PlusMinus, p.y);
    DivideByRoots(p.y, p.oldZ);
}
void SToZ(Point& p) {
    SolveWaveFraction(p.s, WaveFraction::MinusPlus, p.z);
    MultiplyByRoots(p.z, p.oldZ);
}
void YToS(Point& p, const ComplexMatrix& y, const ComplexVector& z) {
    p.z = y;
    MultiplyByRoots(p.z, z);
    SolveWaveFraction(p.z, WaveFraction::PlusMinus, p.z);
}
void RenormalizeModes(Point& p) {
    SToY(p);
    YToS(p, p.y, p.newZ);
}
void RenormalizeTerminals(Point& p) {
    SolveWaveFraction(p.s, WaveFraction::PlusMinus, p.y);
    MatrixPower(p.oldR, -0.5, p.negativeHalf);
    MultiplyInto(p.z, p.negativeHalf, p.y);
    MultiplyInto(p.y, p.z, p.negativeHalf);
    MatrixSqrt(p.newR, p.half);
    MultiplyInto(p.z, p.half, p.y);
    MultiplyInto(p.y, p.z, p.half);
    SolveWaveFraction(p.y, WaveFraction::PlusMinus, p.z);
}

struct Time {
    double best;
    double median;
};

using Work = std::function<void()>;

// Microseconds of each, taken in turns.
std::vector<Time> Measure(const std::vector<Work>& works, int rounds) {
    using Clock = std::chrono::steady_clock;
    const auto run = [](const Work& work, int calls) {
        const auto start = Clock::now();
        for (int k = 0; k < calls; ++k)
            work();
        return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / calls;
    };
    std::vector<int> calls;
    for (const Work& work : works) {
        run(work, 3);
        calls.push_back(std::max(1, int(2000.0 / run(work, 3))));
    }
    std::vector<std::vector<double>> times(works.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t w = 0; w < works.size(); ++w)
            times[w].push_back(run(works[w], calls[w]));
    }
    std::vector<Time> result;
    for (auto& of : times) {
        std::sort(of.begin(), of.end());
        result.push_back({of.front(), of[of.size() / 2]});
    }
    return result;
}

void Compare(const char* name, int n, int rounds, const Work& ours, const std::vector<Work>& peers) {
    std::vector<Work> works{ours};
    works.insert(works.end(), peers.begin(), peers.end());
    const std::vector<Time> times = Measure(works, rounds);
    const std::size_t before = Allocations();
    ours();
    std::printf("%-22s %3d %9.3f %9.3f", name, n, times[0].best, times[0].median);
    for (std::size_t k = 1; k < times.size(); ++k)
        std::printf("  %9.3f %4.2f %4.2f", times[k].best, times[0].best / times[k].best,
                    times[0].median / times[k].median);
    std::printf("%*s  %zu\n", int(3 - peers.size()) * 21, "", Allocations() - before);
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    UseOneBlasThread();
    std::printf("%-22s %3s %9s %9s  %9s %9s  %9s %9s  %9s %9s  %s\n", "", "N", "best", "median", "Eigen",
                "ratios", "native", "ratios", "zgesv", "ratios", "allocations");
    for (const int n : {2, 4, 8, 16, 64}) {
        Point p = MakePoint(n);
        const Complex* s = p.s.Data();
        const Complex* y = p.from.Data();
        const Complex* oldZ = p.oldZ.Data();
        const Complex* newZ = p.newZ.Data();
        const auto eigen = MakeEigenPeer(n), native = MakeNativeEigenPeer(n), lapack = MakeLapackPeer(n);
        Compare(
            "S to Y", n, rounds, [&] { SToY(p); },
            {[&] { eigen->SToY(s, oldZ); }, [&] { native->SToY(s, oldZ); }, [&] { lapack->SToY(s, oldZ); }});
        Compare(
            "S to Z", n, rounds, [&] { SToZ(p); },
            {[&] { eigen->SToZ(s, oldZ); }, [&] { native->SToZ(s, oldZ); }, [&] { lapack->SToZ(s, oldZ); }});
        Compare(
            "Y to S", n, rounds, [&] { YToS(p, p.from, p.oldZ); },
            {[&] { eigen->YToS(y, oldZ); }, [&] { native->YToS(y, oldZ); }, [&] { lapack->YToS(y, oldZ); }});
        Compare("renormalise modes", n, rounds, [&] { RenormalizeModes(p); },
                {[&] { eigen->RenormalizeModes(s, oldZ, newZ); },
                 [&] { native->RenormalizeModes(s, oldZ, newZ); },
                 [&] { lapack->RenormalizeModes(s, oldZ, newZ); }});
        Compare("renormalise terminals", n, rounds, [&] { RenormalizeTerminals(p); },
                {[&] { eigen->RenormalizeTerminals(s, p.oldR.Data(), p.newR.Data()); },
                 [&] { native->RenormalizeTerminals(s, p.oldR.Data(), p.newR.Data()); }});
    }
}
