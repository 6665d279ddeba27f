#pragma once

#include "hostapi/Export.h"

#include <cstdint>
#include <string>

namespace foundation::storage::provider {

/// One entry of a listing. A value.
class QZFL_EXPORT FolderEntry {
public:
    /// The values are part of the ABI.
    enum class EntryType : std::int32_t {
        File = 0,   ///< holds bytes
        Folder = 1, ///< holds entries
    };

    /// @param name  the entry's name; in a recursive listing its path relative to the listed folder
    /// @param type  file or folder
    FolderEntry(std::u16string name, EntryType type);

    /// The entry's name, or its path in a recursive listing.
    /// @return a reference, valid as long as this object
    const std::u16string& getName() const noexcept { return name_; }

    /// Whether the entry is a file or a folder.
    /// @return the kind
    EntryType getType() const noexcept { return type_; }

    /// Whether name and kind are equal.
    /// @param other  the entry to compare with
    /// @return whether they are equal
    bool operator==(const FolderEntry& other) const noexcept {
        return name_ == other.name_ && type_ == other.type_;
    }
    /// The opposite of ==.
    /// @param other  the entry to compare with
    /// @return whether they differ
    bool operator!=(const FolderEntry& other) const noexcept { return !(*this == other); }

private:
    std::u16string name_;
    EntryType type_;
};

static_assert(static_cast<std::int32_t>(FolderEntry::EntryType::File) == 0);
static_assert(static_cast<std::int32_t>(FolderEntry::EntryType::Folder) == 1);

} // namespace foundation::storage::provider
