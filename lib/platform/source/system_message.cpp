#include <platform/system_message.h>

#include <platform/result.h>
#include <platform/wide_format.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

namespace {
thread_local std::uint32_t lastError = ERROR_SUCCESS;
}

std::uint32_t GetLastError() {
    return lastError;
}
void SetLastError(std::uint32_t code) {
    lastError = code;
}

namespace platform {
namespace {

constexpr struct {
    std::uint32_t code;
    std::u16string_view text;
} kTexts[] = {
    {ERROR_SUCCESS, u"The operation succeeded."},
    {ERROR_INVALID_FUNCTION, u"The function isn't one that this call knows."},
    {ERROR_FILE_NOT_FOUND, u"The file was not found."},
    {ERROR_PATH_NOT_FOUND, u"The folder was not found."},
    {ERROR_ACCESS_DENIED, u"Access is denied."},
    {ERROR_INVALID_HANDLE, u"The handle is not valid."},
    {ERROR_NOT_ENOUGH_MEMORY, u"There is not enough memory for this command."},
    {ERROR_OUTOFMEMORY, u"There is not enough memory for this operation."},
    {ERROR_INVALID_PARAMETER, u"A parameter is not valid."},
    {ERROR_INSUFFICIENT_BUFFER, u"The data doesn't fit the buffer that was given for it."},
    {ERROR_MOD_NOT_FOUND, u"The library was not found."},
    {ERROR_PROC_NOT_FOUND, u"The library doesn't have the entry."},
    {ERROR_MR_MID_NOT_FOUND, u"There is no message text for this number."},
    {ERROR_RESOURCE_NAME_NOT_FOUND, u"The library doesn't hold the text that was asked for."},
    {static_cast<std::uint32_t>(E_NOTIMPL), u"Not implemented."},
    {static_cast<std::uint32_t>(E_NOINTERFACE), u"The object doesn't have this interface."},
    {static_cast<std::uint32_t>(E_POINTER), u"A pointer is null or not valid."},
    {static_cast<std::uint32_t>(E_FAIL), u"Unspecified failure."},
    {static_cast<std::uint32_t>(E_UNEXPECTED), u"Unexpected failure."},
    {static_cast<std::uint32_t>(RPC_E_DISCONNECTED), u"The object has lost its client."},
    {static_cast<std::uint32_t>(RPC_E_INVALID_DATA), u"The data that arrived is not valid."},
    {static_cast<std::uint32_t>(DISP_E_MEMBERNOTFOUND), u"The object doesn't have this member."},
    {static_cast<std::uint32_t>(DISP_E_TYPEMISMATCH), u"An argument has the wrong type."},
    {static_cast<std::uint32_t>(DISP_E_UNKNOWNNAME), u"The name is unknown."},
    {static_cast<std::uint32_t>(DISP_E_BADPARAMCOUNT), u"The number of arguments is wrong."},
    {static_cast<std::uint32_t>(CLASS_E_NOAGGREGATION), u"The class can't be part of another object."},
    {static_cast<std::uint32_t>(REGDB_E_CLASSNOTREG), u"The class is not registered."},
};

std::u16string_view SystemText(std::uint32_t id) {
    // A result code of this facility carries an ERROR_ value in its lower half.
    const std::uint32_t code = (id & 0xFFFF0000) == 0x80070000 ? id & 0xFFFF : id;
    const auto* found = std::find_if(std::begin(kTexts), std::end(kTexts),
                                     [code](const auto& entry) { return entry.code == code; });
    return found == std::end(kTexts) ? std::u16string_view{} : found->text;
}

bool ReadInteger(const MessageArgument& argument, std::int64_t& number) {
    if (!argument.Text()) {
        number = argument.Number();
        return true;
    }
    char digits[24];
    std::size_t count = 0;
    for (const wchar16* at = argument.Text(); *at; ++at) {
        if (count == sizeof digits || *at >= 0x80)
            return false;
        digits[count++] = static_cast<char>(*at);
    }
    const auto [end, error] = std::from_chars(digits, digits + count, number);
    return error == std::errc{} && end == digits + count;
}

// A message being put together. Each step gives false where the format is wrong.
class Expansion {
public:
    Expansion(std::u16string& out, std::u16string_view format, std::size_t capacity, bool inserts,
              std::span<const MessageArgument> args)
        : m_Out(out), m_Format(format), m_Capacity(capacity), m_Inserts(inserts), m_Args(args) {}

    // ERROR_SUCCESS or what is wrong.
    std::uint32_t Run() {
        while (m_At < m_Format.size() && !m_Ended) {
            const std::size_t percent = std::min(m_Format.find(u'%', m_At), m_Format.size());
            m_Out.append(m_Format, m_At, percent - m_At);
            m_At = percent;
            if (m_At < m_Format.size() && !Escape())
                return ERROR_INVALID_PARAMETER;
            if (m_Out.size() >= m_Capacity)
                return ERROR_INSUFFICIENT_BUFFER;
        }
        return ERROR_SUCCESS;
    }

private:
    bool Escape() {
        if (++m_At == m_Format.size())
            return false;
        const wchar16 unit = m_Format[m_At];
        if (unit >= u'1' && unit <= u'9')
            return Insert();
        ++m_At;
        switch (unit) {
        case u'0':
            m_Ended = true;
            break;
        case u'n':
            m_Out += u'\n';
            break;
        case u'r':
            m_Out += u'\r';
            break;
        case u't':
            m_Out += u'\t';
            break;
        case u'b':
            m_Out += u' ';
            break;
        default:
            m_Out += unit;
        }
        return true;
    }

