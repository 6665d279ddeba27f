#include "hostapi/core/except/IException.h"

#include "hostapi/core/except/UtfConversion.h"

namespace foundation::core::except {

IException::~IException() noexcept = default;

std::string IException::what() const {
    return convert_str(getMessage());
}

std::string IException::convert_str(const std::u16string& text) const {
    return toReadableUtf8(text);
}

std::u16string IException::convert_str(const std::string& text) const {
    return toReadableUtf16(text);
}

} // namespace foundation::core::except
