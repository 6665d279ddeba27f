#pragma once

#include "hostapi/storage/provider/IProvider.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

namespace storage::stress {

/// Looks at every entry of a provider that nobody else uses meanwhile, and tries every path that an entry might ever have
/// had.
///
/// A folder is known to its parent and, by its path, to the provider. What lists a folder goes by the path, what tells
/// its time by the parent; so both can be asked, and held against each other.
///
/// Leaves the tree as it is but for times and flags, and removes the temporary files that copies had to leave behind.
class TreeInspection {
public:
    explicit TreeInspection(const foundation::storage::provider::IProvider& provider) : provider_(provider) {}

    /// @throws Fault
    void run();

    std::size_t entries() const { return folders_.size() + files_.size(); }
    std::uint64_t bytes() const { return bytes_; }
    std::size_t temporaryFiles() const { return temporaryFiles_; }

private:
    void inspectFolder(const std::u16string& folder);
    void inspectEntry(const std::u16string& path, foundation::storage::provider::FolderEntry::EntryType type);
    void inspectFile(const std::u16string& file);
    void requireOneFolder(const std::u16string& folder) const;
    void requireUnknown(const std::u16string& path) const;
    void removeTemporary(const std::u16string& file);

    const foundation::storage::provider::IProvider& provider_;
    std::set<std::u16string> folders_;
    std::set<std::u16string> files_;
    std::uint64_t bytes_ = 0;
    std::size_t temporaryFiles_ = 0;
};

} // namespace storage::stress
