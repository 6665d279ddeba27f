#pragma once

#include "hostapi/Export.h"

#include <string>
#include <string_view>

namespace foundation::core::except {

/// Converts UTF-16 text to UTF-8 for people to read.
///
/// Never fails on its input: each unpaired surrogate becomes U+FFFD.
/// @param text  any code units
/// @return well-formed UTF-8
/// @throws std::bad_alloc
QZFL_EXPORT std::string toReadableUtf8(std::u16string_view text);

/// Converts UTF-8 text to UTF-16 for people to read.
///
/// Never fails on its input: each ill-formed sequence becomes one U+FFFD.
/// @param text  any bytes
/// @return well-formed UTF-16
/// @throws std::bad_alloc
QZFL_EXPORT std::u16string toReadableUtf16(std::string_view text);

} // namespace foundation::core::except
