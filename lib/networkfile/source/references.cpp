#include <networkfile/references.h>

#include <matrix/linear_algebra.h>
#include <sparamlib/network_modal_solution.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <typeinfo>

namespace networkfile {

namespace {

// How far S may be off after the way there and back, for the way there to be believed.
constexpr double kWayBack = 1e-6;

[[noreturn]] void Refuse(const CNetworkData& point, const char* what) {
    throw std::runtime_error(fmt::format("the data at {} Hz {}", point.GetFrequency(), what));
}

// The largest distance of two elements.
double Distance(const ComplexMatrix& a, const ComplexMatrix& b) {
    double largest = 0;
    for (int i = 0; i < a.Size(); ++i) {
        const double distance = abs(a.Data()[i] - b.Data()[i]);
        if (!(distance <= largest)) // a NaN as well
            largest = distance;
    }
    return largest;
}

bool ComesBack(CNetworkDataSolution& solution, CNetworkData& point, const ComplexVector& impedances,
               const ComplexVector& former) {
    const ComplexMatrix& s = *point.GetSMatrix(true);
    const auto trial = solution.CopyData(&point);
    if (!trial->Renormalize(impedances) || !trial->Renormalize(former))
        return false;
    const ComplexMatrix* back = trial->GetSMatrix(true);
    return back &&
           Distance(s, *back) <= kWayBack * std::max(1.0, Distance(s, ComplexMatrix(s.Rows(), s.Columns())));
}

// Y and Z don't depend on the references, and stay.
void GoStraight(CNetworkModalData& point, const ComplexVector& impedances, const ComplexVector& former) {
    const ComplexMatrix& s = *point.GetSMatrix(true);
    const int n = s.Rows();
    ComplexMatrix in(n, n), out(n, n); // transposed: the unknown stands on the left
    for (int i = 0; i < n; ++i) {
        const Complex k = sqrt(former[i]) / sqrt(impedances[i]);
        const Complex sum = k + Complex(1) / k, difference = k - Complex(1) / k;
        for (int j = 0; j < n; ++j) {
            in[j][i] = difference * s[i][j];
            out[j][i] = sum * s[i][j];
        }
        in[i][i] += sum;
        out[i][i] += difference;
    }
    ComplexMatrix transposed;
    if (MatrixSolve(in, out, transposed) != kSolved)
        Refuse(point, "have no S at these impedances");
    ComplexMatrix result = Transpose(transposed);
    ComplexVector references = impedances;
    point.SetSMatrix(&result, true);
    point.SetPortImpedance(&references, true);
}

ComplexVector FormerOf(CNetworkData& point) {
    if (!point.GetSMatrix(true))
        Refuse(point, "hold no S");
    const int n = point.GetMatrixSize();
    if (auto* modal = dynamic_cast<CNetworkModalData*>(&point)) {
        const ComplexVector* z = modal->GetPortImpedance();
        if (z && z->Size() == n)
            return *z;
    } else if (const auto* terminal = dynamic_cast<const CNetworkTerminalData*>(&point)) {
        const ComplexMatrix* z = terminal->GetPortImpedance();
        if (z && z->Rows() == n && z->Columns() == n) {
            ComplexVector diagonal(n);
            for (int i = 0; i < n; ++i)
                diagonal[i] = (*z)[i][i];
            return diagonal;
        }
    }
    Refuse(point, "have no references");
}

bool RefersOnRequest(const CNetworkDataSolution& solution) {
    const auto* modal = dynamic_cast<const CNetworkModalSolution*>(&solution);
    return solution.GetObjectType() == ObjectType::ZephModal || (modal && modal->GetPostprocSetup());
}

} // namespace

bool Refer(CNetworkDataSolution& solution, const ComplexVector& impedances) {
    if (impedances.Size() != solution.GetMatrixSize())
        throw std::runtime_error(
            fmt::format("{} impedances for {} rows", impedances.Size(), solution.GetMatrixSize()));
    if (RefersOnRequest(solution)) {
        if (!solution.RenormalizePorts(impedances, true))
            throw std::runtime_error("the solution refuses these impedances");
        return true;
    }
    bool isOwnWay = true;
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        const ComplexVector former = FormerOf(*point);
        if (ComesBack(solution, *point, impedances, former)) {
            point->Renormalize(impedances);
            continue;
        }
        auto* modal = dynamic_cast<CNetworkModalData*>(point);
        if (!modal || typeid(*modal) != typeid(CNetworkModalData))
            Refuse(*point, "have no admittances, as a short or an ideal through, and can't be referred anew");
        GoStraight(*modal, impedances, former);
        isOwnWay = false;
    }
    return isOwnWay;
}

} // namespace networkfile
