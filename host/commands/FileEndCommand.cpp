#include "host/commands/FileEndCommand.h"

#include "host/storage/EntryRules.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"

#include <charconv>

namespace storage::host {

namespace {

constexpr unsigned long long usualLines = 10;

unsigned long long parseNumber(const char* option, const std::string& text) {
    unsigned long long number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) {
        throw UsageError(std::string(option) + ": '" + text + "' is not a number");
    }
    return number;
}

} // namespace

void FileEndCommand::declare(CommandSyntax& syntax) {
    syntax.option("-n", "LINES", lines_, "number of lines, 10 by default");
    syntax.option("-c", "BYTES", bytes_, "number of bytes");
    syntax.operands(1, CommandSyntax::any);
}

void FileEndCommand::run(Session& session, const Words& operands) {
    const Amount wanted = amount();
    bool isFirst = true;
    for (const std::string& word : operands) {
        session.attempt(word, [&](const StoragePath& path) {
            requireFile(session.provider(path), path);
            ByteStreamDevice file(session.provider(path).doOpenReadOnlyStream(path.iri()));
            if (operands.size() > 1) {
                const std::string name = session.console().shown(toUtf16(word));
                session.console().out() << (isFirst ? "" : "\n") << "==> " << name << " <==\n";
            }
            isFirst = false;
            print(session, std::move(file), wanted);
        });
    }
}

FileEndCommand::Amount FileEndCommand::amount() const {
    if (lines_ && bytes_) {
        throw UsageError("-n and -c cannot be combined");
    }
    if (bytes_) {
        return {Amount::Unit::Bytes, parseNumber("-c", *bytes_)};
    }
    return {Amount::Unit::Lines, lines_ ? parseNumber("-n", *lines_) : usualLines};
}

} // namespace storage::host
