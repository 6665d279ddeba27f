#include "host/commands/CommandFactories.h"
#include "host/storage/ByteStreamDevice.h"
#include "host/storage/EntryRules.h"
#include "host/support/CommandError.h"
#include "host/support/Interruption.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>

namespace storage::host {

namespace {

class DiffCommand final : public Command {
public:
    void declare(CommandSyntax& syntax) override { syntax.operands(2, 2); }

    void run(Session& session, const Words& operands) override {
        session.attempt(operands[0], [&](const StoragePath& left) {
            const StoragePath right = session.resolve(operands[1]);
            for (const StoragePath& path : {left, right}) {
                session.storageOf(path).attribute([&] { requireFile(session.provider(path), path); });
            }
            compare(session, left, right);
        });
    }

private:
    static void compare(const Session& session, const StoragePath& left, const StoragePath& right) {
        Block leftBlock(session, left);
        Block rightBlock(session, right);
        unsigned long long offset = 0;
        unsigned long long newlines = 0;
        for (;;) {
            Interruption::check();
            const std::size_t common = std::min(leftBlock.read(), rightBlock.read());
            const auto differing =
                std::mismatch(leftBlock.begin(), leftBlock.begin() + static_cast<std::ptrdiff_t>(common),
                              rightBlock.begin())
                    .first;
            const auto equal = static_cast<std::size_t>(differing - leftBlock.begin());
            newlines += static_cast<unsigned long long>(std::count(leftBlock.begin(), differing, '\n'));
            offset += equal;
            if (equal < common) {
                throw CommandError(left.printed(), fmt::format("differs from {} at byte {}, line {}",
                                                               right.printed(), offset + 1, newlines + 1));
            }
            if (leftBlock.size() != rightBlock.size()) {
                const StoragePath& shorter = leftBlock.size() < rightBlock.size() ? left : right;
                const StoragePath& longer = leftBlock.size() < rightBlock.size() ? right : left;
                throw CommandError(shorter.printed(),
                                   fmt::format("ends after byte {}, {} is longer", offset, longer.printed()));
            }
            if (common == 0) {
                return;
            }
        }
    }

    /// Reads a file block by block.
    class Block {
    public:
        Block(const Session& session, const StoragePath& path)
            : storage_(session.storageOf(path)), bytes_(transferBufferSize) {
            storage_.attribute([&] { file_.emplace(storage_.provider().doOpenReadOnlyStream(path.iri())); });
        }

        /// @return size of the block, smaller than the previous one only at the end of the file
        std::size_t read() {
            storage_.attribute([&] {
                const auto count = file_->read(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
                size_ = static_cast<std::size_t>(std::max<std::streamsize>(count, 0));
            });
            return size_;
        }

        std::size_t size() const { return size_; }
        std::vector<char>::const_iterator begin() const { return bytes_.begin(); }

    private:
        const SessionStorage& storage_;
        std::optional<ByteStreamDevice> file_; ///< never empty; opened in the constructor's body
        std::vector<char> bytes_;
        std::size_t size_ = 0;
    };
};

} // namespace

std::unique_ptr<Command> makeDiffCommand() {
    return std::make_unique<DiffCommand>();
}

} // namespace storage::host
