#include "inmemoryprovider/access/ContentGuard.h"

#include <array>
#include <cstddef>
#include <functional>

namespace storage::inmemoryprovider {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Also the mark by which a shared pointer to bytes is known to come from here.
struct GuardedContentDeleter {
    const Bytes* bytes;

    void operator()(GuardedContent* released) const { delete released; }
};

} // namespace

std::shared_ptr<Bytes> makeGuardedContent() {
    auto content = std::make_unique<GuardedContent>();
    const GuardedContentDeleter deleter{content.get()};
    return {content.release(), deleter};
}

bool isGuardedContent(const std::shared_ptr<Bytes>& content) noexcept {
    const auto* deleter = std::get_deleter<GuardedContentDeleter>(content);
    return deleter != nullptr && deleter->bytes == content.get();
}

std::mutex& guardAt(const void* address) noexcept {
    static std::array<std::mutex, 64> guards;
    constexpr std::size_t allocationUnit = 16;
    return guards[std::hash<const void*>()(address) / allocationUnit % guards.size()];
}

} // namespace storage::inmemoryprovider
