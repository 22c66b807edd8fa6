#include "allocation_count.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

std::size_t gAllocations = 0;
std::size_t gBytes = 0;

void* Count(std::size_t size) {
    void* memory = std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    ++gAllocations;
    gBytes += malloc_usable_size(memory);
    return memory;
}

void Uncount(void* memory) {
    if (memory)
        gBytes -= malloc_usable_size(memory);
    std::free(memory);
}

} // namespace

std::size_t Allocations() {
    return gAllocations;
}

std::size_t AllocatedBytes() {
    return gBytes;
}

void* operator new(std::size_t size) {
    return Count(size);
}
void* operator new[](std::size_t size) {
    return Count(size);
}
void operator delete(void* memory) noexcept {
    Uncount(memory);
}
void operator delete[](void* memory) noexcept {
    Uncount(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    Uncount(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    Uncount(memory);
}
