// What the two records have in common: rows of numbers in a stream.
#pragma once

#include <streamio/abstract_istream.h>
#include <streamio/abstract_ostream.h>

#include <cstdint>
#include <vector>

using CosimRows = std::vector<std::vector<double>>;

// Reads `count` rows of `length` values. What the table holds is replaced and its storage used again. False, with an empty
// table, when that many values don't stand in the stream or a number is negative.
bool ReadCosimRows(io::CAbstract_istream& s, std::int32_t count, std::int32_t length, CosimRows& rows);

// The same for two tables whose values take turns.
bool ReadCosimPairs(io::CAbstract_istream& s, std::int32_t count, std::int32_t length, CosimRows& first,
                    CosimRows& second);

void WriteCosimRows(io::CAbstract_ostream& s, const CosimRows& rows);
// Where `second` lacks a value, 0.0 is written.
void WriteCosimPairs(io::CAbstract_ostream& s, const CosimRows& first, const CosimRows& second);

// Whether the table has `count` rows of `length` values.
bool HasShape(const CosimRows& rows, std::int32_t count, std::int32_t length);

// 9 x rows x length + 20, as far as 32 bits go.
std::uint32_t CosimBinarySize(std::int32_t rows, std::int32_t length);
