#include <platform/bstr.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// In front of the text; its size keeps the text as aligned as the block.
struct alignas(16) Header {
    std::size_t length;
};

Header* HeaderOf(BSTR text) {
    return reinterpret_cast<Header*>(text) - 1;
}

} // namespace

BSTR SysAllocStringLen(const wchar16* text, std::size_t length) {
    if (length > kMaxBstrLength)
        return nullptr;
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + (length + 1) * sizeof(wchar16)));
    if (!header)
        return nullptr;
    header->length = length;
    auto* units = reinterpret_cast<BSTR>(header + 1);
    if (text)
        std::memcpy(units, text, length * sizeof(wchar16));
    units[length] = 0;
    return units;
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
