#include "host/commands/CommandFactories.h"
#include "host/storage/EntryRules.h"
#include "host/storage/TreeWalk.h"
#include "host/support/HumanSize.h"
#include "host/support/Interruption.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

using provider::ErrorCode;
using provider::Exception;
using provider::ProviderStorageInfo;
using Step = TreeWalk::Step;

class DfCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override {
        syntax.flag("-h", human_, "print sizes such as 1.5K or 12M");
        syntax.operands(0, CommandSyntax::any);
    }

    void run(Session& session, const Words& operands) override {
        Words words = operands;
        for (const auto& storage : session.storages()) {
            if (operands.empty()) {
                words.push_back(session.storages().size() > 1 ? storage->name() + ":/" : "/");
            }
        }
        const bool showsNames = session.storages().size() > 1;
        constexpr const char* heading = "{:>12} {:>12} {:>12} {:>9} {:>9}{}\n";
        session.console().out() << fmt::format(heading, "Size", "Free", "Content", "Files", "Folders",
                                               showsNames ? " Storage" : "");
        for (const std::string& word : words) {
            session.attempt(word, [&](const StoragePath& path) {
                requireEntry(session.provider(path), path);
                const auto room = roomOf(session, path.root());
                const Content content = contentOf(session, path.root());
                session.console().out()
                    << fmt::format(heading, room ? size(room->capacity) : "-",
                                   room ? size(room->available) : "-", size(content.bytes), content.files,
                                   content.folders, showsNames ? ' ' + session.storageOf(path).name() : "");
            });
        }
    }

private:
    struct Content {
        unsigned long long bytes = 0;
        unsigned long long files = 0;
        unsigned long long folders = 0;
    };

    static Content contentOf(Session& session, const StoragePath& root) {
        Content content;
        for (TreeWalk walk(session.provider(root), root); const auto step = walk.next();) {
            Interruption::check();
            session.console().attempt(step->path.printed(), [&] {
                if (step->kind == Step::Kind::Folder) {
                    ++content.folders;
                    walk.descend();
                } else if (step->kind == Step::Kind::File) {
                    ++content.files;
                    content.bytes += session.provider(root).doGetFileAttributes(step->path.iri()).getSize();
                }
            });
        }
        return content;
    }

    /// Returns nothing if the storage does not report its space.
    static std::optional<ProviderStorageInfo> roomOf(const Session& session, const StoragePath& root) {
        try {
            return session.provider(root).doGetProviderStorageInfo(root.iri());
        } catch (const Exception& error) {
            if (error.getErrorCode() != ErrorCode::NotOffered) {
                throw;
            }
            return std::nullopt;
        }
    }

    std::string size(unsigned long long bytes) const {
        return human_ ? humanSize(bytes) : std::to_string(bytes);
    }

    bool human_ = false;
};

} // namespace

std::unique_ptr<Command> makeDfCommand() {
    return std::make_unique<DfCommand>();
}

} // namespace storage::host
