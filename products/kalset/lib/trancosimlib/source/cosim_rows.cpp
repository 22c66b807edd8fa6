#include "cosim_rows.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace {

// Rows without a value cost memory and no text, so there is a limit to them.
constexpr std::int32_t kMostEmptyRows = 65'536;

// Values are read and written so many at a time: what is declared is believed for no more than that.
constexpr std::size_t kBatch = 512;

// `readBatch(row, begin, end)` makes room for these values of a row and reads them; false if they aren't all there.
template <class ReadBatch>
bool ReadRows(std::int32_t count, std::int32_t length, ReadBatch readBatch) {
    if (count < 0 || length < 0 || (length == 0 && count > kMostEmptyRows))
        return false;
    const auto end = static_cast<std::size_t>(length);
    for (std::size_t row = 0; row < static_cast<std::size_t>(count); ++row) {
        std::size_t at = 0;
        do {
            const std::size_t next = std::min(end, at + kBatch);
            if (!readBatch(row, at, next))
                return false;
            at = next;
        } while (at < end);
    }
    return true;
}

std::vector<double>& RowOf(CosimRows& rows, std::size_t row, std::size_t length) {
    if (rows.size() <= row)
        rows.emplace_back();
    rows[row].resize(length);
    return rows[row];
}

void Finish(CosimRows& rows, bool good, std::int32_t count) {
    rows.resize(good ? static_cast<std::size_t>(count) : 0);
}

} // namespace

bool ReadCosimRows(io::CAbstract_istream& s, std::int32_t count, std::int32_t length, CosimRows& rows) {
    const bool good =
        !s.Fail() && ReadRows(count, length, [&](std::size_t row, std::size_t begin, std::size_t end) {
            return s.ReadDoubles(RowOf(rows, row, end).data() + begin, end - begin) == end - begin;
        });
    Finish(rows, good, count);
    return good;
}

bool ReadCosimPairs(io::CAbstract_istream& s, std::int32_t count, std::int32_t length, CosimRows& first,
                    CosimRows& second) {
    std::array<double, 2 * kBatch> pairs;
    const bool good =
        !s.Fail() && ReadRows(count, length, [&](std::size_t row, std::size_t begin, std::size_t end) {
            if (s.ReadDoubles(pairs.data(), 2 * (end - begin)) != 2 * (end - begin))
                return false;
            double* a = RowOf(first, row, end).data() + begin;
            double* b = RowOf(second, row, end).data() + begin;
            for (std::size_t i = 0; i < end - begin; ++i) {
                a[i] = pairs[2 * i];
                b[i] = pairs[2 * i + 1];
            }
            return true;
        });
    Finish(first, good, count);
    Finish(second, good, count);
    return good;
}

void WriteCosimRows(io::CAbstract_ostream& s, const CosimRows& rows) {
    for (const auto& row : rows)
        s.WriteDoubles(row.data(), row.size());
}

void WriteCosimPairs(io::CAbstract_ostream& s, const CosimRows& first, const CosimRows& second) {
    std::array<double, 2 * kBatch> pairs;
    for (std::size_t row = 0; row < first.size(); ++row) {
        const std::size_t length = first[row].size();
        const std::size_t there = row < second.size() ? std::min(length, second[row].size()) : 0;
        for (std::size_t at = 0; at < length;) {
            std::size_t n = 0;
            for (const std::size_t end = std::min(length, at + kBatch); at < end; ++at) {
                pairs[n++] = first[row][at];
                pairs[n++] = at < there ? second[row][at] : 0.0;
            }
            s.WriteDoubles(pairs.data(), n);
        }
    }
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
