#pragma once

#include <string>

namespace storage::inmemoryprovider::tests {

/// Holds the entry path made of `text` against the plain rules.
/// @return the rule that it breaks; empty when it breaks none
std::string ruleBrokenBy(const std::u16string& text);

/// As above for what two paths are to each other, and for appending the right text to the left path.
std::string ruleBrokenBy(const std::u16string& leftText, const std::u16string& rightText);

} // namespace storage::inmemoryprovider::tests
