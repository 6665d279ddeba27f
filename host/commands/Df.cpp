#include "host/commands/CommandFactories.h"
#include "host/storage/TreeWalk.h"
#include "host/support/HumanSize.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

using foundation::storage::provider::ErrorCode;
using foundation::storage::provider::Exception;
using foundation::storage::provider::ProviderStorageInfo;
using Step = TreeWalk::Step;

class DfCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.flag("-h", human_, "show sizes as 1.5K or 12M"); }

    void run(Session& session, const Words&) override {
        countContent(session);
        const auto room = roomOf(session);
        constexpr const char* row = "{:>12} {:>12} {:>12} {:>9} {:>9}\n";
        session.console().out() << fmt::format(row, "Size", "Free", "Content", "Files", "Folders")
                                << fmt::format(row, room ? size(room->capacity) : "-",
                                               room ? size(room->available) : "-", size(bytes_), files_,
                                               folders_);
    }

private:
    void countContent(Session& session) {
        for (TreeWalk walk(session.provider(), StoragePath()); const auto step = walk.next();) {
            session.interruption().check();
            session.console().attempt(step->path.printed(), [&] {
                if (step->kind == Step::Kind::Folder) {
                    ++folders_;
                    walk.descend();
                } else if (step->kind == Step::Kind::File) {
                    ++files_;
                    bytes_ += session.provider().doGetFileAttributes(step->path.iri()).getSize();
                }
            });
        }
    }

    /// Nothing if the storage does not say.
    static std::optional<ProviderStorageInfo> roomOf(const Session& session) {
        try {
            return session.provider().doGetProviderStorageInfo(StoragePath().iri());
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
    unsigned long long bytes_ = 0;
    unsigned long long files_ = 0;
    unsigned long long folders_ = 0;
};

} // namespace

std::unique_ptr<Command> makeDfCommand() {
    return std::make_unique<DfCommand>();
}

} // namespace storage::host
