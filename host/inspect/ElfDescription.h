#pragma once

#include <string>
#include <vector>

namespace storage::host {

/// The dynamic section and the exports of a shared library. A value.
struct ElfDescription {
    std::string soname;               ///< empty if it has none
    std::vector<std::string> needed;  ///< sonames, in the order of the file
    std::vector<std::string> exports; ///< exported symbols, demangled, sorted

    /// @throws CommandError when the file cannot be read or is not a shared library
    static ElfDescription read(const std::string& path);
};

} // namespace storage::host
