#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace storage::host {

/// Passes `count` zeros to `write`, block by block.
template <class Write>
void writeZeros(std::uint64_t count, const Write& write) {
    static constexpr std::array<char, std::size_t{64} * 1024> zeros{};
    while (count > 0) {
        const std::uint64_t step = std::min<std::uint64_t>(count, zeros.size());
        write(std::span(zeros).first(step));
        count -= step;
    }
}

} // namespace storage::host
