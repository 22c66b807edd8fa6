// The points of a solution by ascending frequency, each frequency once; the map owns them.
//
//   CFrequencyMap map;
//   map.Insert(std::move(point));
//   for (const auto [frequency, point] : map)
//       ...
//   CNetworkData* found = map.FindFirst(1e9, 1.0);
//
// Frequencies (hertz) are compared exactly, but for FindFirst; a NaN is one frequency behind all others. A lookup takes
// time by the logarithm of the number of points and touches a few cache lines; an insertion moves at most one run of
// neighbours. Pointers to points stay good until the point is erased. One thread at a time.
#pragma once

#include <sparamlib/network_data.h>

#include <cstddef>
#include <iterator>
#include <memory>
#include <vector>

class CFrequencyMap {
public:
    struct Entry {
        double frequency;
        CNetworkData* point;
    };

    class const_iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry*;
        using reference = Entry;

        Entry operator*() const { return (*m_Map).At(m_Run, m_Index); }
        const_iterator& operator++() {
            if (++m_Index == m_Map->m_Runs[m_Run]->count) {
                ++m_Run;
                m_Index = 0;
            }
            return *this;
        }
        const_iterator operator++(int) {
            const_iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const const_iterator& other) const {
            return m_Run == other.m_Run && m_Index == other.m_Index;
        }

    private:
        friend class CFrequencyMap;
        const_iterator(const CFrequencyMap* map, std::size_t run) : m_Map(map), m_Run(run) {}

        const CFrequencyMap* m_Map;
        std::size_t m_Run;
        std::size_t m_Index = 0;
    };

    // The point at exactly this frequency, or null.
    CNetworkData* Find(double frequency) const;
    // The lowest point with |its frequency - frequency| <= tolerance, or null.
    CNetworkData* FindFirst(double frequency, double tolerance) const;
    // Takes a point over, by its frequency. Where that is held already, the held point stays, the new one is
    // destroyed and the result is false.
    bool Insert(std::unique_ptr<CNetworkData> point);
    // Destroys the point at exactly this frequency; false if there is none.
    bool Erase(double frequency);
    void Clear();

    std::size_t Size() const { return m_Size; }
    bool IsEmpty() const { return m_Size == 0; }
    // Of a map with points.
    Entry First() const { return At(0, 0); }
    Entry Last() const { return At(m_Runs.size() - 1, m_Runs.back()->count - 1); }
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, m_Runs.size()}; }

private:
    static constexpr std::size_t kRunLength = 128;

    // Neighbours in ascending order, at least one.
    struct Run {
        std::size_t count = 0;
        double frequencies[kRunLength];
        std::unique_ptr<CNetworkData> points[kRunLength];
    };
    struct Place {
        std::size_t run;
        std::size_t index; // may be the run's count
    };

    Entry At(std::size_t run, std::size_t index) const {
        return {m_Runs[run]->frequencies[index], m_Runs[run]->points[index].get()};
    }
    // The place of the first frequency that isn't less, in the run to which the frequency belongs. There are points.
    Place Locate(double frequency) const;
    bool Holds(const Place& place, double frequency) const;
    void AddRun(std::size_t at, std::unique_ptr<Run> run);

    std::vector<double> m_Firsts; // the first frequency of each run
    std::vector<std::unique_ptr<Run>> m_Runs;
    std::size_t m_Size = 0;
};
