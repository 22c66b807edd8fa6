#include <streamio/pool_allocator.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>

#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#define STREAMIO_PLAIN_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define STREAMIO_PLAIN_HEAP 1
#endif
#endif
#ifndef STREAMIO_PLAIN_HEAP
#define STREAMIO_PLAIN_HEAP 0
#endif

namespace io {

using pool::FreeList;
using pool::kFineLimit;
using pool::tLists;

constinit thread_local FreeList* pool::tLists = nullptr;

namespace {

constexpr std::size_t kLargest = std::size_t{64} << 10;
constexpr std::size_t kFineClasses = kFineLimit / 16;
// Classes of 16 bytes up to the fine limit, then four to each doubling.
constexpr std::size_t kClasses = kFineClasses + 4 * 7;
constexpr std::size_t kChunk = std::size_t{256} << 10;
// What a thread may keep of one class before it gives half of it away.
constexpr std::size_t kKeepBytes = std::size_t{32} << 20;

constexpr std::size_t ClassOf(std::size_t size) {
    if (size <= kFineLimit)
        return (size - 1) / 16;
    // Above the fine classes: the quarter of the doubling in which the size lies.
    const unsigned log = static_cast<unsigned>(std::bit_width(size - 1)) - 1;
    const std::size_t quarter = ((size - 1) >> (log - 2)) & 3;
    return kFineClasses + 4 * (log - 9) + quarter;
}

constexpr std::size_t SizeOf(std::size_t index) {
    if (index < kFineClasses)
        return 16 * (index + 1);
    const std::size_t log = 9 + (index - kFineClasses) / 4;
    const std::size_t quarter = (index - kFineClasses) % 4;
    return (std::size_t{4} + quarter + 1) << (log - 2);
}

static_assert(SizeOf(ClassOf(1)) == 16 && SizeOf(ClassOf(512)) == 512 && SizeOf(ClassOf(513)) == 640);
static_assert(SizeOf(ClassOf(8192)) == 8192 && SizeOf(ClassOf(kLargest)) == kLargest);
static_assert(ClassOf(kLargest) == kClasses - 1);

// The unused end of a chunk whose thread has ended.
struct OpenChunk {
    OpenChunk* next;
    std::size_t left;
};

// Blocks and ends of chunks that no thread holds. Never destroyed: threads may end after the program's own statics.
struct Depot {
    std::mutex mutex;
    FreeList lists[kClasses];
    OpenChunk* chunks = nullptr;
};

Depot& TheDepot() {
    alignas(Depot) static unsigned char storage[sizeof(Depot)];
    static Depot* depot = new (storage) Depot;
    return *depot;
}

struct ThreadCache {
    FreeList lists[kClasses];
    std::byte* chunk = nullptr;
    std::size_t left = 0;

    ThreadCache() {
        for (std::size_t i = 0; i < kClasses; ++i)
            lists[i].most = static_cast<std::uint32_t>(kKeepBytes / SizeOf(i));
    }
};

constinit thread_local ThreadCache* tCache = nullptr;
constinit thread_local bool tClosed = false;

// Gives what the ending thread holds to the depot.
struct CacheOwner {
    ThreadCache cache;

