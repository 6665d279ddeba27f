#include "host/support/Utf.h"

#include <fmt/format.h>
#include <iterator>
#include <utf8.h>

namespace storage::host {

namespace {

constexpr std::size_t longestInMessage = 5000; ///< bytes
constexpr std::size_t keptOfEachEnd = 1000;
constexpr int longestCharacter = 4;

constexpr bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

/// Bidirectional control characters and line separators, which can make one name look like another or like
/// two.
constexpr bool isLayout(char32_t character) {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

void appendPrintable(std::string& result, char32_t character) {
    if (character == U'\n') {
        result += "\\n";
    } else if (character == U'\t') {
        result += "\\t";
    } else if (character < 0x80 && isControl(character)) {
        result += fmt::format("\\x{:02X}", static_cast<unsigned>(character));
    } else if (isControl(character) || isLayout(character)) {
        result += fmt::format("\\u{:04X}", static_cast<unsigned>(character));
    } else {
        utf8::append(character, std::back_inserter(result));
    }
}

constexpr bool isLeadSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool isTrailSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr char16_t escapeBase = 0xDC00; ///< lone surrogates that encode a byte: this base plus the byte

/// Whether a lone trail surrogate encodes a byte.
constexpr bool isEscapedByte(char16_t unit) {
    return unit >= escapeBase + 0x80 && unit <= escapeBase + 0xFF;
}

constexpr char32_t combined(char16_t lead, char16_t trail) {
    return 0x10000U + ((lead - 0xD800U) << 10U) + (trail - 0xDC00U);
}

constexpr bool isPairAt(std::u16string_view text, std::size_t position) {
    return isLeadSurrogate(text[position]) && position + 1 < text.size() &&
           isTrailSurrogate(text[position + 1]);
}

} // namespace

std::u16string toUtf16(std::string_view bytes) {
    std::u16string result;
    result.reserve(bytes.size());
    auto position = bytes.begin();
    while (position != bytes.end()) {
        const auto invalid = utf8::find_invalid(position, bytes.end());
        utf8::utf8to16(position, invalid, std::back_inserter(result));
        position = invalid;
        if (position != bytes.end()) {
            result += static_cast<char16_t>(escapeBase + static_cast<unsigned char>(*position));
            ++position;
        }
    }
    return result;
}

std::optional<std::string> toUtf8(std::u16string_view text) {
    std::string result;
    result.reserve(text.size());
    bool hasEscapes = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isPairAt(text, i)) {
            utf8::append(combined(text[i], text[i + 1]), std::back_inserter(result));
            ++i;
        } else if (isEscapedByte(text[i])) {
            result += static_cast<char>(text[i] - escapeBase);
            hasEscapes = true;
        } else if (isLeadSurrogate(text[i]) || isTrailSurrogate(text[i])) {
            return std::nullopt;
        } else {
            utf8::append(static_cast<char32_t>(text[i]), std::back_inserter(result));
        }
    }
    if (hasEscapes && toUtf16(result) != text) {
        return std::nullopt;
    }
    return result;
}

std::string printable(std::string_view text) {
    std::string result;
    auto position = text.begin();
    while (position != text.end()) {
        const auto invalid = utf8::find_invalid(position, text.end());
        while (position != invalid) {
            appendPrintable(result, static_cast<char32_t>(utf8::next(position, invalid)));
        }
        if (position != text.end()) {
            result += fmt::format("\\x{:02X}", static_cast<unsigned char>(*position));
            ++position;
        }
    }
    return result;
}

std::string printable(std::u16string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isPairAt(text, i)) {
            appendPrintable(result, combined(text[i], text[i + 1]));
            ++i;
        } else if (isEscapedByte(text[i])) {
            result += fmt::format("\\x{:02X}", text[i] - escapeBase);
        } else if (isLeadSurrogate(text[i]) || isTrailSurrogate(text[i])) {
            result += fmt::format("\\u{:04X}", static_cast<unsigned>(text[i]));
        } else {
            appendPrintable(result, text[i]);
        }
    }
    return result;
}

std::string printableInMessage(std::string_view text) {
    if (text.size() <= longestInMessage) {
        return printable(text);
    }
    std::size_t headEnd = keptOfEachEnd;
    std::size_t tailBegin = text.size() - keptOfEachEnd;
    for (int i = 1; i < longestCharacter; ++i) {
        headEnd -= isInsideCharacter(text[headEnd]) ? 1 : 0;
        tailBegin += isInsideCharacter(text[tailBegin]) ? 1 : 0;
    }
    return fmt::format("{}...({} bytes left out)...{}", printable(text.substr(0, headEnd)),
                       tailBegin - headEnd, printable(text.substr(tailBegin)));
}

} // namespace storage::host
