#include "tests/compare/CallKind.h"
#include "tests/compare/ExtendedNames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <map>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace syscalls {

namespace {

constexpr std::size_t listingBuffer = 32768;

struct KernelEntry { // layout of getdents64(2)
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short size;
    unsigned char type;
    char name[1];
};

/// Adds the names and types in a buffer of getdents64(2).
void addEntries(std::string_view buffer, std::vector<std::string>& entries) {
    while (!buffer.empty()) {
        const auto* const entry = reinterpret_cast<const KernelEntry*>(buffer.data());
        entries.push_back(fmt::format("{}:{}", inQuotes(entry->name), entry->type));
        buffer.remove_prefix(entry->size);
    }
}

/// Reads a folder from the beginning.
/// @return -1 on failure
long readFolder(int descriptor, std::vector<std::string>& entries) {
    if (::lseek(descriptor, 0, SEEK_SET) < 0) {
        return -1;
    }
    std::string buffer(listingBuffer, '\0');
    long count = 0;
    while ((count = ::syscall(SYS_getdents64, descriptor, buffer.data(), buffer.size())) > 0) {
        addEntries(std::string_view(buffer).substr(0, static_cast<std::size_t>(count)), entries);
    }
    std::ranges::sort(entries);
    return count;
}

void listSlot(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    std::vector<std::string> entries;
    if (outcome.result(readFolder(process.descriptor(call.numbers[0]), entries))) {
        outcome.add("entries", fmt::format("{}", fmt::join(entries, " ")));
    }
}

void listPath(CallProcess&, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = ::open(call.first.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (!outcome.result(descriptor < 0 ? -1 : 0)) {
        return;
    }
    std::vector<std::string> entries;
    readFolder(descriptor, entries);
    outcome.add("entries", fmt::format("{}", fmt::join(entries, " ")));
    ::close(descriptor);
}

void listTooSmall(CallProcess& process, const Call& call, OutcomeBuilder& outcome) {
    const int descriptor = process.descriptor(call.numbers[0]);
    std::array<char, 8> buffer{};
    ::lseek(descriptor, 0, SEEK_SET);
    outcome.result(::syscall(SYS_getdents64, descriptor, buffer.data(), buffer.size()));
}

/// Describes everything below the root, including which names are hard links to the same file. Does not
/// change access times.
class TreeReport {
public:
    TreeReport(CallProcess& process, OutcomeBuilder& outcome) : process_(process), outcome_(outcome) {}

    void addFolder(const std::string& path) { // NOLINT(misc-no-recursion)
        std::vector<std::string> names;
        if (DIR* const folder =
                ::fdopendir(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOATIME | O_CLOEXEC))) {
            while (const dirent* const entry = ::readdir(folder)) {
                names.emplace_back(entry->d_name);
            }
            ::closedir(folder);
        }
        std::ranges::sort(names);
        for (const std::string& name : names) {
            if (name != "." && name != "..") {
                addEntry(path + '/' + name);
            }
        }
    }

private:
    void addEntry(const std::string& path) { // NOLINT(misc-no-recursion)
        struct stat status {};
        const std::string place = " of " + inQuotes(path);
        if (::lstat(path.c_str(), &status) != 0) {
            outcome_.addAt(place, "lstat", ::strerrorname_np(errno));
            return;
        }
        process_.addStatus(outcome_, status, place);
        outcome_.addAt(place, "same", inQuotes(firstPaths_.try_emplace(status.st_ino, path).first->second));
        addExtended(path, place);
        if (S_ISREG(status.st_mode)) {
            addContent(path, place);
        } else if (S_ISLNK(status.st_mode)) {
            std::string target(PATH_MAX, '\0');
            target.resize(static_cast<std::size_t>(::readlink(path.c_str(), target.data(), target.size())));
            outcome_.addAt(place, "target", inQuotes(target));
        } else if (S_ISDIR(status.st_mode)) {
            addFolder(path);
        }
    }

    void addExtended(const std::string& path, const std::string& place) {
        std::string names(1U << 16U, '\0');
        const ssize_t size = ::llistxattr(path.c_str(), names.data(), names.size());
        for (const std::string& name :
             namesIn(names.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0))))) {
            std::string value(1U << 16U, '\0');
            const ssize_t count = ::lgetxattr(path.c_str(), name.c_str(), value.data(), value.size());
            const auto hash = std::hash<std::string>()(
                value.substr(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0))));
            outcome_.addAt(place, "xattr " + name, fmt::format("{} {:x}", count, hash));
        }
    }

    void addContent(const std::string& path, const std::string& place) {
        const int file = ::open(path.c_str(), O_RDONLY | O_NOATIME | O_CLOEXEC);
        std::string buffer(1U << 20U, '\0');
        std::string content;
        constexpr std::size_t most = 4U << 20U; // limits the time for a large sparse file
        for (ssize_t count = 0;
             content.size() < most && (count = ::read(file, buffer.data(), buffer.size())) > 0;) {
            content.append(buffer, 0, static_cast<std::size_t>(count));
        }
        ::close(file);
        outcome_.addAt(place, "content", fmt::format("{:x}", std::hash<std::string>()(content)));
    }

    CallProcess& process_;
    OutcomeBuilder& outcome_;
    std::map<ino_t, std::string> firstPaths_;
};

void compareTree(CallProcess& process, const Call&, OutcomeBuilder& outcome) {
    outcome.result(0);
    TreeReport(process, outcome).addFolder("/");
}

constexpr std::array treeKinds{
    CallKind{"list", 6, [](Choice& choice, Call& call) { call.first = choice.folder(); }, listPath},
    CallKind{
        "getdents", 6,
        [](Choice& choice, Call& call) { call.numbers[0] = std::max<std::int64_t>(choice.folderSlot(), 0); },
        listSlot},
    CallKind{
        "getdents_too_small", 1,
        [](Choice& choice, Call& call) { call.numbers[0] = std::max<std::int64_t>(choice.folderSlot(), 0); },
        listTooSmall},
    CallKind{"tree", 0, [](Choice&, Call&) {}, compareTree},
};

} // namespace

std::span<const CallKind> treeCalls() {
    return treeKinds;
}

} // namespace syscalls