    CacheOwner() {
        tCache = &cache;
        tLists = cache.lists;
    }
    ~CacheOwner() {
        tCache = nullptr;
        tLists = nullptr;
        tClosed = true;
        Depot& depot = TheDepot();
        const std::lock_guard lock(depot.mutex);
        for (std::size_t i = 0; i < kClasses; ++i) {
            while (cache.lists[i].head)
                depot.lists[i].Push(cache.lists[i].Pop());
        }
        // The next thread goes on with the open chunk: a thread for each job must not cost a chunk for each job.
        if (cache.left >= sizeof(OpenChunk))
            depot.chunks = new (cache.chunk) OpenChunk{depot.chunks, cache.left};
    }
};

ThreadCache* OpenCache() {
    if (tClosed)
        return nullptr;
    thread_local CacheOwner owner;
    return &owner.cache;
}

[[gnu::noinline]] void* AllocateSlow(std::size_t index) {
    ThreadCache* cache = tCache ? tCache : OpenCache();
    Depot& depot = TheDepot();
    const std::size_t size = SizeOf(index);
    {
        const std::lock_guard lock(depot.mutex);
        FreeList& common = depot.lists[index];
        if (common.head) {
            void* block = common.Pop();
            // A batch for the next calls, so that the lock is rare.
            for (std::size_t batch = kChunk / size; cache && batch > 0 && common.head; --batch)
                cache->lists[index].Push(common.Pop());
            return block;
        }
        if (cache && cache->left < sizeof(OpenChunk) && depot.chunks && depot.chunks->left >= size) {
            OpenChunk* chunk = depot.chunks;
            depot.chunks = chunk->next;
            cache->left = chunk->left;
            cache->chunk = reinterpret_cast<std::byte*>(chunk);
        }
    }
    if (!cache)
        return ::operator new(size); // joins the depot when it is freed
    if (cache->left < size) {
        while (cache->left >= 16) {
            std::size_t rest = ClassOf(cache->left < kLargest ? cache->left : kLargest);
            if (SizeOf(rest) > cache->left)
                --rest;
            cache->lists[rest].Push(cache->chunk);
            cache->chunk += SizeOf(rest);
            cache->left -= SizeOf(rest);
        }
        cache->left = 0;
        cache->chunk = static_cast<std::byte*>(::operator new(kChunk));
        cache->left = kChunk;
    }
    void* block = cache->chunk;
    cache->chunk += size;
    cache->left -= size;
    return block;
}

[[gnu::noinline]] void FreeSlow(void* block, std::size_t index) {
    ThreadCache* cache = tCache ? tCache : OpenCache();
    Depot& depot = TheDepot();
    const std::lock_guard lock(depot.mutex);
    depot.lists[index].Push(block);
    if (!cache)
        return;
    FreeList& list = cache->lists[index];
    for (std::size_t half = list.count / 2; half > 0; --half)
        depot.lists[index].Push(list.Pop());
}

} // namespace

void* pool::Allocate(std::size_t size) {
    if (STREAMIO_PLAIN_HEAP || size > kLargest)
        return ::operator new(size);
    const std::size_t index = ClassOf(size);
    if (ThreadCache* cache = tCache) [[likely]] {
        FreeList& list = cache->lists[index];
        if (list.head) [[likely]]
            return list.Pop();
        const std::size_t rounded = SizeOf(index);
        if (cache->left >= rounded) {
            void* block = cache->chunk;
            cache->chunk += rounded;
            cache->left -= rounded;
            return block;
        }
    }
    return AllocateSlow(index);
}

void pool::Free(void* block, std::size_t size) noexcept {
    if (!block)
        return;
    if (STREAMIO_PLAIN_HEAP || size > kLargest) {
        ::operator delete(block);
        return;
    }
    const std::size_t index = ClassOf(size);
    if (ThreadCache* cache = tCache) [[likely]] {
        FreeList& list = cache->lists[index];
        if (list.count < list.most) [[likely]] {
            list.Push(block);
            return;
        }
    }
    FreeSlow(block, index);
}

void PreferLargePages(void* memory, std::size_t size) noexcept {
    constexpr std::size_t kPage = std::size_t{2} << 20;
    if (size < 2 * kPage)
        return;
    const std::size_t before = reinterpret_cast<std::uintptr_t>(memory) % kPage;
    const std::size_t skipped = before == 0 ? 0 : kPage - before;
    // Without them the memory is as good, only slower.
    ::madvise(static_cast<std::byte*>(memory) + skipped, (size - skipped) / kPage * kPage, MADV_HUGEPAGE);
}

} // namespace io
