#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

/// Converts UTF-8 to UTF-16. Each byte that is not part of a well-formed character, which names on disk can
/// contain, becomes one unit from U+DC80 to U+DCFF. Well-formed UTF-8 never produces these units.
std::u16string toUtf16(std::string_view bytes);

/// The inverse of toUtf16(). Returns nothing for text that toUtf16() cannot produce: it has another lone
/// surrogate, or encodes a well-formed character as single bytes.
std::optional<std::string> toUtf8(std::u16string_view text);

/// Whether the byte continues a character in UTF-8.
constexpr bool isInsideCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Escapes text for one line: control characters, bidirectional controls and ill-formed bytes become \n, \t,
/// \xNN or \uNNNN.
std::string printable(std::string_view text);

/// The same for UTF-16 text. A lone surrogate becomes \xNN if it encodes a byte, else \uNNNN.
std::string printable(std::u16string_view text);

/// The same for a message: if the text is longer than any path on disk, its middle is left out.
std::string printableInMessage(std::string_view text);

} // namespace storage::host
