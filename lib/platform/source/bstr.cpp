#include <platform/bstr.h>

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// In front of the text; its size keeps the text as aligned as the block.
struct alignas(16) Header {
    std::size_t length;
};

// Fresh pages cost more than copying does, so a large block asks for large ones.
void AskForLargePages(void* block, std::size_t bytes) {
    constexpr std::size_t kWorthIt = std::size_t{4} << 20;
    constexpr std::size_t kPage = 4096;
    if (bytes < kWorthIt)
        return;
    auto begin = (reinterpret_cast<std::uintptr_t>(block) + kPage - 1) / kPage * kPage;
    auto end = (reinterpret_cast<std::uintptr_t>(block) + bytes) / kPage * kPage;
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

Header* HeaderOf(BSTR text) {
    return reinterpret_cast<Header*>(text) - 1;
}

// Takes the place of an older block, which may be null.
BSTR Allocate(Header* old, std::size_t length) {
    if (length > kMaxBstrLength)
        return nullptr;
    std::size_t bytes = sizeof(Header) + (length + 1) * sizeof(wchar16);
    auto* header = static_cast<Header*>(std::realloc(old, bytes));
    if (!header)
        return nullptr;
    AskForLargePages(header, bytes);
    header->length = length;
    auto* units = reinterpret_cast<BSTR>(header + 1);
    units[length] = 0;
    return units;
}

} // namespace

BSTR SysAllocStringLen(const wchar16* text, std::size_t length) {
    BSTR units = Allocate(nullptr, length);
    if (units && text)
        std::memcpy(units, text, length * sizeof(wchar16));
    return units;
}

bool SysResizeString(BSTR* text, std::size_t length) {
    BSTR units = Allocate(*text ? HeaderOf(*text) : nullptr, length);
    if (units)
        *text = units;
    return units != nullptr;
}

BSTR SysAllocString(const wchar16* text) {
    return text ? SysAllocStringLen(text, std::char_traits<wchar16>::length(text)) : nullptr;
}

std::size_t SysStringLen(BSTR text) {
    return text ? HeaderOf(text)->length : 0;
}

void SysFreeString(BSTR text) {
    if (text)
        std::free(HeaderOf(text));
}
