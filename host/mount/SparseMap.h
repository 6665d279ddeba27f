#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace storage::host {

constexpr std::uint64_t pageSize = 4096; ///< bytes, the unit of holes and of st_blocks
constexpr std::uint64_t endOfPages = std::numeric_limits<std::uint64_t>::max();

/// Pages that `bytes` bytes take.
constexpr std::uint64_t pagesOf(std::uint64_t bytes) {
    return bytes / pageSize + (bytes % pageSize != 0 ? 1 : 0);
}

/// Pages of a file or of its stored bytes, by number. A value.
struct PageRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0; ///< not included

    bool isEmpty() const noexcept { return first >= end; }
    std::uint64_t count() const noexcept { return isEmpty() ? 0 : end - first; }

    /// All pages that bytes from `offset` to `end` touch.
    static PageRange covering(std::uint64_t offset, std::uint64_t end) noexcept {
        return {offset / pageSize, pagesOf(end)};
    }

    /// The pages that lie within `offset` to `end` completely.
    static PageRange within(std::uint64_t offset, std::uint64_t end) noexcept {
        return {pagesOf(offset), end / pageSize};
    }
};

/// Where the pages of a file with holes are stored: the storage holds only the pages that exist, in the order in which they
/// were added. Pages that become holes leave free stored pages, which are reused first.
///
/// Owns no bytes. Invariants: extents are not empty and do not overlap, in the file as in the storage; no stored page is free
/// and in use; extents that adjoin in the file, in the storage and in state are one, after each function that succeeds.
/// Not thread-safe: guarded like the file's attributes.
class SparseMap {
public:
    enum class State {
        Written,  ///< the stored bytes are the file's
        Reserved, ///< room for later writes; stored as zeros
    };

    /// Adjoining pages of the file that adjoin in the storage too. A value.
    struct Extent {
        std::uint64_t first = 0;  ///< page of the file
        std::uint64_t stored = 0; ///< page of the storage
        std::uint64_t count = 0;
        State state = State::Written;

        std::uint64_t end() const noexcept { return first + count; }
    };

    /// Where pages of holes are to be stored, decided but not yet in the map.
    class Placement {
    public:
        /// Calls `visit` with each extent, in the order of the file.
        template <typename Visit>
        void forEach(const Visit& visit) const {
            for (const auto& [first, extent] : extents_) {
                visit(extent);
            }
        }
        std::uint64_t pages() const noexcept { return pages_; }

        /// The end of the stored pages when the placement is in the map.
        std::uint64_t storedEnd() const noexcept { return storedEnd_; }

    private:
        friend class SparseMap;
        std::map<std::uint64_t, Extent> extents_;
        std::uint64_t pages_ = 0;
        std::uint64_t fromFree_ = 0; ///< pages
        std::uint64_t storedEnd_ = 0;
    };

    /// A map of no pages.
    SparseMap() = default;

    /// Pages that are all written and stored in the order of the file.
    explicit SparseMap(std::uint64_t pages);

    SparseMap(const SparseMap&) = delete;
    SparseMap& operator=(const SparseMap&) = delete;
    ~SparseMap() = default;

    std::uint64_t pages() const noexcept { return pages_; }         ///< that are not holes
    std::uint64_t storedEnd() const noexcept { return storedEnd_; } ///< the end of the stored pages in use
    std::size_t extents() const noexcept { return extents_.size(); }

    /// The first extent that ends after `page`, cut to begin there at the earliest.
    std::optional<Extent> extentFrom(std::uint64_t page) const noexcept;

    /// Calls `visit` with the parts of extents that lie in the range, in order.
    template <typename Visit>
    void forEachIn(PageRange range, const Visit& visit) const;

    /// Pages of the range that are holes.
    std::uint64_t holesIn(PageRange range) const noexcept;

    /// Whether the file has exactly `pages` pages, all written, and stored as in a file without holes.
    bool isDense(std::uint64_t pages) const noexcept;

    /// Decides where the holes of a range are stored. Nothing else may change the map before the placement is added.
    Placement place(PageRange range, State state) const;
    void add(Placement&& placement) noexcept;

    /// Adds an extent after all others, at the end of the stored pages.
    void append(std::uint64_t first, std::uint64_t count, State state);

    /// Makes two of an extent that has `page` inside, so that what follows cannot fail.
    void splitAt(std::uint64_t page);

    /// Marks pages that are not holes as written. No extent may reach beyond either end of the range.
    void markWritten(PageRange range) noexcept;

    /// Makes holes of at most `mostExtents` extents in the range, from the last on. No extent may reach beyond its end.
    /// @return the end of what is left to remove; `range.first` if nothing is
    std::uint64_t remove(PageRange range, std::size_t mostExtents) noexcept;

    /// Makes holes of the pages of a range that are reserved.
    void removeReserved(PageRange range);

private:
    using Extents = std::map<std::uint64_t, Extent>;

    Extents::iterator firstIn(PageRange range) noexcept;
    Extents::const_iterator firstIn(PageRange range) const noexcept;
    Extents::iterator merge(Extents::iterator extent) noexcept;
    void mergeBorders(PageRange range) noexcept;
    void takeFree(std::uint64_t pages) noexcept;
    void giveBack(const Extent& extent) noexcept;

    Extents extents_; ///< by their first page
    std::vector<PageRange>
        free_; ///< stored pages to be reused, the last first; may lack some, which a copy of the file regains
    std::uint64_t pages_ = 0;
    std::uint64_t storedEnd_ = 0;
};

template <typename Visit>
void SparseMap::forEachIn(PageRange range, const Visit& visit) const {
    for (auto each = firstIn(range); each != extents_.end() && each->first < range.end; ++each) {
        Extent part = each->second;
        if (part.first < range.first) {
            part.stored += range.first - part.first;
            part.count -= range.first - part.first;
            part.first = range.first;
        }
        if (part.end() > range.end) {
            part.count = range.end - part.first;
        }
        visit(part);
    }
}

} // namespace storage::host
