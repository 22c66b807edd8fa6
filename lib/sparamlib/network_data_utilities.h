// The enumerations of network data with the keywords under which they are stored, the numbering of a point's
// quantities, and the order of frequencies.
//
// A field of 32 bits holds an enumeration's value; it may hold one that has no name. All tables are constant and
// free for every thread.
#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include <stringutils/astring.h>

namespace io {
class CBlock;
}

// The class of a solution, key "ObjectType".
enum class ObjectType : std::int32_t { None, Modal, Terminal, ZephModal, ZephTerminal };

// How a solution answers a frequency that it doesn't hold, key "SolutionType".
enum class SolutionType : std::int32_t {
    None,
    Adaptive,
    DiscreteSweep,
    CircuitData,
    InterpolateNeville,
    ZephFastSweep,
    ZephInterpolatingSweep
};

// The origin of a point, key "DataType".
enum class DataType : std::int32_t { None, Interpolated, Extrapolated, ExactPoint };

// Key "NoiseSolutionType".
enum class NoiseSolutionType : std::int32_t { NoiseResistance, NoiseFigure };

// Tables of keywords, by an enumeration's value. Every text ends with a zero unit.
inline constexpr std::u16string_view kObjectTypeKeywords[] = {u"None", u"Modal", u"Terminal", u"ZephModal",
                                                              u"ZephTerminal"};
inline constexpr std::u16string_view kSolutionTypeKeywords[] = {u"None",
                                                                u"Adaptive",
                                                                u"DiscreteSweep",
                                                                u"CircuitData",
                                                                u"InterpolateNeville",
                                                                u"ZephFastSweep",
                                                                u"ZephInterpolatingSweep"};
inline constexpr std::u16string_view kDataTypeKeywords[] = {u"None", u"Interpolated", u"Extrapolated",
                                                            u"ExactPoint"};
inline constexpr std::u16string_view kNoiseSolutionTypeKeywords[] = {u"NoiseResistance", u"NoiseFigure"};
// Which solution is meant; no field is stored by it.
inline constexpr std::u16string_view kSolutionChoiceKeywords[] = {
    u"None", u"Default", u"Any", u"All", u"EMFastSweep", u"EMDiscreteSweep", u"EMCircuitEquivalent"};

// One quantity of a point, by a bit. Indices are (row, column), or (i, i) where a quantity is a vector's.
enum class NetworkDataKind : std::int32_t {
    SMatrix = 1,
    YMatrix = 2,       // siemens
    ZMatrix = 4,       // ohms
    PortImpedance = 8, // ohms; a vector on modal points, a matrix on terminal points
    Gamma = 16,        // propagation constant, as PortImpedance
    Vswr = 32,         // standing wave ratio of port i; computed, read only
    Zpi = 64,          // the three port impedances that a field solver offers, (i, i)
    Zvi = 128,
    Zpv = 256,
    TMatrix = 512, // a field solver's two transforms
    PMatrix = 1024,
    TerminalSMatrix = 2048, // of the terminal form of a modal point
    TerminalYMatrix = 4096,
    TerminalZMatrix = 8192,
    TerminalPortImpedance = 16384,
    TerminalGamma = 32768
};

// Moves a field to or from a keyword; keyword k of the `count` first of `table` stands for the value
// `first` + k. Gives 0, or 2 where nothing was moved:
// - reading, if the block has no text under `key` or the table has no such keyword (case doesn't count);
//   `value` stays;
// - writing, if `value` lies outside the table; nothing is added to the block.
std::int32_t TransferEnumKeyword(io::CBlock& block, bool read, std::u16string_view key, std::int32_t first,
                                 std::int32_t count, const std::u16string_view* table, std::int32_t& value);

template <class Enum>
requires std::is_enum_v<Enum> std::int32_t
TransferEnumKeyword(io::CBlock& block, bool read, std::u16string_view key, std::int32_t first,
                    std::int32_t count, const std::u16string_view* table, Enum& value) {
    auto number = static_cast<std::int32_t>(value);
    const std::int32_t result = TransferEnumKeyword(block, read, key, first, count, table, number);
    value = static_cast<Enum>(number);
    return result;
}

// Ascending frequencies, compared exactly. A NaN, which a binary text can hold, is one frequency behind all
// others, so that it takes the place of no other point.
struct FrequencyLess {
    bool operator()(double a, double b) const { return a < b || (std::isnan(b) && !std::isnan(a)); }
};
