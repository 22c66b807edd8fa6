// Calls by name: the part of an interface that scripting hosts use.
#pragma once

#include <platform/bstr.h>
#include <platform/unknown.h>

#include <cstdint>
#include <span>
#include <variant>

using DISPID = std::int32_t;

// An argument or a result of a call by name. A BSTR or an interface stays the caller's; a pointer is an [out]
// place.
using VARIANT = std::variant<std::monostate, std::int32_t, std::int32_t*, BSTR, IUnknown*>;

class IDispatch : public IUnknown {
public:
    static constexpr IID kIid = platform::ParseGuid("00020400-0000-0000-C000-000000000046");

    // The id of a method by its name, without regard to case. DISP_E_UNKNOWNNAME if there is none.
    virtual HRESULT GetIdOfName(const wchar16* name, DISPID* id) = 0;

    // Calls method `id` with its arguments in the order of its declaration; a return value goes to `result`,
    // which may be null. DISP_E_MEMBERNOTFOUND, DISP_E_BADPARAMCOUNT, DISP_E_TYPEMISMATCH; else the method's
    // own result.
    virtual HRESULT Invoke(DISPID id, std::span<const VARIANT> arguments, VARIANT* result) = 0;

protected:
    ~IDispatch() = default;
};
