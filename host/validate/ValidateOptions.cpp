#include "host/validate/ValidateOptions.h"

#include "host/support/Utf.h"

#include <boost/algorithm/string/replace.hpp>
#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr const char* harmless = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./+,:@%=-";

std::string quotedForShell(const std::string& word) {
    if (!word.empty() && word.find_first_not_of(harmless) == std::string::npos) {
        return word;
    }
    if (printable(word) == word) {
        return fmt::format("'{}'", boost::replace_all_copy(word, "'", "'\\''"));
    }
    std::string quoted = "$'";
    for (const char letter : word) {
        const bool isHarmless = std::string_view(harmless).find(letter) != std::string_view::npos;
        quoted += isHarmless ? std::string(1, letter)
                             : fmt::format("\\x{:02x}", static_cast<unsigned char>(letter));
    }
    return quoted + "'";
}

/// Prevents a path from being parsed as an option.
std::string asOperand(const std::string& path) {
    return path.starts_with('-') ? "./" + path : path;
}

} // namespace

std::string ValidateOptions::replayCommand(const Check& check, std::size_t round) const {
    std::string command =
        fmt::format("qzstorage validate --profile {} --seed {}", profileName(profile), seed + round);
    if (timeLimit != ValidateOptions().timeLimit) {
        command += fmt::format(" --timeout {}", std::chrono::ceil<std::chrono::seconds>(timeLimit).count());
    }
    command += fmt::format(" --only {}", check.number);
    return plugin ? command + ' ' + quotedForShell(asOperand(*plugin)) : command;
}

} // namespace storage::host
