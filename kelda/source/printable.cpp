#include "printable.h"

std::string Printable(const AString& text, LineEnds lineEnds) {
    AString printable;
    for (wchar16 c : text) {
        const bool control = c < 0x20 || (c >= 0x7F && c < 0xA0);
        if (control && (lineEnds == LineEnds::kWritten || (c != u'\n' && c != u'\t'))) {
            AString code;
            code.Format(u"\\x%02x", static_cast<unsigned>(c));
            printable += code;
        } else {
            printable += c;
        }
    }
    return std::string(printable.ToNarrow(kEncodingUtf8));
}

std::string Printable(const std::string& utf8, LineEnds lineEnds) {
    AString units;
    units.Assign(kEncodingUtf8, utf8.data(), static_cast<int>(utf8.size()));
    return Printable(units, lineEnds);
}
