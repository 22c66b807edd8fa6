#include <keldasimenginelib/kelda_engine_dispatch.h>

#include <string_view>
#include <tuple>

namespace {

constexpr std::u16string_view kMethods[] = {u"StartAnalysis", u"AbortAnalysis", u"IsAlive",
                                            u"SendCosimPortData", u"SendCosimSourceData"};

bool EqualNoCase(std::u16string_view a, std::u16string_view b) {
    auto lower = [](wchar16 c) { return c >= u'A' && c <= u'Z' ? static_cast<wchar16>(c + 32) : c; };
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lower(a[i]) != lower(b[i]))
            return false;
    return true;
}

// An interface argument as the interface that the method wants; no interface at all is a null pointer.
template <class Interface>
HRESULT Interpret(const VARIANT& value, platform::InterfacePtr<Interface>& out) {
    if (std::holds_alternative<std::monostate>(value))
        return S_OK;
    auto* object = std::get_if<IUnknown*>(&value);
    if (!object)
        return DISP_E_TYPEMISMATCH;
    if (!*object)
        return S_OK;
    void* found = nullptr;
    HRESULT result = (*object)->QueryInterface(Interface::kIid, &found);
    out = platform::InterfacePtr<Interface>::Adopt(static_cast<Interface*>(found));
    return result;
}

template <class T>
HRESULT Interpret(const VARIANT& value, T& out) {
    auto* stored = std::get_if<T>(&value);
    if (!stored)
        return DISP_E_TYPEMISMATCH;
    out = *stored;
    return S_OK;
}

template <class... T>
HRESULT Unpack(std::span<const VARIANT> arguments, T&... out) {
    if (arguments.size() != sizeof...(T))
        return DISP_E_BADPARAMCOUNT;
    std::size_t at = 0;
    HRESULT result = S_OK;
    ((result = Succeeded(result) ? Interpret(arguments[at++], out) : result), ...);
    return result;
}

} // namespace

HRESULT KeldaEngineDispatch::GetIdOfName(const wchar16* name, DISPID* id) {
    if (!name || !id)
        return E_POINTER;
    DISPID number = 0;
    for (std::u16string_view method : kMethods) {
        ++number;
        if (EqualNoCase(method, name)) {
            *id = number;
            return S_OK;
        }
    }
    return DISP_E_UNKNOWNNAME;
}

HRESULT KeldaEngineDispatch::Invoke(DISPID id, std::span<const VARIANT> arguments, VARIANT* result) {
    BSTR text = nullptr;
    HRESULT unpacked;
    switch (id) {
    case 1: {
        platform::InterfacePtr<IKeldaProgressInterface> progress;
        platform::InterfacePtr<IKeldaSolutionInterface> solution;
        BSTR project = nullptr;
        std::int32_t* procid = nullptr;
        unpacked = Unpack(arguments, progress, solution, text, project, procid);
        return Failed(unpacked) ? unpacked
                                : StartAnalysis(progress.Get(), solution.Get(), text, project, procid);
    }
    case 2: {
        std::int32_t procid = 0;
        std::int32_t savestate = 0;
        unpacked = Unpack(arguments, procid, savestate);
        return Failed(unpacked) ? unpacked : AbortAnalysis(procid, savestate);
    }
    case 3: {
        std::int32_t procid = 0;
        std::int32_t alive = 0;
        unpacked = Unpack(arguments, procid);
        HRESULT called = Failed(unpacked) ? unpacked : IsAlive(procid, &alive);
        if (Succeeded(called) && result)
            *result = alive;
        return called;
    }
    case 4:
        unpacked = Unpack(arguments, text);
        return Failed(unpacked) ? unpacked : SendCosimPortData(text);
    case 5:
        unpacked = Unpack(arguments, text);
        return Failed(unpacked) ? unpacked : SendCosimSourceData(text);
    default:
        return DISP_E_MEMBERNOTFOUND;
    }
}
