#include <messagelibni/orvane_message.h>

#include <streamio/streamio_manip.h>
#include <utility/assertion.h>

#include <algorithm>
#include <charconv>
#include <vector>

using io::CBlock;
using io::CBlock_func;
using io::CNamed_value_manip;

namespace {

constexpr char16_t kFunctionName[] = u"OrvaneMessageFunc";
constexpr std::u16string_view kArgumentKey = u"stringarg";
constexpr std::u16string_view kKindKey = u"argtype";

CBlock_func* FirstFunction(const CBlock& block) {
    return block.size() > 0 ? dynamic_cast<CBlock_func*>(block.begin()->Get()) : nullptr;
}

template <class T>
void Put(CBlock_func& func, const AString& name, const T& value) {
    func << CNamed_value_manip<T>(name, value).GetNamedValue();
}

template <class T>
T Take(CBlock_func& func, const AString& name) {
    T value{};
    func >> CNamed_value_manip<T>(name, value);
    return value;
}

AString Key(std::u16string_view name, int index) {
    AString number;
    number.Format(u"%d", index);
    return AString(std::u16string(name) + number);
}

// The indices up to `last` that the function has arguments for. What stands there decides, not the number that the message claims.
std::vector<int> ArgumentIndices(const CBlock_func& func, int last) {
    std::vector<int> indices;
    for (const auto& argument : func) {
        AString name;
        argument->GetName(name);
        name.ToLower();
        long index = 0;
        if (!name.starts_with(kArgumentKey) ||
            !name.Mid(static_cast<int>(kArgumentKey.size())).ToLong(index, 10))
            continue;
        if (index >= 0 && index <= last && name == Key(kArgumentKey, static_cast<int>(index)))
            indices.push_back(static_cast<int>(index));
    }
    std::ranges::sort(indices);
    indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    return indices;
}

AString SystemText(std::uint32_t code) {
    AString text;
    FormatSystemMessage(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text);
    return text;
}

AString FetchFormat(std::int32_t libId, std::int32_t messageId, MessageLib* library) {
    if (!library)
        return {};
    const MessageModule* module = library->GetLib(libId);
    if (!module)
        return AString(u"Library not loaded.");
    AString format;
    if (!module->LoadString(messageId, format) || format.empty())
        return SystemText(GetLastError());
    [[maybe_unused]] int iRet = static_cast<int>(format.size());
    TARVOK_ASSERT(iRet < MessageManagerStrings::kMaxMessageLength);
    return format;
}

} // namespace

std::int32_t OrvaneMessageBase::TransferBlock(CBlock& block, bool read) {
    if (read)
        return ReadMessage(block);
    return WriteMessage(block) ? 0 : 1;
}

bool OrvaneMessageBase::WriteMessage(CBlock& block) {
    CBlock_func* func = FirstFunction(block);
    if (!func)
        return false;
    Put(*func, u"severity", m_Severity);
    Put(*func, u"libid", m_LibId);
    Put(*func, u"messageid", m_MessageId);
    Put(*func, u"helpid", m_HelpId);
    Put(*func, u"message", m_Message);
    const auto& arguments = Arguments();
    Put(*func, u"maxargno", arguments.empty() ? 0 : arguments.rbegin()->first);
    Transform();
    Put(*func, u"istransformed", IsTransformed());
    Put(*func, u"numargs", static_cast<int>(arguments.size()));
    for (const auto& [index, argument] : arguments) {
        Put(*func, Key(kArgumentKey, index), argument.Text());
        Put(*func, Key(kKindKey, index), static_cast<int>(argument.kind));
    }
    return true;
}

std::int32_t OrvaneMessageBase::ReadMessage(CBlock& block) {
    CBlock_func* func = FirstFunction(block);
    if (!func)
        return 1;
    m_Severity = Take<int>(*func, u"severity");
    m_LibId = Take<int>(*func, u"libid");
    m_MessageId = Take<int>(*func, u"messageid");
    m_HelpId = Take<int>(*func, u"helpid");
    m_Message = Take<AString>(*func, u"message");
    int last = Take<int>(*func, u"maxargno");
    if (Take<bool>(*func, u"istransformed")) {
        for (int index : ArgumentIndices(*func, last)) {
            auto text = Take<AString>(*func, Key(kArgumentKey, index));
            if (text.empty())
                continue;
            if (Take<int>(*func, Key(kKindKey, index)) != static_cast<int>(ArgumentKind::kBool))
                AddString(text, index);
            else if (text == u"1" || text == u"0")
                AddBool(text == u"1", index);
        }
    }
    Transform();
    return 0;
}

bool OrvaneMessage::WriteMessage(CBlock& block) {
    CBlock_func func{AString(kFunctionName)};
    Put(func, u"elementid", m_ElementId);
    Put(func, u"elementtype", m_ElementType);
    Put(func, u"propertyname", m_PropertyName);
    block << func;
    return OrvaneMessageBase::WriteMessage(block);
}

std::int32_t OrvaneMessage::ReadMessage(CBlock& block) {
    std::int32_t status = OrvaneMessageBase::ReadMessage(block);
    if (status != 0)
        return status;
    CBlock_func& func = *FirstFunction(block);
    m_ElementId = Take<AString>(func, u"elementid");
    m_ElementType = Take<int>(func, u"elementtype");
    m_PropertyName = Take<AString>(func, u"propertyname");
    return 0;
}

bool OrvaneMessage::BuildMessage(AString& error, MessageLib* library) {
    auto fail = [&](const AString& reason) {
        m_Message = reason;
        error = reason;
        return false;
    };
    if (!library)
        return fail(u"Null MessageLib passed into BuildMessage!");
    AString format = FetchFormat(m_LibId, m_MessageId, library);
    if (format.empty())
        return fail(u"Message Format not found!");
    Transform();
    std::vector<std::pair<int, bool>> booleans;
    for (const auto& [index, argument] : Arguments())
        if (argument.kind == ArgumentKind::kBool)
            booleans.emplace_back(index, argument.text == u"1");
    for (auto [index, value] : booleans)
        SetText(index, FetchFormat(0, value ? kTrueMessage : kFalseMessage, library));
    AString result;
    bool good = Expand(format, result);
    Clear();
    if (!good)
        return fail(result);
    m_Message = result;
    return true;
}

bool OrvaneMessage::Expand(const AString& format, AString& result) const {
    auto placeholders = static_cast<int>(std::ranges::count(format, u'%'));
    if (Arguments().empty() || placeholders == 0) {
        result = format;
        return true;
    }
    // A placeholder without an argument stays in the result as it stood.
    std::vector<AString> texts(static_cast<std::size_t>(placeholders));
    for (int index = 0; index < placeholders; ++index) {
        const AString* text = GetArgumentText(index);
        texts[static_cast<std::size_t>(index)] = text ? *text : Key(u"%", index + 1);
    }
    std::vector<MessageArgument> arguments;
    for (const AString& text : texts)
        arguments.emplace_back(text.c_str());
    FormatSystemMessage(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, format.c_str(), 0, 0,
                        result, arguments);
    if (std::uint32_t code = GetLastError(); result.empty() && code != 0) {
        result = SystemText(code);
        return false;
    }
    return true;
}
