// Shared ownership of an object that derives from mrefcount, on one thread at a time.
#pragma once

#include <utility/mrefcount.h>

#include <cstddef>
#include <utility>

template <class T>
class refptr {
public:
    refptr() = default;
    refptr(std::nullptr_t) {}
    refptr(T* object) : pRep(object) { Take(); }
    refptr(const refptr& other) : pRep(other.pRep) { Take(); }
    refptr(refptr&& other) noexcept : pRep(std::exchange(other.pRep, nullptr)) {}
    ~refptr() {
        if (pRep && pRep->Decrement() == 0)
            delete pRep;
    }

    refptr& operator=(const refptr& other) {
        if (pRep == other.pRep)
            return *this;
        // The old object goes last: it may be what holds `other`.
        T* old = pRep && pRep->Decrement() == 0 ? pRep : nullptr;
        pRep = other.pRep;
        Take();
        delete old;
        return *this;
    }
    refptr& operator=(refptr&& other) noexcept {
        refptr taken(std::move(other)); // and the old object goes last; assigned to itself it comes back
        std::swap(pRep, taken.pRep);
        return *this;
    }

    T* operator->() const {
        TARVOK_ASSERT_AT("lib/utility/refptr", 109, pRep, "pRep");
        return pRep;
    }
    T& operator*() const {
        TARVOK_ASSERT_AT("lib/utility/refptr", 114, pRep, "pRep");
        return *pRep;
    }

    T* Get() const { return pRep; }
    explicit operator bool() const { return pRep != nullptr; }
    friend bool operator==(const refptr& a, const refptr& b) { return a.pRep == b.pRep; }
    friend bool operator==(const refptr& a, std::nullptr_t) { return a.pRep == nullptr; }

private:
    void Take() {
        if (pRep)
            pRep->Increment();
    }

    T* pRep = nullptr;
};
