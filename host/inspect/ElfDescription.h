#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// What a shared library says of itself to the dynamic linker. A value.
struct ElfDescription {
    std::string soname;              ///< empty when it has none
    std::vector<std::string> needed; ///< sonames, in the file's order
    std::vector<std::string>
        exports; ///< symbols that others can use, as a C++ programmer writes them, sorted

    /// @throws CommandError when the file cannot be read or is no shared library
    static ElfDescription read(const std::string& path);
};

} // namespace storage::host
