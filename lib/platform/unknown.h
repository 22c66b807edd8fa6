// The base of the object interfaces and the owner of one counted reference.
//
// Implementations count atomically: any thread may take or drop a reference. An interface pointer that a
// method receives is the caller's; a callee that keeps it takes a reference of its own.
#pragma once

#include <platform/guid.h>
#include <platform/result.h>

#include <atomic>
#include <cstdint>
#include <utility>

class IUnknown {
public:
    static constexpr IID kIid = platform::ParseGuid("00000000-0000-0000-C000-000000000046");

    // Stores a counted reference to the asked interface in `*object`, or null and E_NOINTERFACE.
    virtual HRESULT QueryInterface(const IID& iid, void** object) = 0;
    virtual std::uint32_t AddRef() = 0;
    // Gives the references left; the object is gone at 0.
    virtual std::uint32_t Release() = 0;

protected:
    ~IUnknown() = default;
};

namespace platform {

// Owns one reference to an object behind an interface.
template <class Interface>
class InterfacePtr {
public:
    InterfacePtr() = default;
    // Takes a reference of its own.
    explicit InterfacePtr(Interface* object) : m_Object(object) {
        if (m_Object)
            m_Object->AddRef();
    }
    // Takes over a reference that the caller holds.
    static InterfacePtr Adopt(Interface* object) {
        InterfacePtr pointer;
        pointer.m_Object = object;
        return pointer;
    }
    InterfacePtr(const InterfacePtr& other) : InterfacePtr(other.m_Object) {}
    InterfacePtr(InterfacePtr&& other) noexcept : m_Object(std::exchange(other.m_Object, nullptr)) {}
    InterfacePtr& operator=(InterfacePtr other) noexcept {
        std::swap(m_Object, other.m_Object);
        return *this;
    }
    ~InterfacePtr() {
        if (m_Object)
            m_Object->Release();
    }

    Interface* Get() const { return m_Object; }
    Interface* operator->() const { return m_Object; }
    Interface& operator*() const { return *m_Object; }
    explicit operator bool() const { return m_Object != nullptr; }
    Interface* Detach() { return std::exchange(m_Object, nullptr); }

private:
    Interface* m_Object = nullptr;
};

// Implements IUnknown for a class with one interface that lives on the heap. Starts with one reference, the
// creator's.
template <class Interface>
class CountedObject : public Interface {
public:
    HRESULT QueryInterface(const IID& iid, void** object) override {
        if (!object)
            return E_POINTER;
        *object = iid == Interface::kIid || iid == IUnknown::kIid ? static_cast<Interface*>(this) : nullptr;
        if (!*object)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    std::uint32_t AddRef() override { return m_References.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t Release() override {
        std::uint32_t left = m_References.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    virtual ~CountedObject() = default;

private:
    std::atomic<std::uint32_t> m_References{1};
};

} // namespace platform
