#include "host/support/Utf.h"
#include "tests/support/SessionTest.h"
#include "tests/support/TreeSnapshot.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <random>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace check_random_test {

namespace {

namespace fs = std::filesystem;
using foundation::storage::provider::ByteStreamContent;
using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;
using storage::host::DiskAttributes;
using storage::host::EntryKind;
using storage::host::KeptAttributes;
using storage::host::StoragePath;
using testing::HasSubstr;
using testing::StartsWith;

const std::vector<std::string> fileNames{"f",    "f g", "f\xC3\xBCll",      "f\nbreak", "f'\"\\$*?[a]",
                                         "-fgh", ".f",  "f\xF0\x9F\x98\x80"};
const std::vector<std::string> folderNames{"d", "d e", "d\xC3\xBCr", "d\nbreak", "-def"};
const std::vector<mode_t> writableFileModes{0644, 0600, 0640, 0755, 0664};
const std::vector<mode_t> anyFileModes{0644, 0600, 0640, 0755, 0664, 0444, 0400, 0464};
const std::vector<mode_t> writableFolderModes{0755, 0700, 0750};
const std::vector<mode_t> anyFolderModes{0755, 0700, 0750, 0555, 0500};
const std::vector<std::size_t> sizes{0, 1, 100, 4096, 262143, 262144, 262145, 600000};

/// The side that gets the difference.
enum class Side { Storage, Source, Export };

/// The effect of an injected difference on an entry.
enum class Change {
    Structure,  ///< removes or replaces the entry
    Content,    ///< changes bytes of a file
    Attributes, ///< changes attributes of any entry
};

/// A session that has imported several random trees into /x, one over the other, and exported /x to the disk.
class Round : public SessionTest {
public:
    Round(std::mt19937& random, Side side);
    void TestBody() override {}

    /// Fails if the command reports a difference.
    void expectEqual(const std::string& line);
    /// Fails unless the command reports exactly the expected difference.
    void expectDifference(const std::string& line);
    /// Fails unless the commands that compare the changed side report the difference, and the others none.
    void expectFound(const std::string& options);

    /// Returns an entry below /x that permits this change, as a path relative to /x; empty if there is none.
    std::string pickFile(Change change, std::size_t leastSize = 0);
    std::string pickFolder(Change change);
    /// Returns an entry of that type.
    std::string pickSpecial(mode_t type);
    /// Returns an entry of that type with a different owner than the process. The session has recorded the
    /// owner.
    std::string pickOwned(mode_t type);
    /// Returns the second of two names of one file.
    std::string pickSecondName();
    /// Returns a folder that permits new entries. /x itself is ".".
    std::string pickWritableFolder();

    /// Returns the path in the source if sources are changed, otherwise in the export. The entry need not
    /// exist yet.
    std::string onDisk(const std::string& relative) const;
    StorageIRI iri(const std::string& relative) const { return path(relative).iri(); }
    StoragePath path(const std::string& relative) const {
        return StoragePath::resolve(StoragePath(), u"/x/" + storage::host::toUtf16(relative));
    }

    void expect(const std::string& relative, const std::string& text) {
        expectedPath_ = "qzstorage: check: " + path(relative).printed() + ": ";
        expectedText_ = text;
    }

    std::size_t upTo(std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random_);
    }
    template <typename Value>
    const Value& anyOf(const std::vector<Value>& values) {
        return values.at(upTo(values.size() - 1));
    }
    const IProvider& provider() const { return *provider_; }
    KeptAttributes& kept() { return session_.kept(StoragePath()); }
    const TemporaryFolder& disk() const { return disk_; }

private:
    struct Import {
        std::string diskPath;
        std::string target; ///< path relative to /x; empty for /x
    };
    enum class Modes { Writable, Any };

    void makeTree(const std::string& folder, int levels, Modes modes);
    void setAttributes(const std::string& path, mode_t mode);
    void setTime(const std::string& path);
    void import(const std::string& line, const std::string& diskPath, const std::string& target);
    void importTrees();
    std::string pick(Change change, const std::function<bool(const std::string&, const struct stat&)>& suits);
    bool canChange(const std::string& relative, Change change) const;
    std::vector<std::string> sourcesOf(const std::string& relative) const;

