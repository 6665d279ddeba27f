#include "tests/linearizability/RoundPlan.h"

#include "hostapi/storage/provider/ShortNamespace.h"

#include <random>
#include <string>

namespace storage::inmemoryprovider::tests {

using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ReplacementPolicy;

namespace {

using Path = std::u16string;
using Kind = OperationKind;

constexpr std::size_t threadsPerRound = 3;
constexpr std::size_t callsPerThread = 3;

/// Generates the calls of one round.
class Planner {
public:
    explicit Planner(std::uint64_t seed) : random_(seed) {}

    RoundPlan random();
    RoundPlan folderMoves();
    RoundPlan folderComings();
    RoundPlan replacement();
    RoundPlan setters();

private:
    bool onceIn(unsigned times) { return random_() % times == 0; }

    template <class Value>
    Value any(const std::vector<Value>& values) {
        return values[random_() % values.size()];
    }

    /// Different for each write, so that a read shows which write it saw.
    std::string data() { return {static_cast<char>('a' + ++writes_ % 26)}; }

    static Call call(Kind kind, const Path& path) { return {.kind = kind, .path = path}; }
    Call writing() { return {.kind = Kind::StreamWrite, .data = data()}; }
    Call opening(const Path& path);
    Call setting(const Path& path);
    static Call move(Kind kind, const Path& source, const Path& target);
    Call anyMove(const std::vector<Path>& paths);
    Call anyCall(const std::vector<Path>& paths);

    /// A call that changes nothing but the stream that the thread has open.
    Call query(const std::vector<Path>& folders, const std::vector<Path>& files);

    void prepareFile(RoundPlan& plan, const Path& path);
    RoundPlan planWithFolder();

    std::mt19937_64 random_;
    unsigned writes_ = 0;
};

const std::vector<Path> foldersBelow = {u"/a", u"/b", u"/a/s", u"/b/s"};
const std::vector<Path> filesBelow = {u"/a/f", u"/b/f", u"/a/s/f", u"/b/s/f"};

Call Planner::opening(const Path& path) {
    Call result = call(Kind::OpenStream, path);
    result.options.existence =
        onceIn(3) ? ByteStreamExistence::CreateIfMissing : ByteStreamExistence::MustExist;
    result.options.content = onceIn(4) ? ByteStreamContent::Empty : ByteStreamContent::Keep;
    result.options.append = onceIn(2) ? ByteStreamAppend::AppendAtEnd : ByteStreamAppend::WriteAtPosition;
    return result;
}

Call Planner::setting(const Path& path) {
    Call result = call(onceIn(2) ? Kind::SetLastModified : Kind::SetWritable, path);
    result.time =
        boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3), boost::posix_time::seconds(++writes_));
    result.writable = onceIn(2);
    return result;
}

Call Planner::move(Kind kind, const Path& source, const Path& target) {
    return {.kind = kind, .path = source, .target = target, .policy = ReplacementPolicy::ReplaceExisting};
}

Call Planner::anyMove(const std::vector<Path>& paths) {
    Call result = move(onceIn(2) ? Kind::MoveFile : Kind::MoveFolder, any(paths), any(paths));
    if (onceIn(3)) {
        result.policy = ReplacementPolicy::RefuseExisting;
    }
    return result;
}

Call Planner::anyCall(const std::vector<Path>& paths) {
    static const std::vector<Kind> plain = {
        Kind::CreateFile,   Kind::CreateFolder,       Kind::RemoveFile,
        Kind::RemoveFolder, Kind::FileExists,         Kind::FolderExists,
        Kind::ListAll,      Kind::OpenReadOnlyStream, Kind::GetFileAttributes,
        Kind::StreamRead,   Kind::GetFolderAttributes};
    switch (random_() % 16) {
    case 0:
    case 1:
    case 2:
        return anyMove(paths);
    case 3:
        return opening(any(paths));
    case 4:
        return writing();
    default:
        return call(any(plain), any(paths));
    }
}

Call Planner::query(const std::vector<Path>& folders, const std::vector<Path>& files) {
    if (onceIn(2)) {
        static const std::vector<Kind> kinds = {Kind::FolderExists, Kind::ListAll, Kind::ListAll,
                                                Kind::GetFolderAttributes};
        return call(any(kinds), any(folders));
    }
    static const std::vector<Kind> kinds = {Kind::FileExists, Kind::GetFileAttributes,
                                            Kind::OpenReadOnlyStream, Kind::StreamRead};
    return call(any(kinds), any(files));
}

void Planner::prepareFile(RoundPlan& plan, const Path& path) {
    Call open = call(Kind::OpenStream, path);
    open.options.content = ByteStreamContent::Keep;
    plan.preparation.push_back(open);
    if (onceIn(2)) { // otherwise the files have never been written to
        plan.preparation.push_back(writing());
    }
}

