#include "host/disk/DiskXattrs.h"

#include "host/support/CommandError.h"

#include <array>
#include <cerrno>
#include <optional>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace storage::host {

namespace {

constexpr std::size_t longestValue = std::size_t{64} * 1024; ///< kernel limit for a value and for all names

/// The list of names, each terminated by NUL.
std::string listXattrs(const FileDescriptor& entry) {
    std::array<char, 256> small{}; // enough for most entries
    ssize_t size = ::flistxattr(entry.number(), small.data(), small.size());
    if (size >= 0) {
        return {small.data(), static_cast<std::size_t>(size)};
    }
    if (errno == ERANGE) {
        std::string names(longestValue, '\0');
        size = ::flistxattr(entry.number(), names.data(), names.size());
        if (size >= 0) {
            names.resize(static_cast<std::size_t>(size));
            return names;
        }
    }
    if (errno == ENOTSUP) {
        return {};
    }
    throw diskError(entry.path(), errno);
}

std::vector<std::string> carriedNames(const FileDescriptor& entry) {
    const std::string list = listXattrs(entry);
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin < list.size();) {
        std::string name = list.data() + begin;
        begin += name.size() + 1;
        if (isCarriedXattr(name)) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

/// Nothing if the attribute was removed meanwhile.
std::optional<std::string> valueOf(const FileDescriptor& entry, const std::string& name) {
    std::string value(longestValue, '\0');
    const ssize_t size = ::fgetxattr(entry.number(), name.c_str(), value.data(), value.size());
    if (size >= 0) {
        value.resize(static_cast<std::size_t>(size));
        value.shrink_to_fit();
        return value;
    }
    if (errno == ENODATA) {
        return std::nullopt;
    }
    throw diskError(entry.path(), errno);
}

} // namespace

bool isCarriedXattr(std::string_view name) {
    return name.starts_with("user.") || (name == "security.capability" && ::geteuid() == 0);
}

Xattrs readXattrs(const FileDescriptor& entry) {
    Xattrs xattrs;
    for (const std::string& name : carriedNames(entry)) {
        if (auto value = valueOf(entry, name)) {
            xattrs.emplace(name, std::move(*value));
        }
    }
    return xattrs;
}

std::size_t addXattrs(const FileDescriptor& entry, const Xattrs& xattrs) {
    std::size_t refused = 0;
    for (const auto& [name, value] : xattrs) {
        if (::fsetxattr(entry.number(), name.c_str(), value.data(), value.size(), 0) == 0) {
            continue;
        }
        if (errno == EIO) {
            throw diskError(entry.path(), errno);
        }
        ++refused;
    }
    return refused;
}

void removeOtherXattrs(const FileDescriptor& entry, const Xattrs& kept) {
    for (const std::string& name : carriedNames(entry)) {
        if (!kept.contains(name)) {
            ::fremovexattr(entry.number(), name.c_str());
        }
    }
}

} // namespace storage::host
