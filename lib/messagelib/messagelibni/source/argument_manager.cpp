#include <messagelibni/argument_manager.h>

namespace {

AString TextOf(ArgumentKind kind, const auto& value) {
    AString text;
    switch (kind) {
    case ArgumentKind::kInt:
        text.Format(u"%d", std::get<std::int32_t>(value));
        break;
    case ArgumentKind::kLong:
        text.Format(u"%ld", static_cast<long>(std::get<std::int32_t>(value)));
        break;
    case ArgumentKind::kBool:
        text.Format(u"%d", std::get<bool>(value) ? 1 : 0);
        break;
    case ArgumentKind::kFloat:
        text.Format(u"%.16e", static_cast<double>(std::get<float>(value)));
        break;
    case ArgumentKind::kDouble:
        text.Format(u"%.32e", std::get<double>(value));
        break;
    case ArgumentKind::kString:
        text = std::get<AString>(value);
        break;
    case ArgumentKind::kComplex: {
        auto number = std::get<std::complex<double>>(value);
        text.Format(u"%.32e %.32e%s", number.real(), number.imag(), u"i");
        break;
    }
    }
    return text;
}

} // namespace

bool ArgumentManager::Add(ArgumentKind kind, Value value, int index) {
    if (index < 0)
        return false;
    RemoveArgument(index);
    m_Arguments.emplace(index, Argument{kind, std::move(value), AString(), false});
    return true;
}

void ArgumentManager::RemoveArgument(int index) {
    m_Arguments.erase(index);
    m_Transformed = false;
}

void ArgumentManager::Transform() {
    for (auto& [index, argument] : m_Arguments) {
        if (argument.kind != ArgumentKind::kString)
            argument.text = TextOf(argument.kind, argument.value);
        argument.hasText = true;
    }
    m_Transformed = true;
}

void ArgumentManager::Clear() {
    m_Arguments.clear();
    m_Transformed = false;
}

const AString* ArgumentManager::GetArgumentText(int index) const {
    auto found = m_Arguments.find(index);
    if (found == m_Arguments.end())
        return nullptr;
    const Argument& argument = found->second;
    return argument.hasText || argument.kind == ArgumentKind::kString ? &argument.Text() : nullptr;
}

void ArgumentManager::SetText(int index, const AString& text) {
    if (auto found = m_Arguments.find(index); found != m_Arguments.end()) {
        found->second.text = text;
        found->second.hasText = true;
    }
}
