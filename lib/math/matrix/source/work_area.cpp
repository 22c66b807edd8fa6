#include "work_area.h"

#include <new>

namespace {

constexpr std::align_val_t kLine{64}; // of the cache
constexpr std::size_t kLineNumbers = std::size_t(kLine) / sizeof(double);
constexpr std::size_t kKept = (std::size_t(1) << 20) / sizeof(double);

double* Allocate(std::size_t numbers) {
    return static_cast<double*>(::operator new(numbers * sizeof(double), kLine));
}
void Free(double* numbers) {
    ::operator delete(numbers, kLine);
}

struct ThreadArea {
    double* numbers = nullptr;
    std::size_t used = 0;

    ~ThreadArea() { Free(numbers); }
};
thread_local ThreadArea area;

} // namespace

WorkArea::WorkArea(std::size_t numbers)
    : m_Taken((numbers + kLineNumbers - 1) / kLineNumbers * kLineNumbers) {
    ThreadArea& mine = area;
    m_Own = m_Taken > kKept - mine.used;
    if (m_Own) {
        m_Numbers = Allocate(numbers);
        return;
    }
    if (!mine.numbers)
        mine.numbers = Allocate(kKept);
    m_Numbers = mine.numbers + mine.used;
    mine.used += m_Taken;
}

WorkArea::~WorkArea() {
    if (m_Own)
        Free(m_Numbers);
    else
        area.used -= m_Taken;
}
