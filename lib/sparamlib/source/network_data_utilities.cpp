#include <sparamlib/network_data_utilities.h>

#include <streamio/block.h>

std::int32_t TransferEnumKeyword(io::CBlock& block, bool read, std::u16string_view key, std::int32_t first,
                                 std::int32_t count, const std::u16string_view* table, std::int32_t& value) {
    constexpr std::int32_t kNotMoved = 2;
    if (!read) {
        const std::int64_t index = std::int64_t{value} - first;
        if (index < 0 || index >= count)
            return kNotMoved;
        const auto text = [](std::u16string_view units) {
            return io::CToken(io::TokenType::SingleQuotedText, units);
        };
        block.Add(io::CBlockItemPtr(new io::CBlock_named_value(text(key), text(table[index]))));
        return 0;
    }
    const io::CBlock_named_value* stored = block.FindNamedValue(key);
    AString keyword;
    if (!stored || !stored->GetString(keyword))
        return kNotMoved;
    for (std::int32_t index = 0; index < count; ++index) {
        if (CompareNoCase(keyword.c_str(), table[index].data()) == 0) {
            value = index + first;
            return 0;
        }
    }
    return kNotMoved;
}
