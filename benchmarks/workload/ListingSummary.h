#pragma once

#include <cstddef>
#include <cstdint>

namespace storage::benchmark {

enum class EntryKind { File, Folder };

/// What was seen of a listing: enough to tell that every name was there, cheap enough to be made while the
/// listing is timed. A value; sums of summaries are summaries.
struct ListingSummary {
    std::uint64_t entries = 0;
    std::uint64_t folders = 0;
    std::uint64_t units = 0; ///< of some places of each name, summed

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
