// A text as words and numbers with the line they stand on. Lines end with LF, CR LF or CR; a comment goes from "!" to
// the end of its line.
#pragma once

#include "words.h"

#include <algorithm>
#include <fast_float/fast_float.h>
#include <limits>

namespace touchstone {

inline constexpr double kLargest = std::numeric_limits<double>::max();

inline bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}
inline bool IsLineEnd(char c) {
    return c == '\n' || c == '\r';
}
inline bool EndsWord(char c) {
    return IsBlank(c) || IsLineEnd(c) || c == '!';
}

class Scanner {
protected:
    explicit Scanner(std::string_view text) : m_Pos(text.data()), m_End(text.data() + text.size()) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        if (text.starts_with(kByteOrderMark))
            m_Pos += kByteOrderMark.size();
    }

    [[noreturn]] static void Fail(int line, const std::string& text) { throw Error(line, text); }
    [[noreturn]] void Fail(const std::string& text) const { Fail(m_Line, text); }

    // To the next character that says something, over as many lines as it takes; false at the text's end.
    bool Skip() {
        for (; m_Pos != m_End; ++m_Pos) {
            switch (*m_Pos) {
            case ' ':
            case '\t':
                break;
            case '\r':
                if (m_End - m_Pos > 1 && m_Pos[1] == '\n')
                    break;
                [[fallthrough]];
            case '\n':
                ++m_Line;
                break;
            case '!':
                SkipToLineEnd();
                --m_Pos;
                break;
            default:
                return true;
            }
        }
        return false;
    }

    void SkipToLineEnd() { m_Pos = std::find_if(m_Pos, m_End, IsLineEnd); }

    // The next word of the line; empty where the line or its part before a comment ends.
    std::string_view Word() {
        m_Pos = std::find_if_not(m_Pos, m_End, IsBlank);
        const char* const begin = m_Pos;
        m_Pos = std::find_if(m_Pos, m_End, EndsWord);
        return {begin, static_cast<std::size_t>(m_Pos - begin)};
    }

    // The line from here to before the character, or to its end or a comment.
    std::string_view PeekTo(char last) const {
        const char* const end =
            std::find_if(m_Pos, m_End, [last](char c) { return c == last || c == '!' || IsLineEnd(c); });
        return {m_Pos, static_cast<std::size_t>(end - m_Pos)};
    }

    std::string_view PeekWord() const {
        return {m_Pos, static_cast<std::size_t>(std::find_if(m_Pos, m_End, EndsWord) - m_Pos)};
    }

    // How many words are left on the line.
    std::size_t WordsOnLine() {
        std::size_t count = 0;
        while (!Word().empty())
            ++count;
        return count;
    }

    // The next number of the data, which stands here. `least` is what is taken besides finite numbers.
    double Number(double least = -kLargest) {
        const char* begin = m_Pos;
        if (*begin == '+' && m_End - begin > 1 && begin[1] != '-')
            ++begin;
        double value = 0;
        const auto [end, error] = fast_float::from_chars(begin, m_End, value);
        if (error != std::errc{} || (end != m_End && !EndsWord(*end))) [[unlikely]]
            Fail("expected a number, found " + Quoted(PeekWord()));
        if (!(value >= least && value <= kLargest)) [[unlikely]]
            Fail("expected a finite number, found " + Quoted(PeekWord()));
        m_Pos = end;
        m_NumberLine = m_Line;
        return value;
    }

    const char* m_Pos;
    const char* const m_End;
    int m_Line = 1;
    int m_NumberLine = 0; // of the last number read
};

} // namespace touchstone
