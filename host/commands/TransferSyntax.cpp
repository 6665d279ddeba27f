#include "host/commands/TransferSyntax.h"

#include <memory>
#include <utility>

namespace storage::host {

void TransferSyntax::declare(CommandSyntax& syntax) {
    syntax.repeatedOption(
        "--include", "PATTERN", includes_,
        "transfer only matching entries and the content of matching folders; may be repeated");
    syntax.repeatedOption("--exclude", "PATTERN", excludes_,
                          "skip matching entries and the content of matching folders; may be repeated");
    syntax.flag("--update", isUpdate_, "skip files that exist with the same size and time");
    syntax.flag("--dry-run", isDryRun_, "change nothing, only print what would be done");
    syntax.flag("-q", isQuiet_, "print failures only");
}

TransferOptions TransferSyntax::options() const {
    EntrySelection selection;
    for (const std::string& pattern : includes_) {
        selection.include(pattern);
    }
    for (const std::string& pattern : excludes_) {
        selection.exclude(pattern);
    }
    TransferOptions options;
    options.selection = std::make_shared<const EntrySelection>(std::move(selection));
    options.files = isUpdate_ ? TransferOptions::Files::Changed : TransferOptions::Files::All;
    options.effect = isDryRun_ ? TransferOptions::Effect::Print : TransferOptions::Effect::Transfer;
    options.notices = isQuiet_ ? TransferOptions::Notices::Hidden : TransferOptions::Notices::Shown;
    return options;
}

std::string TransferSyntax::summary(const std::string& done, const std::string& verb,
                                    const TransferTotals& totals) const {
    return (isDryRun_ ? "would " + verb : done) + ' ' + totals.summary();
}

} // namespace storage::host
