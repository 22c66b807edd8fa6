#include "touchstone_solution.h"

#include <matrix/wave_math.h>
#include <sparamlib/network_modal_solution.h>
#include <sparamlib/network_terminal_solution.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <stdexcept>

namespace networkfile {
namespace {

using touchstone::Kind;
using Mode = touchstone::MixedModeTerm::Mode;

constexpr double kUsualOhms = 50.0;
constexpr double kDegree = std::numbers::pi / 180;

Complex From(const std::complex<double>& value) {
    return {value.real(), value.imag()};
}
std::complex<double> To(const Complex& value) {
    return {value.re, value.im};
}

bool IsZero(const ComplexMatrix& matrix) {
    return std::all_of(matrix.Data(), matrix.Data() + matrix.Size(),
                       [](const Complex& element) { return element == Complex(); });
}

// Whether the matrix is `diagonal` times the identity, to within rounding.
bool IsIdentity(const ComplexMatrix& matrix, double diagonal) {
    constexpr double kRounding = 1e-9;
    for (int i = 0; i < matrix.Rows(); ++i) {
        for (int j = 0; j < matrix.Columns(); ++j) {
            if (!(abs(matrix[i][j] - Complex(i == j ? diagonal : 0.0)) <= kRounding))
                return false;
        }
    }
    return true;
}

[[noreturn]] void Refuse(const char* kind, double frequency, const char* why) {
    throw std::runtime_error(fmt::format("there is no {} at {} Hz: {}", kind, frequency, why));
}

bool HasPortImpedances(CNetworkData& point) {
    if (auto* modal = dynamic_cast<CNetworkModalData*>(&point))
        return modal->GetPortImpedance() != nullptr;
    auto* terminal = dynamic_cast<CNetworkTerminalData*>(&point);
    return terminal && terminal->GetPortImpedance();
}

// Whether a point's Y or Z is that of ports which reflect nothing, so that an S of zeros is right.
bool IsMatched(CNetworkData& point) {
    const ComplexMatrix* y = point.GetYMatrix(false);
    const ComplexMatrix* m = y ? y : point.GetZMatrix(false);
    auto* modal = dynamic_cast<CNetworkModalData*>(&point);
    if (!m || !modal)
        return false;
    ComplexMatrix normalised = *m;
    if (y)
        MultiplyByRoots(normalised, *modal->GetPortImpedance());
    else
        DivideByRoots(normalised, *modal->GetPortImpedance());
    return IsIdentity(normalised, 1.0);
}

// S of a point that has Y or Z. A conversion that fails gives zeros.
ComplexMatrix DeriveS(CNetworkData& point) {
    if (!HasPortImpedances(point))
        Refuse("S", point.GetFrequency(), "no port impedances are stated");
    const ComplexMatrix* s = point.GetSMatrix(true);
    if (!s || (IsZero(*s) && !IsMatched(point)))
        Refuse("S", point.GetFrequency(), "no other matrix of the point can be converted to it");
    return *s;
}

// S at impedances z of two ports for which sum(A v) + sum(B i) = 0 holds: with v = sqrt(z) (a + b) and
// i = (a - b) / sqrt(z), S = -(A sqrt(z) - B / sqrt(z))^-1 (A sqrt(z) + B / sqrt(z)).
ComplexMatrix HybridToS(Kind kind, const ComplexMatrix& m, const ComplexVector& z, double frequency) {
    ComplexMatrix a(2, 2), b(2, 2);
    const bool isH = kind == Kind::H; // V1 = h11 I1 + h12 V2, I2 = h21 I1 + h22 V2; G the other way round
    ComplexMatrix& first = isH ? a : b;
    ComplexMatrix& second = isH ? b : a;
    first[0][0] = second[1][1] = Complex(1.0);
    first[0][1] = -m[0][1];
    first[1][1] = -m[1][1];
    second[0][0] = -m[0][0];
    second[1][0] = -m[1][0];
    ComplexMatrix left(2, 2), right(2, 2), s;
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) {
            const Complex root = sqrt(z[j]);
            const Complex u = a[i][j] * root, w = Quotient(b[i][j], root);
            left[i][j] = w - u;
            right[i][j] = u + w;
        }
    }
    if (MatrixSolve(left, right, s) != kSolved)
        Refuse("S", frequency, "the matrix can't be converted at the references");
    return s;
}

// How mixed-mode waves come from those of single ports: orthogonal.
ComplexMatrix ModeTransform(const touchstone::Network& network) {
    const int n = network.ports;
    ComplexMatrix m(n, n);
    for (int row = 0; row < n; ++row) {
        const touchstone::MixedModeTerm& term = network.mixedMode[static_cast<std::size_t>(row)];
        const double share = term.mode == Mode::Single ? 1.0 : std::sqrt(0.5);
        m[row][term.port - 1] = share;
        if (term.mode != Mode::Single)
            m[row][term.negative - 1] = term.mode == Mode::Differential ? -share : share;
    }
    return m;
}

