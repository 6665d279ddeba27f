#include "host/commands/CommandFactories.h"
#include "host/commands/SessionInput.h"
#include "host/commands/StorageDestination.h"
#include "host/commands/TransferSyntax.h"
#include "host/console/DiagnosisScope.h"
#include "host/disk/DiskEntry.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/FileDescriptor.h"
#include "host/support/CommandError.h"
#include "host/support/Counted.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"
#include "host/transfer/ArchiveFeed.h"
#include "host/transfer/ArchiveFormat.h"
#include "host/transfer/Importer.h"
#include "host/transfer/SessionImportTarget.h"

#include <fcntl.h>

namespace storage::host {

namespace {

class ImportCommand final : public Command {
public:
    enum class Archives {
        Unpacked,
        Files, ///< imported as ordinary files
    };

    explicit ImportCommand(Archives archives) : archives_(archives) {}

    void declare(CommandSyntax& syntax) override {
        syntax.flag("-x", isOnSourceOnly_, "stay on the file system of each DISK-PATH");
        syntax.option("--one-file-system", "WHEN", when_,
                      "yes: same as -x; no: also import proc, sysfs and the like");
        transfer_.declare(syntax);
        syntax.operands(2, CommandSyntax::any, WordKind::Disk);
        syntax.lastOperand(WordKind::Storage);
    }

    void run(Session& session, const Words& operands) override {
        const Importer::FileSystems which = fileSystems();
        const TransferOptions options = transfer_.options();
        auto destination = StorageDestination::find(session, operands.back(), operands.size() - 1);
        if (!destination) {
            return;
        }
        TransferTotals totals;
        {
            const StoragePath& path = destination->path();
            const DiagnosisScope diagnosis(session.console(), session.storageOf(path).diagnosis());
            SessionImportTarget target(session.provider(path), session.kept(path));
            Importer importer(target, session.console(), session.imports(path), which, options);
            for (std::size_t i = 0; i + 1 < operands.size(); ++i) {
                session.console().attempt(operands[i], [&] {
                    const std::string source = diskOperand(operands[i]);
                    if (isArchive(source)) {
                        ArchiveFeed feed(openArchive(session, source), *options.selection, session.console());
                        importer.run(feed, destination->path(), destination->attributesFor({}));
                    } else {
                        import(importer, source, *destination);
                    }
                });
            }
            totals = importer.totals();
        } // the importer's destructor clears the progress line
        if (transfer_.isQuiet()) {
            return;
        }
        if (!transfer_.isDryRun()) {
            noticeKept(session.console(), totals);
        }
        session.console().out() << transfer_.summary("imported", "import", totals) << '\n';
    }

private:
    Importer::FileSystems fileSystems() const {
        if (when_ && *when_ != "yes" && *when_ != "no") {
            throw UsageError("--one-file-system: '" + *when_ + "' is neither yes nor no");
        }
        if (isOnSourceOnly_ || when_ == "yes") {
            return Importer::FileSystems::OfSource;
        }
        return when_ ? Importer::FileSystems::All : Importer::FileSystems::WithFiles;
    }

    /// Reports entries that are not visible in the storage.
    static void noticeKept(Console& console, const TransferTotals& totals) {
        std::string kept;
        if (totals.symbolicLinks > 0) {
            kept = counted(totals.symbolicLinks, "symbolic link");
        }
        if (totals.specialFiles > 0) {
            kept += (kept.empty() ? "" : " and ") + counted(totals.specialFiles, "special file");
        }
        if (!kept.empty()) {
            const bool isOne = totals.symbolicLinks + totals.specialFiles == 1;
            console.notice("", kept + (isOne ? " is" : " are") +
                                   " kept for exports; the storage cannot hold " + (isOne ? "it" : "them"));
        }
    }

    bool isArchive(const std::string& source) const {
        return archives_ == Archives::Unpacked &&
               (source == "-" || (ArchiveFormat::ofName(diskName(source)) &&
                                  DiskEntry::at(source, DiskEntry::Links::Follow).kind == EntryKind::File));
    }

    static FileDescriptor openArchive(const Session& session, const std::string& source) {
        return source == "-" ? openInput(session) : FileDescriptor(source, O_RDONLY);
    }

    static void import(Importer& importer, const std::string& source, StorageDestination& destination) {
        const auto name = toUtf16(diskName(source));
        importer.run(source, destination.of(name), destination.attributesFor(name));
    }

    const Archives archives_;
    TransferSyntax transfer_;
    bool isOnSourceOnly_ = false;
    std::optional<std::string> when_;
};

} // namespace

std::unique_ptr<Command> makeImportCommand() {
    return std::make_unique<ImportCommand>(ImportCommand::Archives::Unpacked);
}

std::unique_ptr<Command> makePutCommand() {
    return std::make_unique<ImportCommand>(ImportCommand::Archives::Files);
}

} // namespace storage::host
