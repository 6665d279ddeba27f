#include "host/commands/CommandFactories.h"
#include "host/commands/TransferSyntax.h"
#include "host/disk/DiskEntry.h"
#include "host/disk/DiskFolder.h"
#include "host/disk/TargetClaim.h"
#include "host/storage/EntryRules.h"
#include "host/support/CommandError.h"
#include "host/transfer/ArchiveExportTarget.h"
#include "host/transfer/ArchiveFile.h"
#include "host/transfer/ArchiveFormat.h"
#include "host/transfer/DiskDestination.h"
#include "host/transfer/DiskName.h"
#include "host/transfer/Exporter.h"
#include "host/transfer/SessionExportSource.h"

#include <optional>
#include <set>
#include <span>
#include <string>
#include <unistd.h>

namespace storage::host {

namespace {

class ExportCommand final : public Command {
public:
    enum class Archives {
        Packed,
        Files, ///< exported as ordinary files
    };

    explicit ExportCommand(Archives archives) : archives_(archives) {}

    void declare(CommandSyntax& syntax) override {
        transfer_.declare(syntax);
        syntax.operands(2, CommandSyntax::any);
        syntax.lastOperand(WordKind::Disk);
    }

    void run(Session& session, const Words& operands) override {
        const TransferOptions options = transfer_.options();
        if (const auto format = archiveFormat(diskOperand(operands.back()))) {
            exportArchive(session, operands, *format, options);
            return;
        }
        TargetClaim::refuseClaimed(diskOperand(operands.back()));
        DiskDestination destination(operands.back(), operands.size() - 1);
        TransferTotals totals;
        {
            SessionExportSource stored(session);
            Exporter exporter(stored, session.console(), options);
            for (std::size_t i = 0; i + 1 < operands.size(); ++i) {
                session.attempt(operands[i], [&](const StoragePath& source) {
                    requireEntry(session.provider(source), source);
                    const std::string name = source.isRoot() ? "" : toDiskName(source.name(), source);
                    exporter.run(source, destination.of(name), destination.attributesFor(name));
                });
            }
            totals = exporter.totals();
        } // the destructor clears the progress line
        if (!transfer_.isQuiet()) {
            session.console().out() << transfer_.summary("exported", "export", totals) << '\n';
        }
    }

private:
    /// Returns nothing if the destination is not an archive. A folder is never an archive, whatever its name.
    std::optional<ArchiveFormat> archiveFormat(const std::string& destination) const {
        if (archives_ == Archives::Files) {
            return std::nullopt;
        }
        if (destination == "-") {
            return ArchiveFormat{};
        }
        return isDiskFolder(destination) ? std::nullopt : ArchiveFormat::ofName(diskName(destination));
    }

    void exportArchive(Session& session, const Words& operands, const ArchiveFormat& format,
                       const TransferOptions& options) const {
        Console& console = session.console();
        const std::string place = diskOperand(operands.back());
        const bool isToOutput = place == "-";
        if (isToOutput && !transfer_.isDryRun() && ::isatty(STDOUT_FILENO) == 1) {
            throw CommandError("-",
                               "refusing to write an archive to a terminal; redirect the standard output");
        }
        std::optional<ArchiveFile> file;
        if (!isToOutput && !transfer_.isDryRun()) {
            file.emplace(place);
        }
        const auto write = [&](std::span<const char> bytes) {
            if (file) {
                file->write(bytes);
            } else if (!transfer_.isDryRun()) {
                console.out().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            }
        };
        TransferTotals totals;
        std::string losses;
        {
            SessionExportSource stored(session);
            Exporter exporter(stored, console, options);
            ArchiveExportTarget archive(stored, exporter.progress(), format, place, write);
            std::set<std::string> names;
            for (std::size_t i = 0; i + 1 < operands.size() && !archive.isFailed(); ++i) {
                session.attempt(operands[i], [&](const StoragePath& source) {
                    requireEntry(session.provider(source), source);
                    add(source, exporter, archive, place, names);
                });
            }
            if (console.failuresOfCommand() > 0) {
                console.notice(place, isToOutput ? "the archive is incomplete"
                                                 : "not created, because it would be incomplete");
                return;
            }
            if (!transfer_.isDryRun()) {
                archive.finish();
            }
            if (file) {
                file->finish();
            }
            totals = exporter.totals();
            losses = archive.losses();
        } // the destructor clears the progress line
        if (transfer_.isQuiet()) {
            return;
        }
        if (!losses.empty()) {
            console.notice(place, losses);
        }
        const std::string summary = transfer_.summary("exported", "export", totals);
        if (isToOutput && !transfer_.isDryRun()) {
            console.notice("", summary);
        } else {
            console.out() << summary << '\n';
        }
    }

    /// Adds an entry under its own name, or the content of the root folder.
    static void add(const StoragePath& source, Exporter& exporter, ArchiveExportTarget& archive,
                    const std::string& place, std::set<std::string>& names) {
        const std::string name = source.isRoot() ? "" : toDiskName(source.name(), source);
        if (!names.insert(name).second) {
            throw CommandError(source.printed(), "another source has the same name");
        }
        exporter.run(source, archive, name.empty() ? place : archive.placeIn(place, name), name);
    }

    const Archives archives_;
    TransferSyntax transfer_;
};

} // namespace

std::unique_ptr<Command> makeExportCommand() {
    return std::make_unique<ExportCommand>(ExportCommand::Archives::Packed);
}

std::unique_ptr<Command> makeGetCommand() {
    return std::make_unique<ExportCommand>(ExportCommand::Archives::Files);
}

} // namespace storage::host
