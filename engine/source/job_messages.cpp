#include <engine/job_messages.h>

#include <engine/message_manager_slot.h>

#include <messagelibni/orvane_message.h>

namespace {

constexpr std::int32_t kElementType = 6;

OrvaneMessage MakeMessage(std::int32_t severity, std::int32_t messageId, std::int32_t helpId,
                          const AString& text) {
    OrvaneMessage message(severity, 0, messageId, helpId, kElementType, AString(), AString());
    message.AddString(text, 0);
    return message;
}

OrvaneMessage MakePlainMessage(std::int32_t severity, const AString& text) {
    return MakeMessage(severity, kPlainTextMessage, 1, text);
}

void Post(OrvaneMessage message) {
    if (IMessageManager* manager = GetMessageManager())
        manager->PostMessage(message);
}

std::int32_t SeverityOfKernelCode(int code) {
    switch (code) {
    case 2:
        return kSeverityWarning;
    case 3:
        return kSeverityError;
    default:
        return kSeverityInformation;
    }
}

} // namespace

void PostText(std::int32_t severity, const AString& text) {
    Post(MakePlainMessage(severity, text));
}

void PostFailedCall(HRESULT result) {
    Post(MakeMessage(kSeverityError, kFailedCallMessage, 7, SystemErrorText(result)));
}

HRESULT PostKernelText(IKeldaProgressInterface& client, int code, const char* text) {
    OrvaneMessage message = MakePlainMessage(SeverityOfKernelCode(code), AString(text));
    AString form;
    platform::UniqueBstr bstr(message.ToText(form));
    return client.PostOrvaneMessage(bstr.Get());
}

AString SystemErrorText(HRESULT result) {
    auto code = static_cast<std::uint32_t>(result);
    AString text;
    FormatSystemMessage(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text);
    if (text.ends_with(u'\n'))
        text.pop_back();
    if (text.ends_with(u'\r'))
        text.pop_back();
    if (!text.empty())
        return text;
    // The range in which dispatch interfaces number their own errors.
    if (code > 0x80040200 && code <= 0x8004FFFF)
        text.Format(u"IDispatch error #%d", static_cast<int>((code - 0x200) & 0xFFFF));
    else
        text.Format(u"Unknown error 0x%0lX", static_cast<unsigned long>(code));
    return text;
}
