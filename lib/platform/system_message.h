// The error code that each thread keeps, and the texts of codes and messages.
#pragma once

#include <platform/bstr.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// The code of this thread's last failed platform call; 0 at start.
std::uint32_t GetLastError();
void SetLastError(std::uint32_t code);

inline constexpr std::uint32_t ERROR_SUCCESS = 0;
inline constexpr std::uint32_t ERROR_INVALID_FUNCTION = 1;
inline constexpr std::uint32_t ERROR_FILE_NOT_FOUND = 2;
inline constexpr std::uint32_t ERROR_PATH_NOT_FOUND = 3;
inline constexpr std::uint32_t ERROR_ACCESS_DENIED = 5;
inline constexpr std::uint32_t ERROR_INVALID_HANDLE = 6;
inline constexpr std::uint32_t ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr std::uint32_t ERROR_OUTOFMEMORY = 14;
inline constexpr std::uint32_t ERROR_INVALID_PARAMETER = 87;
inline constexpr std::uint32_t ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr std::uint32_t ERROR_MOD_NOT_FOUND = 126;
inline constexpr std::uint32_t ERROR_PROC_NOT_FOUND = 127;
inline constexpr std::uint32_t ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr std::uint32_t ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

inline constexpr std::uint32_t FORMAT_MESSAGE_IGNORE_INSERTS = 0x0200;
inline constexpr std::uint32_t FORMAT_MESSAGE_FROM_STRING = 0x0400;
inline constexpr std::uint32_t FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
inline constexpr std::uint32_t FORMAT_MESSAGE_ARGUMENT_ARRAY = 0x2000;

// One argument of a message: a terminated text, not null, which must outlive the call, or an integer.
class MessageArgument {
public:
    MessageArgument(const wchar16* text) : m_Text(text) {}
    template <std::integral Integer>
    MessageArgument(Integer number) : m_Number(static_cast<std::int64_t>(number)) {}

    const wchar16* Text() const { return m_Text; } // null for an integer
    std::int64_t Number() const { return m_Number; }

private:
    const wchar16* m_Text = nullptr;
    std::int64_t m_Number = 0;
};

namespace platform {

// Replaces `out` by a message of at most `capacity` - 1 units and gives its length. On failure the result is
// 0, `out` is empty and the last error is set; on success the last error is 0.
//
// FORMAT_MESSAGE_FROM_SYSTEM: the English text of the code `id`, a result code or an ERROR_ value.
// ERROR_MR_MID_NOT_FOUND where there is none.
//
// FORMAT_MESSAGE_FROM_STRING, with FORMAT_MESSAGE_ARGUMENT_ARRAY where there are arguments: the expansion of
// the terminated 16-bit text `source`:
//   %1 to %99      the argument, a text; %1 is the first
//   %1!format!     the argument by a printf conversion of integers, characters or text (d i u o x X c C s S,
//   with flags,
//                  width, precision and length); a * takes the argument at this place, and the next is what
//                  is printed. A text that is a decimal integer serves as an integer, and an integer as a
//                  text.
//   %0             the message ends here
//   %n %r %t %b    line feed, carriage return, tab, space
//   %% and any other character behind a %: that character
// With FORMAT_MESSAGE_IGNORE_INSERTS %1 to %99 stay as they stand.
// ERROR_INVALID_PARAMETER for a % at the end, a format that isn't closed or not one of the above, an insert
// without an argument, and flags other than these; ERROR_INSUFFICIENT_BUFFER for a message beyond the
// capacity.
std::size_t FormatMessage(std::uint32_t flags, const void* source, std::uint32_t id, std::uint32_t language,
                          std::u16string& out, std::size_t capacity, std::span<const MessageArgument> args);

} // namespace platform