    bool Insert() {
        const std::size_t begin = m_At;
        std::size_t number = m_Format[m_At++] - u'0';
        if (m_At < m_Format.size() && m_Format[m_At] >= u'0' && m_Format[m_At] <= u'9')
            number = number * 10 + (m_Format[m_At++] - u'0');
        std::u16string_view format = u"s";
        if (m_At < m_Format.size() && m_Format[m_At] == u'!') {
            const std::size_t close = m_Format.find(u'!', m_At + 1);
            if (close == std::u16string_view::npos)
                return false;
            format = m_Format.substr(m_At + 1, close - m_At - 1);
            m_At = close + 1;
        }
        if (!m_Inserts) {
            m_Out += u'%';
            m_Out.append(m_Format, begin, m_At - begin);
            return true;
        }
        return Print(number - 1, format);
    }

    bool Print(std::size_t index, std::u16string_view format) {
        WideConversion conversion;
        const wchar16* end = format.data() + format.size();
        if (ParseWideConversion(format.data(), end, conversion) != end)
            return false;
        std::int64_t number = 0;
        if (conversion.widthIsArgument) {
            if (!Number(index++, number))
                return false;
            SetWidth(conversion, static_cast<int>(number));
        }
        if (conversion.precisionIsArgument) {
            if (!Number(index++, number))
                return false;
            conversion.precision = static_cast<int>(number);
        }
        if (index >= m_Args.size())
            return false;
        // More can't be printed anyway.
        const int most = static_cast<int>(m_Capacity);
        conversion.width = std::min(conversion.width, most);
        conversion.precision = std::min(conversion.precision, most);

        const MessageArgument& argument = m_Args[index];
        switch (conversion.type) {
        case 's':
        case 'S':
            PrintText(conversion, argument);
            return true;
        case 'c':
        case 'C':
            return PrintCharacter(conversion, argument);
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            if (!ReadInteger(argument, number))
                return false;
            PrintInteger(conversion, number);
            return true;
        default:
            return false;
        }
    }

    bool Number(std::size_t index, std::int64_t& number) const {
        const std::int64_t most = static_cast<std::int64_t>(m_Capacity);
        return index < m_Args.size() && ReadInteger(m_Args[index], number) &&
               (number = std::clamp(number, -most, most), true);
    }

    void PrintText(const WideConversion& conversion, const MessageArgument& argument) {
        if (argument.Text()) {
            // One unit more than fits is enough to see that it doesn't.
            const wchar16* end = argument.Text();
            while (*end && static_cast<std::size_t>(end - argument.Text()) < m_Capacity)
                ++end;
            AppendText(m_Out, conversion, {argument.Text(), static_cast<std::size_t>(end - argument.Text())});
            return;
        }
        std::u16string text;
        AppendInteger(text, WideConversion{}, true, static_cast<std::uint64_t>(argument.Number()));
        AppendText(m_Out, conversion, text);
    }

    bool PrintCharacter(WideConversion conversion, const MessageArgument& argument) {
        const wchar16 unit = argument.Text() ? argument.Text()[0] : static_cast<wchar16>(argument.Number());
        conversion.precision = -1;
        AppendText(m_Out, conversion, {&unit, unit ? 1u : 0u});
        return true;
    }

    void PrintInteger(const WideConversion& conversion, std::int64_t number) {
        using Length = WideConversion::Length;
        const bool isSigned = conversion.type == 'd' || conversion.type == 'i';
        // An int where no length says otherwise.
        if (conversion.length == Length::None || conversion.length == Length::Int32 ||
            conversion.length == Length::Long)
            number = isSigned ? std::int64_t{static_cast<std::int32_t>(number)}
                              : std::int64_t{static_cast<std::uint32_t>(number)};
        AppendInteger(m_Out, conversion, isSigned, static_cast<std::uint64_t>(number));
    }

    std::u16string& m_Out;
    const std::u16string_view m_Format;
    const std::size_t m_Capacity;
    const bool m_Inserts;
    const std::span<const MessageArgument> m_Args;
    std::size_t m_At = 0;
    bool m_Ended = false;
};

} // namespace

std::size_t FormatMessage(std::uint32_t flags, const void* source, std::uint32_t id, std::uint32_t,
                          std::u16string& out, std::size_t capacity, std::span<const MessageArgument> args) {
    std::u16string result; // `out` may be an argument
    std::uint32_t error = ERROR_INVALID_PARAMETER;
    const bool inserts = !(flags & FORMAT_MESSAGE_IGNORE_INSERTS);
    const std::uint32_t kind = flags & ~(FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ARGUMENT_ARRAY);
    if (kind == FORMAT_MESSAGE_FROM_STRING && source) {
        if (!(flags & FORMAT_MESSAGE_ARGUMENT_ARRAY))
            args = {};
        error = Expansion(result, static_cast<const wchar16*>(source), capacity, inserts, args).Run();
    } else if (kind == FORMAT_MESSAGE_FROM_SYSTEM) {
        result = SystemText(id);
        error = result.empty()              ? ERROR_MR_MID_NOT_FOUND
                : result.size() >= capacity ? ERROR_INSUFFICIENT_BUFFER
                                            : ERROR_SUCCESS;
    }
    if (error != ERROR_SUCCESS)
        result.clear();
    out = std::move(result);
    SetLastError(error);
    return out.size();
}

} // namespace platform
