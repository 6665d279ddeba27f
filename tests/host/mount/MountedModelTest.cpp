#include "host/support/FileTime.h"
#include "host/support/Utf.h"
#include "tests/host/mount/MountedStorageTest.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <map>
#include <random>

namespace storage::tests {

namespace {

using host::AttributeChange;

/// The expected state of a file or folder. All paths of one file share it.
struct ModelEntry {
    bool isFolder = false;
    std::string bytes = {};
    mode_t permissions = 0644;
    std::optional<timespec> modified = std::nullopt; ///< if a program has set it
};

/// A file that a program has opened.
struct OpenFile {
    host::FileInode* inode;
    std::shared_ptr<ModelEntry> entry;
};

/// Random operations on a mounted storage and on a model, a map of paths.
class MountedModelTest : public MountedStorageTest, public testing::WithParamInterface<unsigned> {
protected:
#ifdef QZSTORAGE_SANITIZED
    static constexpr int steps = 1500;
#else
    static constexpr int steps = 6000;
#endif

    void step();
    void compareAll();
    void closeAll();
    void expectStorageAsInModel();

private:
    std::size_t upTo(std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random_);
    }
    std::string anyPath();
    std::string randomBytes();
    static std::string parentOf(const std::string& path) {
        return path.substr(0, path.rfind('/'));
    }

    std::shared_ptr<ModelEntry> entryAt(const std::string& path) const;
    bool holdsAnything(const std::string& path) const;

    int makingFails(const std::string& path) const;
    int renamingFails(const std::string& from, const std::string& to, unsigned flags) const;
    void moveInModel(const std::string& from, const std::string& to);

    void make();
    void link();
    void remove();
    void rename();
    void openOne();
    void closeOne();
    void changeContent();
    void changeAttributes();
    void compareOpenFile();
    void write(const OpenFile& file);
    void truncate(const OpenFile& file);
    void allocate(const OpenFile& file);
    OpenFile anyFile();
    void expectSame(host::Inode& inode, const ModelEntry& entry, const std::string& path);

