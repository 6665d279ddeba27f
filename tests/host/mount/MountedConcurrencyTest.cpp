#include "tests/host/mount/MountedStorageTest.h"
#include "tests/support/RunTogether.h"

#include <atomic>
#include <cerrno>
#include <random>
#include <set>

namespace storage::tests {

namespace {

/// Several concurrent programs, with files of their own and with shared files.
class MountedConcurrencyTest : public MountedStorageTest {
protected:
#ifdef QZSTORAGE_SANITIZED
    static constexpr int steps = 300;
#else
    static constexpr int steps = 1500;
#endif

    void note(const std::string& complaint) {
        const std::lock_guard lock(mutex_);
        complaints_.insert(complaint);
    }

    /// Runs an operation on shared entries. Errors that other programs cause are accepted, no others.
    template <typename Operation>
    void attempt(const char* what, const Operation& operation) {
        const int error = errnoOf(operation);
        if (error != 0 && error != ENOENT && error != EEXIST && error != ENOTEMPTY && error != EINVAL) {
            note(std::string(what) + ": " + std::to_string(error));
        }
    }

    void workAlone(int program);
    void workInCommon(unsigned seed);

    std::mutex mutex_;
    std::set<std::string> complaints_;
};

/// Creates, writes, renames, resizes, lists and removes in its own folder, which must have no other changes.
void MountedConcurrencyTest::workAlone(int program) {
    const std::string folder = "/own" + std::to_string(program);
    mount_.makeFolder(folder);
    for (int i = 0; i < steps; ++i) {
        const std::string path = folder + "/f" + std::to_string(i % 10);
        const std::string content(static_cast<std::size_t>(i % 300 + 2), static_cast<char>('a' + program));
        mount_.makeFile(path, content);
        FileInode& file = mount_.open(path);
        mount_.rename(path, folder + "/moved");
        mount_.resize(file, content.size() / 2);
        if (mount_.bytesOf(mount_.file(folder + "/moved")) != content.substr(0, content.size() / 2)) {
            note("another thread has changed a private file");
        }
        if (mount_.namesIn(mount_.folder(folder)) != std::vector<std::string>{"moved"}) {
            note("another thread has changed a private folder");
        }
        mount_.removeFile(folder + "/moved");
        if (mount_.bytesOf(file).size() != content.size() / 2) {
            note("another thread has changed a removed private file");
        }
        mount_.close(file);
    }
    mount_.makeFile(folder + "/last", folder);
}

void MountedConcurrencyTest::workInCommon(unsigned seed) {
    std::mt19937 random(seed);
    const auto name = [&] { return "common" + std::to_string(random() % 4); };
    MountedStorage& storage = mount_.storage();
    FolderInode& root = storage.root();
    for (int i = 0; i < steps; ++i) {
        attempt("make", [&] { mount_.makeFile('/' + name(), "content"); });
        attempt("rename", [&] { storage.rename(root, name(), root, name(), {}); });
        attempt("use", [&] {
            const auto found = storage.lookUp(root, name());
            if (found.inode == nullptr) {
                return;
            }
            auto& file = static_cast<FileInode&>(*found.inode);
            mount_.write(file, random() % 100, "common");
            mount_.resize(file, random() % 100);
            mount_.bytesOf(file);
            mount_.setPermissions(file, random() % 2 == 0 ? 0444 : 0644);
            mount_.setModified(file, pastTime);
            mount_.close(file);
        });
        attempt("list", [&] {
            storage.list(root, 0, MountedStorage::ListingDetail::Attributes,
                         [&](const std::string&, const auto&, auto) { return true; });
        });
        attempt("remove", [&] { storage.removeFile(root, name()); });
    }
}

TEST_F(MountedConcurrencyTest, KeepsProgramsApart) {
    runTogether(
        {[&] { workAlone(0); }, [&] { workAlone(1); }, [&] { workInCommon(1); }, [&] { workInCommon(2); }});
    EXPECT_THAT(complaints_, testing::IsEmpty());
    for (const std::string folder : {"/own0", "/own1"}) {
        EXPECT_EQ(mount_.bytesOf(mount_.file(folder + "/last")), folder);
    }
    expectStorageAsSeen();
    MountedTree fresh(*memory_);
    EXPECT_EQ(withoutTimes(fresh.snapshot()), withoutTimes(mount_.snapshot()));
}

/// Several writers of one file, each with its own part, while another program resizes the file, but never
/// below the sum of all parts.
TEST_F(MountedConcurrencyTest, KeepsAllWritesToOneFile) {
    constexpr std::size_t part = 1000;
    FileInode& file = mount_.makeFile("/f");
    const auto write = [&](std::size_t number) {
        for (std::size_t i = 0; i < part; ++i) {
            mount_.write(file, number * part + i, std::string(1, static_cast<char>('a' + number)));
        }
    };
    const auto resize = [&] {
        for (std::size_t i = 0; i < part; ++i) {
            mount_.resize(file, 3 * part + i % 7);
        }
    };
    mount_.resize(file, 3 * part);
    runTogether({[&] { write(0); }, [&] { write(1); }, [&] { write(2); }, resize});
    EXPECT_EQ(mount_.bytesOf(file).substr(0, 3 * part),
              std::string(part, 'a') + std::string(part, 'b') + std::string(part, 'c'));
}

/// Holders acquire and release the file while it is replaced. The last reference may be released by any of
/// them.
TEST_F(MountedConcurrencyTest, ServesAFileWhileItIsReplaced) {
    std::atomic<bool> ended = false;
    std::atomic<int> wrong = 0;
    mount_.makeFile("/f", "content");
    const auto replace = [&] {
        for (int i = 0; i < steps; ++i) {
            mount_.makeFile("/new", "content");
            mount_.rename("/new", "/f");
        }
        ended = true;
    };
    const auto hold = [&] {
        do {
            const auto found = mount_.storage().lookUp(mount_.storage().root(), "f");
            wrong += found.inode != nullptr ? 0 : 1;
            if (found.inode != nullptr) {
                auto& file = static_cast<FileInode&>(*found.inode);
                wrong += mount_.bytesOf(file) == "content" ? 0 : 1;
                mount_.close(file);
            }
        } while (!ended);
    };
    runTogether({replace, hold, hold});
    EXPECT_EQ(wrong, 0);
    mount_.removeFile("/f");
    expectStorageAsSeen();
}

} // namespace

} // namespace storage::tests