// The references of the rows; the two ports of a pair have one.
ComplexVector RowReferences(const touchstone::Network& network) {
    ComplexVector z(network.ports);
    for (int row = 0; row < network.ports; ++row) {
        const auto reference = [&](int port) {
            return From(network.references[static_cast<std::size_t>(port)]);
        };
        if (network.mixedMode.empty()) {
            z[row] = reference(row);
            continue;
        }
        const touchstone::MixedModeTerm& term = network.mixedMode[static_cast<std::size_t>(row)];
        const Complex port = reference(term.port - 1);
        z[row] = (term.mode == Mode::Differential ? 2.0 : term.mode == Mode::Common ? 0.5 : 1.0) * port;
    }
    return z;
}

ComplexMatrix MatrixOf(const touchstone::Network& network, std::size_t frequency) {
    ComplexMatrix m(network.ports, network.ports);
    const auto* values = network.values.data() + frequency * static_cast<std::size_t>(m.Size());
    std::transform(values, values + m.Size(), m.Data(), From);
    return m;
}

ComplexMatrix ToS(Kind kind, ComplexMatrix m, const ComplexVector& rows, CNetworkDataSolution& solution,
                  double frequency) {
    if (kind == Kind::S)
        return m;
    if (kind == Kind::G || kind == Kind::H)
        return HybridToS(kind, m, rows, frequency);
    CNetworkModalData point(&solution, frequency);
    auto z = rows;
    point.SetPortImpedance(&z, true);
    if (kind == Kind::Y)
        point.SetYMatrix(&m, true);
    else
        point.SetZMatrix(&m, true);
    return DeriveS(point);
}

void SetPorts(CNetworkDataSolution& solution, int count) {
    std::vector<CMatrixEntry> entries;
    std::vector<CMatrixEntry*> pointers;
    for (int port = 0; port < count; ++port)
        entries.emplace_back(AString(fmt::format("Port{}", port + 1)), 1, port);
    for (CMatrixEntry& entry : entries)
        pointers.push_back(&entry);
    solution.SetMatrixEntries(pointers, true);
}

// The same source against another reference.
std::complex<double> Rereferred(std::complex<double> reflection, double from, std::complex<double> to) {
    const std::complex<double> z = from * (1.0 + reflection) / (1.0 - reflection);
    return (z - to) / (z + to);
}

std::unique_ptr<CNoiseDataSolution> NoiseOf(const touchstone::Network& network) {
    if (network.noise.empty())
        return nullptr;
    auto noise = std::make_unique<CNoiseDataSolution>();
    const std::complex<double> reference = network.references.front();
    for (const touchstone::NoiseParameters& at : network.noise) {
        std::complex<double> optimum = at.optimumReflection;
        if (reference != network.noiseReference)
            optimum = Rereferred(optimum, network.noiseReference, reference);
        noise->AddData(at.frequency)
            ->SetValues(at.minimumFigure, std::abs(optimum), std::arg(optimum) / kDegree, at.resistance);
    }
    return noise;
}

// The impedance of each row, or nothing if the point states none.
std::optional<ComplexVector> PortImpedances(CNetworkData& point) {
    if (auto* modal = dynamic_cast<CNetworkModalData*>(&point)) {
        const ComplexVector* z = modal->GetPortImpedance();
        return z && z->Size() == point.GetMatrixSize() ? std::optional(*z) : std::nullopt;
    }
    auto* terminal = dynamic_cast<CNetworkTerminalData*>(&point);
    const ComplexMatrix* z = terminal ? terminal->GetPortImpedance() : nullptr;
    if (!z || z->Rows() != point.GetMatrixSize() || !z->IsSquare())
        return std::nullopt;
    ComplexVector diagonal(z->Rows());
    for (int i = 0; i < z->Rows(); ++i) {
        for (int j = 0; j < z->Columns(); ++j) {
            if (i == j)
                diagonal[i] = (*z)[i][i];
            else if (!((*z)[i][j] == Complex()))
                throw std::runtime_error(fmt::format("at {} Hz there are impedances between ports, which "
                                                     "Touchstone can't say: renormalise first",
                                                     point.GetFrequency()));
        }
    }
    return diagonal;
}

