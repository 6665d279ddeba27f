#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

/// The UTF-16 form of bytes that are UTF-8, or names of a disk that are not: each byte that is not part of a
/// well-formed character becomes one unit from U+DC80 to U+DCFF, which no UTF-8 text gives.
std::u16string toUtf16(std::string_view bytes);

/// The bytes for which toUtf16() gives this text; nothing when there are none, because the text has another
/// unpaired surrogate or spells a well-formed character as single bytes.
std::optional<std::string> toUtf8(std::u16string_view text);

/// Text that is safe on one line: control characters, characters that turn the direction of the text around them
/// and ill-formed bytes become \n, \t, \xNN or \uNNNN, everything else stays.
std::string printable(std::string_view text);

/// As above for UTF-16 text; an unpaired surrogate becomes the byte for which it stands, \xNN, or \uNNNN.
std::string printable(std::u16string_view text);

/// Printable text for a message, in which what is longer than any path of the disk loses its middle.
std::string printableInMessage(std::string_view text);

} // namespace storage::host
