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
#include <cstdint>
#include <new>

namespace io {

// The inside of the pool, as far as the usual calls need it at hand.
namespace pool {

struct FreeBlock {
    FreeBlock* next;
};

struct FreeList {
    FreeBlock* head = nullptr;
    std::uint32_t count = 0;
    std::uint32_t most = 0; // what a thread keeps

    void Push(void* block) {
        head = new (block) FreeBlock{head};
        ++count;
    }
    void* Pop() {
        FreeBlock* block = head;
        head = block->next;
        // The next one is wanted soon, and has left the cache.
        __builtin_prefetch(head);
        --count;
        return block;
    }
};

inline constexpr std::size_t kFineLimit = 512; // classes of 16 bytes up to here

// The thread's lists by class; null before its first call and after its last.
extern constinit thread_local FreeList* tLists;

void* Allocate(std::size_t size);
void Free(void* block, std::size_t size) noexcept;

} // namespace pool

// `size` above 0; throws std::bad_alloc.
inline void* PoolAllocate(std::size_t size) {
    if (size <= pool::kFineLimit && pool::tLists) {
        pool::FreeList& list = pool::tLists[(size - 1) / 16];
        if (list.head)
            return list.Pop();
    }
    return pool::Allocate(size);
}

// `size` as it was asked for.
inline void PoolFree(void* block, std::size_t size) noexcept {
    if (size <= pool::kFineLimit && block && pool::tLists) {
        pool::FreeList& list = pool::tLists[(size - 1) / 16];
        if (list.count < list.most)
            return list.Push(block);
    }
    pool::Free(block, size);
}

// Asks the system for large pages under memory that hasn't been touched; nothing for what is too small for them.
void PreferLargePages(void* memory, std::size_t size) noexcept;

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
