// Memory for the time of one call, taken from an area that each thread keeps, so that a conversion allocates nothing
// after the first. Areas may be nested, begin at a cache line, and are given back in reverse order.
#pragma once

#include <cstddef>

class WorkArea {
public:
    explicit WorkArea(std::size_t numbers);
    ~WorkArea();
    WorkArea(const WorkArea&) = delete;
    WorkArea& operator=(const WorkArea&) = delete;

    double* Get() const { return m_Numbers; }

private:
    double* m_Numbers;
    std::size_t m_Taken;
    bool m_Own; // too much for the thread's area
};
