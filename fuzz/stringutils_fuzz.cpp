// Text from outside: conversions agree with ICU's plain road and go there and back, numbers are read as the C library
// reads them, and no message format leads anywhere but to a text or an error.
#include <stringutils/astring.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unicode/ustring.h>

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

// Compares the UTF-8 road in both directions. A zero at the end is dropped by Assign and ToNarrow, hence the mark.
void CompareWithPeer(const std::string& bytes) {
    const std::string marked = bytes + '.';
    std::u16string expected(marked.size(), u'\0');
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8WithSub(expected.data(), static_cast<int32_t>(expected.size()), &length, marked.data(),
                         static_cast<int32_t>(marked.size()), 0xFFFD, nullptr, &error);
    expected.resize(static_cast<std::size_t>(length));
    AString units;
    units.Assign(kEncodingUtf8, marked.data(), static_cast<int>(marked.size()));
    Require(units == expected);
    AString again;
    const AStringBuf narrow = units.ToNarrow(kEncodingUtf8);
    again.Assign(kEncodingUtf8, narrow, narrow.GetLength());
    Require(again == units);
}

void CompareNumbers(const AString& text, const std::string& bytes) {
    // Where no byte lies beyond ASCII both readers know the same white space.
    for (char byte : bytes)
        if (byte == '\0' || static_cast<unsigned char>(byte) >= 0x80)
            return;
    static constexpr char kSpace[] = " \t\n\v\f\r";
    const auto wholeIsNumber = [&bytes](const char* end) {
        return end != bytes.c_str() && end[std::strspn(end, kSpace)] == '\0';
    };
    char* end = nullptr;
    const double expected = std::strtod(bytes.c_str(), &end);
    double number = 0;
    const bool good = text.ToDouble(number);
    Require(good == wholeIsNumber(end));
    Require(!good || number == expected || (number != number && expected != expected));
    for (int base : {0, 2, 10, 16, 36}) {
        const long long wide = std::strtoll(bytes.c_str(), &end, base);
        long value = 0;
        const bool isInteger = text.ToLong(value, base);
        Require(isInteger == wholeIsNumber(end));
        Require(!isInteger || value == (wide > INT32_MAX ? INT32_MAX : wide < INT32_MIN ? INT32_MIN : wide));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CompareWithPeer(bytes);

    // The same bytes as units: lone surrogates included.
    const AString units(std::u16string(bytes.begin(), bytes.end()));
    std::u16string raw(size / 2, u'\0');
    std::memcpy(raw.data(), data, raw.size() * 2);
    for (const AString& text : {units, AString(raw)})
        for (int encoding = kEncodingDefault; encoding <= kEncodingShiftJis; ++encoding) {
            const AStringBuf narrow = text.ToNarrow(encoding);
            AString back;
            back.Assign(encoding, narrow, narrow.GetLength());
            Require(back.size() <= text.size());
            AString any;
            any.Assign(encoding, bytes.data(), static_cast<int>(size));
            Require(any.size() <= size);
        }

    CompareNumbers(units, bytes);

    AString out;
    const MessageArgument args[] = {units.c_str(), 12, u"-7"};
    FormatSystemMessage(0x2400, units.c_str(), 0, 0, out, args);
    Require(out.size() < static_cast<std::size_t>(kSystemMessageCapacity));
    Require(out.empty() || GetLastError() == ERROR_SUCCESS);
    return 0;
}
