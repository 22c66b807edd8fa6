// Counted 16-bit text, the form in which text crosses the object interfaces.
//
// A BSTR points at its first code unit; its length stands in front of it and a zero unit behind it, so
// embedded zeros and lone surrogates are kept. A null BSTR has length 0. The caller of an interface method
// owns the BSTRs that it passes; the receiver of an [in, out] BSTR frees what it gets back. Any thread may
// use a BSTR, one at a time.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

using wchar16 = char16_t;
using BSTR = wchar16*;

// The longest text that a BSTR may hold, in code units: its size in bytes fits 31 bits.
inline constexpr std::size_t kMaxBstrLength = (std::size_t{1} << 30) - 4;

// A new BSTR with `length` units, copied from `text` or, where that is null, left for the caller to fill (the
// terminator is set). Null when the length exceeds kMaxBstrLength or memory is short.
BSTR SysAllocStringLen(const wchar16* text, std::size_t length);

// A new BSTR of the text up to its terminator; null for a null text.
BSTR SysAllocString(const wchar16* text);

// Makes `*text` longer or shorter, keeping what fits; units beyond the old length are left for the caller to fill. False, with
// the text as it was, where SysAllocStringLen would give null.
bool SysResizeString(BSTR* text, std::size_t length);

// The number of code units, without the terminator.
std::size_t SysStringLen(BSTR text);

void SysFreeString(BSTR text);

namespace platform {

// The owner of one BSTR.
class UniqueBstr {
public:
    UniqueBstr() = default;
    // A copy of the text.
    explicit UniqueBstr(std::u16string_view text) : m_Text(SysAllocStringLen(text.data(), text.size())) {}
    // Takes over a text that the caller owns.
    static UniqueBstr Adopt(BSTR text) {
        UniqueBstr owner;
        owner.m_Text = text;
        return owner;
    }
    explicit UniqueBstr(BSTR) = delete; // copy or take over?
    explicit UniqueBstr(const wchar16* text) : UniqueBstr(std::u16string_view(text)) {}
    UniqueBstr(UniqueBstr&& other) noexcept : m_Text(std::exchange(other.m_Text, nullptr)) {}
    UniqueBstr& operator=(UniqueBstr&& other) noexcept {
        std::swap(m_Text, other.m_Text);
        return *this;
    }
    UniqueBstr(const UniqueBstr&) = delete;
    UniqueBstr& operator=(const UniqueBstr&) = delete;
    ~UniqueBstr() { SysFreeString(m_Text); }

    BSTR Get() const { return m_Text; }
    std::u16string_view View() const { return {m_Text ? m_Text : u"", SysStringLen(m_Text)}; }
    BSTR Release() { return std::exchange(m_Text, nullptr); }

    // For an [in, out] parameter: what the callee leaves is owned from then on.
    BSTR* Address() { return &m_Text; }

private:
    BSTR m_Text = nullptr;
};

} // namespace platform
