#include "benchmarks/mount/SourceTree.h"

#include "benchmarks/report/ReportFile.h"
#include "benchmarks/system/ChildProcess.h"
#include "benchmarks/workload/RandomOrder.h"

#include <fmt/format.h>
#include <random>
#include <string>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr unsigned filesInFolder = 40;
constexpr std::size_t shortestText = 200;
constexpr std::size_t longestText = 4'000;

std::string wordOf(std::mt19937_64& random) {
    std::string word(2 + random() % 9, ' ');
    for (char& letter : word) {
        letter = static_cast<char>('a' + random() % 26);
    }
    return word;
}

std::string textOf(std::mt19937_64& random, const std::vector<std::string>& words) {
    const std::size_t length = shortestText + random() % (longestText - shortestText);
    std::string text;
    while (text.size() < length) {
        text += words[random() % words.size()] + (random() % 10 == 0 ? '\n' : ' ');
    }
    return text + '\n';
}

} // namespace

SourceTree::SourceTree(const std::filesystem::path& folder)
    : repository_(folder / "repository"), archive_(folder / "tree.tar") {}

void SourceTree::make(unsigned files) const {
    makeFiles(files);
    ChildProcess::runSuccessfully({"tar", "-cf", archive_, "-C", repository_, "."});
    makeRepository();
}

void SourceTree::makeFiles(unsigned files) const {
    auto random = fixedRandom();
    std::vector<std::string> words(2000);
    for (std::string& word : words) {
        word = wordOf(random);
    }
    for (unsigned file = 0; file < files; ++file) {
        const auto folder = repository_ / fmt::format("part{}/chapter{}", file % 5, file / filesInFolder);
        std::filesystem::create_directories(folder);
        writeReportFile(folder / fmt::format("page{:04}.txt", file), textOf(random, words));
    }
}

void SourceTree::makeRepository() const {
    const auto git = [&](std::vector<std::string> arguments) {
        std::vector<std::string> command{
            "git", "-C", repository_, "-c", "user.name=benchmark", "-c", "user.email=benchmark@localhost"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ChildProcess::runSuccessfully(command);
    };
    git({"init", "--quiet", "--initial-branch=main"});
    git({"add", "--all"});
    git({"commit", "--quiet", "--message=All pages"});
    git({"repack", "-a", "-d", "--quiet"});
}

} // namespace storage::benchmark
