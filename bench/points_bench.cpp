// Points against what they consist of: the memory of one against its elements, its block against the bare tree of the
// same items, what a conversion sets aside against its result, and conversions, with the result's storage made and given
// back each time, against Eigen's and LAPACK's with all storage kept. A time is the median of ours over the median of the
// other's, by turns in one run, in processor time. `points_bench [rounds]`.
#include "allocation_count.h"
#include "matrix_bench_peers.h"
#include "measure.h"

#include <sparamlib/network_modal_data.h>
#include <sparamlib/network_terminal_data.h>
#include <streamio/block.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

namespace {

int gRounds = 21;

struct Ports final : INetworkDataOwner {
    explicit Ports(int count) : n(count) {}
    int GetMatrixSize() const override { return n; }
    CMatrixEntry* GetMatrixEntry(unsigned) const override { return nullptr; }
    int GetNumPorts() const override { return n; }
    int GetNumModes(unsigned) const override { return 1; }
    int n;
};

ComplexMatrix RandomMatrix(int n) {
    std::mt19937_64 random(static_cast<unsigned>(n));
    std::uniform_real_distribution<double> element(-0.6 / n, 0.6 / n);
    ComplexMatrix matrix(n, n);
    for (int k = 0; k < matrix.Size(); ++k)
        matrix.Data()[k] = {element(random), element(random)};
    return matrix;
}

void Compare(const std::string& what, const std::function<void()>& ours, const std::function<void()>& bare,
             int repeat) {
    std::vector<double> a, b;
    ours();
    bare();
    for (int round = 0; round < gRounds; ++round) {
        a.push_back(Seconds(ours, repeat));
        b.push_back(Seconds(bare, repeat));
    }
    fmt::print("{:<36} {:>10.2f} us {:>10.2f} us   ratio {:.2f} (best {:.2f})\n", what, 1e6 * Median(a),
               1e6 * Median(b), Median(a) / Median(b), Best(a) / Best(b));
    std::fflush(stdout);
}

void Memory() {
    Ports ports(64);
    const ComplexMatrix s = RandomMatrix(64);
    constexpr int kPoints = 100;
    std::vector<std::unique_ptr<CNetworkModalData>> points;
    points.reserve(kPoints);
    const std::size_t before = AllocatedBytes();
    for (int k = 0; k < kPoints; ++k) {
        points.push_back(std::make_unique<CNetworkModalData>(&ports, 1e9 + k));
        points.back()->SetSMatrix(const_cast<ComplexMatrix*>(&s), true);
    }
    const double bytes = static_cast<double>(AllocatedBytes() - before) / kPoints;
    fmt::print("memory of a point of 64 ports with S   {:.0f} bytes of {}   ratio {:.3f}\n", bytes,
               64 * 64 * 16, bytes / (64 * 64 * 16));
}

void Blocks(int n) {
    Ports ports(n);
    ComplexMatrix s = RandomMatrix(n);
    ComplexVector z(n, Complex(50));
    CNetworkModalData point(&ports, 1e9);
    point.SetSMatrix(&s, true);
    point.SetPortImpedance(&z, true);
    const int repeat = std::max(1, 4000 / (n * n + 10));
    for (bool binary : {false, true}) {
        const auto write = [binary](const io::CStreamio_object& object, AString& text) {
            text.clear();
            if (binary)
                object.ToBinaryText(text);
            else
                object.ToText(text, 0, 17);
        };
        const char* form = binary ? "binary" : "text";
        AString text;
        write(point, text);
        io::CBlock tree;
        Require(tree.FromText(text));
        CNetworkModalData again(&ports, 0);
        Compare(
            fmt::format("read {} of {} ports", form, n),
            [&] { Require(again.FromText(text) && again.GetReadStatus() == 0); },
            [&] {
                io::CBlock block;
                Require(block.FromText(text));
            },
            repeat);
        AString out;
        io::CBlock made(AString(u"DataPoint"));
        point.WriteToBlock(made);
        Compare(
            fmt::format("write {} of {} ports", form, n), [&] { write(point, out); },
            [&] { write(made, out); }, repeat);
    }
}

void Conversions(int n) {
    Ports ports(n);
    ComplexMatrix s = RandomMatrix(n);
    ComplexVector z(n, Complex(50, 5)), other(n, Complex(75));
    ComplexMatrix r(n, n), otherR(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            r[i][j] = i == j ? Complex(50) : Complex(1.0 / n);
            otherR[i][j] = i == j ? Complex(75) : Complex(2.0 / n);
        }
    }
    CNetworkModalData modal(&ports, 1e9), fromY(&ports, 1e9);
    modal.SetSMatrix(&s, true);
    modal.SetPortImpedance(&z, true);
    fromY.SetYMatrix(modal.GetYMatrix(true), true);
    fromY.SetPortImpedance(&z, true);
    CNetworkTerminalData terminal(&ports, 1e9);
    terminal.SetSMatrix(&s, true);
    terminal.SetPortImpedance(&r, true);
    const ComplexMatrix y = *fromY.GetYMatrix(false);
    const int repeat = std::max(1, 40000 / (n * n * n + 20));
    const auto compare = [&](const char* what, const std::function<void()>& ours,
                             const std::function<void(PeerConversions&)>& theirs, bool inLapack = true) {
        const auto eigen = MakeEigenPeer(n);
        const auto lapack = MakeLapackPeer(n);
        const std::string name = fmt::format("{} of {} ports", what, n);
        Compare(
            name + ", Eigen", ours, [&] { theirs(*eigen); }, repeat);
        if (inLapack)
            Compare(
                name + ", zgesv", ours, [&] { theirs(*lapack); }, repeat);
    };
    compare(
        "S to Y",
        [&] {
            modal.SetYMatrix(nullptr, false);
            modal.GetYMatrix(true);
        },
        [&](PeerConversions& peer) { peer.SToY(s.Data(), z.Data()); });
    compare(
        "S to Z",
        [&] {
            modal.SetZMatrix(nullptr, false);
            modal.GetZMatrix(true);
        },
        [&](PeerConversions& peer) { peer.SToZ(s.Data(), z.Data()); });
    compare(
        "Y to S",
        [&] {
            fromY.SetSMatrix(nullptr, false);
            fromY.GetSMatrix(true);
        },
        [&](PeerConversions& peer) { peer.YToS(y.Data(), z.Data()); });
    // From S alone, as the other one does.
    compare(
        "renormalise modes",
        [&] {
            modal.SetSMatrix(&s, true);
            modal.SetPortImpedance(&z, true);
            modal.SetYMatrix(nullptr, false);
            Require(modal.Renormalize(other));
        },
        [&](PeerConversions& peer) { peer.RenormalizeModes(s.Data(), z.Data(), other.Data()); });
    compare(
        "renormalise terminals",
        [&] {
            terminal.SetSMatrix(&s, true);
            terminal.SetPortImpedance(&r, true);
            terminal.SetYMatrix(nullptr, false);
            Require(terminal.RenormalizeMatrix(otherR));
        },
        [&](PeerConversions& peer) { peer.RenormalizeTerminals(s.Data(), r.Data(), otherR.Data()); }, false);
}

