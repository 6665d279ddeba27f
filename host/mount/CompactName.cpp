#include "host/mount/CompactName.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace storage::host {

namespace {

bool isNarrow(char16_t unit) {
    return unit <= std::numeric_limits<unsigned char>::max();
}

} // namespace

CompactName::CompactName(std::u16string_view text) {
    const bool isAllNarrow = text.size() <= longestNarrow && std::all_of(text.begin(), text.end(), isNarrow);
    const auto narrowTo = [&](unsigned char* units) {
        std::transform(text.begin(), text.end(), units,
                       [](char16_t unit) { return static_cast<unsigned char>(unit); });
    };
    if (isAllNarrow && text.size() <= longestInside) {
        narrowTo(bytes_.data());
        form_ = static_cast<std::uint8_t>(text.size());
        return;
    }
    const std::size_t size = isAllNarrow ? text.size() : text.size() * sizeof(char16_t);
    const Block block{static_cast<unsigned char*>(::operator new(size)),
                      static_cast<std::uint32_t>(text.size())};
    if (isAllNarrow) {
        narrowTo(block.memory);
    } else {
        std::memcpy(block.memory, text.data(), size);
    }
    std::memcpy(bytes_.data(), &block.memory, sizeof(block.memory));
    std::memcpy(bytes_.data() + sizeof(block.memory), &block.units, sizeof(block.units));
    form_ = isAllNarrow ? narrow : wide;
}

CompactName& CompactName::operator=(CompactName&& other) noexcept {
    if (this != &other) {
        free();
        bytes_ = other.bytes_;
        form_ = std::exchange(other.form_, std::uint8_t{0});
    }
    return *this;
}

std::u16string CompactName::text() const {
    return read([](std::u16string_view units) { return std::u16string(units); });
}

CompactName::Block CompactName::block() const noexcept {
    Block block{};
    std::memcpy(&block.memory, bytes_.data(), sizeof(block.memory));
    std::memcpy(&block.units, bytes_.data() + sizeof(block.memory), sizeof(block.units));
    return block;
}

void CompactName::free() noexcept {
    if (form_ == narrow || form_ == wide) {
        ::operator delete(block().memory);
    }
}

} // namespace storage::host
