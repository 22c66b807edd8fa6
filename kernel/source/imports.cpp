#include "imports.h"

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace ckt {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t jump_slot = R_X86_64_JUMP_SLOT, data_slot = R_X86_64_GLOB_DAT;
#elif defined(__aarch64__)
constexpr std::uint32_t jump_slot = R_AARCH64_JUMP_SLOT, data_slot = R_AARCH64_GLOB_DAT;
#else
#error "state this processor's relocation types for imported functions"
#endif

// The page of the slot may have been made read-only when loading ended, and is left so.
bool write_slot(std::uintptr_t slot, void* value) {
    const auto page_size = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    void* page = reinterpret_cast<void*>(slot & ~(page_size - 1));
    if (::mprotect(page, page_size, PROT_READ | PROT_WRITE) != 0)
        return false;
    std::memcpy(reinterpret_cast<void*>(slot), &value, sizeof value);
    return true;
}

} // namespace

bool replace_imports(void* handle, std::initializer_list<Import> imports) {
    link_map* map = nullptr;
    if (::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0)
        return false;
    const Elf64_Sym* symbols = nullptr;
    const char* names = nullptr;
    struct Table {
        const Elf64_Rela* begin = nullptr;
        std::size_t bytes = 0;
    } calls, data;
    for (const Elf64_Dyn* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
        switch (entry->d_tag) {
        case DT_SYMTAB:
            symbols = reinterpret_cast<const Elf64_Sym*>(entry->d_un.d_ptr);
            break;
        case DT_STRTAB:
            names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
            break;
        case DT_JMPREL:
            calls.begin = reinterpret_cast<const Elf64_Rela*>(entry->d_un.d_ptr);
            break;
        case DT_PLTRELSZ:
            calls.bytes = entry->d_un.d_val;
            break;
        case DT_RELA:
            data.begin = reinterpret_cast<const Elf64_Rela*>(entry->d_un.d_ptr);
            break;
        case DT_RELASZ:
            data.bytes = entry->d_un.d_val;
            break;
        default:
            break;
        }
    }
    if (!symbols || !names || !calls.begin)
        return false;
    bool good = true;
    for (const Table& table : {calls, data}) {
        for (std::size_t i = 0; i < table.bytes / sizeof(Elf64_Rela); ++i) {
            const Elf64_Rela& entry = table.begin[i];
            const auto type = static_cast<std::uint32_t>(ELF64_R_TYPE(entry.r_info));
            if (type != jump_slot && type != data_slot)
                continue;
            const char* name = names + symbols[ELF64_R_SYM(entry.r_info)].st_name;
            for (const Import& import : imports)
                if (std::strcmp(import.name, name) == 0)
                    good = write_slot(map->l_addr + entry.r_offset, import.replacement) && good;
        }
    }
    return good;
}

} // namespace ckt
