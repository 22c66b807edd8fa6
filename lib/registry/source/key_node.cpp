#include <registry/error.h>
#include <registry/key_node.h>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace registry {

namespace {

bool IsWellFormed(const AString& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0xD800 || text[i] > 0xDFFF)
            continue;
        bool pair = text[i] < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (!pair)
            return false;
        ++i;
    }
    return true;
}

// Names are ordered by a comparison that ends at a zero unit: one that holds such a unit can't be told from
// others.
bool HasZero(const AString& name) {
    return name.find(u'\0') != AString::npos;
}

// A zero would end the message.
std::string Shown(AString text) {
    std::replace(text.begin(), text.end(), u'\0', u'\u2400');
    return ToUtf8(text);
}

void CheckName(const AString& name) {
    if (HasZero(name) || !IsWellFormed(name))
        throw Error(
            E_INVALIDARG,
            fmt::format("the registry name \"{}\" holds a zero or half of a surrogate pair", Shown(name)));
}

std::vector<AString> Split(const AString& path) {
    std::vector<AString> names;
    std::size_t from = 0;
    while (from < path.size()) {
        std::size_t to = path.find(u'\\', from);
        if (to == AString::npos)
            to = path.size();
        if (to > from)
            names.emplace_back(path.data() + from, to - from);
        from = to + 1;
    }
    return names;
}

} // namespace

const KeyNode* KeyNode::Find(const AString& path) const {
    if (HasZero(path))
        return nullptr;
    const KeyNode* node = this;
    for (const AString& name : Split(path)) {
        auto found = node->m_Keys.find(name);
        if (found == node->m_Keys.end())
            return nullptr;
        node = found->second.get();
    }
    return node;
}

KeyNode* KeyNode::Find(const AString& path) {
    return const_cast<KeyNode*>(std::as_const(*this).Find(path));
}

KeyNode& KeyNode::Create(const AString& path) {
    CheckName(path);
    std::vector<AString> names = Split(path);
    if (names.size() > kMaxDepth)
        throw Error(E_INVALIDARG, fmt::format("the registry path \"{:.60}...\" has {} names, more than {}",
                                              Shown(path), names.size(), kMaxDepth));
    KeyNode* node = this;
    for (const AString& name : names) {
        std::unique_ptr<KeyNode>& child = node->m_Keys[name];
        if (!child)
            child = std::make_unique<KeyNode>();
        node = child.get();
    }
    return *node;
}

bool KeyNode::Remove(const AString& path) {
    if (HasZero(path))
        return false;
    std::vector<AString> names = Split(path);
    if (names.empty())
        return false;
    KeyNode* node = this;
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        auto found = node->m_Keys.find(names[i]);
        if (found == node->m_Keys.end())
            return false;
        node = found->second.get();
    }
    return node->m_Keys.erase(names.back()) > 0;
}

const Value* KeyNode::Get(const AString& name) const {
    auto found = HasZero(name) ? m_Values.end() : m_Values.find(name);
    return found == m_Values.end() ? nullptr : &found->second;
}

void KeyNode::Set(const AString& name, Value value) {
    CheckName(name);
    if (const AString* text = std::get_if<AString>(&value); text && !IsWellFormed(*text))
        throw Error(E_INVALIDARG,
                    fmt::format("the text for the registry value \"{}\" holds half of a surrogate pair",
                                Shown(name)));
    m_Values[name] = std::move(value);
}

bool KeyNode::RemoveValue(const AString& name) {
    return !HasZero(name) && m_Values.erase(name) > 0;
}

// A conversion takes a zero at the end for a terminator and drops it; a unit behind it keeps it.
std::string ToUtf8(const AString& text) {
    AStringBuf narrow = AString(text + u'.').ToNarrow(1);
    std::string result(narrow.CStr(), static_cast<std::size_t>(narrow.GetLength()));
    result.pop_back();
    return result;
}

AString FromUtf8(const std::string& text) {
    std::string terminated = text + '.';
    AString result;
    result.Assign(1, terminated.data(), static_cast<int>(terminated.size()));
    result.pop_back();
    return result;
}

} // namespace registry
