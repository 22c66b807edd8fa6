#include <streamio/stored_file.h>

#include <streamio/binary_utils.h>
#include <streamio/token_istring.h>

#include <algorithm>

namespace io {
namespace {

void CollectErrors(const CBlock& root, std::vector<StoredError>& errors) {
    std::vector<const CBlock*> pending{&root};
    while (!pending.empty()) {
        const CBlock* block = pending.back();
        pending.pop_back();
        AString name;
        block->GetName(name);
        for (auto error = block->ErrorsBegin(); error != block->ErrorsEnd(); ++error)
            errors.push_back({error->mLine, name, error->GetText()});
        for (const CBlockItemPtr& item : *block) {
            if (item->IsBlock())
                pending.push_back(static_cast<const CBlock*>(item.Get()));
        }
    }
}

} // namespace

std::int32_t TextOfFile(std::string_view bytes, AString& text) {
    if (IsBinaryForm(bytes)) {
        text.resize(bytes.size());
        std::transform(bytes.begin(), bytes.end(), text.begin(),
                       [](char byte) { return static_cast<unsigned char>(byte); });
        return 0;
    }
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (bytes.substr(0, kMark.size()) == kMark)
        bytes.remove_prefix(kMark.size());
    if (const std::size_t at = FindInvalidUtf8(bytes); at != bytes.npos) {
        const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        return static_cast<std::int32_t>(1 + std::count(bytes.begin(), end, '\n'));
    }
    text.clear();
    text.reserve(bytes.size());
    AppendUtf16(bytes, text);
    return 0;
}

std::string FileOfText(std::u16string_view text) {
    std::string bytes;
    if (!IsBinaryForm(text)) {
        bytes.reserve(text.size());
        AppendUtf8(text, bytes);
        return bytes;
    }
    bytes.resize(text.size());
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](wchar16 unit) { return static_cast<char>(unit); });
    return bytes;
}

void ReadItems(std::u16string_view text, const CBase_grammar& grammar, std::vector<CBlockItemPtr>& items,
               std::vector<StoredError>& errors, std::uint32_t flags) {
    CToken_istring s(CToken_istring::InPlace{text}, &grammar, flags);
    while (!s.IsEof()) {
        if (s.IsBlockBegin()) {
            auto* block = new CBlock;
            items.emplace_back(block);
            block->Read(s);
            CollectErrors(*block, errors);
            continue;
        }
        try {
            CBlockItemPtr item;
            item.Read(s);
            items.push_back(item);
        } catch (const XStreamioError& error) {
            errors.push_back({error.mLine, {}, error.GetText()});
            s.ClearFail();
            s.SkipLine();
        }
    }
    if (errors.empty() && s.GetIndentLevel() != 0)
        errors.push_back({s.GetLineNumber(), {}, u"the text ends within a block"});
    std::stable_sort(errors.begin(), errors.end(),
                     [](const StoredError& a, const StoredError& b) { return a.line < b.line; });
}

} // namespace io
