#include <stringutils/i18nwin32wchar.h>

#include <platform/code_page.h>
#include <stringutils/astring.h>

#include <climits>
#include <cstring>
#include <string_view>

namespace {

// In the order of EncodingId.
constexpr unsigned kCodePages[] = {platform::kCodePageDefault, platform::kCodePageUtf8,
                                   platform::kCodePageOem, platform::kCodePageWestern,
                                   platform::kCodePageShiftJis};

bool IsEncoding(int encoding) {
    return encoding >= 0 && encoding < static_cast<int>(std::size(kCodePages));
}

} // namespace

std::size_t Decode(int encoding, const char* bytes, std::ptrdiff_t length, std::u16string& units) {
    units.clear();
    if (!bytes || length == 0 || !IsEncoding(encoding))
        return 0;
    const std::size_t size = length < 0 ? std::strlen(bytes) : static_cast<std::size_t>(length);
    platform::DecodeBytes(kCodePages[encoding], {bytes, size}, units);
    if (!units.empty() && units.back() == 0)
        units.pop_back();
    return units.size();
}

int Encode(int encoding, const wchar16* units, std::size_t length, AStringBuf& block) {
    if (!units || length == 0 || length >= INT_MAX || !IsEncoding(encoding))
        return 0;
    const unsigned codePage = kCodePages[encoding];
    block.Reserve(static_cast<int>(length) + 1);
    const std::size_t ascii = platform::EncodeAsciiRun(codePage, {units, length}, block.Data());
    std::size_t count = ascii;
    if (ascii < length) {
        const std::u16string_view rest(units + ascii, length - ascii);
        const std::size_t bound = platform::EncodedBound(codePage, rest);
        if (bound == 0 || bound >= INT_MAX - ascii)
            return 0;
        const AStringBuf run = block;
        block.Reserve(static_cast<int>(ascii + bound) + 1);
        if (block.Data() != run.Data())
            std::memcpy(block.Data(), run.Data(), ascii);
        count += platform::EncodeUnits(codePage, rest, block.Data() + ascii);
    }
    return static_cast<int>(count > 0 && block.Data()[count - 1] == 0 ? count - 1 : count);
}

void FormatSystemMessage(std::uint32_t flags, const void* source, std::uint32_t id, std::uint32_t language,
                         AString& out, std::span<const MessageArgument> args) {
    constexpr std::size_t capacity = kSystemMessageCapacity;
    const std::size_t count = platform::FormatMessage(flags, source, id, language, out, capacity, args);
    TARVOK_ASSERT(count < capacity);
}
