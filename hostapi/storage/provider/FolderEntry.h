#pragma once

#include "hostapi/Export.h"

#include <cstdint>
#include <string>

namespace foundation::storage::provider {

/// One entry of a listing. A value.
class QZFL_EXPORT FolderEntry {
public:
    /// The numbers are part of the binary interface.
    enum class EntryType : std::int32_t {
        File = 0,
        Folder = 1,
    };

    /// @param name  the entry's name; in a recursive listing its path relative to the listed folder
    FolderEntry(std::u16string name, EntryType type);

    const std::u16string& getName() const noexcept { return name_; }
    EntryType getType() const noexcept { return type_; }

    bool operator==(const FolderEntry&) const = default;

private:
    std::u16string name_;
    EntryType type_;
};

static_assert(static_cast<std::int32_t>(FolderEntry::EntryType::File) == 0);
static_assert(static_cast<std::int32_t>(FolderEntry::EntryType::Folder) == 1);

} // namespace foundation::storage::provider
