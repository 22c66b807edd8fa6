// The arguments of a message. Index 0 is the placeholder %1 of its format, index 1 is %2, and so on. One thread at a time.
#pragma once

#include <stringutils/astring.h>

#include <complex>
#include <cstdint>
#include <map>
#include <variant>

enum class ArgumentKind : std::int32_t { kInt, kLong, kBool, kFloat, kDouble, kString, kComplex };

class ArgumentManager {
public:
    virtual ~ArgumentManager() = default;

    // Each replaces what the index held; false for a negative index.
    bool AddInt(std::int32_t value, int index) { return Add(ArgumentKind::kInt, value, index); }
    bool AddLong(std::int32_t value, int index) { return Add(ArgumentKind::kLong, value, index); }
    bool AddBool(bool value, int index) { return Add(ArgumentKind::kBool, value, index); }
    bool AddFloat(float value, int index) { return Add(ArgumentKind::kFloat, value, index); }
    bool AddDouble(double value, int index) { return Add(ArgumentKind::kDouble, value, index); }
    bool AddString(const AString& value, int index) { return Add(ArgumentKind::kString, value, index); }
    bool AddComplex(std::complex<double> value, int index) {
        return Add(ArgumentKind::kComplex, value, index);
    }

    void RemoveArgument(int index);

    // Gives every argument its text; its kind stays.
    void Transform();
    bool IsTransformed() const { return m_Transformed; }

    void Clear();

    // The text of an argument, or null: of a string always, of another kind after Transform.
    const AString* GetArgumentText(int index) const;

protected:
    using Value = std::variant<std::int32_t, bool, float, double, AString, std::complex<double>>;
    struct Argument {
        ArgumentKind kind;
        Value value;
        AString text; // of a kind other than string, after Transform
        bool hasText = false;

        const AString& Text() const {
            return kind == ArgumentKind::kString ? std::get<AString>(value) : text;
        }
    };

    const std::map<int, Argument>& Arguments() const { return m_Arguments; }
    // For a kind whose text depends on the language.
    void SetText(int index, const AString& text);

private:
    bool Add(ArgumentKind kind, Value value, int index);

    bool m_Transformed = false;
    std::map<int, Argument> m_Arguments;
};
