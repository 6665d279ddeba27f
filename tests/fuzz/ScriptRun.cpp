#include "tests/fuzz/ScriptRun.h"

#include "host/commands/CommandTable.h"
#include "host/shell/CommandLineLexer.h"
#include "host/storage/Listing.h"
#include "host/storage/TreeWalk.h"
#include "host/support/UsageError.h"
#include "host/support/Utf.h"
#include "inmemoryprovider/PluginEntry.h"
#include "tests/fuzz/Fail.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <vector>

using namespace storage::host;

namespace {

using foundation::storage::provider::FolderEntry;
using foundation::storage::provider::IProvider;

std::shared_ptr<IProvider> newProvider() {
    std::shared_ptr<IProvider> provider;
    buildProvider_V1(&provider);
    return provider;
}

void require(bool holds, const std::string& what) {
    if (!holds) {
        fail(what);
    }
}

std::optional<std::vector<Word>> wordsOf(const std::string& line) {
    try {
        return CommandLineLexer(line).words();
    } catch (const UsageError&) {
        return std::nullopt;
    }
}

std::string inSingleQuotes(const std::string& text) {
    std::string result = "'";
    for (const char byte : text) {
        result += byte == '\'' ? std::string(R"('\'')") : std::string(1, byte);
    }
    return result + "'";
}

/// Quoted words must be parsed back unchanged, without special characters.
void checkWords(const std::vector<Word>& words) {
    std::string line;
    for (const Word& word : words) {
        require(word.quoted.size() == word.text.size(), "a word does not have one flag per byte");
        line += inSingleQuotes(word.text) + " ";
    }
    const auto again = wordsOf(line);
    require(again && again->size() == words.size(), "quoted words cannot be parsed back: " + line);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const Word& word = (*again)[i];
        require(word.text == words[i].text, "a quoted word is parsed as another: " + line);
        require(std::find(word.quoted.begin(), word.quoted.end(), false) == word.quoted.end(),
                "a quoted byte is marked as unquoted: " + line);
    }
}

bool readsOrWritesDisk(const std::string& command) {
    constexpr std::array commands{"import", "export", "check", "put", "get", "lcd", "lpwd", "lls"};
    return std::find(commands.begin(), commands.end(), command) != commands.end();
}

bool printsBytes(const std::string& command) {
    return command == "cat" || command == "head" || command == "tail" || command == "grep";
}

/// Excludes patterns for which the C library takes gigabytes or hours: repetition counts and back references.
bool hasBoundedPattern(const std::string& command, const std::string& line) {
    return command != "grep" || line.find_first_of("{\\") == std::string::npos;
}

bool isPrintable(std::string_view line) {
    return printable(line) == line;
}

/// The lines without their newlines. The last line may lack one.
std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        lines.emplace_back(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return lines;
}

bool precedes(const FolderEntry& left, const FolderEntry& right) {
    return left.getName() < right.getName();
}

} // namespace

ScriptRun::ScriptRun(OutputKind outKind)
    : outKind_(outKind),
      provider_(std::make_shared<SmallProvider>(newProvider())),
      console_(out_, outKind, err_, OutputKind::Plain),
      session_(*provider_, console_),
      shell_(commandTable(), session_, FailureHandling::KeepGoing) {}

unsigned long long ScriptRun::run(std::string_view script) {
    unsigned long long linesRun = 0;
    for (const std::string& line : linesOf(script)) {
        if (session_.ended()) {
            break;
        }
        runLine(line);
        ++linesRun;
    }
    checkTree();
    return linesRun;
}

void ScriptRun::runLine(const std::string& line) {
    const auto words = wordsOf(line);
    const std::string command = words && !words->empty() ? words->front().text : "";
    if (words) {
        checkWords(*words);
    }
    if (readsOrWritesDisk(command) || !hasBoundedPattern(command, line)) {
        return;
    }
    out_.str("");
    err_.str("");
    const ExitStatus status = shell_.execute(line);
    require(words || status == ExitStatus::Usage, "a line that cannot be parsed was run");
    checkErrors(status);
    checkOutput(command);
}

/// On a terminal names are UTF-8 without control characters. Only the content of files is printed unchanged.
void ScriptRun::checkOutput(const std::string& command) const {
    if (printsBytes(command)) {
        return;
    }
    const std::string output = out_.str();
    if (outKind_ == OutputKind::Terminal) {
        for (std::string& line : linesOf(output)) {
            std::erase(line, '\t'); // separates columns
            require(isPrintable(line), "a control character reaches the terminal");
        }
    }
}

void ScriptRun::checkErrors(ExitStatus status) const {
    const std::string errors = err_.str();
    require(status == ExitStatus::Success || !errors.empty(), "a failure is not reported");
    require(status != ExitStatus::Interrupted, "a command is interrupted without a signal");
    require(errors.empty() || errors.ends_with('\n'), "the last error line has no line feed");
    for (const std::string& line : linesOf(errors)) {
        require(line.starts_with("qzstorage: ") && isPrintable(line), "not an error line: " + line);
    }
}

void ScriptRun::checkTree() const {
    for (TreeWalk walk(*provider_, StoragePath()); const auto step = walk.next();) {
        // Commands use temporary names that are not valid UTF-16, so such a name is a leftover.
        require(toUtf8(step->name).has_value(), "a temporary entry is left behind");
        require(step->name.find(u'/') == std::u16string::npos, "a name contains a separator");
        if (step->kind == TreeWalk::Step::Kind::Folder) {
            checkFolder(step->path);
            walk.descend();
        } else if (step->kind == TreeWalk::Step::Kind::File) {
            checkFile(step->path);
        }
    }
}

void ScriptRun::checkFolder(const StoragePath& path) const {
    require(provider_->doFolderExists(path.iri()) && !provider_->doFileExists(path.iri()),
            "a listed folder is no folder");
    provider_->doGetFolderAttributes(path.iri());
    const auto all = sortedEntries(provider_->doListAll(path.iri()));
    const auto files = sortedEntries(provider_->doListFiles(path.iri()));
    const auto folders = sortedEntries(provider_->doListFolders(path.iri()));
    std::vector<FolderEntry> both;
    std::merge(files.begin(), files.end(), folders.begin(), folders.end(), std::back_inserter(both),
               precedes);
    require(both == all, "the listings of a folder disagree");
    const auto isTwice = [](const FolderEntry& left, const FolderEntry& right) {
        return !precedes(left, right);
    };
    require(std::adjacent_find(all.begin(), all.end(), isTwice) == all.end(), "a folder lists a name twice");
}

void ScriptRun::checkFile(const StoragePath& path) const {
    require(provider_->doFileExists(path.iri()) && !provider_->doFolderExists(path.iri()),
            "a listed file is no file");
    const auto stream = provider_->doOpenReadOnlyStream(path.iri());
    std::array<char, 4096> buffer;
    std::uint64_t size = 0;
    for (long count = 0; (count = stream->read(buffer.data(), static_cast<long>(buffer.size()))) > 0;) {
        size += static_cast<std::uint64_t>(count);
    }
    require(size == provider_->doGetFileAttributes(path.iri()).getSize(),
            "the size of a file differs from the number of bytes read");
}
