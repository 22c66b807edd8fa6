#include <sparamlib/neville_interpolate_visitor.h>

#include "rational_tableau.h"

#include <sparamlib/network_modal_solution.h>
#include <sparamlib/network_terminal_solution.h>
#include <sparamlib/zeph_modal_solution.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace {

RealVector FrequenciesOf(const CNetworkDataSolution& solution) {
    RealVector frequencies(static_cast<int>(solution.GetSolvedPoints().Size()));
    int i = 0;
    for (const auto [frequency, point] : solution.GetSolvedPoints())
        frequencies[i++] = frequency;
    return frequencies;
}

// What `get` gives of each solved point as a point of that class; null of any other.
template <class T, class Point, class Get>
std::vector<const T*> Gather(const CNetworkDataSolution& solution, const Get& get) {
    std::vector<const T*> samples;
    samples.reserve(solution.GetSolvedPoints().Size());
    for (const auto [frequency, point] : solution.GetSolvedPoints()) {
        auto* data = dynamic_cast<Point*>(point);
        samples.push_back(data ? get(*data) : nullptr);
    }
    return samples;
}

template <class T>
bool Holds(const std::vector<const T*>& samples) {
    return !samples.empty() && samples.front();
}

// A new point with the frequencies at which there are samples for it.
class Filling {
public:
    Filling(const CNetworkDataSolution& solution, const CNetworkData& data)
        : m_Frequencies(FrequenciesOf(solution)), m_Frequency(data.GetFrequency()),
          m_Size(data.GetMatrixSize()) {}

    // Null where the tableau refuses.
    std::unique_ptr<ComplexMatrix> Tableau(const std::vector<const ComplexMatrix*>& samples) {
        auto result = std::make_unique<ComplexMatrix>(m_Size, m_Size);
        m_Error.Reshape(m_Size, m_Size);
        if (!RationalInterpolate(m_Frequency, *result, samples, m_Frequencies, m_Error))
            return nullptr;
        return result;
    }
    // Of the last tableau.
    double LargestError() const {
        double largest = 0.0;
        for (int e = 0; e < m_Error.Size(); ++e) {
            const double size = abs(m_Error.Data()[e]);
            if (size > largest)
                largest = size;
        }
        return largest;
    }
    // Null where the formula refuses.
    std::unique_ptr<ComplexVector> Parabola(const std::vector<const ComplexVector*>& samples) const {
        return Parabola(std::make_unique<ComplexVector>(m_Size), samples);
    }
    std::unique_ptr<ComplexMatrix> Parabola(const std::vector<const ComplexMatrix*>& samples) const {
        return Parabola(std::make_unique<ComplexMatrix>(m_Size, m_Size), samples);
    }

private:
    template <class T>
    std::unique_ptr<T> Parabola(std::unique_ptr<T> result, const std::vector<const T*>& samples) const {
        if (!QuadraticInterpolate(m_Frequency, *result, samples, m_Frequencies))
            return nullptr;
        return result;
    }

    RealVector m_Frequencies;
    double m_Frequency;
    int m_Size;
    ComplexMatrix m_Error;
};

} // namespace

bool CNevilleInterpolateVisitor::Visit(CNetworkDataSolution* solution, CNetworkData* data) {
    if (!data)
        return false;
    Filling filling(*solution, *data);
    auto s = filling.Tableau(Gather<ComplexMatrix, CNetworkData>(
        *solution, [](CNetworkData& point) { return point.GetSMatrix(true); }));
    if (!s)
        return false;
    data->SetSMatrix(s.release(), false);
    data->SetAuxValue(filling.LargestError());
    return true;
}

bool CNevilleInterpolateVisitor::VisitTerminal(CNetworkTerminalSolution* solution,
                                               CNetworkTerminalData* data) {
    if (!Visit(solution, data))
        return false;
    Filling filling(*solution, *data);
    const auto gammas = Gather<ComplexMatrix, CNetworkTerminalData>(
        *solution, [](CNetworkTerminalData& point) { return point.GetGamma(); });
    const auto impedances = Gather<ComplexMatrix, CNetworkTerminalData>(
        *solution, [](CNetworkTerminalData& point) { return point.GetPortImpedance(); });
    std::unique_ptr<ComplexMatrix> gamma, impedance;
    if (Holds(gammas) && !(gamma = filling.Tableau(gammas)))
        return false;
    if (Holds(impedances) && !(impedance = filling.Tableau(impedances)))
        return false;
    if (gamma)
        data->SetGamma(gamma.release(), false);
    if (impedance)
        data->SetPortImpedance(impedance.release(), false);
    return true;
}

bool CNevilleInterpolateVisitor::VisitModal(CNetworkModalSolution* solution, CNetworkModalData* data) {
    if (!Visit(solution, data))
        return false;
    const Filling filling(*solution, *data);
    const auto impedances = Gather<ComplexVector, CNetworkModalData>(
        *solution, [](CNetworkModalData& point) { return point.GetPortImpedance(); });
    auto impedance = filling.Parabola(impedances);
    if (!impedance)
        return false;
    data->SetPortImpedance(impedance.release(), false);

    const auto gammas = Gather<ComplexVector, CNetworkModalData>(
        *solution, [](CNetworkModalData& point) { return point.GetGamma(); });
    if (std::find(gammas.begin(), gammas.end(), nullptr) == gammas.end()) {
        auto gamma = filling.Parabola(gammas);
        if (!gamma)
            return false;
        data->SetGamma(gamma.release(), false);
    }
    const auto transforms = Gather<ComplexMatrix, CNetworkModalData>(
        *solution, [](CNetworkModalData& point) { return point.GetTerminalTransform(); });
    if (const auto transform = filling.Parabola(transforms))
        data->SetTerminalTransform(transform.get());
    return true;
}

bool CNevilleInterpolateVisitor::VisitZephModal(CZephModalSolution* solution, CZephModalData* data) {
    if (!VisitModal(solution, data))
        return false;
    Filling filling(*solution, *data);
    using VectorOf = const ComplexVector* (CZephModalData::*)() const;
    using SetVector = void (CZephModalData::*)(ComplexVector*, bool);
    using MatrixOf = const ComplexMatrix* (CZephModalData::*)() const;
    using SetMatrix = void (CZephModalData::*)(ComplexMatrix*, bool);
    const std::pair<VectorOf, SetVector> vectors[] = {{&CZephModalData::GetZpi, &CZephModalData::SetZpi},
                                                      {&CZephModalData::GetZvi, &CZephModalData::SetZvi},
                                                      {&CZephModalData::GetZpv, &CZephModalData::SetZpv}};
    for (const auto& [get, set] : vectors) {
        const auto samples = Gather<ComplexVector, CZephModalData>(
            *solution, [of = get](CZephModalData& point) { return (point.*of)(); });
        if (!Holds(samples))
            continue;
        auto vector = filling.Parabola(samples);
        if (!vector)
            return false;
        (data->*set)(vector.release(), false);
    }
    const std::pair<MatrixOf, SetMatrix> matrices[] = {
        {&CZephModalData::GetPMatrix, &CZephModalData::SetPMatrix},
        {&CZephModalData::GetTMatrix, &CZephModalData::SetTMatrix}};
    for (const auto& [get, set] : matrices) {
        const auto samples = Gather<ComplexMatrix, CZephModalData>(
            *solution, [of = get](CZephModalData& point) { return (point.*of)(); });
        if (!Holds(samples))
            continue;
        auto matrix = filling.Tableau(samples);
        if (!matrix)
            return false;
        (data->*set)(matrix.release(), false);
    }
    return true;
}
