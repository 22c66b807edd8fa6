// Text that a caller hands in as a pointer, where none stands for an empty one.
#pragma once

#include <platform/bstr.h>

#include <string_view>

namespace io {

inline std::u16string_view ViewOf(const wchar16* text) {
    return text ? std::u16string_view(text) : std::u16string_view();
}

} // namespace io
