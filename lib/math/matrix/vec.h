// Vector: a dense vector that owns its elements; ComplexVector, RealVector and IndexVector are its uses.
//
// A value: a copy has its own storage, a move leaves the source empty. A negative length is
// std::bad_array_new_length, as with new[]. Index violations go to the assertion facility, and the access goes
// on after a report. One thread at a time may change a vector.
#pragma once

#include <matrix/complex.h>
#include <utility/assertion.h>

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

#define TARVOK_VEC_ASSERT(expression, text) TARVOK_ASSERT_AT("math/matrix/vec", __LINE__, expression, text)

template <class T>
class Vector {
public:
    Vector() = default;
    // `Complex` elements are zero; `double` and `int` elements are left as allocated.
    explicit Vector(int n) { Allocate(n); }
    Vector(int n, const T& value) {
        Allocate(n);
        fill(value);
    }
    Vector(const Vector& other) {
        Allocate(other.n_);
        std::copy_n(other.v_, n_, v_);
    }
    Vector(Vector&& other) noexcept : v_(std::exchange(other.v_, nullptr)), n_(std::exchange(other.n_, 0)) {}
    // Storage of the same length is kept.
    Vector& operator=(const Vector& other) {
        if (v_ != other.v_) {
            resize(other.n_);
            std::copy_n(other.v_, n_, v_);
        }
        return *this;
    }
    Vector& operator=(Vector&& other) noexcept {
        std::swap(v_, other.v_);
        std::swap(n_, other.n_);
        return *this;
    }
    ~Vector() { Free(); }

    int Size() const { return n_; }
    T* Data() { return v_; }
    const T* Data() const { return v_; }

    // Nothing if the length is the same; else the elements are lost and the new ones are as constructed.
    void resize(int n) {
        if (n == n_)
            return;
        Free();
        Allocate(n);
    }
    void fill(const T& value) { std::fill_n(v_, n_, value); }

    // 0-based.
    T& operator[](int i) {
        TARVOK_VEC_ASSERT(0 <= i, "0<=i");
        TARVOK_VEC_ASSERT(i < n_, "i < n_");
        return v_[i];
    }
    const T& operator[](int i) const { return const_cast<Vector&>(*this)[i]; }
    // 1-based.
    T& operator()(int i) {
        TARVOK_VEC_ASSERT(1 <= i, "1<=i");
        TARVOK_VEC_ASSERT(i <= n_, "i <= n_");
        return v_[i - 1];
    }
    const T& operator()(int i) const { return const_cast<Vector&>(*this)(i); }

private:
    // For a vector without storage.
    void Allocate(int n) {
        TARVOK_VEC_ASSERT(v_ == nullptr, "v_ == NULL");
        if (n < 0)
            throw std::bad_array_new_length();
        if (n == 0)
            return;
        v_ = new T[n]; // only Complex initialises its elements
        n_ = n;
        TARVOK_VEC_ASSERT(v_ != nullptr, "v_ != NULL");
    }
    void Free() {
        delete[] v_;
        v_ = nullptr;
        n_ = 0;
    }

    T* v_ = nullptr; // null when empty
    int n_ = 0;
};

#undef TARVOK_VEC_ASSERT

using ComplexVector = Vector<Complex>;
using RealVector = Vector<double>;
using IndexVector = Vector<int>;
