// What a registry holds: keys in a tree, each with named values.
//
// Names are compared without regard to case and keep the spelling in which they were first written. A path
// names a key below another, its names divided by '\'; empty names between two divisions, in front and behind
// count as nothing, and the empty path is the key itself. The value with the empty name is the key's default
// value.
//
// A tree belongs to one thread at a time.
#pragma once

#include <stringutils/astring.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace registry {

// A text, a 32-bit number or bytes.
using Value = std::variant<AString, std::uint32_t, std::vector<std::uint8_t>>;

struct NameLess {
    bool operator()(const AString& a, const AString& b) const { return a.CompareNoCase(b) < 0; }
};

// The deepest key that a path may name, counted in names.
inline constexpr std::size_t kMaxDepth = 512;

class KeyNode {
public:
    using Keys = std::map<AString, std::unique_ptr<KeyNode>, NameLess>;
    using Values = std::map<AString, Value, NameLess>;

    const Keys& GetKeys() const { return m_Keys; }
    const Values& GetValues() const { return m_Values; }

    // Null where there is no such key.
    const KeyNode* Find(const AString& path) const;
    KeyNode* Find(const AString& path);

    // The key, made with all that lead to it where it is missing. Throws Error (E_INVALIDARG) for a name with
    // a zero unit, a name that is no well-formed UTF-16, and a path deeper than kMaxDepth.
    KeyNode& Create(const AString& path);

    // Removes the key with everything below it; false where there is none, and for the empty path.
    bool Remove(const AString& path);

    // Null where there is no such value.
    const Value* Get(const AString& name) const;

    // Throws Error (E_INVALIDARG) for a name as in Create and for a text that is no well-formed UTF-16.
    void Set(const AString& name, Value value);

    // False where there is no such value.
    bool RemoveValue(const AString& name);

private:
    Keys m_Keys;
    Values m_Values;
};

// A path for people.
std::string ToUtf8(const AString& text);
// Of valid UTF-8; zero bytes stay.
AString FromUtf8(const std::string& text);

} // namespace registry
