// Identifiers of interfaces, classes and libraries.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

struct GUID {
    std::array<std::uint8_t, 16> bytes{}; // in the order in which the text form shows them

    friend constexpr auto operator<=>(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;

namespace platform {

// From the text form 8-4-4-4-12 in hexadecimal digits, without braces. Throws std::invalid_argument
// otherwise, which makes a wrong literal an error of compilation.
constexpr GUID ParseGuid(std::string_view text) {
    auto digit = [](char c) -> std::uint8_t {
        if (c >= '0' && c <= '9')
            return static_cast<std::uint8_t>(c - '0');
        if (c >= 'A' && c <= 'F')
            return static_cast<std::uint8_t>(c - 'A' + 10);
        if (c >= 'a' && c <= 'f')
            return static_cast<std::uint8_t>(c - 'a' + 10);
        throw std::invalid_argument("a GUID holds hexadecimal digits and '-'");
    };
    if (text.size() != 36)
        throw std::invalid_argument("a GUID has 36 characters");
    GUID guid;
    std::size_t at = 0;
    for (std::uint8_t& byte : guid.bytes) {
        if (at == 8 || at == 13 || at == 18 || at == 23) {
            if (text[at] != '-')
                throw std::invalid_argument("a GUID's groups are divided by '-'");
            ++at;
        }
        byte = static_cast<std::uint8_t>(digit(text[at]) << 4 | digit(text[at + 1]));
        at += 2;
    }
    return guid;
}

// The text form in braces, with capital digits: {B3F0D28E-8292-459B-99EC-A63BADEF1FA0}.
inline std::string ToString(const GUID& guid) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "{";
    for (std::size_t i = 0; i < guid.bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        text += kDigits[guid.bytes[i] >> 4];
        text += kDigits[guid.bytes[i] & 15];
    }
    return text + '}';
}

} // namespace platform
