#include "block_file.h"

#include <platform/read_bytes.h>
#include <streamio/binary_utils.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_ostring.h>

#include <stdexcept>

std::string ToUtf8(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    io::AppendUtf8(text, bytes);
    return bytes;
}

AString FromUtf8(std::string_view bytes) {
    AString text;
    text.reserve(bytes.size());
    io::AppendUtf16(bytes, text);
    return text;
}

BlockFile::BlockFile(const std::string& name) : m_Name(name == "-" ? "standard input" : name) {
    if (const std::int32_t line = io::TextOfFile(platform::ReadBytes(name), m_Text))
        throw std::runtime_error(m_Name + ":" + std::to_string(line) + ": not UTF-8");
}

void BlockFile::Read(std::vector<io::CBlockItemPtr>& items, std::vector<io::StoredError>& errors) const {
    io::ReadItems(m_Text, io::DefaultTokenGrammar(), items, errors);
}

std::string WriteItems(const std::vector<io::CBlockItemPtr>& items, const BlockFormat& format) {
    io::CToken_ostring s(0, format.binary, &io::DefaultTokenGrammar());
    s.SetPrecision(format.precision);
    s.SetScientific(format.scientific ? io::kScientificFormat : 0);
    for (const io::CBlockItemPtr& item : items) {
        item->Write(s);
        s.EnsureNewLine();
    }
    return io::FileOfText(s.TakeText());
}

std::string WriteIndexed(const std::vector<io::CBlockItemPtr>& items, bool allLevels) {
    io::CToken_ostring s(&io::DefaultTokenGrammar(), 0,
                         allLevels ? io::kUseIndex | io::kAllLevels
                                   : static_cast<std::uint32_t>(io::kUseIndex));
    s.SetPrecision(BlockFormat().precision);
    for (const io::CBlockItemPtr& item : items) {
        AString name;
        item->GetName(name);
        // What an earlier writer put there.
        if (item->IsBlock() && (name == u"$index$" || name == u"$base_index$"))
            continue;
        item->Write(s);
        s.EnsureNewLine();
    }
    s.Close();
    return io::FileOfText(s.TakeText());
}

void ForgetSpelling(const std::vector<io::CBlockItemPtr>& items) {
    std::vector<io::CBlock_item*> pending;
    for (const io::CBlockItemPtr& item : items)
        pending.push_back(item.Get());
    while (!pending.empty()) {
        io::CBlock_item* item = pending.back();
        pending.pop_back();
        if (item->IsBlock()) {
            for (const io::CBlockItemPtr& child : static_cast<io::CBlock&>(*item))
                pending.push_back(child.Get());
        } else if (item->IsFunc()) {
            for (const io::CBlockFuncArgPtr& child : static_cast<io::CBlock_func&>(*item))
                pending.push_back(child.Get());
        } else if (item->IsVec()) {
            for (io::CToken& element : static_cast<io::CBlock_vec&>(*item).GetElements())
                element.DropSourceText();
        } else {
            auto& value = static_cast<io::CBlock_value&>(*item);
            io::CToken token = value.GetValue();
            token.DropSourceText();
            value.SetValue(std::move(token));
        }
    }
}
