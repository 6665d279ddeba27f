#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

namespace storage::stress {

/// Checks every entry of a provider, and every path that an entry could ever have had. No other thread may
/// use the provider meanwhile.
///
/// A folder is found both in its parent and, by its path, in the folder map. Listing a folder uses the folder
/// map, its time comes from the parent. The inspection compares the two.
///
/// Changes only times and flags, and removes temporary files that copies could not remove.
class TreeInspection {
public:
    explicit TreeInspection(const provider::IProvider& provider) : provider_(provider) {}

    /// @throws Violation
    void run();

    std::size_t entries() const { return folders_.size() + files_.size(); }
    std::uint64_t bytes() const { return bytes_; }
    std::size_t temporaryFiles() const { return temporaryFiles_; }

private:
    void inspectFolder(const std::u16string& folder);
    void inspectEntry(const std::u16string& path, provider::FolderEntry::EntryType type);
    void inspectFile(const std::u16string& file);
    void requireOneFolder(const std::u16string& folder) const;
    void requireUnknown(const std::u16string& path) const;
    void removeTemporary(const std::u16string& file);

    const provider::IProvider& provider_;
    std::set<std::u16string> folders_;
    std::set<std::u16string> files_;
    std::uint64_t bytes_ = 0;
    std::size_t temporaryFiles_ = 0;
};

} // namespace storage::stress
