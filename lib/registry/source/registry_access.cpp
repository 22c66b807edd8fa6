#include <registry/registry_access.h>

#include <debuglog/debug_log.h>
#include <registry/error.h>
#include <utility/assertion.h>

#include <cstring>
#include <string>

using registry::Key;

namespace {

// Of each thread, since stores and keys belong to one thread.
registry::Store& ThreadStore() {
    thread_local registry::Store store;
    return store;
}

// Runs a query of the store, which as a whole counts as missing where it fails.
template <class Query>
auto Ask(Query query) -> decltype(query()) {
    try {
        return query();
    } catch (const registry::Error& error) {
        DebugPrintf(u"%s", registry::FromUtf8(std::string("registry: ") + error.what() + "\n").c_str());
        return {};
    }
}

// A value as the bytes in which a registry of narrow texts keeps it.
std::string Bytes(const registry::Value& value) {
    if (const auto* text = std::get_if<AString>(&value))
        return std::string(text->ToNarrow(kEncodingDefault)) + '\0';
    if (const auto* number = std::get_if<std::uint32_t>(&value)) {
        std::string bytes;
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(*number >> shift);
        return bytes;
    }
    const auto& bytes = std::get<std::vector<std::uint8_t>>(value);
    return std::string(bytes.begin(), bytes.end());
}

} // namespace

std::optional<Key> RegistryAccess::OpenKey(bool machine, const AString& subKey, bool readOnly) const {
    if (m_ProductKey.empty())
        return {};
    if (machine)
        TARVOK_ASSERT(readOnly);
    const registry::HKEY hive = machine ? registry::HKEY_LOCAL_MACHINE : registry::HKEY_CURRENT_USER;
    const registry::AccessRights access = readOnly ? registry::KEY_QUERY_VALUE : registry::KEY_ALL_ACCESS;
    AString path(u"software\\");
    path += m_ProductKey;
    return Ask([&]() -> std::optional<Key> {
        std::optional<Key> product = ThreadStore().OpenKey(hive, path, access);
        if (!product)
            return {};
        if (std::optional<Key> key = product->OpenKey(subKey, access); key || readOnly)
            return key;
        return product->CreateKey(subKey, registry::KEY_ALL_ACCESS);
    });
}

AString RegistryAccess::GetString(bool machine, const AString& subKey, const AString& valueName,
                                  const AString& defaultValue) const {
    std::optional<Key> key = OpenKey(machine, subKey, true);
    if (!key)
        return defaultValue;
    std::optional<registry::Value> value = Ask([&] { return key->Get(valueName); });
    if (!value)
        return defaultValue;
    std::string bytes = Bytes(*value);
    constexpr std::size_t kBuffer = kMaxValueLength + 1;
    if (bytes.size() > kBuffer)
        return defaultValue;
    if (bytes.size() == kBuffer)
        bytes.pop_back(); // a zero, or what gives way to it
    AString text;
    text.Assign(kEncodingDefault, bytes.data(), static_cast<int>(std::strlen(bytes.c_str())));
    return text;
}

AString RegistryAccess::GetInstallationDirectory() const {
    return StripTrailingSlash(GetString(true, kDesktopKey, kInstallationDirectory, AString()));
}

AString StripTrailingSlash(const AString& path) {
    const bool slash = path.ends_with(u'\\') || path.ends_with(u'/');
    return slash ? path.Left(static_cast<int>(path.size()) - 1) : path;
}
