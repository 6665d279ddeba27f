#include "host/mount/SparseMap.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace storage::host {

namespace {

bool adjoin(const SparseMap::Extent& left, const SparseMap::Extent& right) {
    return left.end() == right.first && left.stored + left.count == right.stored && left.state == right.state;
}

} // namespace

SparseMap::SparseMap(std::uint64_t pages) : pages_(pages), storedEnd_(pages) {
    if (pages > 0) {
        extents_.emplace(0, Extent{0, 0, pages, State::Written});
    }
}

std::optional<SparseMap::Extent> SparseMap::extentFrom(std::uint64_t page) const noexcept {
    const auto found = firstIn({page, endOfPages});
    if (found == extents_.end()) {
        return std::nullopt;
    }
    Extent extent = found->second;
    const std::uint64_t before = page > extent.first ? page - extent.first : 0;
    extent.first += before;
    extent.stored += before;
    extent.count -= before;
    return extent;
}

std::uint64_t SparseMap::holesIn(PageRange range) const noexcept {
    std::uint64_t holes = range.count();
    forEachIn(range, [&](const Extent& extent) { holes -= extent.count; });
    return holes;
}

bool SparseMap::isDense(std::uint64_t pages) const noexcept {
    if (extents_.size() != 1) {
        return pages == 0 && extents_.empty();
    }
    const Extent& only = extents_.begin()->second;
    return only.first == 0 && only.stored == 0 && only.count == pages && only.state == State::Written;
}

SparseMap::Placement SparseMap::place(PageRange range, State state) const {
    Placement placement;
    placement.storedEnd_ = storedEnd_;
    auto free = free_.rbegin();
    std::uint64_t taken = 0; // pages of the current free range
    const auto fill = [&](std::uint64_t first, std::uint64_t end) {
        while (first < end) {
            Extent extent{first, 0, end - first, state};
            if (free != free_.rend()) {
                extent.stored = free->first + taken;
                extent.count = std::min(extent.count, free->count() - taken);
                taken += extent.count;
                placement.fromFree_ += extent.count;
                if (taken == free->count()) {
                    ++free;
                    taken = 0;
                }
            } else {
                extent.stored = placement.storedEnd_;
                placement.storedEnd_ += extent.count;
            }
            placement.extents_.emplace_hint(placement.extents_.end(), first, extent);
            placement.pages_ += extent.count;
            first = extent.end();
        }
    };
    std::uint64_t filled = range.first;
    forEachIn(range, [&](const Extent& extent) {
        fill(filled, extent.first);
        filled = extent.end();
    });
    fill(filled, range.end);
    return placement;
}

void SparseMap::add(Placement&& placement) noexcept {
    if (placement.extents_.empty()) {
        return;
    }
    const PageRange range{placement.extents_.begin()->first, placement.extents_.rbegin()->second.end()};
    takeFree(placement.fromFree_);
    pages_ += placement.pages_;
    storedEnd_ = placement.storedEnd_;
    extents_.merge(placement.extents_);
    mergeBorders(range);
}

void SparseMap::append(std::uint64_t first, std::uint64_t count, State state) {
    const auto added = extents_.emplace_hint(extents_.end(), first, Extent{first, storedEnd_, count, state});
    pages_ += count;
    storedEnd_ += count;
    merge(added);
}

void SparseMap::markWritten(PageRange range) noexcept {
    for (auto each = firstIn(range); each != extents_.end() && each->first < range.end; ++each) {
        each->second.state = State::Written;
    }
    mergeBorders(range);
}

std::uint64_t SparseMap::remove(PageRange range, std::size_t mostExtents) noexcept {
    auto last = extents_.lower_bound(range.end);
    std::uint64_t left = range.first;
    for (std::size_t i = 0; last != extents_.begin(); ++i) {
        const auto each = std::prev(last);
        Extent& extent = each->second;
        if (extent.end() <= range.first) {
            break;
        }
        if (i == mostExtents) {
            left = extent.end();
            break;
        }
        const std::uint64_t kept = range.first > extent.first ? range.first - extent.first : 0;
        pages_ -= extent.count - kept;
        freePages({extent.first + kept, extent.stored + kept, extent.count - kept, extent.state});
        if (kept > 0) {
            extent.count = kept;
            break;
        }
        last = extents_.erase(each);
    }
    return left;
}

void SparseMap::removeReserved(PageRange range) {
    splitAt(range.first);
    splitAt(range.end);
    for (auto each = firstIn(range); each != extents_.end() && each->first < range.end;) {
        if (each->second.state == State::Reserved) {
            pages_ -= each->second.count;
            freePages(each->second);
            each = extents_.erase(each);
        } else {
            ++each;
        }
    }
    mergeBorders(range);
}

SparseMap::Extents::iterator SparseMap::firstIn(PageRange range) noexcept {
    auto found = extents_.upper_bound(range.first);
    if (found != extents_.begin() && std::prev(found)->second.end() > range.first) {
        --found;
    }
    return found;
}

SparseMap::Extents::const_iterator SparseMap::firstIn(PageRange range) const noexcept {
    return const_cast<SparseMap*>(this)->firstIn(range); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

void SparseMap::splitAt(std::uint64_t page) {
    const auto found = firstIn({page, page});
    if (found == extents_.end() || found->first >= page) {
        return;
    }
    Extent& extent = found->second;
    const std::uint64_t before = page - extent.first;
    extents_.emplace_hint(std::next(found), page,
                          Extent{page, extent.stored + before, extent.count - before, extent.state});
    extent.count = before;
}

/// Merges an extent with the one before it, if they adjoin.
/// @return the extent that holds the pages now
SparseMap::Extents::iterator SparseMap::merge(Extents::iterator extent) noexcept {
    if (extent == extents_.begin() || !adjoin(std::prev(extent)->second, extent->second)) {
        return extent;
    }
    const auto before = std::prev(extent);
    before->second.count += extent->second.count;
    extents_.erase(extent);
    return before;
}

/// Merges adjoining extents from the beginning of a range to its end, inclusive.
void SparseMap::mergeBorders(PageRange range) noexcept {
    for (auto each = firstIn(range); each != extents_.end() && each->first <= range.end;) {
        each = std::next(merge(each));
    }
}

/// Removes pages from the free list, in the order in which `place` assigned them.
void SparseMap::takeFree(std::uint64_t pages) noexcept {
    while (pages > 0) {
        PageRange& run = free_.back();
        const std::uint64_t taken = std::min(pages, run.count());
        run.first += taken;
        pages -= taken;
        if (run.isEmpty()) {
            free_.pop_back();
        }
    }
}

void SparseMap::freePages(const Extent& extent) noexcept {
    const PageRange stored{extent.stored, extent.stored + extent.count};
    if (stored.end == storedEnd_) {
        storedEnd_ = stored.first;
    } else if (!free_.empty() && free_.back().first == stored.end) {
        free_.back().first = stored.first;
    } else if (!free_.empty() && free_.back().end == stored.first) {
        free_.back().end = stored.end;
    } else {
        try {
            free_.push_back(stored);
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch)
            // The pages stay unused until the file is copied.
        }
    }
}

} // namespace storage::host