template <class Work>
std::size_t AllocationsOf(Work&& work) {
    const std::size_t before = Allocations();
    work();
    return Allocations() - before;
}

// After a first conversion on the thread.
void Allocations(int n) {
    Ports ports(n);
    ComplexMatrix s = RandomMatrix(n);
    ComplexVector z(n, Complex(50, 5)), other(n, Complex(75));
    ComplexMatrix r(n, n);
    for (int i = 0; i < n; ++i)
        r[i][i] = z[i];
    const std::size_t result = AllocationsOf([&] { auto matrix = std::make_unique<ComplexMatrix>(s); });
    const auto point = [&] {
        CNetworkModalData made(&ports, 1e9);
        made.SetSMatrix(&s, true);
        made.SetPortImpedance(&z, true);
        return made;
    };
    const auto terminal = [&] {
        CNetworkTerminalData made(&ports, 1e9);
        made.SetSMatrix(&s, true);
        made.SetPortImpedance(&r, true);
        return made;
    };
    for (bool counted : {false, true}) {
        CNetworkModalData modal = point();
        CNetworkTerminalData full = terminal();
        const std::size_t y = AllocationsOf([&] { modal.GetYMatrix(true); });
        const std::size_t impedance = AllocationsOf([&] { modal.GetZMatrix(true); });
        const std::size_t renormalised = AllocationsOf([&] { modal.Renormalize(other); });
        const std::size_t fullY = AllocationsOf([&] { full.GetYMatrix(true); });
        const std::size_t fullRenormalised = AllocationsOf([&] { full.RenormalizeMatrix(r); });
        if (counted)
            fmt::print("allocations of {} ports: a matrix {}, Y {}, Z {}, renormalisation {}, terminal Y {}, "
                       "terminal "
                       "renormalisation {}\n",
                       n, result, y, impedance, renormalised, fullY, fullRenormalised);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1)
        gRounds = std::max(1, std::atoi(argv[1]));
    Memory();
    for (int n : {2, 16, 64})
        Allocations(n);
    for (int n : {2, 4, 16, 64})
        Blocks(n);
    UseOneBlasThread();
    for (int n : {2, 4, 8, 16, 64})
        Conversions(n);
}
