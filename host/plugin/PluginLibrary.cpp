#include "host/plugin/PluginLibrary.h"

#include "host/support/Failure.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace storage::host {

using provider::IProvider;
using provider::ProviderEntryPoint;
using provider::providerEntryPointName;

namespace {

PluginError pluginError(const std::string& path, const std::string& reason) {
    return PluginError(printable(path) + ": " + printable(reason));
}

/// The dynamic linker's last error message, without the path that some messages begin with.
std::string linkerReason(const std::string& path) {
    const char* const text = ::dlerror();
    std::string_view reason = text == nullptr ? "unknown failure" : text;
    if (reason.starts_with(path + ": ")) {
        reason.remove_prefix(path.size() + 2);
    }
    return std::string(reason);
}

/// Reads the ELF header. Returns nothing for other file formats, which the linker reports itself.
std::optional<Elf64_Ehdr> readHeader(std::ifstream& file) {
    Elf64_Ehdr header{};
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(Elf64_Phdr)) {
        return std::nullopt;
    }
    return header;
}

/// Whether a library is for another architecture. The linker would report that the file is missing.
bool isForAnotherMachine(const Elf64_Ehdr& header) {
    std::ifstream self("/proc/self/exe", std::ios_base::binary);
    const auto own = readHeader(self);
    return own && own->e_machine != header.e_machine;
}

/// Whether a library is truncated: shorter than its program headers state. The linker would map it
/// nevertheless, and the first access beyond the end would kill the program.
bool isTruncated(const std::string& path, std::ifstream& file, const Elf64_Ehdr& header) {
    const std::uintmax_t size = std::filesystem::file_size(path);
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment{};
        if (!file.read(reinterpret_cast<char*>(&segment), sizeof segment) ||
            segment.p_offset + segment.p_filesz > size) {
            return true;
        }
    }
    return false;
}

void refuseUnloadable(const std::string& path) {
    if (::access(path.c_str(), R_OK) != 0) {
        throw pluginError(path, std::strerror(errno));
    }
    if (!std::filesystem::is_regular_file(path)) {
        throw pluginError(path, "not a regular file");
    }
    std::ifstream file(path, std::ios_base::binary);
    const auto header = readHeader(file);
    if (header && isForAnotherMachine(*header)) {
        throw pluginError(path, "cannot load plug-in: built for another processor architecture");
    }
    if (header && isTruncated(path, file, *header)) {
        throw pluginError(path, "cannot load plug-in: the file is truncated");
    }
}

} // namespace

PluginLibrary::PluginLibrary(const std::string& path) : path_(path) {
    refuseUnloadable(path_);
    // Absolute, because dlopen(3) searches the system's folders for a name without a slash.
    const std::string absolute = std::filesystem::absolute(path).string();
    void* const handle = ::dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw pluginError(path_, "cannot load plug-in: " + linkerReason(absolute));
    }
    handle_.reset(handle, ::dlclose);
}

ProviderEntryPoint* PluginLibrary::entryPoint() const {
    const auto function =
        reinterpret_cast<ProviderEntryPoint*>(::dlsym(handle_.get(), providerEntryPointName));
    if (function == nullptr) {
        throw pluginError(path_,
                          std::string("not a storage-provider plug-in: no symbol ") + providerEntryPointName);
    }
    return function;
}

LoadedProvider PluginLibrary::buildProvider() const {
    ProviderEntryPoint* const build = entryPoint();
    std::shared_ptr<IProvider> provider;
    try {
        build(&provider);
    } catch (...) {
        throw pluginError(path_,
                          "the plug-in returned no provider: " + Failure::ofCurrentException("").reason);
    }
    if (!provider) {
        throw pluginError(path_, "the plug-in returned no provider");
    }
    return {handle_, std::move(provider)};
}

} // namespace storage::host
