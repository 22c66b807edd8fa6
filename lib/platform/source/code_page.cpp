#include <platform/code_page.h>

#include "ascii.h"
#include "utf8.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <array>
#include <langinfo.h>
#include <locale.h>
#include <memory>

namespace platform {
namespace {

constexpr std::size_t kChunk =
    2048; // units that are decoded at once, small enough to stay in the nearest cache

struct ConverterCloser {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};

// The bytes of code page 932 that stand alone but are no characters of the standard, and their units.
struct Single {
    unsigned char byte;
    char16_t unit;
};
constexpr Single kShiftJisSingles[] = {
    {0x80, 0x80}, {0xA0, 0xA0}, {0xFD, 0xF8F1}, {0xFE, 0xF8F2}, {0xFF, 0xF8F3}};

// ICU's converter for this page exchanges three control characters in a ring, as old terminals did; these
// undo it.
template <class Char>
void UndoRing(Char* at, Char* end, const Char (&from)[3], const Char (&to)[3]) {
    for (; at < end; ++at)
        if (const Char* found = std::find(from, from + 3, *at); found != from + 3)
            *at = to[found - from];
}
void UndoRingOfUnits(char16_t* at, char16_t* end) {
    UndoRing<char16_t>(at, end, {0x1C, 0x7F, 0x1A}, {0x1A, 0x1C, 0x7F});
}
void UndoRingOfBytes(char* at, char* end) {
    UndoRing<char>(at, end, {0x1A, 0x1C, 0x7F}, {0x1C, 0x7F, 0x1A});
}

bool IsBad(UConverterCallbackReason reason) {
    return reason == UCNV_UNASSIGNED || reason == UCNV_ILLEGAL || reason == UCNV_IRREGULAR;
}

void ReplaceBytes(const void* context, UConverterToUnicodeArgs* args, const char* bytes, int32_t length,
                  UConverterCallbackReason reason, UErrorCode* error) {
    if (!IsBad(reason))
        return;
    *error = U_ZERO_ERROR;
    UChar replacement = 0xFFFD;
    if (context) { // code page 932
        replacement = 0x30FB;
        for (const Single& single : kShiftJisSingles)
            if (length == 1 && static_cast<unsigned char>(bytes[0]) == single.byte)
                replacement = single.unit;
    }
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, error);
}

void ReplaceUnits(const void* context, UConverterFromUnicodeArgs* args, const UChar* units, int32_t length,
                  UChar32, UConverterCallbackReason reason, UErrorCode* error) {
    if (!IsBad(reason))
        return;
    *error = U_ZERO_ERROR;
    if (context && length == 1)
        for (const Single& single : kShiftJisSingles)
            if (units[0] == single.unit) {
                const char byte = static_cast<char>(single.byte);
                ucnv_cbFromUWriteBytes(args, &byte, 1, 0, error);
                return;
            }
    ucnv_cbFromUWriteBytes(args, "??", std::min<int32_t>(length, 2), 0, error);
}

struct Converter {
    std::unique_ptr<UConverter, ConverterCloser> object;
    bool isShiftJis = false;
    bool asciiIsPlain = false; // ASCII bytes are ASCII characters
};

Converter Open(const char* name, bool isShiftJis) {
    UErrorCode error = U_ZERO_ERROR;
    Converter converter;
    converter.isShiftJis = isShiftJis;
    converter.object.reset(ucnv_open(name, &error));
    if (U_FAILURE(error)) {
        converter.object.reset();
        return converter;
    }
    UConverter* object = converter.object.get();
    ucnv_setFallback(object, true);
    const void* context = isShiftJis ? kShiftJisSingles : nullptr;
    ucnv_setToUCallBack(object, ReplaceBytes, context, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(object, ReplaceUnits, context, nullptr, nullptr, &error);

    char bytes[128];
    UChar units[128];
    for (int i = 0; i < 128; ++i)
        bytes[i] = static_cast<char>(i);
    const int32_t length = ucnv_toUChars(object, units, 128, bytes, 128, &error);
    if (isShiftJis)
        UndoRingOfUnits(units, units + 128);
    converter.asciiIsPlain = U_SUCCESS(error) && length == 128 && std::equal(units, units + 128, bytes);
    return converter;
}

// The name of the locale's character set, or empty where that is UTF-8. A program that hasn't set a locale,
// or has the plain "C" one, would lose every character beyond ASCII, so there UTF-8 is taken, of which ASCII
// is a part.
const std::string& DefaultCharset() {
    static const std::string charset = [] {
        std::string name;
        if (locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr)) {
            name = nl_langinfo_l(CODESET, locale);
            freelocale(locale);
        }
        if (name == "UTF-8" || name == "ANSI_X3.4-1968" || !Open(name.c_str(), false).object)
            name.clear();
        return name;
    }();
    return charset;
}

bool IsUtf8(unsigned codePage) {
    return codePage == kCodePageUtf8 ||
           ((codePage == kCodePageDefault || codePage == kCodePageOem) && DefaultCharset().empty());
}

// This thread's converter for a code page that isn't UTF-8, or null. Opening is slow, so it is kept.
const Converter* ConverterOf(unsigned codePage) {
    enum { Default, ShiftJis, Western, Count };
    thread_local std::array<Converter, Count> converters;
    const auto fetch = [](Converter& converter, const char* name, bool isShiftJis) {
        if (!converter.object)
            converter = Open(name, isShiftJis);
        return converter.object ? &converter : nullptr;
    };
    switch (codePage) {
    case kCodePageDefault:
    case kCodePageOem:
        return fetch(converters[Default], DefaultCharset().c_str(), false);
    case kCodePageShiftJis:
        return fetch(converters[ShiftJis], "windows-932", true);
    case kCodePageWestern:
        return fetch(converters[Western], "windows-1252", false);
    default:
        return nullptr;
    }
}

void DecodeUtf8(std::string_view bytes, std::u16string& units) {
    auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = at + bytes.size();
    char16_t buffer[kChunk];
    while (at < end) {
        const auto* before = at;
        const std::size_t count = Utf8ToUnits(at, end, buffer, kChunk);
        // If the rest is like this chunk, it comes to this many units; a text of one chunk takes what it
        // needs.
        const std::size_t expected =
            static_cast<std::size_t>(end - at) * count / static_cast<std::size_t>(at - before);
        if (const std::size_t needed = units.size() + count + expected; needed > units.capacity())
            units.reserve(needed);
        units.append(buffer, count);
    }
}

void DecodeByConverter(const Converter& converter, std::string_view bytes, std::u16string& units) {
    UConverter* object = converter.object.get();
    ucnv_resetToUnicode(object);
    const char* at = bytes.data();
    const char* end = at + bytes.size();
    char16_t buffer[kChunk];
    UErrorCode error;
    do {
        error = U_ZERO_ERROR;
        UChar* target = buffer;
        ucnv_toUnicode(object, &target, buffer + kChunk, &at, end, nullptr, true, &error);
        if (converter.isShiftJis)
            UndoRingOfUnits(buffer, target);
        units.append(buffer, static_cast<std::size_t>(target - buffer));
    } while (error == U_BUFFER_OVERFLOW_ERROR);
}

} // namespace

