// The registry's failures.
#pragma once

#include <platform/result.h>

#include <stdexcept>
#include <string>

namespace registry {

// The file that holds a hive can't be understood.
inline constexpr HRESULT kDamagedStore = static_cast<HRESULT>(0x800703F1);

// The key has been removed since it was opened.
inline constexpr HRESULT kKeyRemoved = static_cast<HRESULT>(0x800703FA);

// `Code` says what kind of failure it is; the text says what was wrong and, where a file is concerned, which
// and where:
//
//   E_ACCESSDENIED   the process, or the rights that the key was opened with, don't allow it
//   E_INVALIDARG     a name, path or text that the store can't hold
//   kDamagedStore    the file isn't what the store writes; it is left as it is
//   kKeyRemoved      the key that should be written is gone
//   E_FAIL           any other failure of the file system, such as a full disk; the file is left as it is
class Error : public std::runtime_error {
public:
    Error(HRESULT code, const std::string& text) : std::runtime_error(text), m_Code(code) {}

    HRESULT Code() const { return m_Code; }

private:
    HRESULT m_Code;
};

} // namespace registry
