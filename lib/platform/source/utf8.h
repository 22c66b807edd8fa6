// UTF-8 to and from 16-bit units, with replacement of what is ill-formed.
#pragma once

#include <cstddef>

namespace platform {

// Decodes whole characters from `at`, which moves on, until `end` or until `units` is full, and gives the
// number of units. `capacity` is at least 2.
std::size_t Utf8ToUnits(const unsigned char*& at, const unsigned char* end, char16_t* units,
                        std::size_t capacity);

// At least as many bytes as UnitsToUtf8 writes; exactly as many without surrogates.
std::size_t Utf8Bound(const char16_t* at, const char16_t* end);

// Gives the end of what it has written.
unsigned char* UnitsToUtf8(const char16_t* at, const char16_t* end, unsigned char* bytes);

} // namespace platform
