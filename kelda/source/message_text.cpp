#include "message_text.h"

#include <charconv>
#include <optional>

namespace {

bool IsBlank(wchar16 c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

wchar16 Unescaped(wchar16 c) {
    switch (c) {
    case u'a':
        return 0x07;
    case u'b':
        return 0x08;
    case u'f':
        return 0x0C;
    case u'n':
        return 0x0A;
    case u'r':
        return 0x0D;
    case u't':
        return 0x09;
    case u'v':
        return 0x0B;
    case u'0':
        return 0x00;
    default:
        return c;
    }
}

// Walks over the named arguments of a function: `key=value, key=value)`.
class Arguments {
public:
    explicit Arguments(std::u16string_view text) : m_Text(text) {}

    bool AtEnd() {
        while (m_At < m_Text.size() && (IsBlank(m_Text[m_At]) || m_Text[m_At] == u','))
            ++m_At;
        return m_At < m_Text.size() && m_Text[m_At] == u')';
    }

    // The next argument. False where the text ends within it.
    bool Next(std::u16string_view& key, AString& value) {
        std::size_t begin = m_At;
        while (m_At < m_Text.size() && m_Text[m_At] != u'=' && m_Text[m_At] != u',' && m_Text[m_At] != u')')
            ++m_At;
        key = m_Text.substr(begin, m_At - begin);
        while (!key.empty() && IsBlank(key.back()))
            key.remove_suffix(1);
        value.clear();
        if (m_At < m_Text.size() && m_Text[m_At] == u'=') {
            ++m_At;
            return ReadValue(value);
        }
        return m_At < m_Text.size();
    }

private:
    bool ReadValue(AString& value) {
        while (m_At < m_Text.size() && IsBlank(m_Text[m_At]))
            ++m_At;
        if (m_At == m_Text.size())
            return false;
        if (m_Text[m_At] == u'\'' || m_Text[m_At] == u'"')
            return ReadQuoted(m_Text[m_At++], value);
        std::size_t begin = m_At;
        while (m_At < m_Text.size() && m_Text[m_At] != u',' && m_Text[m_At] != u')')
            ++m_At;
        value.Assign(m_Text.data() + begin, m_At - begin);
        value.TrimRight();
        return m_At < m_Text.size();
    }

    bool ReadQuoted(wchar16 quote, AString& value) {
        for (; m_At < m_Text.size(); ++m_At) {
            wchar16 c = m_Text[m_At];
            if (c == quote) {
                ++m_At;
                return true;
            }
            if (c == u'\\' && ++m_At < m_Text.size()) {
                bool lineEnd = m_Text.substr(m_At, 2) == u"\r\n";
                m_At += lineEnd;
                c = lineEnd ? u'\n' : Unescaped(m_Text[m_At]);
            }
            if (m_At < m_Text.size())
                value += c;
        }
        return false;
    }

    std::u16string_view m_Text;
    std::size_t m_At = 0;
};

} // namespace

bool ReadMessageText(std::u16string_view form, MessageText& message) {
    constexpr std::u16string_view kFunction = u"OrvaneMessageFunc(";
    std::size_t function = form.find(kFunction);
    if (function == form.npos)
        return false;
    Arguments arguments(form.substr(function + kFunction.size()));
    int severity = kSeverityInformation;
    AString built;
    std::optional<AString> plain;
    std::u16string_view key;
    AString value;
    while (!arguments.AtEnd()) {
        if (!arguments.Next(key, value))
            return false;
        if (key == u"severity") {
            long number = 0;
            if (value.ToLong(number, 10))
                severity = static_cast<int>(number);
        } else if (key == u"message") {
            built = value;
        } else if (key == u"stringarg0") {
            plain = value;
        }
    }
    if (built.empty() && !plain)
        return false;
    message.severity = severity;
    message.text = built.empty() ? std::move(*plain) : std::move(built);
    return true;
}
