#include "hostapi/core/except/UtfConversion.h"

#include <iterator>
#include <utf8.h>

namespace foundation::core::except {

namespace {

constexpr char32_t replacementCharacter = U'\uFFFD';

constexpr bool isLeadSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool isTrailSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

} // namespace

std::string toReadableUtf8(std::u16string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t codePoint = text[i];
        if (isLeadSurrogate(text[i]) && i + 1 < text.size() && isTrailSurrogate(text[i + 1])) {
            codePoint = 0x10000U + ((char32_t{text[i]} - 0xD800U) << 10U) + (char32_t{text[i + 1]} - 0xDC00U);
            ++i;
        } else if (isLeadSurrogate(text[i]) || isTrailSurrogate(text[i])) {
            codePoint = replacementCharacter;
        }
        utf8::append(codePoint, std::back_inserter(result));
    }
    return result;
}

std::u16string toReadableUtf16(std::string_view text) {
    std::string wellFormed;
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(wellFormed), replacementCharacter);
    std::u16string result;
    utf8::utf8to16(wellFormed.begin(), wellFormed.end(), std::back_inserter(result));
    return result;
}

} // namespace foundation::core::except
