#include "benchmarks/mount/ProgramsJob.h"

#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/workload/WrongResult.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>

namespace storage::benchmark {

namespace {

constexpr unsigned statusRounds = 3;

using Tree = std::map<std::filesystem::path, std::string>;

/// The files below a folder with their content, without git's own files.
Tree readTree(const std::filesystem::path& folder) {
    Tree tree;
    auto entry = std::filesystem::recursive_directory_iterator(folder);
    for (; entry != std::filesystem::end(entry); ++entry) {
        if (entry->path().filename() == ".git") {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file()) {
            std::ifstream file(entry->path(), std::ios_base::binary);
            tree[entry->path().lexically_relative(folder)] = {std::istreambuf_iterator<char>(file), {}};
        }
    }
    return tree;
}

double clone(const SourceTree& source, const std::filesystem::path& to) {
    // Hard links would not copy the files, and some of the measured file systems do not support them.
    const std::vector<std::string> command{"git", "clone", "--quiet", "--no-hardlinks", source.repository(),
                                           to};
    const double seconds = ChildProcess::runSuccessfully(command).seconds;
    expectTrue(readTree(to) == readTree(source.repository()), "a clone has every file as it was");
    return seconds;
}

double askStatus(const std::filesystem::path& clone) {
    double seconds = 0;
    for (unsigned round = 0; round < statusRounds; ++round) {
        const auto git = ChildProcess::runSuccessfully({"git", "-C", clone, "status", "--porcelain"});
        expectTrue(git.output.empty(), "a fresh clone has no changes");
        seconds += git.seconds;
    }
    return seconds / statusRounds;
}

double unpack(const SourceTree& source, const std::filesystem::path& to) {
    std::filesystem::create_directory(to);
    const double seconds = ChildProcess::runSuccessfully({"tar", "-xf", source.archive(), "-C", to}).seconds;
    expectTrue(readTree(to) == readTree(source.repository()), "what was unpacked has every file as it was");
    return seconds;
}

double removeAll(const std::filesystem::path& tree) {
    const double seconds = ChildProcess::runSuccessfully({"rm", "-rf", tree}).seconds;
    expectTrue(!std::filesystem::exists(tree), "a removed tree is gone");
    return seconds;
}

} // namespace

void ProgramsJob::run(const std::filesystem::path& folder, const SourceTree& source,
                      Measurements& measurements) const {
    measurements.add({"git clone"}, clone(source, folder / "clone"));
    measurements.add({"git status"}, askStatus(folder / "clone"));
    measurements.add({"tar x"}, unpack(source, folder / "tree"));
    measurements.add({"rm -rf"}, removeAll(folder / "tree"));
}

} // namespace storage::benchmark
