#pragma once

#include <cstdint>
#include <ctime>

namespace storage::host {

/// A time in 12 bytes instead of the 16 of `timespec`, because each inode has four. A value.
class CompactTime {
public:
    constexpr CompactTime() = default;

    // NOLINTNEXTLINE(google-explicit-constructor): the conversion loses nothing
    constexpr CompactTime(const timespec& time) noexcept
        : low_(static_cast<std::uint32_t>(time.tv_sec)),
          high_(static_cast<std::int32_t>(time.tv_sec >> lowBits)),
          nanoseconds_(static_cast<std::uint32_t>(time.tv_nsec)) {}

    // NOLINTNEXTLINE(google-explicit-constructor): the conversion loses nothing
    constexpr operator timespec() const noexcept {
        return {static_cast<std::time_t>(high_) * (std::time_t{1} << lowBits) + low_,
                static_cast<long>(nanoseconds_)};
    }

private:
    static constexpr unsigned lowBits = 32;

    std::uint32_t low_ = 0; ///< low half of the seconds
    std::int32_t high_ = 0; ///< high half of the seconds
    std::uint32_t nanoseconds_ = 0;
};

} // namespace storage::host
