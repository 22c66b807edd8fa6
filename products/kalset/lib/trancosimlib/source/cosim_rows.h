// What the two records have in common: rows of numbers in a stream.
#pragma once

#include <streamio/abstract_istream.h>

#include <cstdint>
#include <span>
#include <vector>

using CosimRows = std::vector<std::vector<double>>;

// Reads `count` rows of `length` values into each table, the tables' values taking turns. What the tables hold is
// replaced and its storage used again. False, with empty tables, when that many values don't stand in the stream or a
// number is negative.
bool ReadCosimRows(io::CAbstract_istream& s, std::int32_t count, std::int32_t length,
                   std::span<CosimRows* const> tables);

// Whether the table has `count` rows of `length` values.
bool HasShape(const CosimRows& rows, std::int32_t count, std::int32_t length);

// 9 x rows x length + 20, as far as 32 bits go.
std::uint32_t CosimBinarySize(std::int32_t rows, std::int32_t length);
