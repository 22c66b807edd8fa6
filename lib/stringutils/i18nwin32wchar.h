// The border between 16-bit text and the platform: conversions by encoding, and the platform's message texts.
// Any thread may call these at any time.
#pragma once

#include <platform/bstr.h>
#include <platform/system_message.h>
#include <stringutils/astring_buf.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

class AString;

// The values of `encoding` in all conversions.
enum EncodingId : int {
    kEncodingDefault = 0, // the locale's character set
    kEncodingUtf8 = 1,
    kEncodingOem = 2,      // follows the locale's character set too
    kEncodingWestern = 3,  // Windows-1252
    kEncodingShiftJis = 4, // Windows-932
};

// Bytes to units, in place of the content of `units`; gives their number, 0 also for an encoding outside the
// table. A negative length means up to the terminator. One zero unit at the end is dropped.
std::size_t Decode(int encoding, const char* bytes, std::ptrdiff_t length, std::u16string& units);

// Units to bytes, into `block`, not terminated (room for a terminator is there); gives their number, 0 also
// for an encoding outside the table or a text whose bytes an int can't count. One zero at the end is dropped.
int Encode(int encoding, const wchar16* units, std::size_t length, AStringBuf& block);

// The longest text of FormatSystemMessage and its terminator.
inline constexpr int kSystemMessageCapacity = 4096;

// Formats a message (see platform::FormatMessage for flags and inserts) and assigns it to `out`. On failure
// `out` is empty and GetLastError tells why.
void FormatSystemMessage(std::uint32_t flags, const void* source, std::uint32_t id, std::uint32_t language,
                         AString& out, std::span<const MessageArgument> args = {});
