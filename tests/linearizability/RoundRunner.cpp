#include "tests/linearizability/RoundRunner.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "inmemoryprovider/InMemoryProvider.h"
#include "tests/linearizability/Caller.h"
#include "tests/linearizability/OrderSearch.h"
#include "tests/support/RunTogether.h"

#include <atomic>
#include <barrier>
#include <functional>
#include <memory>
#include <sstream>
#include <utility>

namespace storage::inmemoryprovider::tests {

using provider::FolderEntry;
using provider::StorageIRI;

namespace {

/// Reads the final tree below `folder`, which ends with a separator.
void readTree(const InMemoryProvider& provider, const std::u16string& folder,
              std::map<std::u16string, LeftEntry>& tree) {
    Caller caller(provider);
    for (const auto& entry : caller.make({.kind = OperationKind::ListAll, .path = folder}).listing) {
        const std::u16string path = folder + entry.getName();
        LeftEntry& left = tree[path];
        left.folder = entry.getType() == FolderEntry::EntryType::Folder;
        const auto attributes = caller.make(
            {.kind = left.folder ? OperationKind::GetFolderAttributes : OperationKind::GetFileAttributes,
             .path = path});
        left.lastModified = attributes.lastModified;
        left.writable = attributes.writable;
        if (left.folder) {
            readTree(provider, path + u"/", tree);
        } else {
            caller.make({.kind = OperationKind::OpenReadOnlyStream, .path = path});
            left.bytes = caller.make({.kind = OperationKind::StreamRead}).bytes;
        }
    }
}

std::map<std::u16string, LeftEntry> treeOf(const InMemoryProvider& provider) {
    std::map<std::u16string, LeftEntry> tree;
    const auto root = Caller(provider).make({.kind = OperationKind::GetFolderAttributes, .path = u"/"});
    tree[u"/"] = {.folder = true, .bytes = {}, .lastModified = root.lastModified, .writable = root.writable};
    readTree(provider, u"/", tree);
    return tree;
}

/// Runs the rounds with the same threads, because starting a thread takes longer than a round.
class RoundRunner {
public:
    explicit RoundRunner(const Rounds& rounds)
        : rounds_(rounds),
          threads_(planOf(rounds.mix, rounds.seed).threads.size()),
          line_(static_cast<std::ptrdiff_t>(threads_ + 1)),
          recorded_(threads_) {}

    std::optional<UnexplainedRound> run() {
        std::vector<std::function<void()>> tasks{[&] { lead(); }};
        for (std::size_t thread = 0; thread < threads_; ++thread) {
            tasks.emplace_back([&, thread] { follow(thread); });
        }
        storage::tests::runTogether(tasks);
        return std::move(unexplained_);
    }

private:
    void lead() {
        for (std::size_t i = 0; i < rounds_.count * rounds_.repetitions && !unexplained_; ++i) {
            const std::size_t number = rounds_.first + i / rounds_.repetitions;
            prepare(number);
            line_.arrive_and_wait();
            line_.arrive_and_wait();
            judge(number);
        }
        provider_.reset();
        line_.arrive_and_wait();
    }

    void follow(std::size_t thread) {
        for (line_.arrive_and_wait(); provider_; line_.arrive_and_wait()) {
            Caller caller(*provider_);
            for (const Call& call : plan_.threads[thread]) {
                if (!caller.canMake(call)) {
                    continue;
                }
                RecordedCall recorded{
                    .thread = thread, .call = call, .outcome = {}, .begin = clock_++, .end = 0};
                recorded.outcome = caller.make(call);
                recorded.end = clock_++;
                recorded_[thread].push_back(std::move(recorded));
            }
            line_.arrive_and_wait();
        }
    }

    void prepare(std::size_t number) {
        constexpr std::uint64_t spread = 0x9E3779B97F4A7C15; // neighbouring seeds share no round
        plan_ = planOf(rounds_.mix, rounds_.seed * spread + number);
        provider_ = std::make_unique<InMemoryProvider>();
        Caller caller(*provider_);
        for (const Call& call : plan_.preparation) {
            caller.make(call);
        }
        for (auto& calls : recorded_) {
            calls.clear();
        }
    }

    void judge(std::size_t number) {
        History history{.preparation = plan_.preparation, .calls = {}, .tree = treeOf(*provider_)};
        for (const auto& calls : recorded_) {
            history.calls.insert(history.calls.end(), calls.begin(), calls.end());
        }
        if (!OrderSearch(history).succeeds()) {
            unexplained_ = UnexplainedRound{number, std::move(history)};
        }
    }

    const Rounds rounds_;
    const std::size_t threads_;
    std::barrier<> line_; ///< before and after each round; the members below change only between rounds
    RoundPlan plan_;
    std::unique_ptr<InMemoryProvider> provider_; ///< null after the last round
    std::vector<std::vector<RecordedCall>> recorded_;
    std::atomic<std::size_t> clock_ = 0;
    std::optional<UnexplainedRound> unexplained_;
};

} // namespace

std::optional<UnexplainedRound> firstUnexplained(const Rounds& rounds) {
    return RoundRunner(rounds).run();
}

std::string shown(const Rounds& rounds, const UnexplainedRound& unexplained) {
    std::ostringstream text;
    text << "not linearizable: round " << unexplained.number << " of the mix " << nameOf(rounds.mix)
         << ", seed " << rounds.seed << "; repeat it with linearizability_stress --mix " << nameOf(rounds.mix)
         << " --seed " << rounds.seed << " --first " << unexplained.number
         << " --rounds 1 --repetitions 100000\n"
         << shown(unexplained.history);
    return text.str();
}

} // namespace storage::inmemoryprovider::tests