    std::mt19937 random_{GetParam()};
    std::map<std::string, std::shared_ptr<ModelEntry>> model_;
    std::vector<OpenFile> open_;
    int failures_ = 0;
    int operations_ = 0;
    std::uint64_t bytes_ = 0;
};

std::string MountedModelTest::anyPath() {
    static const std::vector<std::string> names{"a", "b", "c", "ä😀"};
    std::string path;
    for (std::size_t depth = upTo(2) + 1; depth > 0; --depth) {
        path += '/' + names[upTo(names.size() - 1)];
    }
    return path;
}

std::string MountedModelTest::randomBytes() {
    std::string bytes(upTo(upTo(4) == 0 ? 9000 : 300), '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(upTo(254) + 1); // zeros occur only in gaps
    }
    return bytes;
}

std::shared_ptr<ModelEntry> MountedModelTest::entryAt(const std::string& path) const {
    const auto found = model_.find(path);
    return found == model_.end() ? nullptr : found->second;
}

bool MountedModelTest::holdsAnything(const std::string& path) const {
    const auto next = model_.lower_bound(path + '/');
    return next != model_.end() && next->first.starts_with(path + '/');
}

int MountedModelTest::makingFails(const std::string& path) const {
    return entryAt(path) ? EEXIST : 0;
}

int MountedModelTest::renamingFails(const std::string& from, const std::string& to, unsigned flags) const {
    const auto source = entryAt(from);
    const auto target = entryAt(to);
    if (!source) {
        return ENOENT;
    }
    if (target && flags == RENAME_NOREPLACE) {
        return EEXIST;
    }
    if (source == target) {
        return 0;
    }
    if (to.starts_with(from + '/')) {
        return EINVAL;
    }
    if (target && target->isFolder != source->isFolder) {
        return source->isFolder ? ENOTDIR : EISDIR;
    }
    return target && target->isFolder && holdsAnything(to) ? ENOTEMPTY : 0;
}

void MountedModelTest::moveInModel(const std::string& from, const std::string& to) {
    std::map<std::string, std::shared_ptr<ModelEntry>> moved;
    for (auto each = model_.begin(); each != model_.end();) {
        const bool isMoved = each->first == from || each->first.starts_with(from + '/');
        if (isMoved) {
            moved[to + each->first.substr(from.size())] = each->second;
        }
        each = isMoved ? model_.erase(each) : std::next(each);
    }
    for (auto& [path, entry] : moved) {
        model_[path] = entry;
    }
}

void MountedModelTest::make() {
    const std::string path = anyPath();
    const auto parent = entryAt(parentOf(path));
    if (path.rfind('/') > 0 && (!parent || !parent->isFolder)) {
        return; // the kernel does not send this request
    }
    const bool isFolder = upTo(2) == 0;
    const mode_t permissions = upTo(5) == 0 ? 0444 : 0664;
    const int error = errnoOf([&] {
        isFolder ? static_cast<void>(mount_.makeFolder(path, permissions))
                 : static_cast<void>(mount_.makeFile(path, "", permissions));
    });
    ASSERT_EQ(error, makingFails(path)) << path;
    if (error == 0) {
        const mode_t inherited = isFolder && parent ? parent->permissions & S_ISGID : 0;
        model_[path] = std::make_shared<ModelEntry>(ModelEntry{isFolder, "", permissions | inherited});
    }
    failures_ += error == 0 ? 0 : 1;
}

void MountedModelTest::link() {
    const std::string path = anyPath();
    const std::string newPath = anyPath();
    const auto parent = entryAt(parentOf(newPath));
    const auto entry = entryAt(path);
    if (!entry || (newPath.rfind('/') > 0 && (!parent || !parent->isFolder))) {
        return;
    }
    const int expected = entry->isFolder ? EPERM : makingFails(newPath);
    ASSERT_EQ(errnoOf([&] { mount_.link(path, newPath); }), expected) << path << " to " << newPath;
    if (expected == 0) {
        model_[newPath] = entry;
    }
    failures_ += expected == 0 ? 0 : 1;
}

void MountedModelTest::remove() {
    const std::string path = anyPath();
    const auto entry = entryAt(path);
    if (!entry) {
        ASSERT_EQ(mount_.find(path), nullptr) << path;
        return;
    }
    const bool asFolder = upTo(3) == 0 ? !entry->isFolder : entry->isFolder;
    int expected = asFolder == entry->isFolder ? 0 : (asFolder ? ENOTDIR : EISDIR);
    if (expected == 0 && asFolder && holdsAnything(path)) {
        expected = ENOTEMPTY;
    }
    ASSERT_EQ(errnoOf([&] { asFolder ? mount_.removeFolder(path) : mount_.removeFile(path); }), expected)
        << path;
    if (expected == 0) {
        model_.erase(path);
    }
    failures_ += expected == 0 ? 0 : 1;
}

void MountedModelTest::rename() {
    const std::string from = anyPath();
    const std::string to = anyPath();
    const bool foldersAreThere =
        mount_.find(parentOf(from)) != nullptr && mount_.find(parentOf(from))->isFolder() &&
        mount_.find(parentOf(to)) != nullptr && mount_.find(parentOf(to))->isFolder();
    if (!foldersAreThere) {
        return;
    }
    const unsigned flags = upTo(3) == 0 ? RENAME_NOREPLACE : 0;
    const int expected = renamingFails(from, to, flags);
    ASSERT_EQ(errnoOf([&] { mount_.rename(from, to, flags); }), expected) << from << " to " << to;
    if (expected == 0 && entryAt(from) != entryAt(to)) {
        model_.erase(to);
        moveInModel(from, to);
    }
    failures_ += expected == 0 ? 0 : 1;
}

void MountedModelTest::openOne() {
    const std::string path = anyPath();
    const auto entry = entryAt(path);
    if (entry && !entry->isFolder && open_.size() < 20) {
        open_.push_back({&mount_.open(path), entry});
    }
}

void MountedModelTest::closeOne() {
    if (open_.size() > 5) {
        const auto closed = open_.begin() + static_cast<long>(upTo(open_.size() - 1));
        mount_.close(*closed->inode);
        open_.erase(closed);
    }
}

/// Returns a file that is open, with or without a name, or one that exists.
OpenFile MountedModelTest::anyFile() {
    const std::string path = anyPath();
    const auto entry = entryAt(path);
    if (entry && !entry->isFolder && upTo(1) == 0) {
        return {&mount_.file(path), entry};
    }
    return open_.empty() ? OpenFile{nullptr, nullptr} : open_[upTo(open_.size() - 1)];
}

/// Sets the time after the write, as the kernel does.
void MountedModelTest::write(const OpenFile& file) {
    const std::string piece = randomBytes();
    const std::size_t offset = upTo(file.entry->bytes.size() + (upTo(3) == 0 ? 5000 : 0));
    mount_.write(*file.inode, offset, piece);
    const timespec time{static_cast<std::time_t>(upTo(2'000'000'000)),
                        static_cast<long>(upTo(999'999)) * 1000};
    mount_.setModified(*file.inode, time);
    std::string& bytes = file.entry->bytes;
    bytes.resize(std::max(bytes.size(), offset + piece.size()), '\0');
    bytes.replace(offset, piece.size(), piece);
    file.entry->modified = time;
    bytes_ += piece.size();
}

void MountedModelTest::truncate(const OpenFile& file) {
    const std::size_t size = upTo(upTo(2) == 0 ? 10'000 : file.entry->bytes.size());
    if (size != file.entry->bytes.size()) {
        file.entry->modified.reset();
    }
    mount_.resize(*file.inode, size);
    file.entry->bytes.resize(size, '\0');
}

void MountedModelTest::allocate(const OpenFile& file) {
    const std::size_t size = upTo(file.entry->bytes.size() * 2);
    mount_.storage().allocate(*file.inode, 0, 0, size);
    file.entry->bytes.resize(std::max(size, file.entry->bytes.size()), '\0');
    mount_.setModified(*file.inode, pastTime);
    file.entry->modified = pastTime;
}

void MountedModelTest::changeContent() {
    const OpenFile file = anyFile();
    if (file.inode == nullptr) {
        return;
    }
    switch (upTo(5)) {
    case 0:
    case 1:
        truncate(file);
        break;
    case 2:
        allocate(file);
        break;
    default:
        write(file);
    }
    ASSERT_EQ(mount_.bytesOf(*file.inode), file.entry->bytes);
}

void MountedModelTest::changeAttributes() {
    const std::string path = anyPath();
    const auto entry = entryAt(path);
    if (!entry) {
        return;
    }
    AttributeChange change;
    if (upTo(1) == 0) {
        change.permissions = upTo(07777);
        entry->permissions = *change.permissions;
    }
    if (!entry->isFolder && upTo(1) == 0) {
        change.modified = timespec{static_cast<std::time_t>(upTo(3'000'000'000)), 0};
        entry->modified = change.modified;
    }
    mount_.storage().change(mount_.at(path), change);
}

void MountedModelTest::compareOpenFile() {
    const OpenFile file = anyFile();
    if (file.inode != nullptr) {
        expectSame(*file.inode, *file.entry, "an open file");
    }
}

void MountedModelTest::expectSame(host::Inode& inode, const ModelEntry& entry, const std::string& path) {
    ASSERT_EQ(inode.isFolder(), entry.isFolder) << path;
    ASSERT_EQ(mount_.permissionsOf(inode), entry.permissions) << path;
    if (!entry.isFolder) {
        ASSERT_EQ(mount_.bytesOf(static_cast<FileInode&>(inode)), entry.bytes) << path;
    }
    if (entry.modified) {
        ASSERT_EQ(mount_.modifiedOf(inode), *entry.modified) << path;
    }
    if (!entry.isFolder) {
        const auto links = std::count_if(model_.begin(), model_.end(),
                                         [&](const auto& each) { return each.second.get() == &entry; });
        ASSERT_EQ(mount_.storage().status(inode).st_nlink, static_cast<nlink_t>(links)) << path;
    }
}

void MountedModelTest::step() {
    using Action = void (MountedModelTest::*)();
    static const std::vector<Action> actions{
        &MountedModelTest::make,           &MountedModelTest::make,
        &MountedModelTest::make,           &MountedModelTest::link,
        &MountedModelTest::link,           &MountedModelTest::remove,
        &MountedModelTest::rename,         &MountedModelTest::rename,
        &MountedModelTest::openOne,        &MountedModelTest::closeOne,
        &MountedModelTest::changeContent,  &MountedModelTest::changeContent,
        &MountedModelTest::changeContent,  &MountedModelTest::changeAttributes,
        &MountedModelTest::compareOpenFile};
    ++operations_;
    (this->*actions[upTo(actions.size() - 1)])();
}

/// Compares everything that programs see with the model.
void MountedModelTest::compareAll() {
    ASSERT_EQ(mount_.snapshot().size(), model_.size() + 1);
    for (const auto& [path, entry] : model_) {
        expectSame(mount_.at(path), *entry, path);
    }
}

void MountedModelTest::closeAll() {
    for (const OpenFile& file : open_) {
        ASSERT_EQ(mount_.bytesOf(*file.inode), file.entry->bytes);
        mount_.close(*file.inode);
    }
    std::cout << "seed " << GetParam() << ": " << operations_ << " operations, " << failures_
              << " of them refused, " << bytes_ << " bytes written, " << model_.size()
              << " entries at the end\n";
}

void MountedModelTest::expectStorageAsInModel() {
    expectStorageAsSeen();
    const TreeSnapshot tree = takeSnapshot(*memory_);
    for (const auto& [path, entry] : model_) {
        const auto found = tree.find(host::toUtf16(path));
        if (found == tree.end()) {
            continue; // an additional name, checked by `expectStorageAsSeen`
        }
        const EntrySnapshot& kept = found->second;
        EXPECT_EQ(kept.isFolder(), entry->isFolder) << path;
        EXPECT_EQ(kept.bytes, entry->bytes) << path;
        EXPECT_EQ(kept.isWritable, (entry->permissions & S_IWUSR) != 0) << path;
        if (entry->modified) {
            EXPECT_EQ(kept.lastModified, host::fromDiskTime(*entry->modified)) << path;
        }
    }
}

TEST_P(MountedModelTest, AgreesWithAModel) {
    for (int i = 0; i < steps && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(i));
        step();
        if (i % 500 == 0) {
            compareAll();
        }
    }
    ASSERT_FALSE(HasFatalFailure());
    compareAll();
    closeAll();
    expectStorageAsInModel();
}

INSTANTIATE_TEST_SUITE_P(WithSeed, MountedModelTest, testing::Values(1U, 2U, 3U, 4U, 5U));

} // namespace

} // namespace storage::tests
