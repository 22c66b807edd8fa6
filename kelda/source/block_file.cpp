#include "block_file.h"

#include "read_bytes.h"

#include <streamio/binary_utils.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <algorithm>
#include <stdexcept>

namespace {

void CollectErrors(const io::CBlock& root, std::vector<BlockError>& errors) {
    std::vector<const io::CBlock*> pending{&root};
    while (!pending.empty()) {
        const io::CBlock* block = pending.back();
        pending.pop_back();
        AString name;
        block->GetName(name);
        for (auto error = block->ErrorsBegin(); error != block->ErrorsEnd(); ++error)
            errors.push_back({error->mLine, ToUtf8(name), ToUtf8(error->GetText())});
        for (const io::CBlockItemPtr& item : *block) {
            if (item->IsBlock())
                pending.push_back(static_cast<const io::CBlock*>(item.Get()));
        }
    }
}

std::string BytesOf(const AString& text, bool binary) {
    if (!binary)
        return ToUtf8(text);
    std::string bytes(text.size(), '\0');
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](wchar16 unit) { return static_cast<char>(unit); });
    return bytes;
}

} // namespace

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
    const std::string bytes = ReadBytes(name);
    if (!bytes.empty() && bytes.front() == '\0') {
        m_Text.resize(bytes.size());
        std::transform(bytes.begin(), bytes.end(), m_Text.begin(),
                       [](char byte) { return static_cast<unsigned char>(byte); });
        return;
    }
    std::string_view content = bytes;
    if (content.substr(0, 3) == "\xEF\xBB\xBF") // a byte order mark
        content.remove_prefix(3);
    if (const std::size_t at = io::FindInvalidUtf8(content); at != content.npos) {
        const auto line =
            1 + std::count(content.begin(), content.begin() + static_cast<std::ptrdiff_t>(at), '\n');
        throw std::runtime_error(m_Name + ":" + std::to_string(line) + ": not UTF-8");
    }
    m_Text = FromUtf8(content);
}

void BlockFile::Read(std::vector<io::CBlockItemPtr>& items, std::vector<BlockError>& errors) const {
    io::CToken_istring s(io::CToken_istring::InPlace{m_Text}, &io::DefaultTokenGrammar());
    while (!s.IsEof()) {
        if (s.IsBlockBegin()) {
            auto* block = new io::CBlock;
            items.emplace_back(block);
            block->Read(s);
            CollectErrors(*block, errors);
            continue;
        }
        try {
            io::CBlockItemPtr item;
            item.Read(s);
            items.push_back(item);
        } catch (const io::XStreamioError& error) {
            errors.push_back({error.mLine, {}, ToUtf8(error.GetText())});
            s.ClearFail();
            s.SkipLine();
        }
    }
    std::stable_sort(errors.begin(), errors.end(),
                     [](const BlockError& a, const BlockError& b) { return a.line < b.line; });
}

std::string WriteItems(const std::vector<io::CBlockItemPtr>& items, const BlockFormat& format) {
    io::CToken_ostring s(0, format.binary, &io::DefaultTokenGrammar());
    s.SetPrecision(format.precision);
    s.SetScientific(format.scientific ? io::kScientificFormat : 0);
    for (const io::CBlockItemPtr& item : items) {
        item->Write(s);
        s.EnsureNewLine();
    }
    return BytesOf(s.TakeText(), format.binary);
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
    return BytesOf(s.TakeText(), false);
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
