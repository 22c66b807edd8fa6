#include "block_file.h"

#include <fmt/format.h>

#include <cmath>

namespace {

void PutString(std::u16string_view text, std::string& out) {
    out += '"';
    std::size_t done = 0;
    const auto flush = [&](std::size_t to) {
        out += ToUtf8(text.substr(done, to - done));
        done = to + 1;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar16 unit = text[i];
        const bool lead = (unit & 0xFC00) == 0xD800;
        if (lead && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            ++i;
            continue;
        }
        if (unit == u'"' || unit == u'\\') {
            flush(i);
            out += {'\\', static_cast<char>(unit)};
        } else if (unit < 32 || (unit & 0xF800) == 0xD800) {
            flush(i);
            out += fmt::format("\\u{:04x}", static_cast<unsigned>(unit));
        }
    }
    flush(text.size());
    out += '"';
}

void PutToken(const io::CToken& token, std::string& out) {
    if (token.IsNumber()) {
        const double value = token.GetDouble();
        out += std::isfinite(value) ? fmt::format("{}", value) : "null";
    } else if (io::IsBooleanKind(token.GetType())) {
        out += token.GetType() == io::TokenType::True ? "true" : "false";
    } else {
        PutString(token.GetText(), out);
    }
}

struct Frame {
    const io::CBlock* block; // one of the two
    const io::CBlock_func* func;
    std::size_t next;

    std::size_t Count() const { return block ? block->size() : func->GetSize(); }
    const io::CBlock_item* Child(std::size_t index) const {
        return block ? (block->begin() + static_cast<std::ptrdiff_t>(index))->Get() : (*func)[index].Get();
    }
};

void PutItem(const io::CBlock_item& root, std::string& out) {
    std::vector<Frame> frames;
    const auto open = [&](const io::CBlock_item& item) {
        const auto begin = [&](const char* kind, const char* content) {
            out += std::string("{\"kind\":\"") + kind + "\",\"name\":";
            AString name;
            PutString(item.GetName(name), out);
            out += std::string(",\"") + content + "\":";
        };
        if (item.IsBlock()) {
            begin("block", "items");
            out += '[';
            frames.push_back({static_cast<const io::CBlock*>(&item), nullptr, 0});
        } else if (item.IsFunc()) {
            begin("function", "arguments");
            out += '[';
            frames.push_back({nullptr, static_cast<const io::CBlock_func*>(&item), 0});
        } else if (item.IsVec()) {
            begin("vector", "elements");
            char separator = '[';
            const auto& vec = static_cast<const io::CBlock_vec&>(item);
            for (const io::CToken& element : vec) {
                out += separator;
                separator = ',';
                PutToken(element, out);
            }
            out += vec.GetSize() == 0 ? "[]}" : "]}";
        } else if (item.IsNamed()) {
            begin("value", "value");
            PutToken(static_cast<const io::CBlock_value&>(item).GetValue(), out);
            out += '}';
        } else {
            PutToken(static_cast<const io::CBlock_value&>(item).GetValue(), out);
        }
    };
    open(root);
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (frame.next == frame.Count()) {
            out += "]}";
            frames.pop_back();
            continue;
        }
        if (frame.next > 0)
            out += ',';
        open(*frame.Child(frame.next++));
    }
}

} // namespace

std::string WriteJson(const std::vector<io::CBlockItemPtr>& items) {
    std::string out = "[";
    for (const io::CBlockItemPtr& item : items) {
        out += out.size() > 1 ? ",\n" : "\n";
        PutItem(*item, out);
    }
    return out + "\n]\n";
}
