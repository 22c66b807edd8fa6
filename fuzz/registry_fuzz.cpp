// A hive's text: any bytes are refused or read, and what was read is written and read again as it was.
#include "../lib/registry/source/hive_text.h"

#include <registry/error.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        std::string written = registry::WriteHive(registry::ParseHive(text, "hive"));
        if (registry::WriteHive(registry::ParseHive(written, "hive")) != written)
            std::abort();
    } catch (const registry::Error& error) {
        if (error.Code() != registry::kDamagedStore)
            std::abort();
    }
    return 0;
}
