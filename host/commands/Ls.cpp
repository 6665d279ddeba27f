#include "host/commands/CommandFactories.h"
#include "host/commands/DisplayPath.h"
#include "host/storage/EntryRules.h"
#include "host/storage/Listing.h"
#include "host/storage/TreeWalk.h"
#include "host/support/FileTime.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

namespace {

using foundation::storage::provider::EntryExistence;
using foundation::storage::provider::ExtendedAttributes;
using foundation::storage::provider::FolderEntry;

struct Row {
    std::u16string name;
    StoragePath path;
};

std::string describeAttributes(const ExtendedAttributes& attributes, std::size_t sizeWidth) {
    return fmt::format("{}r{} {:>{}} {}", attributes.type == FolderEntry::EntryType::Folder ? 'd' : '-',
                       attributes.writable ? 'w' : '-', attributes.size, sizeWidth,
                       formatSeconds(attributes.lastModified));
}

class LsCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-l", long_, "show kind, writable flag, bytes and time (UTC) too");
        syntax.flag("-R", recursive_, "show what is in folders below, too");
        syntax.operands(0, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        const Words words = operands.empty() ? Words{"."} : operands;
        std::vector<Row> files;
        Words folders;
        for (const std::string& word : words) {
            session.console().attempt(word, [&] {
                const StoragePath path = session.resolve(word);
                if (requireEntry(session.provider(), path) == EntryExistence::Folder) {
                    folders.push_back(word);
                } else {
                    files.push_back({displayPath(word, path, path), path});
                }
            });
        }
        showRows(session, files);
        firstSection_ = files.empty();
        headings_ = words.size() > 1 || recursive_;
        for (const std::string& folder : folders) {
            session.console().attempt(folder, [&] { showFolders(session, folder); });
        }
    }

private:
    void showFolders(Session& session, const std::string& word) {
        const StoragePath top = session.resolve(word);
        for (TreeWalk walk(session.provider(), top); const auto step = walk.next();) {
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
        for (const FolderEntry& entry : sortedEntries(session.provider().doListAll(folder.iri()))) {
            rows.push_back({entry.getName(), folder.child(entry.getName())});
        }
        if (headings_) {
            session.console().out() << (firstSection_ ? "" : "\n") << session.console().shown(heading)
                                    << ":\n";
        }
        firstSection_ = false;
        showRows(session, rows);
    }

    void showRows(Session& session, const std::vector<Row>& rows) const {
        if (long_) {
            showLong(session, rows);
            return;
        }
        for (const Row& row : rows) {
            session.interruption().check();
            session.console().out() << session.console().shown(row.name) << '\n';
        }
    }

    static void showLong(Session& session, const std::vector<Row>& rows) {
        std::vector<std::pair<const Row*, ExtendedAttributes>> described;
        unsigned long largest = 0;
        for (const Row& row : rows) {
            session.interruption().check();
            session.console().attempt(row.path.printed(), [&] {
                described.emplace_back(&row, session.provider().doGetExtendedAttributes(row.path.iri()));
                largest = std::max(largest, described.back().second.size);
            });
        }
        const std::size_t sizeWidth = std::to_string(largest).size();
        for (const auto& [row, attributes] : described) {
            session.console().out() << describeAttributes(attributes, sizeWidth) << ' '
                                    << session.console().shown(row->name) << '\n';
        }
    }

    bool long_ = false;
    bool recursive_ = false;
    bool headings_ = false;
    bool firstSection_ = true;
};

} // namespace

std::unique_ptr<Command> makeLsCommand() {
    return std::make_unique<LsCommand>();
}

} // namespace storage::host
