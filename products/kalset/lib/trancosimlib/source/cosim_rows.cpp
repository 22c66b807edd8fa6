#include "cosim_rows.h"

#include <algorithm>
#include <limits>

namespace {

// Rows without a value cost memory and no text, so there is a limit to them.
constexpr std::int32_t kMostEmptyRows = 65'536;

} // namespace

bool ReadCosimRows(io::CAbstract_istream& s, std::int32_t count, std::int32_t length,
                   std::span<CosimRows* const> tables) {
    bool good = !s.Fail() && count >= 0 && length >= 0 && (length > 0 || count <= kMostEmptyRows);
    for (std::size_t row = 0; good && row < static_cast<std::size_t>(count); ++row) {
        for (CosimRows* table : tables) {
            if (table->size() == row)
                table->emplace_back();
            (*table)[row].clear();
        }
        for (std::int32_t i = 0; good && i < length; ++i) {
            for (CosimRows* table : tables) {
                double value = 0;
                s.Read(value);
                (*table)[row].push_back(value);
            }
            good = !s.Fail();
        }
    }
    for (CosimRows* table : tables)
        table->resize(good ? static_cast<std::size_t>(count) : 0);
    return good;
}

bool HasShape(const CosimRows& rows, std::int32_t count, std::int32_t length) {
    return std::cmp_equal(rows.size(), count) &&
           std::ranges::all_of(rows, [&](const auto& row) { return std::cmp_equal(row.size(), length); });
}

std::uint32_t CosimBinarySize(std::int32_t rows, std::int32_t length) {
    constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
    const std::int64_t values = std::int64_t{rows} * length;
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(std::min(values, kMost) * 9 + 20, 0, kMost));
}
