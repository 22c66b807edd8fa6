// One stage of a rational fit for numbers side by side: frequencies of one fit, or fits at one frequency. X and the
// coefficients are vectors or one number for all lanes, whichever differs.
//
// The operations are those of CRatPolyFit::Evaluate with what is zero at s = j x left out, so that the results are the
// same to the bit but for the sign of zeros. At a node the factor is zero, whatever finite T it meets. A T that has become
// zero has no reciprocal, and what isn't finite stays so: where the end isn't finite, the value is to be had from
// CRatPolyFit::Evaluate.
#pragma once

#include "lanes.h"

template <class V>
struct StageValue {
    typename V::Numbers re;
    typename V::Numbers im;
};

// T (s^2 + c^2) + a s + b, with the factor c^2 - x^2.
template <class V, class X, class Factor, class Number>
TARVOK_INLINE void Extend(StageValue<V>& t, const X& x, const Factor& factor, const Number& a,
                          const Number& b) {
    const typename V::Numbers product = factor * t.re;
    t.im = product + (t.im - t.re) * factor + a * x;
    t.re = product + b;
}

// T s + b.
template <class V, class X, class Number>
TARVOK_INLINE void ExtendAtDC(StageValue<V>& t, const X& x, const Number& b) {
    const typename V::Numbers product = x * t.re;
    t.re = product - (t.re + t.im) * x + b;
    t.im = product;
}

// 1 / T
template <class V>
TARVOK_INLINE void Invert(StageValue<V>& t) {
    const typename V::Numbers q = t.re * t.re + t.im * t.im;
    t.re = t.re / q;
    t.im = -(t.im / q);
}

template <class V>
TARVOK_INLINE void FindInfinite(const StageValue<V>& t, typename V::Mask& isInfinite) {
    isInfinite = (t.re - t.re != 0.0) | (t.im - t.im != 0.0);
}
