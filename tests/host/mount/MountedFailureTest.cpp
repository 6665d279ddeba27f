#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/mount/ErrnoOf.h"
#include "tests/host/mount/FailingStep.h"
#include "tests/host/mount/MountedTree.h"
#include "tests/host/mount/StepwiseProvider.h"
#include "tests/support/SharedProvider.h"
#include "tests/support/TreeContents.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <new>

namespace storage::tests {

namespace {

using provider::ErrorCode;
using provider::Exception;
using provider::IProvider;
using provider::StorageIRI;
using testing::AnyOf;

/// An operation of a program on the initial tree of every test.
struct Use {
    std::string name;
    std::function<void(MountedTree&)> run;
    std::function<void(MountedTree&)> prepare = [](MountedTree&) {}; ///< earlier operations of programs
};

void PrintTo(const Use& use, std::ostream* out) {
    *out << use.name;
}

constexpr std::uint64_t onePage = host::pageSize;
constexpr int punch = FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE;

/// Makes a file with holes: pages 0 and 4 to 6 are written; page 8 and page 9, beyond the end, are reserved.
void makeHoles(MountedTree& mount) {
    auto& file = mount.file("/f");
    mount.write(file, 4 * onePage, std::string(3 * onePage, 'y'));
    mount.resize(file, 8 * onePage + 100);
    mount.storage().allocate(file, FALLOC_FL_KEEP_SIZE, 8 * onePage, 2 * onePage);
}

constexpr std::size_t largeSize = 3U << 20U; ///< of large files, so that zeros are written in several pieces

const std::vector<Use> uses{
    {"look up", [](MountedTree& mount) { mount.at("/d/s/b"); }},
    {"look up what is missing", [](MountedTree& mount) { mount.find("/d/x"); }},
    {"list", [](MountedTree& mount) { mount.namesIn(mount.folder("/d")); }},
    {"read", [](MountedTree& mount) { mount.bytesOf(mount.file("/f")); }},
    {"make a file", [](MountedTree& mount) { mount.makeFile("/d/new"); }},
    {"make a read-only file", [](MountedTree& mount) { mount.makeFile("/d/new", "", 0400); }},
    {"make a file in a read-only folder", [](MountedTree& mount) { mount.makeFile("/r/new"); }},
    {"make a folder", [](MountedTree& mount) { mount.makeFolder("/d/new"); }},
    {"make a read-only folder", [](MountedTree& mount) { mount.makeFolder("/d/new", 0500); }},
    {"remove a file", [](MountedTree& mount) { mount.removeFile("/f"); }},
    {"remove a read-only file", [](MountedTree& mount) { mount.removeFile("/r/fixed"); }},
    {"remove a folder", [](MountedTree& mount) { mount.removeFolder("/empty"); }},
    {"rename a file", [](MountedTree& mount) { mount.rename("/f", "/d/new"); }},
    {"rename over a file", [](MountedTree& mount) { mount.rename("/f", "/d/a"); }},
    {"rename over a read-only file", [](MountedTree& mount) { mount.rename("/f", "/r/fixed"); }},
    {"rename a folder", [](MountedTree& mount) { mount.rename("/d", "/new"); }},
    {"rename over a folder", [](MountedTree& mount) { mount.rename("/d", "/empty"); }},
    {"rename out of a read-only folder", [](MountedTree& mount) { mount.rename("/r/fixed", "/r/new"); }},
    {"rename a read-only folder", [](MountedTree& mount) { mount.rename("/r", "/d/new"); }},
    {"write", [](MountedTree& mount) { mount.write(mount.file("/f"), 2, "XYZ"); }},
    {"write to a read-only file", [](MountedTree& mount) { mount.write(mount.file("/r/fixed"), 2, "XYZ"); }},
    {"write beyond the end", [](MountedTree& mount) { mount.write(mount.file("/f"), largeSize, "XYZ"); }},
    {"allocate", [](MountedTree& mount) { mount.storage().allocate(mount.file("/f"), 0, 0, largeSize); }},
    {"grow", [](MountedTree& mount) { mount.resize(mount.file("/f"), largeSize); }},
    {"truncate to nothing", [](MountedTree& mount) { mount.resize(mount.file("/f"), 0); }},
    {"truncate a little", [](MountedTree& mount) { mount.resize(mount.file("/f"), 30); }},
    {"write to a hole", [](MountedTree& mount) { mount.write(mount.file("/f"), 2 * onePage + 7, "XYZ"); },
     makeHoles},
    {"write to holes and pages",
     [](MountedTree& mount) {
         mount.write(mount.file("/f"), 3 * onePage + 7, std::string(3 * onePage, 'X'));
     },
     makeHoles},
    {"write beyond the end of holes",
     [](MountedTree& mount) { mount.write(mount.file("/f"), 20 * onePage + 7, "XYZ"); }, makeHoles},
    {"reserve holes",
     [](MountedTree& mount) { mount.storage().allocate(mount.file("/f"), 0, 10, 20 * onePage); }, makeHoles},
    {"make a hole",
     [](MountedTree& mount) {
         mount.storage().allocate(mount.file("/f"), punch, 4 * onePage, 2 * onePage + 10);
     },
     makeHoles},
    {"turn a file into a hole",
     [](MountedTree& mount) { mount.storage().allocate(mount.file("/f"), punch, 0, onePage); }},
    {"overwrite with zeros",
     [](MountedTree& mount) {
         mount.storage().allocate(mount.file("/f"), FALLOC_FL_ZERO_RANGE, 4 * onePage + 1, onePage - 2);
     },
     makeHoles},
    {"read holes", [](MountedTree& mount) { mount.bytesOf(mount.file("/f")); }, makeHoles},
    {"remove a file with holes", [](MountedTree& mount) { mount.removeFile("/f"); }, makeHoles},
    {"rename a file with holes", [](MountedTree& mount) { mount.rename("/f", "/d/a"); }, makeHoles},
    {"set permissions", [](MountedTree& mount) { mount.setPermissions(mount.file("/f"), 0400); }},
    {"set permissions of a folder", [](MountedTree& mount) { mount.setPermissions(mount.at("/r"), 0700); }},
    {"set the time",
     [](MountedTree& mount) {
         mount.setModified(mount.at("/f"), {1000, 0});
     }},
};

/// Fails each operation of the storage during a program's operation in turn, each time in a new tree.
class MountedFailureTest : public testing::TestWithParam<Use> {
public:
    static void TearDownTestSuite() {
        std::cout << uses.size() << " operations: " << operations_ << " injected failures, " << failures_
                  << " reported to the program\n";
    }

protected:
    using Fail = std::function<void()>;

