// What the tests of the stream library have in common: short ways to write texts, tokens and trees.
#pragma once

#include <streamio/binary_utils.h>
#include <streamio/block.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <string_view>

inline AString Wide(std::string_view utf8) {
    std::u16string units;
    io::AppendUtf16(utf8, units);
    return AString(units);
}

inline std::string Narrow(std::u16string_view units) {
    std::string utf8;
    io::AppendUtf8(units, utf8);
    return utf8;
}

// A binary text as its bytes: numbers by their value, runs of letters in quotes would be harder to read.
inline std::string Bytes(const AString& text) {
    std::string bytes;
    for (const wchar16 unit : text)
        bytes += (bytes.empty() ? "" : " ") + std::to_string(static_cast<unsigned>(unit));
    return bytes;
}

// Each token as Kind'text' or Kind number, with blanks between; the Eof at the end is left out.
inline std::string Tokens(io::CToken_istream& s) {
    std::string result;
    io::CToken_streambuf& buffer = *s.GetBuffer();
    while (buffer.PeekToken().GetType() != io::TokenType::Eof) {
        const io::CToken& token = buffer.PeekToken();
        result += result.empty() ? "" : " ";
        result += io::GetTokenTypeName(token.GetType());
        if (token.IsNumber()) {
            char number[40];
            std::snprintf(number, sizeof number, " %.17g", token.GetDouble());
            result += number;
        }
        if (token.HasText())
            result += "'" + Narrow(token.GetText()) + "'";
        buffer.NextToken();
    }
    return result;
}

inline std::string Tokens(std::string_view text, const io::CBase_grammar& grammar = io::DefaultTokenGrammar(),
                          std::uint32_t flags = 0) {
    io::CToken_istring s(Wide(text), &grammar, flags);
    return Tokens(s);
}

inline std::string Text(const io::CStreamio_object& object) {
    AString text;
    return Narrow(object.ToText(text));
}

inline std::string Text17(const io::CStreamio_object& object) {
    AString text;
    return Narrow(object.ToText(text, 0, 17));
}

inline std::string Errors(const io::CBlock& block) {
    std::list<AString> errors;
    block.CollectErrors(errors, true);
    std::string result;
    for (const AString& error : errors)
        result += Narrow(error) + "\n";
    return result;
}

// A block read from its text.
inline io::CBlock Parsed(std::string_view text) {
    io::CBlock block;
    block.FromText(Wide(text));
    return block;
}

// The items of a block "B" as text, one a line, without the block's own lines and indentation.
inline std::string Items(std::string_view lines) {
    const std::string text = Text(Parsed("$begin B\n" + std::string(lines) + "\n$end B\n"));
    std::string items = text.substr(9, text.size() - 9 - 7);
    for (std::size_t at = 0; (at = items.find('\t', at)) != std::string::npos;)
        items.erase(at, 1);
    return items;
}

// What `write` puts on a stream.
template <class Write>
std::string Written(Write write, const io::CBase_grammar& grammar = io::DefaultTokenGrammar(),
                    std::uint32_t flags = 0) {
    io::CToken_ostring s(&grammar, 0, flags);
    write(s);
    AString text;
    return Narrow(s.GetText(text));
}

// The same in binary form, as bytes without the opening one.
template <class Write>
std::string WrittenBytes(Write write) {
    io::CToken_ostring s(0, true, &io::DefaultTokenGrammar());
    write(s);
    AString text;
    s.GetText(text);
    EXPECT_EQ(text.at(0), u'\0');
    return Bytes(AString(text.substr(1)));
}
