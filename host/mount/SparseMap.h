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

/// Number of pages for `bytes` bytes.
constexpr std::uint64_t pagesOf(std::uint64_t bytes) {
    return bytes / pageSize + (bytes % pageSize != 0 ? 1 : 0);
}

/// A range of page numbers, of a file or of its stored bytes. A value.
struct PageRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0; ///< exclusive

    bool isEmpty() const noexcept { return first >= end; }
    std::uint64_t count() const noexcept { return isEmpty() ? 0 : end - first; }

    /// All pages that overlap the bytes from `offset` to `end`.
    static PageRange covering(std::uint64_t offset, std::uint64_t end) noexcept {
        return {offset / pageSize, pagesOf(end)};
    }

    /// The pages that lie completely within `offset` to `end`.
    static PageRange within(std::uint64_t offset, std::uint64_t end) noexcept {
        return {pagesOf(offset), end / pageSize};
    }
};

/// Maps the pages of a file with holes to stored pages. The storage holds only the pages that are not holes,
/// in the order in which they were added. Pages that become holes leave free stored pages, which are reused
/// first.
///
/// Owns no bytes. Invariants: extents are not empty and do not overlap, neither in the file nor in the
/// storage; no stored page is both free and in use. After each successful function, extents that adjoin in
/// the file and in the storage and have the same state are merged. Externally synchronized by the lock of the
/// file's attributes.
class SparseMap {
public:
    enum class State {
        Written,  ///< the stored bytes are the file's
        Reserved, ///< space for later writes; stored as zeros
    };

    /// A run of pages that are consecutive in the file and in the storage. A value.
    struct Extent {
        std::uint64_t first = 0;  ///< page of the file
        std::uint64_t stored = 0; ///< page of the storage
        std::uint64_t count = 0;
        State state = State::Written;

        std::uint64_t end() const noexcept { return first + count; }
    };

    /// The stored pages for holes of a range, chosen but not yet in the map.
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

        /// The end of the stored pages after the placement is added.
        std::uint64_t storedEnd() const noexcept { return storedEnd_; }

    private:
        friend class SparseMap;
        std::map<std::uint64_t, Extent> extents_;
        std::uint64_t pages_ = 0;
        std::uint64_t fromFree_ = 0; ///< pages
        std::uint64_t storedEnd_ = 0;
    };

    /// A map without pages.
    SparseMap() = default;

    /// A map of pages that are all written and stored in the order of the file.
    explicit SparseMap(std::uint64_t pages);

    SparseMap(const SparseMap&) = delete;
    SparseMap& operator=(const SparseMap&) = delete;
    ~SparseMap() = default;

    std::uint64_t pages() const noexcept { return pages_; }         ///< that are not holes
    std::uint64_t storedEnd() const noexcept { return storedEnd_; } ///< the end of the stored pages in use
    std::size_t extents() const noexcept { return extents_.size(); }

    /// The first extent that ends after `page`, without its pages before `page`.
    std::optional<Extent> extentFrom(std::uint64_t page) const noexcept;

    /// Calls `visit` with the parts of extents that lie in the range, in order.
    template <typename Visit>
    void forEachIn(PageRange range, const Visit& visit) const;

    /// Number of pages of the range that are holes.
    std::uint64_t holesIn(PageRange range) const noexcept;

    /// Whether the file has exactly `pages` pages, all written, and stored as in a file without holes.
    bool isDense(std::uint64_t pages) const noexcept;

    /// Chooses the stored pages for the holes of a range. Nothing else may change the map before the
    /// placement is added.
    Placement place(PageRange range, State state) const;
    void add(Placement&& placement) noexcept;

    /// Adds an extent after all others, at the end of the stored pages.
    void append(std::uint64_t first, std::uint64_t count, State state);

    /// Splits the extent that contains `page` directly before it, unless it begins there. Later functions
    /// need not allocate then.
    void splitAt(std::uint64_t page);

    /// Marks pages that are not holes as written. Precondition: no extent crosses an end of the range.
    void markWritten(PageRange range) noexcept;

    /// Turns the pages of at most `mostExtents` extents in the range into holes, from the last on.
    /// Precondition: no extent crosses the end of the range.
    /// @return the end of the remaining range; `range.first` if none remains
    std::uint64_t remove(PageRange range, std::size_t mostExtents) noexcept;

    /// Turns the reserved pages of a range into holes.
    void removeReserved(PageRange range);

private:
    using Extents = std::map<std::uint64_t, Extent>;

    Extents::iterator firstIn(PageRange range) noexcept;
    Extents::const_iterator firstIn(PageRange range) const noexcept;
    Extents::iterator merge(Extents::iterator extent) noexcept;
    void mergeBorders(PageRange range) noexcept;
    void takeFree(std::uint64_t pages) noexcept;
    void freePages(const Extent& extent) noexcept;

    Extents extents_; ///< by first page
    /// Stored pages to be reused, the last first. May lack some that could not be noted; a copy of the file
    /// frees those.
    std::vector<PageRange> free_;
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