const ComplexMatrix& MatrixOf(CNetworkData& point, Kind kind) {
    const double frequency = point.GetFrequency();
    if (kind == Kind::S) {
        if (const ComplexMatrix* s = point.GetSMatrix(false))
            return *s;
        DeriveS(point);
        return *point.GetSMatrix(false);
    }
    const bool isY = kind == Kind::Y;
    const char* name = isY ? "Y" : "Z";
    const ComplexMatrix* m = isY ? point.GetYMatrix(false) : point.GetZMatrix(false);
    if (m)
        return *m;
    m = isY ? point.GetYMatrix(true) : point.GetZMatrix(true);
    if (!m)
        Refuse(name, frequency, "the port impedances have no root");
    const ComplexMatrix* s = point.GetSMatrix(false);
    // Of an open Y is zero, and of a short Z.
    if (IsZero(*m) && !(s && IsIdentity(*s, isY ? 1.0 : -1.0)))
        Refuse(name, frequency, "the network has none, or states no port impedances");
    return *m;
}

} // namespace

std::unique_ptr<CNetworkDataSolution> ToSolution(const touchstone::Network& network) {
    auto solution = std::make_unique<CNetworkModalSolution>();
    SetPorts(*solution, network.ports);
    const ComplexVector rows = RowReferences(network);
    ComplexVector ports(network.ports);
    std::transform(network.references.begin(), network.references.end(), ports.Data(), From);
    ComplexMatrix transform, transposed;
    if (!network.mixedMode.empty()) {
        transform = ModeTransform(network);
        transposed = Transpose(transform);
    }
    for (std::size_t i = 0; i < network.frequencies.size(); ++i) {
        const double frequency = network.frequencies[i];
        ComplexMatrix s = ToS(network.kind, MatrixOf(network, i), rows, *solution, frequency);
        if (!transform.IsEmpty())
            s = transposed * s * transform;
        auto* point = static_cast<CNetworkModalData*>(solution->AddData(frequency));
        point->SetSMatrix(new ComplexMatrix(std::move(s)), false);
        point->SetPortImpedance(&ports, true);
    }
    solution->SetNoiseSolution(NoiseOf(network));
    return solution;
}

touchstone::Network ToTouchstone(CNetworkDataSolution& solution, Kind kind,
                                 std::vector<std::string>& warnings) {
    touchstone::Network network;
    network.kind = kind;
    network.ports = solution.GetMatrixSize();
    if (network.ports < 1 || solution.GetNumSolvedFrequencies() < 1)
        throw std::runtime_error("the solution has no ports or no points, which a Touchstone file needs");
    std::optional<ComplexVector> first;
    solution.GetFrequencies(network.frequencies, false);
    const auto n = static_cast<std::size_t>(network.ports);
    network.values.reserve(n * n * network.frequencies.size());
    for (const double frequency : network.frequencies) {
        CNetworkData* point = solution.GetData(frequency, 0.0, false, false);
        if (!point)
            Refuse("data", frequency, "the solution's post-processing gives none");
        const ComplexMatrix& m = MatrixOf(*point, kind);
        if (m.Rows() != network.ports || m.Columns() != network.ports)
            Refuse("matrix", frequency, "it has another size than the solution");
        std::transform(m.Data(), m.Data() + m.Size(), std::back_inserter(network.values), To);
        auto z = PortImpedances(*point);
        if (frequency == network.frequencies.front())
            first = std::move(z);
        else if (kind == Kind::S && (z.has_value() != first.has_value() ||
                                     (z && !std::equal(z->Data(), z->Data() + z->Size(), first->Data()))))
            throw std::runtime_error(fmt::format(
                "the port impedances change at {} Hz, which Touchstone can't say: renormalise first",
                frequency));
    }
    if (!first)
        warnings.push_back(fmt::format("no port impedances are stated: {} ohm is written", kUsualOhms));
    const ComplexVector z = first ? *first : ComplexVector(network.ports, Complex(kUsualOhms));
    std::transform(z.Data(), z.Data() + z.Size(), std::back_inserter(network.references), To);
    if (const CNoiseDataSolution* noise = solution.GetNoiseSolution()) {
        if (network.ports != 2 || z[0].im != 0.0) {
            warnings.push_back(
                "the noise data isn't written: Touchstone has it for two ports of a real reference");
        } else {
            network.noiseReference = z[0].re;
            for (const auto& [frequency, at] : noise->GetPoints()) {
                double figure = 0, magnitude = 0, angle = 0, resistance = 0;
                at->GetValues(figure, magnitude, angle, resistance);
                network.noise.push_back(
                    {frequency, figure, std::polar(magnitude, angle * kDegree), resistance});
            }
        }
    }
    return network;
}

void CompleteS(CNetworkDataSolution& solution) {
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        if (point->GetSMatrix(false))
            continue;
        // By a copy: what a point computes itself counts as derived and isn't stored.
        const auto copy = solution.CopyData(point);
        copy->SetOwner(&solution);
        ComplexMatrix s = DeriveS(*copy);
        point->SetSMatrix(&s, true);
    }
}

} // namespace networkfile