bool DecodeBytes(unsigned codePage, std::string_view bytes, std::u16string& units) {
    if (IsUtf8(codePage)) {
        DecodeUtf8(bytes, units);
        return true;
    }
    const Converter* converter = ConverterOf(codePage);
    if (!converter)
        return false;
    units.reserve(units.size() + bytes.size());
    if (converter->asciiIsPlain) {
        auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
        char16_t buffer[kChunk];
        std::size_t count;
        do {
            count = WidenAscii(at, std::min(bytes.size(), kChunk), buffer);
            units.append(buffer, count);
            bytes.remove_prefix(count);
            at += count;
        } while (count == kChunk);
    }
    if (!bytes.empty())
        DecodeByConverter(*converter, bytes, units);
    return true;
}

std::size_t EncodeAsciiRun(unsigned codePage, std::u16string_view units, char* bytes) {
    const Converter* converter = IsUtf8(codePage) ? nullptr : ConverterOf(codePage);
    const bool isPlain = converter ? converter->asciiIsPlain : IsUtf8(codePage);
    return isPlain ? NarrowAscii(units.data(), units.size(), reinterpret_cast<unsigned char*>(bytes)) : 0;
}

std::size_t EncodedBound(unsigned codePage, std::u16string_view units) {
    if (units.empty())
        return 0;
    if (IsUtf8(codePage))
        return Utf8Bound(units.data(), units.data() + units.size());
    const Converter* converter = ConverterOf(codePage);
    if (!converter)
        return 0;
    // ICU wants room for ten units more, for what a converter may add at its ends.
    return (units.size() + 10) * static_cast<std::size_t>(ucnv_getMaxCharSize(converter->object.get()));
}

std::size_t EncodeUnits(unsigned codePage, std::u16string_view units, char* bytes) {
    if (IsUtf8(codePage)) {
        auto* out = reinterpret_cast<unsigned char*>(bytes);
        return static_cast<std::size_t>(UnitsToUtf8(units.data(), units.data() + units.size(), out) - out);
    }
    const Converter* converter = ConverterOf(codePage);
    if (!converter || units.empty())
        return 0;
    UConverter* object = converter->object.get();
    ucnv_resetFromUnicode(object);
    char* target = bytes;
    const char* limit = bytes + EncodedBound(codePage, units);
    const UChar* at = units.data();
    UErrorCode error = U_ZERO_ERROR;
    ucnv_fromUnicode(object, &target, limit, &at, units.data() + units.size(), nullptr, true, &error);
    if (converter->isShiftJis)
        UndoRingOfBytes(bytes, target);
    return static_cast<std::size_t>(target - bytes);
}

} // namespace platform
