// The base of objects that are shared through refptr. The count isn't atomic: an object and all its refptr
// stay on one thread at a time. No virtual operation: an object is destroyed through its own type.
#pragma once

#include <utility/assertion.h>

#include <cstdint>

class mrefcount {
public:
    void Increment() {
        TARVOK_ASSERT_AT("lib/utility/mrefcount", 58, referenceCount >= 0, "referenceCount >= 0");
        ++referenceCount;
    }

    // Gives the references left.
    std::int32_t Decrement() {
        --referenceCount;
        TARVOK_ASSERT_AT("lib/utility/mrefcount", 65, referenceCount >= 0, "referenceCount >= 0");
        return referenceCount;
    }

    std::int32_t GetReferenceCount() const { return referenceCount; }

protected:
    mrefcount() = default;
    // A copy is an object of its own, with references of its own.
    mrefcount(const mrefcount&) {}
    mrefcount& operator=(const mrefcount&) { return *this; }
    ~mrefcount() = default;

private:
    std::int32_t referenceCount = 0;
};
