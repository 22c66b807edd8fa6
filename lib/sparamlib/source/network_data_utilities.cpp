#include <sparamlib/network_data_utilities.h>

#include <streamio/streamio_manip.h>

std::int32_t TransferEnumKeyword(io::CBlock& block, bool read, const AString& key, std::int32_t first,
                                 std::int32_t count, const std::u16string_view* table, std::int32_t& value) {
    constexpr std::int32_t kNotMoved = 2;
    if (!read) {
        const std::int64_t index = std::int64_t{value} - first;
        if (index < 0 || index >= count)
            return kNotMoved;
        block.Add(io::CBlockItemPtr(
            new io::CBlock_named_value(key, io::CToken(io::TokenType::SingleQuotedText, table[index]))));
        return 0;
    }
    AString keyword;
    block >> io::CNamed_value_manip<AString>(key, keyword);
    if (!block.IsGood())
        return kNotMoved;
    for (std::int32_t index = 0; index < count; ++index) {
        if (CompareNoCase(keyword.c_str(), table[index].data()) == 0) {
            value = index + first;
            return 0;
        }
    }
    return kNotMoved;
}
