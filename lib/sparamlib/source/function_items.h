// Function items of a stored block: found by name, taken apart by their arguments in order, and made from sequences.
#pragma once

#include <matrix/vec.h>
#include <streamio/block.h>

#include <cstdint>
#include <string_view>

// The function item of that name in the block, whose property it stays; or null.
inline io::CBlock_func* FindFunction(io::CBlock& block, std::u16string_view name) {
    const auto found = block.Find(name);
    if (found == block.NamesEnd())
        return nullptr;
    io::CBlock_item* item = found->second.Get();
    return item->IsFunc() ? static_cast<io::CBlock_func*>(item) : nullptr;
}

// False, and `out` stays, for what is no plain value of the kind.
inline bool GetArgument(const io::CBlock_func_arg& argument, AString& out) {
    return argument.IsValue() && argument.GetString(out);
}
inline bool GetArgument(const io::CBlock_func_arg& argument, std::int32_t& out) {
    return argument.IsValue() && argument.GetInt(out);
}
inline bool GetArgument(const io::CBlock_func_arg& argument, double& out) {
    return argument.IsValue() && argument.GetDouble(out);
}
inline bool GetArgument(const io::CBlock_func_arg& argument, bool& out) {
    return argument.IsValue() && argument.GetBool(out);
}

// The arguments one after the other. Behind the first that isn't of the wanted kind there are no more.
class CArguments {
public:
    explicit CArguments(const io::CBlock_func& function) : m_Next(function.begin()), m_End(function.end()) {}

    template <class T>
    bool Next(T& out) {
        if (m_Next != m_End && GetArgument(**m_Next, out)) {
            ++m_Next;
            return true;
        }
        m_Next = m_End;
        return false;
    }
    // Two numbers; (0, 0) and false unless both are there.
    bool Next(Complex& out) {
        out = Complex();
        Complex value;
        if (!Next(value.re) || !Next(value.im))
            return false;
        out = value;
        return true;
    }
    std::size_t Left() const { return static_cast<std::size_t>(m_End - m_Next); }

private:
    io::CBlock_func::Args::const_iterator m_Next;
    io::CBlock_func::Args::const_iterator m_End;
};

// Appends the function's arguments that are of the kind; nothing if there is no such function.
template <class T, class Sequence>
void AppendArguments(io::CBlock& block, std::u16string_view name, Sequence& sequence) {
    const io::CBlock_func* function = FindFunction(block, name);
    if (!function)
        return;
    for (const auto& argument : *function) {
        T value{};
        if (GetArgument(*argument, value))
            sequence.push_back(value);
    }
}

// Fills a vector from the function's numbers, in order. Elements that aren't there stay; more than there is room for are an
// assertion.
template <class T>
void FillVector(const io::CBlock_func& function, Vector<T>& vector) {
    CArguments arguments(function);
    T value{};
    for (int i = 0; arguments.Next(value); ++i) {
        TARVOK_ASSERT_AT("math/matrix/vec", __LINE__, i < vector.Size(), "i < n_");
        if (i >= vector.Size())
            break;
        vector[i] = value;
    }
}

// Appends a function item; `write` gives it its arguments.
template <class Write>
void AddFunction(io::CBlock& block, const wchar16* name, const Write& write) {
    auto* function = new io::CBlock_func(AString(name));
    const io::CBlockItemPtr item(function);
    write(*function);
    block.Add(item);
}

// The same with one argument for each element, unless there is none.
template <class Sequence>
void AddSequence(io::CBlock& block, const wchar16* name, const Sequence& sequence) {
    if (sequence.empty())
        return;
    AddFunction(block, name, [&sequence](io::CBlock_func& function) {
        function.Reserve(sequence.size());
        for (const auto& element : sequence)
            function << element;
    });
}
