// Numbers side by side through the same operations, in the width of the processor at hand. Vectors are wider than the
// registers that the build assumes, and go by reference within inlined functions only.
#pragma once

#include <cstddef>
#include <cstdint>

#define TARVOK_INLINE [[gnu::always_inline]] static inline

template <int kWidth>
struct VectorOf {
    typedef double Numbers __attribute__((vector_size(kWidth * sizeof(double))));
    typedef double Unaligned __attribute__((vector_size(kWidth * sizeof(double)), aligned(8), may_alias));
    typedef std::int64_t Mask __attribute__((vector_size(kWidth * sizeof(double))));
    static constexpr int kLanes = kWidth;
};
using V2 = VectorOf<2>;
using V4 = VectorOf<4>;

template <class V>
TARVOK_INLINE void Load(typename V::Numbers& to, const double* from) {
    to = *reinterpret_cast<const typename V::Unaligned*>(from);
}
template <class V>
TARVOK_INLINE void Store(double* to, const typename V::Numbers& from) {
    *reinterpret_cast<typename V::Unaligned*>(to) = from;
}

template <class Mask>
TARVOK_INLINE bool IsAny(const Mask& mask) {
    for (std::size_t lane = 0; lane < sizeof(Mask) / sizeof(std::int64_t); ++lane) {
        if (mask[lane])
            return true;
    }
    return false;
}

#if defined(__x86_64__)
inline bool HasAvx2() {
    static const bool hasAvx2 = __builtin_cpu_supports("avx2");
    return hasAvx2;
}
#endif
