#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace storage::host {

/// The name of an entry in 16 bytes, because there may be millions of entries. A name of up to 15 UTF-16
/// units below U+0100 is stored inline. A longer name of such units is allocated with one byte per unit. A
/// move-only value.
class CompactName {
public:
    CompactName() noexcept = default;

    // NOLINTBEGIN(google-explicit-constructor): the conversion loses nothing
    /// @throws std::bad_alloc
    CompactName(std::u16string_view text);
    CompactName(const std::u16string& text) : CompactName(std::u16string_view(text)) {}
    CompactName(const char16_t* text) : CompactName(std::u16string_view(text)) {}
    // NOLINTEND(google-explicit-constructor)

    CompactName(CompactName&& other) noexcept : bytes_(other.bytes_), form_(other.form_) { other.form_ = 0; }
    CompactName& operator=(CompactName&& other) noexcept;
    CompactName(const CompactName&) = delete;
    CompactName& operator=(const CompactName&) = delete;
    ~CompactName() { free(); }

    bool empty() const noexcept { return form_ == 0; }

    std::u16string text() const;

    /// Calls `use` with the text, which is valid during that call.
    /// @return the result of `use`
    template <typename Use>
    auto read(const Use& use) const {
        if (form_ == wide) {
            const Block block = this->block();
            return use(std::u16string_view(reinterpret_cast<const char16_t*>(block.memory), block.units));
        }
        const Block block = form_ == narrow ? this->block() : Block{nullptr, form_};
        const auto* const units = form_ == narrow ? block.memory : bytes_.data();
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): only the initialized part is used
        std::array<char16_t, longestNarrow> text;
        for (std::size_t i = 0; i < block.units; ++i) {
            text[i] = units[i];
        }
        return use(std::u16string_view(text.data(), block.units));
    }

private:
    static constexpr std::size_t longestInside = 15;
    static constexpr std::size_t longestNarrow = 255; ///< NAME_MAX

    // Values of `form_` for names that are not stored inline.
    static constexpr std::uint8_t narrow = 16; ///< a block with one byte per unit
    static constexpr std::uint8_t wide = 17;   ///< a block with two bytes per unit

    /// The allocated memory of a name that is not stored inline.
    struct Block {
        unsigned char* memory;
        std::uint32_t units;
    };

    Block block() const noexcept;
    void free() noexcept;

    std::array<unsigned char, longestInside> bytes_{}; ///< the units, or the parts of a `Block`
    std::uint8_t form_ = 0;                            ///< number of inline units, or `narrow` or `wide`
};

static_assert(sizeof(CompactName) == 16);

} // namespace storage::host
