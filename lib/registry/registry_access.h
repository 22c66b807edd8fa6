// The desktop product's settings in the registry.
//
//   RegistryAccess settings;
//   AString folder = settings.GetInstallationDirectory();
//
// The product key lies below "software\" of either hive: what the product's installation states of the machine,
// and what a user has chosen. A setting that can't be read counts as missing; the debug log says so when the
// store itself is at fault. Any thread may use an object of its own; an opened key stays on the thread that
// opened it.
#pragma once

#include <registry/registry.h>
#include <stringutils/astring.h>

#include <optional>

class RegistryAccess {
public:
    static constexpr wchar16 kDefaultProductKey[] = u"Orvane\\Atelier\\2.0";

    // Keys below the product key.
    static constexpr wchar16 kDllsKey[] = u"Desktop\\DLLs\\";
    static constexpr wchar16 kProductsKey[] = u"Desktop\\DLLs\\Products";
    static constexpr wchar16 kDesktopKey[] = u"Desktop\\";

    // Values.
    static constexpr wchar16 kInstallationDirectory[] = u"InstallationDirectory";
    static constexpr wchar16 kProjectDirectory[] = u"ProjectDirectory";
    static constexpr wchar16 kLibraryDirectory[] = u"LibraryDirectory";
    static constexpr wchar16 kTempDirectory[] = u"TempDirectory";

    // Folders, below the installation and the library directories.
    static constexpr wchar16 kHelpEnding[] = u"\\Help";
    static constexpr wchar16 kPersonalLibFolder[] = u"PersonalLib";
    static constexpr wchar16 kUserLibFolder[] = u"userlib";
    static constexpr wchar16 kSysLibFolder[] = u"syslib";

    // The longest value that GetString reads, in bytes of the locale's character set.
    static constexpr int kMaxValueLength = 259;

    // The key `subKey` below the product key, of the machine's hive or the user's. With `readOnly` it can only
    // be queried, else it can be changed and is made where the product key is there and it is not. The machine's
    // keys are opened read-only. Nothing without such a key or the right to it, and with an empty product key.
    std::optional<registry::Key> OpenKey(bool machine, const AString& subKey, bool readOnly) const;

    // `defaultValue` where the value is missing or too long. The text ends at its first zero; a number or bytes
    // are read as the bytes of a text, a number's lowest first.
    AString GetString(bool machine, const AString& subKey, const AString& valueName,
                      const AString& defaultValue) const;

    // Where the product is installed, without a trailing slash; empty if it isn't.
    AString GetInstallationDirectory() const;

    AString m_ProductKey{kDefaultProductKey};
};

// The path without one trailing "\" or "/".
AString StripTrailingSlash(const AString& path);
