// Memory for the many small objects of a stored tree: items, shared texts, element arrays.
//
// Blocks of one size class are handed out from chunks and used again without going back to the system,
// because fresh pages cost about as much as the parsing of what is put on them. Each thread has free lists of
// its own; a block may be freed on another thread than the one that took it, and what a thread collects
// beyond its need goes to a common depot for the others. Above 64 KB the ordinary heap is used. The pool
// never shrinks: its size is the highest demand. Under the address sanitizer every block comes from the
// ordinary heap, so that misuse is seen.
#pragma once

#include <cstddef>

namespace io {

// `size` above 0; throws std::bad_alloc.
void* PoolAllocate(std::size_t size);

// `size` as it was asked for.
void PoolFree(void* block, std::size_t size) noexcept;

template <class T>
struct PoolAllocator {
    using value_type = T;

    PoolAllocator() = default;
    template <class U>
    PoolAllocator(const PoolAllocator<U>&) {}

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T))
            return static_cast<T*>(PoolAllocate(static_cast<std::size_t>(-1)));
        return static_cast<T*>(PoolAllocate(count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t count) noexcept { PoolFree(block, count * sizeof(T)); }

    friend bool operator==(const PoolAllocator&, const PoolAllocator&) { return true; }
};

} // namespace io