RoundPlan Planner::planWithFolder() {
    RoundPlan plan;
    plan.preparation = {call(Kind::CreateFolder, u"/a"), call(Kind::CreateFolder, u"/a/s")};
    prepareFile(plan, u"/a/f");
    prepareFile(plan, u"/a/s/f");
    return plan;
}

RoundPlan Planner::random() {
    const std::vector<Path> paths = {u"/a",   u"/b",     u"/a/f", u"/b/f", u"/a/s",
                                     u"/b/s", u"/a/s/f", u"/f",   u"/g"};
    RoundPlan plan = planWithFolder();
    if (onceIn(2)) {
        prepareFile(plan, u"/f");
    }
    if (onceIn(3)) {
        plan.preparation.push_back(call(Kind::CreateFolder, u"/b"));
    }
    plan.threads.resize(threadsPerRound);
    for (auto& thread : plan.threads) {
        while (thread.size() < callsPerThread) {
            thread.push_back(anyCall(paths));
        }
    }
    return plan;
}

RoundPlan Planner::folderMoves() {
    RoundPlan plan = planWithFolder();
    plan.threads = {{move(Kind::MoveFolder, u"/a", u"/b"), move(Kind::MoveFolder, u"/b", u"/a"),
                     move(Kind::MoveFolder, u"/a", u"/b")}};
    const std::vector<Path> created = {u"/a/g", u"/b/g", u"/a/s/g", u"/b/s/g"};
    plan.threads.resize(threadsPerRound);
    for (std::size_t thread = 1; thread < threadsPerRound; ++thread) {
        while (plan.threads[thread].size() < callsPerThread) {
            const auto choice = random_() % 8;
            plan.threads[thread].push_back(choice == 0   ? opening(any(filesBelow))
                                           : choice == 1 ? writing()
                                           : choice == 2 ? call(Kind::CreateFile, any(created))
                                                         : query(foldersBelow, filesBelow));
        }
    }
    return plan;
}

RoundPlan Planner::folderComings() {
    RoundPlan plan;
    if (onceIn(2)) {
        plan.preparation.push_back(call(Kind::CreateFolder, u"/a"));
    }
    plan.threads.resize(threadsPerRound);
    while (plan.threads[0].size() < callsPerThread) {
        plan.threads[0].push_back(call(onceIn(2) ? Kind::CreateFolder : Kind::RemoveFolder, u"/a"));
    }
    for (std::size_t thread = 1; thread < threadsPerRound; ++thread) {
        while (plan.threads[thread].size() < callsPerThread) {
            plan.threads[thread].push_back(onceIn(4) ? call(Kind::CreateFile, u"/a/f")
                                                     : query({u"/", u"/a"}, {u"/a/f"}));
        }
    }
    return plan;
}

RoundPlan Planner::replacement() {
    RoundPlan plan;
    for (const auto* path : {u"/f", u"/g", u"/h"}) {
        prepareFile(plan, path);
    }
    plan.threads = {{move(Kind::MoveFile, u"/f", u"/g"), move(Kind::MoveFile, u"/h", u"/g"),
                     move(Kind::MoveFile, u"/g", u"/f")}};
    plan.threads.resize(threadsPerRound);
    for (std::size_t thread = 1; thread < threadsPerRound; ++thread) {
        while (plan.threads[thread].size() < callsPerThread) {
            plan.threads[thread].push_back(onceIn(8) ? writing() : query({u"/"}, {u"/g", u"/g", u"/f"}));
        }
    }
    return plan;
}

RoundPlan Planner::setters() {
    RoundPlan plan = planWithFolder();
    plan.threads = {{move(Kind::MoveFolder, u"/a", u"/b"), move(Kind::MoveFolder, u"/b", u"/a"),
                     move(Kind::MoveFolder, u"/a", u"/b")}};
    plan.threads.resize(threadsPerRound);
    for (std::size_t thread = 1; thread < threadsPerRound; ++thread) {
        while (plan.threads[thread].size() < callsPerThread) {
            const auto choice = random_() % 4;
            plan.threads[thread].push_back(choice < 2    ? setting(any(filesBelow))
                                           : choice == 2 ? call(Kind::GetFileAttributes, any(filesBelow))
                                                         : query(foldersBelow, filesBelow));
        }
    }
    return plan;
}

} // namespace

RoundPlan planOf(RoundMix mix, std::uint64_t seed) {
    Planner planner(seed);
    switch (mix) {
    case RoundMix::FolderMoves:
        return planner.folderMoves();
    case RoundMix::FolderCreations:
        return planner.folderComings();
    case RoundMix::Replacement:
        return planner.replacement();
    case RoundMix::Setters:
        return planner.setters();
    case RoundMix::Random:
        break;
    }
    return planner.random();
}

} // namespace storage::inmemoryprovider::tests
