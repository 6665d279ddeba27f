#pragma once

#include <cstddef>
#include <cstdint>

namespace storage::benchmark {

enum class EntryKind { File, Folder };

/// A checksum of a listing: sufficient to detect missing names, and cheap enough to compute during the timed
/// part. A value; summaries can be added.
struct ListingSummary {
    std::uint64_t entries = 0;
    std::uint64_t folders = 0;
    std::uint64_t units = 0; ///< sum over the length and selected code units of each name

    template <typename Unit>
    void add(const Unit* name, std::size_t length, EntryKind kind) {
        ++entries;
        folders += kind == EntryKind::Folder ? 1 : 0;
        units += length * 65536 + static_cast<std::uint64_t>(name[0]) * 31 +
                 static_cast<std::uint64_t>(name[length / 2]) * 7 +
                 static_cast<std::uint64_t>(name[length - 1]);
    }

    ListingSummary& operator+=(const ListingSummary& other) {
        entries += other.entries;
        folders += other.folders;
        units += other.units;
        return *this;
    }

    bool operator==(const ListingSummary&) const = default;
};

} // namespace storage::benchmark
