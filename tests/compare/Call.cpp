#include "tests/compare/Call.h"

#include <fmt/format.h>
#include <sstream>
#include <stdexcept>

namespace syscalls {

namespace {

/// Reads the text between the next two quotes of a line.
std::string unquoted(std::istream& in) {
    std::string text;
    char byte = 0;
    in >> byte;
    if (byte != '"') {
        throw std::runtime_error("a text does not begin with a quote");
    }
    while (in.get(byte) && byte != '"') {
        if (byte == '\\') {
            std::array<char, 4> digits{};
            in.get(byte); // the x of \xNN
            in.read(digits.data(), 2);
            byte = static_cast<char>(std::stoi(digits.data(), nullptr, 16));
        }
        text += byte;
    }
    return text;
}

} // namespace

std::string inQuotes(std::string_view text) {
    std::string result = "\"";
    for (const char byte : text) {
        const bool isPlain = byte >= ' ' && byte <= '~' && byte != '"' && byte != '\\';
        result += isPlain ? std::string(1, byte) : fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
    }
    return result + '"';
}

std::string toLine(const Call& call) {
    return fmt::format("{} {} {} {} {}", call.user, call.kind, fmt::join(call.numbers, " "),
                       inQuotes(call.first), inQuotes(call.second));
}

Call fromLine(const std::string& line) {
    std::istringstream in(line);
    Call call;
    in >> call.user >> call.kind;
    for (std::int64_t& number : call.numbers) {
        in >> number;
    }
    if (!in) {
        throw std::runtime_error("not a call: " + line);
    }
    call.first = unquoted(in);
    call.second = unquoted(in);
    return call;
}

} // namespace syscalls
