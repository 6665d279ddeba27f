#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/storage/Listing.h"
#include "host/storage/TreeWalk.h"
#include "host/support/FileTime.h"
#include "host/support/HumanSize.h"
#include "host/support/Interruption.h"
#include "host/support/UsageError.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

namespace {

using provider::EntryExistence;
using provider::ExtendedAttributes;
using provider::FolderEntry;

struct Row {
    std::u16string name;
    StoragePath path;
    FolderEntry::EntryType type = FolderEntry::EntryType::File;
    ExtendedAttributes attributes{}; ///< only if they are printed or sorted by
};

/// Returns the sort key. An invalid time is the smallest.
boost::posix_time::ptime timeOf(const Row& row) {
    const auto& time = row.attributes.lastModified;
    return time.is_special() ? boost::posix_time::ptime(boost::date_time::min_date_time) : time;
}

class LsCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-l", long_, "also print type, writable flag, size and time (UTC)");
        syntax.flag("-h", human_, "with -l, print sizes such as 1.5K or 12M");
        syntax.flag("-R", recursive_, "list subfolders recursively");
        syntax.flag("-t", byTime_, "sort by time, newest first");
        syntax.flag("-S", bySize_, "sort by size, largest first");
        syntax.flag("-r", reversed_, "reverse the order");
        syntax.flag("-1", onePerLine_, "list one entry per line (the default)");
        syntax.operands(0, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        if (byTime_ && bySize_) {
            throw UsageError("-t and -S cannot be combined");
        }
        const Words words = operands.empty() ? Words{"."} : operands;
        std::vector<Row> files;
        Words folders;
        for (const std::string& word : words) {
            session.attempt(word, [&](const StoragePath& path) {
                if (requireEntry(session.provider(path), path) == EntryExistence::Folder) {
                    folders.push_back(word);
                } else {
                    files.push_back({displayPath(word, path, path), path});
                }
            });
        }
        firstSection_ = files.empty();
        showRows(session, std::move(files));
        headings_ = words.size() > 1 || recursive_;
        for (const std::string& folder : folders) {
            session.attempt(folder, [&](const StoragePath& top) { showFolders(session, folder, top); });
        }
    }

private:
    void showFolders(Session& session, const std::string& word, const StoragePath& top) {
        for (TreeWalk walk(session.provider(top), top); const auto step = walk.next();) {
            if (step->kind != TreeWalk::Step::Kind::Folder || (step->depth > 0 && !recursive_)) {
                continue;
            }
            session.console().attempt(step->path.printed(), [&] {
                showFolder(session, step->path, displayPath(word, top, step->path));
                if (recursive_) {
                    walk.descend();
                }
            });
        }
    }

    void showFolder(Session& session, const StoragePath& folder, const std::u16string& heading) {
        std::vector<Row> rows;
        for (const FolderEntry& entry : sortedEntries(session.provider(folder).doListAll(folder.iri()))) {
            rows.push_back({entry.getName(), folder.child(entry.getName()), entry.getType()});
        }
        if (headings_) {
            session.console().out() << (firstSection_ ? "" : "\n") << session.console().shown(heading)
                                    << ":\n";
        }
        firstSection_ = false;
        showRows(session, std::move(rows));
    }

    void showRows(Session& session, std::vector<Row> rows) const {
        if (long_ || byTime_ || bySize_) {
            rows = described(session, std::move(rows));
        }
        sort(rows);
        std::vector<std::string> sizes;
        std::size_t sizeWidth = 0;
        for (const Row& row : rows) {
            const unsigned long long bytes = row.attributes.size;
            sizes.push_back(human_ ? humanSize(bytes) : std::to_string(bytes));
            sizeWidth = std::max(sizeWidth, sizes.back().size());
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            Interruption::check();
            if (long_) {
                session.console().out() << describeAttributes(rows[i], sizes[i], sizeWidth);
            }
            const std::string name = session.console().shown(rows[i].name);
            session.console().out() << (isFolder(rows[i]) ? session.console().asFolder(name) : name) << '\n';
        }
    }

    /// Adds the attributes to the rows. Reports and drops a row if its attributes cannot be read.
    static std::vector<Row> described(Session& session, std::vector<Row> rows) {
        std::vector<Row> result;
        for (Row& row : rows) {
            Interruption::check();
            session.console().attempt(row.path.printed(), [&] {
                row.attributes = session.provider(row.path).doGetExtendedAttributes(row.path.iri());
                result.push_back(std::move(row));
            });
        }
        return result;
    }

    /// Rows with equal keys keep their order, which `-r` reverses too.
    void sort(std::vector<Row>& rows) const {
        if (byTime_) {
            std::stable_sort(rows.begin(), rows.end(),
                             [](const Row& left, const Row& right) { return timeOf(left) > timeOf(right); });
        } else if (bySize_) {
            std::stable_sort(rows.begin(), rows.end(), [](const Row& left, const Row& right) {
                return left.attributes.size > right.attributes.size;
            });
        }
        if (reversed_) {
            std::reverse(rows.begin(), rows.end());
        }
    }

    static bool isFolder(const Row& row) { return row.type == FolderEntry::EntryType::Folder; }

    static std::string describeAttributes(const Row& row, const std::string& size, std::size_t sizeWidth) {
        return fmt::format(
            "{}r{} {:>{}} {} ", row.attributes.type == FolderEntry::EntryType::Folder ? 'd' : '-',
            row.attributes.writable ? 'w' : '-', size, sizeWidth, formatSeconds(row.attributes.lastModified));
    }

    bool long_ = false;
    bool human_ = false;
    bool recursive_ = false;
    bool byTime_ = false;
    bool bySize_ = false;
    bool reversed_ = false;
    bool onePerLine_ = false; ///< accepted for compatibility, no effect
    bool headings_ = false;
    bool firstSection_ = true;
};

} // namespace

std::unique_ptr<Command> makeLsCommand() {
    return std::make_unique<LsCommand>();
}

} // namespace storage::host
