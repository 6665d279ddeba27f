#include "host/mount/ExtendedAttributeSet.h"

#include "host/mount/ErrnoError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/limits.h>
#include <sys/xattr.h>

namespace storage::host {

namespace {

constexpr std::string_view ofSuperusers = "trusted.";
constexpr std::array<std::string_view, 3> prefixes{"user.", ofSuperusers, "security."};

} // namespace

void ExtendedAttributeSet::requireName(std::string_view name) {
    const auto* const prefix = std::find_if(prefixes.begin(), prefixes.end(),
                                            [&](std::string_view each) { return name.starts_with(each); });
    if (prefix == prefixes.end()) {
        throw ErrnoError(EOPNOTSUPP);
    }
    if (name == *prefix) {
        throw ErrnoError(EINVAL);
    }
}

void ExtendedAttributeSet::set(std::string_view name, std::string_view value, int flags) {
    const auto present = values_.find(name);
    const bool isNew = present == values_.end();
    if (!isNew && (flags & XATTR_CREATE) != 0) {
        throw ErrnoError(EEXIST);
    }
    if (isNew && (flags & XATTR_REPLACE) != 0) {
        throw ErrnoError(ENODATA);
    }
    const std::size_t namesSize = namesSize_ + (isNew ? name.size() + 1 : 0);
    if (namesSize > XATTR_LIST_MAX) {
        throw ErrnoError(ENOSPC);
    }
    if (isNew) {
        values_.emplace(name, value);
    } else {
        present->second = std::string(value);
    }
    namesSize_ = namesSize;
}

const std::string& ExtendedAttributeSet::get(std::string_view name) const {
    return require(name)->second;
}

void ExtendedAttributeSet::remove(std::string_view name) {
    const auto present = require(name);
    namesSize_ -= present->first.size() + 1;
    values_.erase(present);
}

std::string ExtendedAttributeSet::list(Names wanted) const {
    std::string names;
    names.reserve(namesSize_);
    for (const auto& [name, value] : values_) {
        if (wanted == Names::All || !name.starts_with(ofSuperusers)) {
            names.append(name).push_back('\0');
        }
    }
    return names;
}

ExtendedAttributeSet::Values::const_iterator ExtendedAttributeSet::require(std::string_view name) const {
    const auto present = values_.find(name);
    if (present == values_.end()) {
        throw ErrnoError(ENODATA);
    }
    return present;
}

} // namespace storage::host
