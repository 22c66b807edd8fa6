#include "plain_text.h"

#include <streamio/binary_utils.h>

namespace io {

namespace {

bool IsLead(wchar16 unit) {
    return (unit & 0xFC00) == 0xD800;
}
bool IsTrail(wchar16 unit) {
    return (unit & 0xFC00) == 0xDC00;
}

std::size_t PlainRun(std::string_view bytes, std::size_t from) {
    std::size_t i = from;
    while (i < bytes.size() && static_cast<unsigned char>(bytes[i]) < 0x80)
        ++i;
    return i - from;
}

// The length of the sequence at `at` and the character that it stands for; 0 for a sequence that is damaged.
std::size_t Sequence(std::string_view bytes, std::size_t at, std::uint32_t& point) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
    const std::uint32_t first = byte(0);
    const std::size_t tail = first < 0xC2 ? 0 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : first < 0xF5 ? 3 : 0;
    if (tail == 0 || bytes.size() - at <= tail)
        return 0;
    point = first & (0x3Fu >> tail);
    for (std::size_t i = 1; i <= tail; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
        point = point << 6 | (byte(i) & 0x3Fu);
    }
    static constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    return point < kLeast[tail] || point > 0x10FFFF ? 0 : tail + 1;
}

} // namespace

std::size_t Utf8Length(std::u16string_view text) {
    if (IsPlain(text))
        return text.size();
    std::size_t length = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0x80) {
            length += 1;
        } else if (text[i] < 0x800) {
            length += 2;
        } else if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
            length += 4;
            ++i;
        } else {
            length += 3;
        }
    }
    return length;
}

void AppendUtf8(std::u16string_view text, std::string& out) {
    const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(byte); };
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t point = text[i];
        if (point < 0x80) {
            put(point);
        } else if (point < 0x800) {
            put(0xC0 | point >> 6);
            put(0x80 | (point & 0x3F));
        } else if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (text[++i] & 0x3FFu);
            put(0xF0 | point >> 18);
            put(0x80 | (point >> 12 & 0x3F));
            put(0x80 | (point >> 6 & 0x3F));
            put(0x80 | (point & 0x3F));
        } else {
            put(0xE0 | point >> 12);
            put(0x80 | (point >> 6 & 0x3F));
            put(0x80 | (point & 0x3F));
        }
    }
}

void AppendUtf16(std::string_view bytes, std::u16string& out) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        const std::size_t plain = PlainRun(bytes, i);
        out.append(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                   bytes.begin() + static_cast<std::ptrdiff_t>(i + plain));
        i += plain;
        if (i == bytes.size())
            break;
        std::uint32_t point = 0;
        const std::size_t length = Sequence(bytes, i, point);
        if (length == 0) {
            out += u'\uFFFD';
            ++i;
            continue;
        }
        if (point >= 0x10000) {
            out += static_cast<wchar16>(0xD800 + ((point - 0x10000) >> 10));
            out += static_cast<wchar16>(0xDC00 + (point & 0x3FF));
        } else {
            out += static_cast<wchar16>(point);
        }
        i += length;
    }
}

std::size_t FindInvalidUtf8(std::string_view bytes) {
    std::size_t i = 0;
    while ((i += PlainRun(bytes, i)) < bytes.size()) {
        std::uint32_t point = 0;
        const std::size_t length = Sequence(bytes, i, point);
        if (length == 0)
            return i;
        i += length;
    }
    return std::string_view::npos;
}

} // namespace io
