#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"
#include "hostapi/storage/provider/RequireNonNull.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/WildcardPattern.h"

namespace storage::host {

namespace {

using provider::EntryExistence;
using provider::FolderEntry;
using provider::IFolderEntryIterator;
using provider::requireNonNull;
using provider::WildcardPattern;

class FindCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.option("-name", "PATTERN", pattern_, "select names that match; quote * and ?");
        syntax.option("-type", "f|d", type_, "select files or folders");
        syntax.operands(0, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        if (type_ && *type_ != "f" && *type_ != "d") {
            throw UsageError("-type: '" + *type_ + "' is neither f nor d");
        }
        readPattern();
        for (const std::string& word : operands.empty() ? Words{"."} : operands) {
            session.attempt(word, [&](const StoragePath& top) { findBelow(session, word, top); });
        }
    }

private:
    void readPattern() {
        if (pattern_) {
            patternText_ = toUtf16(*pattern_);
        }
    }

    void findBelow(Session& session, const std::string& word, const StoragePath& top) {
        const bool isFolder = requireEntry(session.provider(top), top) == EntryExistence::Folder;
        const auto type = isFolder ? FolderEntry::EntryType::Folder : FolderEntry::EntryType::File;
        if (isWanted(type) && WildcardPattern(patternText_).matches(top.name())) {
            session.console().out() << session.console().shown(displayPath(word, top, top)) << '\n';
        }
        if (!isFolder) {
            return;
        }
        const auto listing = requireNonNull(list(session, top), "listing");
        while (listing->hasNext()) {
            Interruption::check();
            listing->step();
            const FolderEntry entry = listing->getEntry();
            if (isWanted(entry.getType())) {
                const auto displayed = displayPath(word, top, top.child(entry.getName()));
                session.console().out() << session.console().shown(displayed) << '\n';
            }
        }
    }

    std::unique_ptr<IFolderEntryIterator> list(Session& session, const StoragePath& top) const {
        return pattern_ ? session.provider(top).doListAllRecursiveWildcards(top.iri(), patternText_)
                        : session.provider(top).doListAllRecursive(top.iri());
    }

    bool isWanted(FolderEntry::EntryType type) const {
        return !type_ || (*type_ == "d") == (type == FolderEntry::EntryType::Folder);
    }

    std::optional<std::string> pattern_;
    std::optional<std::string> type_;
    std::u16string patternText_ = u"*";
};

} // namespace

std::unique_ptr<Command> makeFindCommand() {
    return std::make_unique<FindCommand>();
}

} // namespace storage::host
