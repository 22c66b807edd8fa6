#include <engine/job_messages.h>

namespace {

// The text in single quotes, with what would end or change it marked by a backslash.
AString Quoted(const AString& text) {
    AString quoted(u"'");
    for (std::size_t i = 0; i < text.size(); ++i) {
        wchar16 c = text[i];
        if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            continue;
        if (c == u'\'' || c == u'\\' || c < 0x20 || c == 0x7F)
            quoted += u'\\';
        quoted += c;
    }
    quoted += u'\'';
    return quoted;
}

} // namespace

std::int32_t SeverityOfKernelCode(int code) {
    switch (code) {
    case 2:
        return 0;
    case 3:
        return 1;
    default:
        return 2;
    }
}

HRESULT PostText(IKeldaProgressInterface& progress, std::int32_t severity, const AString& text) {
    AString message;
    message.Format(u"$begin 'message'\n"
                   u"\tOrvaneMessageFunc(elementid='', elementtype=6, propertyname='', severity=%d, libid=0, "
                   u"messageid=24464, helpid=1, message='', maxargno=0, istransformed=true, numargs=1, "
                   u"stringarg0=%s, argtype0=5)\n"
                   u"$end 'message'\n",
                   severity, Quoted(text).c_str());
    auto form = platform::UniqueBstr::Adopt(message.ToBstr());
    return progress.PostOrvaneMessage(form.Get());
}
