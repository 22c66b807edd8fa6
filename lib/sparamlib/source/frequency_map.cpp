#include <sparamlib/frequency_map.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// The number of leading frequencies that are `below`. Without a branch on what is compared: the outcome of a search can't
// be foreseen.
template <class Below>
std::size_t CountBelow(const double* frequencies, std::size_t count, const Below& below) {
    const double* first = frequencies;
    while (count > 1) {
        const std::size_t half = count / 2;
        first += below(first[half - 1]) ? half : 0;
        count -= half;
    }
    return static_cast<std::size_t>(first - frequencies) + (count == 1 && below(*first) ? 1 : 0);
}

} // namespace

CFrequencyMap::Place CFrequencyMap::Locate(double frequency) const {
    const FrequencyLess less;
    const std::size_t runs =
        CountBelow(m_Firsts.data(), m_Firsts.size(), [&](double first) { return !less(frequency, first); });
    const std::size_t run = std::max<std::size_t>(runs, 1) - 1;
    return {run, CountBelow(m_Runs[run]->frequencies, m_Runs[run]->count,
                            [&](double held) { return less(held, frequency); })};
}

bool CFrequencyMap::Holds(const Place& place, double frequency) const {
    return place.index < m_Runs[place.run]->count &&
           !FrequencyLess()(frequency, m_Runs[place.run]->frequencies[place.index]);
}

CNetworkData* CFrequencyMap::Find(double frequency) const {
    if (IsEmpty())
        return nullptr;
    const Place place = Locate(frequency);
    return Holds(place, frequency) ? At(place.run, place.index).point : nullptr;
}

CNetworkData* CFrequencyMap::FindFirst(double frequency, double tolerance) const {
    if (IsEmpty() || std::isnan(frequency))
        return nullptr;
    // The rounded difference grows with the held frequency, so that those within tolerance are neighbours.
    const auto below = [&](double held) { return held - frequency < -tolerance; };
    Place place{CountBelow(m_Firsts.data(), m_Firsts.size(), below), 0};
    if (place.run > 0) {
        const Run& run = *m_Runs[place.run - 1];
        const std::size_t index = CountBelow(run.frequencies, run.count, below);
        if (index < run.count)
            place = {place.run - 1, index};
    }
    while (place.run < m_Runs.size()) {
        const auto [held, point] = At(place.run, place.index);
        const double difference = held - frequency;
        if (std::fabs(difference) <= tolerance)
            return point;
        if (!std::isnan(difference)) // of equal infinities, one at either end
            return nullptr;
        if (++place.index == m_Runs[place.run]->count)
            place = {place.run + 1, 0};
    }
    return nullptr;
}

bool CFrequencyMap::Insert(std::unique_ptr<CNetworkData> point) {
    const double frequency = point->GetFrequency();
    if (IsEmpty())
        AddRun(0, std::make_unique<Run>());
    Place place = Locate(frequency);
    if (Holds(place, frequency))
        return false;
    if (m_Runs[place.run]->count == kRunLength) {
        auto next = std::make_unique<Run>();
        Run& full = *m_Runs[place.run];
        // What comes in ascending order fills its runs.
        const bool isAppended = place.run + 1 == m_Runs.size() && place.index == kRunLength;
        const std::size_t kept = isAppended ? kRunLength : kRunLength / 2;
        next->count = kRunLength - kept;
        std::copy(full.frequencies + kept, full.frequencies + kRunLength, next->frequencies);
        std::move(full.points + kept, full.points + kRunLength, next->points);
        AddRun(place.run + 1, std::move(next));
        full.count = kept;
        if (place.index > kept || isAppended)
            place = {place.run + 1, place.index - kept};
    }
    Run& run = *m_Runs[place.run];
    std::copy_backward(run.frequencies + place.index, run.frequencies + run.count,
                       run.frequencies + run.count + 1);
    std::move_backward(run.points + place.index, run.points + run.count, run.points + run.count + 1);
    run.frequencies[place.index] = frequency;
    run.points[place.index] = std::move(point);
    ++run.count;
    ++m_Size;
    m_Firsts[place.run] = run.frequencies[0];
    return true;
}

bool CFrequencyMap::Erase(double frequency) {
    if (IsEmpty())
        return false;
    const Place place = Locate(frequency);
    if (!Holds(place, frequency))
        return false;
    Run& run = *m_Runs[place.run];
    std::copy(run.frequencies + place.index + 1, run.frequencies + run.count, run.frequencies + place.index);
    std::move(run.points + place.index + 1, run.points + run.count, run.points + place.index);
    run.points[--run.count].reset();
    --m_Size;
    if (run.count > 0) {
        m_Firsts[place.run] = run.frequencies[0];
    } else {
        m_Firsts.erase(m_Firsts.begin() + static_cast<std::ptrdiff_t>(place.run));
        m_Runs.erase(m_Runs.begin() + static_cast<std::ptrdiff_t>(place.run));
    }
    return true;
}

void CFrequencyMap::Clear() {
    m_Runs.clear();
    m_Firsts.clear();
    m_Size = 0;
}

void CFrequencyMap::AddRun(std::size_t at, std::unique_ptr<Run> run) {
    const double first = run->count > 0 ? run->frequencies[0] : 0.0;
    m_Firsts.insert(m_Firsts.begin() + static_cast<std::ptrdiff_t>(at), first);
    m_Runs.insert(m_Runs.begin() + static_cast<std::ptrdiff_t>(at), std::move(run));
}