    static constexpr std::size_t content = 40;

    void fill() {
        memory_ = sharedProvider(TEST_PLUGIN);
        for (const auto* const folder : {u"/d", u"/d/s", u"/empty", u"/r"}) {
            memory_->doCreateFolder(StorageIRI(folder));
        }
        for (const auto* const file : {u"/f", u"/d/a", u"/d/s/b", u"/r/fixed"}) {
            memory_->doOpenStream(StorageIRI(file), {})->write(std::string(content, 'x').data(), content);
        }
        for (const auto* const path : {u"/f", u"/d/a", u"/d/s/b", u"/r/fixed"}) {
            memory_->doSetLastModified(StorageIRI(path),
                                       boost::posix_time::ptime(boost::gregorian::date(2001, 2, 3)));
        }
        for (const auto* const path : {u"/r/fixed", u"/r"}) {
            memory_->doSetWritable(StorageIRI(path), false);
        }
    }

    /// Returns the content of the storage after successful operations.
    TreeSnapshot snapshotAfter(const std::vector<std::function<void(MountedTree&)>>& operations) {
        fill();
        MountedTree mount(*memory_);
        for (const auto& run : operations) {
            run(mount);
        }
        mount.storage().settle();
        return withoutTimes(takeSnapshot(*memory_));
    }

    /// @param failure  throws the storage's error
    /// @param errors   the errors that a program may get
    void failEverywhere(const Use& use, const Fail& failure, const testing::Matcher<int>& errors) {
        const TreeSnapshot before = snapshotAfter({use.prepare});
        const TreeSnapshot after = snapshotAfter({use.prepare, use.run});
        int failures = 0;
        int number = 1;
        for (;; ++number) {
            SCOPED_TRACE(use.name + ", operation " + std::to_string(number));
            fill();
            StepwiseProvider provider(memory_);
            MountedTree mount(provider);
            use.prepare(mount);
            int error = 0;
            {
                const FailingStep step(provider, number, failure);
                error = errnoOf([&] { use.run(mount); });
                if (!step.happened()) {
                    break;
                }
            }
            EXPECT_THAT(error, AnyOf(0, errors));
            failures += error == 0 ? 0 : 1;
            EXPECT_EQ(withoutTimes(mount.snapshot()), error == 0 ? after : before);
            mount.storage().settle();
            if (error == 0) {
                // If a flag cannot be restored, the operation still succeeds: programs use the permissions of
                // the mount.
                EXPECT_EQ(contentsOf(takeSnapshot(*memory_)), contentsOf(after));
            } else {
                EXPECT_EQ(withoutTimes(takeSnapshot(*memory_)), before);
                EXPECT_EQ(errnoOf([&] { use.run(mount); }), 0) << "the second time";
                mount.storage().settle();
                EXPECT_EQ(withoutTimes(takeSnapshot(*memory_)), after) << "the second time";
            }
        }
        EXPECT_GT(failures, 0);
        operations_ += number - 1;
        failures_ += failures;
    }

    std::shared_ptr<IProvider> memory_;

    static inline int operations_ = 0;
    static inline int failures_ = 0;
};

TEST_P(MountedFailureTest, EitherSucceedsOrChangesNothing) {
    failEverywhere(
        GetParam(), [] { throw Exception(static_cast<ErrorCode>(77), StorageIRI(u"/")); }, EIO);
    failEverywhere(
        GetParam(), [] { throw Exception(ErrorCode::ReadOnly, StorageIRI(u"/")); }, EACCES);
}

TEST_P(MountedFailureTest, EitherSucceedsOrChangesNothingWithoutMemory) {
    failEverywhere(
        GetParam(), [] { throw std::bad_alloc(); }, AnyOf(ENOMEM, ENOSPC));
}

std::string nameOf(const testing::TestParamInfo<Use>& info) {
    std::string name;
    for (const char character : info.param.name) {
        name += std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(OfEveryOperation, MountedFailureTest, testing::ValuesIn(uses), nameOf);

} // namespace

} // namespace storage::tests
