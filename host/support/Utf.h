#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

/// The UTF-16 form of UTF-8 text; nothing when the text is not well-formed.
std::optional<std::u16string> toUtf16(std::string_view text);

/// The UTF-8 form of UTF-16 text; nothing when the text has an unpaired surrogate.
std::optional<std::string> toUtf8(std::u16string_view text);

/// Text that is safe on one line: control characters, characters that turn the direction of the text around them
/// and ill-formed bytes become \n, \t, \xNN or \uNNNN, everything else stays.
std::string printable(std::string_view text);

/// As above for UTF-16 text; an unpaired surrogate becomes \uNNNN.
std::string printable(std::u16string_view text);

/// Printable text for a message, in which what is longer than any path of the disk loses its middle.
std::string printableInMessage(std::string_view text);

} // namespace storage::host