    std::mt19937& random_;
    const Side side_;
    std::vector<Import> imports_;
    std::string expectedPath_;
    std::string expectedText_;
};

struct stat statusOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

bool isThere(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

void setMode(const std::string& path, mode_t mode) {
    EXPECT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

/// Moves the time by the smallest step of the disk.
void moveTime(const std::string& path) {
    timespec times[2] = {{0, UTIME_OMIT}, statusOf(path).st_mtim};
    times[1].tv_nsec += times[1].tv_nsec == 999999999 ? -1 : 1;
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

/// Returns false if the disk does not support extended attributes.
bool setXattr(const std::string& path, const char* name, const std::string& value) {
    return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

Round::Round(std::mt19937& random, Side side) : random_(random), side_(side) {
    importTrees();
    run("export /x " + disk_ / "out");
    EXPECT_EQ(errors(), "");
    for (const std::string line : {"check", "check -t"}) {
        expectEqual(line);
        expectEqual(line + " /x " + disk_ / "out");
    }
}

void Round::importTrees() {
    const bool isMerged = upTo(1) == 0;
    const Modes modes = isMerged ? Modes::Writable : Modes::Any; // the next import fails on read-only entries
    makeTree(disk_ / "first", 3, modes);
    setMode(disk_ / "first", 0755);
    if (upTo(1) == 0) {
        import("import " + disk_ / "first" + " /x", disk_ / "first", "");
    } else {
        EXPECT_EQ(run("mkdir /x"), ExitStatus::Success);
        import("import " + disk_ / "first/." + " /x", disk_ / "first", "");
    }
    if (isMerged) {
        makeTree(disk_ / "second", 3, Modes::Any);
        import("import " + disk_ / "second/." + " /x", disk_ / "second", "");
    }
    if (upTo(1) == 0) {
        makeTree(disk_ / "nested", 2, Modes::Any);
        import("import " + disk_ / "nested" + " /x/nested", disk_ / "nested", "nested");
        disk_.write("single", "single");
        import("import " + disk_ / "single" + " /x/single", disk_ / "single", "single");
    }
}

void Round::import(const std::string& line, const std::string& diskPath, const std::string& target) {
    EXPECT_EQ(run(line), ExitStatus::Success) << line << ": " << errors(); // reports the links
    imports_.push_back({diskPath, target});
}

void Round::makeTree(const std::string& folder, int levels, Modes modes) {
    fs::create_directories(folder);
    const auto& fileModes = modes == Modes::Any ? anyFileModes : writableFileModes;
    const auto& folderModes = modes == Modes::Any ? anyFolderModes : writableFolderModes;
    for (std::size_t count = upTo(4); count > 0; --count) {
        const std::string file = folder + '/' + anyOf(fileNames);
        if (!isThere(file)) {
            std::ofstream(file) << std::string(anyOf(sizes), static_cast<char>(upTo(255)));
            setAttributes(file, anyOf(fileModes));
        }
    }
    if (upTo(2) == 0) {
        fs::create_symlink("anywhere", folder + "/link");
        setTime(folder + "/link");
    }
    if (upTo(2) == 0) {
        EXPECT_EQ(::mkfifo((folder + "/fifo").c_str(), 0644), 0);
        setMode(folder + "/fifo", anyOf(anyFileModes));
        setTime(folder + "/fifo");
    }
    if (upTo(1) == 0) {
        std::ofstream(folder + "/name1") << "linked";
        setAttributes(folder + "/name1", 0600);
        fs::create_hard_link(folder + "/name1", folder + "/name2");
    }
    for (std::size_t count = levels == 0 ? 0 : upTo(3); count > 0; --count) {
        const std::string below = folder + '/' + anyOf(folderNames);
        if (!isThere(below)) {
            makeTree(below, levels - 1, modes);
        }
    }
    setAttributes(folder, anyOf(folderModes));
}

void Round::setAttributes(const std::string& path, mode_t mode) {
    if (upTo(2) == 0) {
        setXattr(path, "user.random", std::to_string(upTo(1000)));
    }
    if (::geteuid() == 0 && upTo(2) == 0) {
        EXPECT_EQ(::lchown(path.c_str(), 1000 + static_cast<uid_t>(upTo(3)), 1000), 0);
    }
    setMode(path, mode);
    setTime(path);
}

void Round::setTime(const std::string& path) {
    const timespec times[2] = {
        {0, UTIME_OMIT}, {static_cast<std::time_t>(upTo(1700000000)), static_cast<long>(upTo(999999999))}};
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

void Round::expectEqual(const std::string& line) {
    EXPECT_EQ(run(line), ExitStatus::Success) << line;
    EXPECT_EQ(errors(), "") << line;
    EXPECT_THAT(output(), HasSubstr(": equal\n")) << line;
}

void Round::expectDifference(const std::string& line) {
    EXPECT_EQ(run(line), ExitStatus::Failure) << line;
    EXPECT_THAT(output(), HasSubstr(": 1 difference\n")) << line;
    EXPECT_THAT(errors(), StartsWith(expectedPath_)) << line;
    EXPECT_THAT(errors().substr(std::min(errors().size(), expectedPath_.size())), HasSubstr(expectedText_))
        << line;
}

void Round::expectFound(const std::string& options) {
    const std::string withSources = "check" + options;
    const std::string withExport = "check" + options + " /x " + disk_ / "out";
    side_ == Side::Export ? expectEqual(withSources) : expectDifference(withSources);
    side_ == Side::Source ? expectEqual(withExport) : expectDifference(withExport);
}

/// Returns the sources that contain an entry; the last one takes effect.
std::vector<std::string> Round::sourcesOf(const std::string& relative) const {
    std::vector<std::string> sources;
    for (const auto& [diskPath, target] : imports_) {
        std::string source = diskPath;
        if (target.empty()) {
            source += '/' + relative;
        } else if (relative == target || relative.starts_with(target + '/')) {
            source += relative.substr(target.size());
        } else {
            continue;
        }
        if (isThere(source)) {
            sources.push_back(source);
        }
    }
    return sources;
}

std::string Round::onDisk(const std::string& relative) const {
    if (side_ != Side::Source) {
        return disk_ / "out/" + relative;
    }
    const auto sources = sourcesOf(relative);
    const fs::path path(relative);
    return sources.empty() ? onDisk(path.parent_path()) + '/' + path.filename().string() : sources.back();
}

/// Checks that the change has no side effects. The folder of the entry must be writable. On the source side,
/// the entry must come from one source only and must not be its root.
bool Round::canChange(const std::string& relative, Change change) const {
    if (change != Change::Structure) {
        return true;
    }
    const std::string parent = fs::path(disk_ / "out/" + relative).parent_path();
    const bool isRoot = relative == "nested" || relative == "single";
    return (statusOf(parent).st_mode & S_IWUSR) != 0 &&
           (side_ != Side::Source || (sourcesOf(relative).size() == 1 && !isRoot));
}

std::string Round::pick(Change change,
                        const std::function<bool(const std::string&, const struct stat&)>& suits) {
    std::vector<std::string> found;
    const std::string top = disk_ / "out";
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        const std::string relative = entry.path().string().substr(top.size() + 1);
        if (canChange(relative, change) && suits(relative, statusOf(entry.path()))) {
            found.push_back(relative);
        }
    }
    std::sort(found.begin(), found.end());
    return found.empty() ? "" : anyOf(found);
}

std::string Round::pickFile(Change change, std::size_t leastSize) {
    return pick(change, [&](const std::string&, const struct stat& status) {
        // A file with two names would cause two differences.
        return S_ISREG(status.st_mode) && status.st_nlink == 1 &&
               static_cast<std::size_t>(status.st_size) >= leastSize &&
               (change != Change::Content || (status.st_mode & S_IWUSR) != 0);
    });
}

std::string Round::pickFolder(Change change) {
    return pick(change,
                [](const std::string&, const struct stat& status) { return S_ISDIR(status.st_mode); });
}

std::string Round::pickSpecial(mode_t type) {
    return pick(Change::Structure, [type](const std::string&, const struct stat& status) {
        return (status.st_mode & S_IFMT) == type;
    });
}

std::string Round::pickOwned(mode_t type) {
    return pick(Change::Attributes, [type](const std::string&, const struct stat& status) {
        return (status.st_mode & S_IFMT) == type && status.st_uid != ::geteuid() &&
               (type == S_IFDIR || status.st_nlink == 1);
    });
}

std::string Round::pickSecondName() {
    return pick(Change::Structure, [](const std::string& relative, const struct stat& status) {
        return relative.ends_with("/name2") && status.st_nlink == 2;
    });
}

std::string Round::pickWritableFolder() {
    const std::string folder = pick(Change::Attributes, [](const std::string&, const struct stat& status) {
        return S_ISDIR(status.st_mode) && (status.st_mode & S_IWUSR) != 0;
    });
    return folder.empty() ? "." : folder;
}

// Each function in `differences` injects a difference of its kind and registers the expected report in the
// round. It returns false if no entry is suitable.

std::string bytesOf(const IProvider& provider, const StorageIRI& iri) {
    std::string bytes(provider.doGetFileAttributes(iri).getSize(), '\0');
    provider.doOpenReadOnlyStream(iri)->read(bytes.data(), static_cast<long>(bytes.size()));
    return bytes;
}

void putBytes(Round& round, Side side, const std::string& file, const std::string& bytes) {
    if (side == Side::Storage) {
        const auto stream =
            round.provider().doOpenStream(round.iri(file), {.content = ByteStreamContent::Empty});
        stream->write(bytes.data(), static_cast<long>(bytes.size()));
    } else {
        std::ofstream(round.onDisk(file), std::ios::binary) << bytes;
    }
}

bool changeByte(Round& round, Side side) {
    const std::string file = round.pickFile(Change::Content, 1);
    if (file.empty()) {
        return false;
    }
    std::string bytes = bytesOf(round.provider(), round.iri(file));
    const std::size_t at = round.upTo(bytes.size() - 1);
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    putBytes(round, side, file, bytes);
    round.expect(file, " at byte " + std::to_string(at + 1) + ": 0x");
    return true;
}

bool cutOff(Round& round, Side side) {
    const std::string file = round.pickFile(Change::Content, 1);
    if (file.empty()) {
        return false;
    }
    std::string bytes = bytesOf(round.provider(), round.iri(file));
    bytes.resize(round.upTo(bytes.size() - 1));
    putBytes(round, side, file, bytes);
    round.expect(file,
                 " after byte " + std::to_string(bytes.size()) + ": " +
                     (side == Side::Storage ? "end of file in the storage; " : "end of file on disk; "));
    return true;
}

bool lengthen(Round& round, Side side) {
    const std::string file = round.pickFile(Change::Content);
    if (file.empty()) {
        return false;
    }
    const std::string bytes = bytesOf(round.provider(), round.iri(file));
    putBytes(round, side, file, bytes + std::string(1 + round.upTo(300000), 'x'));
    round.expect(file,
                 " after byte " + std::to_string(bytes.size()) + ": " +
                     (side == Side::Storage ? "end of file on disk; " : "end of file in the storage; "));
    return true;
}

void makeFile(Round& round, Side side, const std::string& file) {
    if (side == Side::Storage) {
        round.provider().doCreateFile(round.iri(file));
    } else {
        std::ofstream(round.onDisk(file)) << "new";
    }
}

void makeFolder(Round& round, Side side, const std::string& folder) {
    if (side == Side::Storage) {
        round.provider().doCreateFolder(round.iri(folder));
    } else {
        fs::create_directory(round.onDisk(folder));
    }
}

void removeStored(Round& round, const std::string& entry) {
    for (const auto& [path, stored] : takeSnapshot(round.provider())) { // read-only entries cannot be removed
        if (round.path(entry).contains(StoragePath::resolve(StoragePath(), path))) {
            round.provider().doSetWritable(locationOf(path), true);
        }
    }
    const StorageIRI iri = round.iri(entry);
    if (round.provider().doFolderExists(iri)) {
        round.provider().doRemoveFolderRecursively(iri);
    } else {
        round.provider().doRemoveFile(iri);
    }
}

void removeFromDisk(const std::string& path) {
    if (S_ISDIR(statusOf(path).st_mode)) { // read-only entries cannot be removed
        setMode(path, 0755);
        for (const auto& entry : fs::directory_iterator(path)) {
            removeFromDisk(entry.path());
        }
    }
    EXPECT_EQ(std::remove(path.c_str()), 0) << path;
}

void removeEntry(Round& round, Side side, const std::string& entry) {
    side == Side::Storage ? removeStored(round, entry) : removeFromDisk(round.onDisk(entry));
}

bool removeOne(Round& round, Side side, const std::string& entry) {
    if (!entry.empty()) {
        round.expect(entry, side == Side::Storage ? "missing, " : "not on disk");
        removeEntry(round, side, entry);
    }
    return !entry.empty();
}

bool removeFile(Round& round, Side side) {
    return removeOne(round, side, round.pickFile(Change::Structure));
}

bool removeFolder(Round& round, Side side) {
    return removeOne(round, side, round.pickFolder(Change::Structure));
}

bool addFile(Round& round, Side side) {
    const std::string file = round.pickWritableFolder() + "/new";
    makeFile(round, side, file);
    round.expect(file, side == Side::Storage ? "not on disk" : " is a file\n");
    return true;
}

bool addFolder(Round& round, Side side) {
    const std::string folder = round.pickWritableFolder() + "/new";
    makeFolder(round, side, folder);
    makeFile(round, side, folder + "/below");
    round.expect(folder, side == Side::Storage ? "not on disk" : " is a folder\n");
    return true;
}

bool replaceFileByFolder(Round& round, Side side) {
    const std::string file = round.pickFile(Change::Structure);
    if (!file.empty()) {
        round.expect(file, side == Side::Storage ? "a folder, but " : "a file, but ");
        const std::string onDisk = round.onDisk(file);
        removeEntry(round, side, file);
        side == Side::Storage ? makeFolder(round, side, file)
                              : static_cast<void>(fs::create_directory(onDisk));
    }
    return !file.empty();
}

bool replaceFolderByFile(Round& round, Side side) {
    const std::string folder = round.pickFolder(Change::Structure);
    if (!folder.empty()) {
        round.expect(folder, side == Side::Storage ? "a file, but " : "a folder, but ");
        const std::string onDisk = round.onDisk(folder);
        removeEntry(round, side, folder);
        side == Side::Storage ? makeFile(round, side, folder) : static_cast<void>(std::ofstream(onDisk));
    }
    return !folder.empty();
}

bool changeFlag(Round& round, Side side, const std::string& entry) {
    if (entry.empty()) {
        return false;
    }
    const std::string onDisk = round.onDisk(entry);
    const bool isWritable = (statusOf(onDisk).st_mode & S_IWUSR) != 0;
    if (side == Side::Storage) {
        round.provider().doSetWritable(round.iri(entry), !isWritable);
    } else {
        setMode(onDisk, (statusOf(onDisk).st_mode & 07777) ^ S_IWUSR);
    }
    round.expect(entry, isWritable == (side == Side::Storage) ? "read-only, but " : "writable, but ");
    return true;
}

bool changeFlagOfFile(Round& round, Side side) {
    return changeFlag(round, side, round.pickFile(Change::Attributes));
}

bool changeFlagOfFolder(Round& round, Side side) {
    return changeFlag(round, side, round.pickFolder(Change::Attributes));
}

/// Returns the session's record of an entry.
DiskAttributes knownOf(Round& round, const std::string& entry, EntryKind kind) {
    boost::posix_time::ptime time;
    if (kind == EntryKind::Folder) {
        time = round.provider().doGetFolderAttributes(round.iri(entry)).getLastModified();
    } else if (kind == EntryKind::File) {
        time = round.provider().doGetFileAttributes(round.iri(entry)).getLastModified();
    }
    DiskAttributes known = round.kept().find(round.path(entry), time);
    known.kind = kind;
    if (!known.mode) {
        known.mode = kind == EntryKind::Folder ? 0755 : 0644;
    }
    return known;
}

bool changeMode(Round& round, Side side, const std::string& entry, EntryKind kind) {
    if (entry.empty()) {
        return false;
    }
    const std::string onDisk = round.onDisk(entry);
    const mode_t mode =
        (statusOf(onDisk).st_mode & 07777) ^ round.anyOf<mode_t>({0001, 0004, 0010, 0040, 01000});
    if (side == Side::Storage) {
        DiskAttributes known = knownOf(round, entry, kind);
        known.mode = mode;
        round.kept().set(round.path(entry), known);
    } else {
        setMode(onDisk, mode);
    }
    round.expect(entry, "permissions ");
    return true;
}

bool changeModeOfFile(Round& round, Side side) {
    return changeMode(round, side, round.pickFile(Change::Attributes), EntryKind::File);
}

bool changeModeOfFolder(Round& round, Side side) {
    return changeMode(round, side, round.pickFolder(Change::Attributes), EntryKind::Folder);
}

bool changeTime(Round& round, Side side, const std::string& entry) {
    if (entry.empty()) {
        return false;
    }
    if (side == Side::Storage) {
        round.provider().doSetLastModified(round.iri(entry),
                                           boost::posix_time::ptime(boost::gregorian::date(2030, 1, 1)));
    } else {
        moveTime(round.onDisk(entry));
    }
    round.expect(entry, "modified ");
    return true;
}

bool changeTimeOfFile(Round& round, Side side) {
    return changeTime(round, side, round.pickFile(Change::Attributes));
}

bool changeTimeOfFolder(Round& round, Side side) {
    return changeTime(round, side, round.pickFolder(Change::Attributes));
}

bool changeTimeOfLink(Round& round, Side side) {
    const std::string link = round.pickSpecial(S_IFLNK);
    if (!link.empty() && side == Side::Storage) {
        DiskAttributes known = knownOf(round, link, EntryKind::SymbolicLink);
        known.modified->tv_sec += 1;
        round.kept().set(round.path(link), known);
    } else if (!link.empty()) {
        moveTime(round.onDisk(link));
    }
    round.expect(link, "modified ");
    return !link.empty();
}

bool changeTarget(Round& round, Side side) {
    const std::string link = round.pickSpecial(S_IFLNK);
    if (!link.empty() && side == Side::Storage) {
        DiskAttributes known = knownOf(round, link, EntryKind::SymbolicLink);
        known.linkTarget = "elsewhere";
        round.kept().set(round.path(link), known);
    } else if (!link.empty()) {
        fs::remove(round.onDisk(link));
        fs::create_symlink("elsewhere", round.onDisk(link));
    }
    round.expect(link, "a symbolic link to '");
    return !link.empty();
}

bool removeLink(Round& round, Side side) {
    const std::string link = round.pickSpecial(S_IFLNK);
    if (!link.empty()) {
        round.expect(link, side == Side::Storage ? "missing, " : "not on disk");
        side == Side::Storage ? round.kept().removed(round.path(link)) : removeFromDisk(round.onDisk(link));
    }
    return !link.empty();
}

bool changeModeOfFifo(Round& round, Side side) {
    return changeMode(round, side, round.pickSpecial(S_IFIFO), EntryKind::Fifo);
}

bool changeOwner(Round& round, Side side, const std::string& entry, EntryKind kind) {
    if (entry.empty() || ::geteuid() != 0) {
        return false;
    }
    if (side == Side::Storage) {
        DiskAttributes known = knownOf(round, entry, kind);
        known.owner = {4711, 4711};
        round.kept().set(round.path(entry), known);
    } else {
        const mode_t mode = statusOf(round.onDisk(entry)).st_mode & 07777;
        EXPECT_EQ(::lchown(round.onDisk(entry).c_str(), 4711, 4711), 0);
        if (kind != EntryKind::SymbolicLink) {
            setMode(round.onDisk(entry), mode);
        }
    }
    round.expect(entry, "owner ");
    return true;
}

bool changeOwnerOfFile(Round& round, Side side) {
    return changeOwner(round, side, round.pickOwned(S_IFREG), EntryKind::File);
}

bool changeOwnerOfFolder(Round& round, Side side) {
    return changeOwner(round, side, round.pickOwned(S_IFDIR), EntryKind::Folder);
}

bool changeXattr(Round& round, Side side, const std::string& entry, EntryKind kind) {
    if (entry.empty()) {
        return false;
    }
    const std::string value = "planted";
    if (side == Side::Storage) {
        DiskAttributes known = knownOf(round, entry, kind);
        known.xattrs["user.random"] = value;
        round.kept().set(round.path(entry), known);
    } else if (!setXattr(round.onDisk(entry), "user.random", value)) {
        return false;
    }
    round.expect(entry, "extended attribute user.random: ");
    return true;
}

bool changeXattrOfFile(Round& round, Side side) {
    return changeXattr(round, side, round.pickFile(Change::Attributes), EntryKind::File);
}

bool changeXattrOfFolder(Round& round, Side side) {
    return changeXattr(round, side, round.pickFolder(Change::Attributes), EntryKind::Folder);
}

/// Replaces the second of two names of one file by a separate file.
bool separateNames(Round& round, Side side) {
    const std::string name = round.pickSecondName();
    if (name.empty()) {
        return false;
    }
    if (side == Side::Storage) {
        round.kept().changed(round.path(name));
        round.expect(name, "a separate file, but ");
        return true;
    }
    const std::string onDisk = round.onDisk(name);
    fs::rename(onDisk, round.disk() / "moved");
    fs::copy_file(round.disk() / "moved", onDisk);
    const struct stat before = statusOf(round.disk() / "moved");
    EXPECT_EQ(::lchown(onDisk.c_str(), before.st_uid, before.st_gid), 0);
    setMode(onDisk, before.st_mode & 07777);
    std::string value(100, '\0');
    const ssize_t size =
        ::getxattr((round.disk() / "moved").c_str(), "user.random", value.data(), value.size());
    EXPECT_TRUE(size < 0 || setXattr(onDisk, "user.random", value.substr(0, static_cast<std::size_t>(size))));
    round.expect(name, "a hard link of ");
    return true;
}

bool addLink(Round& round, Side) {
    const std::string link = round.pickWritableFolder() + "/new";
    fs::create_symlink("anywhere", round.onDisk(link));
    round.expect(link, " is a symbolic link\n");
    return true;
}

bool addFifo(Round& round, Side) {
    const std::string fifo = round.pickWritableFolder() + "/new";
    EXPECT_EQ(::mkfifo(round.onDisk(fifo).c_str(), 0644), 0);
    round.expect(fifo, " is a fifo\n");
    return true;
}

bool replaceFileByLink(Round& round, Side) {
    const std::string file = round.pickFile(Change::Structure);
    if (!file.empty()) {
        const std::string onDisk = round.onDisk(file);
        fs::rename(onDisk, round.disk() / "moved");
        fs::create_symlink(round.disk() / "moved", onDisk);
        round.expect(file, " is a symbolic link\n");
    }
    return !file.empty();
}

bool replaceFolderByLink(Round& round, Side) {
    const std::string folder = round.pickFolder(Change::Structure);
    if (!folder.empty()) {
        const std::string onDisk = round.onDisk(folder);
        setMode(onDisk, 0755); // read-only entries cannot be moved
        fs::rename(onDisk, round.disk() / "moved");
        fs::create_symlink(round.disk() / "moved", onDisk);
        round.expect(folder, " is a symbolic link\n");
    }
    return !folder.empty();
}

bool replaceFileByFifo(Round& round, Side side) {
    const std::string file = round.pickFile(Change::Structure);
    if (!file.empty()) {
        const std::string onDisk = round.onDisk(file);
        removeEntry(round, side, file);
        EXPECT_EQ(::mkfifo(onDisk.c_str(), 0644), 0);
        round.expect(file, " is a fifo\n");
    }
    return !file.empty();
}

struct Difference {
    const char* name;
    bool (*plant)(Round& round, Side side);
    std::vector<Side> sides;
    const char* options; ///< of the command that detects it
};

const std::vector<Side> everywhere{Side::Storage, Side::Source, Side::Export};
const std::vector<Side> onDisk{Side::Source, Side::Export};

const std::vector<Difference> differences{
    {"a byte", changeByte, everywhere, ""},
    {"a shorter file", cutOff, everywhere, ""},
    {"a longer file", lengthen, everywhere, ""},
    {"a missing file", removeFile, everywhere, ""},
    {"a missing folder", removeFolder, everywhere, ""},
    {"another file", addFile, everywhere, ""},
    {"another folder", addFolder, everywhere, ""},
    {"a folder in place of a file", replaceFileByFolder, everywhere, ""},
    {"a file in place of a folder", replaceFolderByFile, everywhere, ""},
    {"a flag of a file", changeFlagOfFile, everywhere, ""},
    {"a flag of a folder", changeFlagOfFolder, everywhere, ""},
    {"permissions of a file", changeModeOfFile, everywhere, ""},
    {"permissions of a folder", changeModeOfFolder, everywhere, ""},
    {"the time of a file", changeTimeOfFile, everywhere, " -t"},
    {"the time of a folder", changeTimeOfFolder, everywhere, " -t"},
    {"the time of a link", changeTimeOfLink, everywhere, " -t"},
    {"the target of a link", changeTarget, everywhere, ""},
    {"a missing link", removeLink, everywhere, ""},
    {"permissions of a fifo", changeModeOfFifo, everywhere, ""},
    {"the owner of a file", changeOwnerOfFile, everywhere, ""},
    {"the owner of a folder", changeOwnerOfFolder, everywhere, ""},
    {"an extended attribute of a file", changeXattrOfFile, everywhere, ""},
    {"an extended attribute of a folder", changeXattrOfFolder, everywhere, ""},
    {"names of one file", separateNames, everywhere, ""},
    {"another link", addLink, onDisk, ""},
    {"another fifo", addFifo, onDisk, ""},
    {"a link in place of a file", replaceFileByLink, onDisk, ""},
    {"a link in place of a folder", replaceFolderByLink, onDisk, ""},
    {"a fifo in place of a file", replaceFileByFifo, onDisk, ""},
};

class CheckRandomTest : public testing::TestWithParam<unsigned> {};

TEST_P(CheckRandomTest, FindsExactlyWhatDiffers) {
    std::size_t planted = 0;
    for (std::size_t i = 0; i < differences.size(); ++i) {
        const Difference& difference = differences[i];
        for (const Side side : difference.sides) {
            const unsigned seed =
                1000 * GetParam() + 10 * static_cast<unsigned>(i) + static_cast<unsigned>(side);
            SCOPED_TRACE(std::string(difference.name) + ", seed " + std::to_string(seed));
            std::mt19937 random(seed);
            Round round(random, side);
            if (difference.plant(round, side)) {
                round.expectFound(difference.options);
                ++planted;
            }
        }
    }
    std::cout << "seed " << GetParam() << ": " << planted << " differences injected\n";
    EXPECT_GT(planted, differences.size());
}

INSTANTIATE_TEST_SUITE_P(WithSeed, CheckRandomTest, testing::Values(1U, 2U, 3U));

} // namespace

} // namespace check_random_test
