#pragma once

#include <string>

namespace storage::inmemoryprovider::tests {

/// Checks the entry path of `text` against the plain rules.
/// @return the broken rule; empty if there is none
std::string ruleBrokenBy(const std::u16string& text);

/// The same for the relations of two paths, and for appending the right text to the left path.
std::string ruleBrokenBy(const std::u16string& leftText, const std::u16string& rightText);

} // namespace storage::inmemoryprovider::tests
