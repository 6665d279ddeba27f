#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace storage::benchmark {

enum class EntryKind { File, Folder };

/// A checksum of a listing: sufficient to detect missing names, and cheap enough to compute during the timed
/// part. A value.
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

    /// Adds a file by its path.
    void addFile(std::string_view path) {
        const std::string_view name = path.substr(path.rfind('/') + 1);
        add(name.data(), name.size(), EntryKind::File);
    }

    bool operator==(const ListingSummary&) const = default;
};

} // namespace storage::benchmark
