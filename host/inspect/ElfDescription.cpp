#include "host/inspect/ElfDescription.h"

#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"

#include <algorithm>
#include <cstdlib>
#include <cxxabi.h>
#include <fcntl.h>
#include <gelf.h>
#include <memory>
#include <string_view>

namespace storage::host {

namespace {

/// Returns C symbols unchanged, because the demangler would interpret some of them as types.
std::string demangled(const char* symbol) {
    if (!std::string_view(symbol).starts_with("_Z")) {
        return symbol;
    }
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(symbol, nullptr, nullptr, nullptr), &std::free);
    return name ? name.get() : symbol;
}

std::size_t valueOf(const GElf_Dyn& entry) {
    return entry.d_un.d_val; // NOLINT(cppcoreguidelines-pro-type-union-access): the format's own
}

/// Reads the sections of a library. Texts are empty if the file is malformed.
class ElfReader {
public:
    explicit ElfReader(const std::string& path)
        : file_(path, O_RDONLY), elf_(begin(file_.number()), &elf_end) {
        if (!elf_ || elf_kind(elf_.get()) != ELF_K_ELF) {
            throw CommandError(path, "not a shared library");
        }
    }

    ElfDescription describe() const {
        ElfDescription description;
        for (Elf_Scn* section = nullptr; (section = elf_nextscn(elf_.get(), section)) != nullptr;) {
            GElf_Shdr header{};
            if (gelf_getshdr(section, &header) == nullptr) {
                continue;
            }
            if (header.sh_type == SHT_DYNAMIC) {
                readDynamic(section, header, description);
            } else if (header.sh_type == SHT_DYNSYM) {
                readSymbols(section, header, description);
            }
        }
        auto& names = description.exports; // constructor variants have equal names
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        return description;
    }

private:
    static Elf* begin(int descriptor) {
        elf_version(EV_CURRENT);
        return elf_begin(descriptor, ELF_C_READ, nullptr);
    }

    static int entriesOf(const GElf_Shdr& header) {
        return header.sh_entsize == 0 ? 0 : static_cast<int>(header.sh_size / header.sh_entsize);
    }

    /// @param offset  into the string table of a section
    const char* text(const GElf_Shdr& header, std::size_t offset) const {
        const char* const found = elf_strptr(elf_.get(), header.sh_link, offset);
        return found == nullptr ? "" : found;
    }

    void readDynamic(Elf_Scn* section, const GElf_Shdr& header, ElfDescription& description) const {
        Elf_Data* const data = elf_getdata(section, nullptr);
        GElf_Dyn entry{};
        for (int i = 0; i < entriesOf(header) && gelf_getdyn(data, i, &entry) != nullptr; ++i) {
            if (entry.d_tag == DT_SONAME) {
                description.soname = text(header, valueOf(entry));
            } else if (entry.d_tag == DT_NEEDED) {
                description.needed.emplace_back(text(header, valueOf(entry)));
            }
        }
    }

    void readSymbols(Elf_Scn* section, const GElf_Shdr& header, ElfDescription& description) const {
        Elf_Data* const data = elf_getdata(section, nullptr);
        GElf_Sym symbol{};
        for (int i = 0; i < entriesOf(header) && gelf_getsym(data, i, &symbol) != nullptr; ++i) {
            if (isExported(symbol)) {
                description.exports.push_back(demangled(text(header, symbol.st_name)));
            }
        }
    }

    static bool isExported(const GElf_Sym& symbol) {
        const auto visibility = GELF_ST_VISIBILITY(symbol.st_other);
        const bool isThere = symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS;
        const bool isVisible = visibility == STV_DEFAULT || visibility == STV_PROTECTED;
        return isThere && isVisible && GELF_ST_BIND(symbol.st_info) != STB_LOCAL;
    }

    FileDescriptor file_;
    std::unique_ptr<Elf, decltype(&elf_end)> elf_;
};

} // namespace

ElfDescription ElfDescription::read(const std::string& path) {
    return ElfReader(path).describe();
}

} // namespace storage::host
