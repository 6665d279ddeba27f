#include "inmemoryprovider/PluginEntry.h"
#include "inmemoryprovider/ReadOnlyException.h"
#include "tests/inmemoryprovider/FailingAllocation.h"

#include "hostapi/storage/provider/Exception.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace storage::inmemoryprovider {
namespace {

using namespace foundation::storage::provider;

const StorageIRI root(u"/");

// Names that are too long to be kept inside a string object.
const StorageIRI newEntry(u"/a/z new entry with a long name");
const StorageIRI emptyFolder(u"/empty folder with a long name");

struct EntryState {
    bool folder;
    boost::posix_time::ptime lastModified;
    bool writable;
    std::string bytes;

    bool operator==(const EntryState&) const = default;
};

/// A provider with a small tree, remade for every failure.
class SampleTree {
public:
    SampleTree() {
        for (const auto* folder : {u"/a", u"/a/s", u"/a/s/deep", u"/empty", u"/b"}) {
            provider->doCreateFolder(StorageIRI(folder));
        }
        provider->doCreateFolder(emptyFolder);
        for (const auto* file : {u"/f", u"/g", u"/a/x", u"/a/s/deep/y", u"/b/z"}) {
            const auto name = StorageIRI(file);
            provider->doOpenStream(name, {})->write("some bytes", 10);
        }
        provider->doSetWritable(StorageIRI(u"/a/x"), false);
        const boost::posix_time::ptime longAgo(boost::gregorian::date(2001, 2, 3));
        for (const auto& [path, state] : contents()) {
            provider->doSetLastModified(StorageIRI(path), longAgo);
        }
    }

    /// Every entry by path. Along the way it is checked that the tree is sound: each folder is found both by
    /// its path and among its parent's entries.
    std::map<std::u16string, EntryState> contents() const {
        std::map<std::u16string, EntryState> result;
        const auto rootAttributes = provider->doGetFolderAttributes(root);
        result[u"/"] = {true, rootAttributes.getLastModified(), rootAttributes.isWritable(), ""};
        std::vector<std::u16string> folders{u""};
        while (!folders.empty()) {
            const auto folder = folders.back();
            folders.pop_back();
            const auto listing = provider->doListAll(StorageIRI(folder.empty() ? u"/" : folder));
            while (listing->hasNext()) {
                listing->step();
                const auto entry = listing->getEntry();
                const auto path = folder + u"/" + entry.getName();
                const bool isFolder = entry.getType() == FolderEntry::EntryType::Folder;
                result[path] = isFolder ? folderState(path) : fileState(path);
                if (isFolder) {
                    folders.push_back(path);
                }
            }
        }
        return result;
    }

    /// Whether a folder is known by its path exactly when it is in the tree.
    void expectNoStrayFolders(const std::vector<std::u16string>& candidates) const {
        const auto present = contents();
        for (const auto& path : candidates) {
            if (!present.contains(path)) {
                EXPECT_THROW(provider->doListAll(StorageIRI(path)), Exception)
                    << testing::PrintToString(path);
            }
        }
    }

    std::shared_ptr<IProvider> provider = std::make_shared<InMemoryProvider>();

private:
    EntryState folderState(const std::u16string& path) const {
        const StorageIRI iri(path);
        EXPECT_TRUE(provider->doFolderExists(iri));
        const auto attributes = provider->doGetFolderAttributes(iri);
        return {true, attributes.getLastModified(), attributes.isWritable(), ""};
    }

    EntryState fileState(const std::u16string& path) const {
        const StorageIRI iri(path);
        const auto attributes = provider->doGetFileAttributes(iri);
        std::string bytes(attributes.getSize(), '\0');
        const long count =
            provider->doOpenReadOnlyStream(iri)->read(bytes.data(), static_cast<long>(bytes.size()));
        EXPECT_EQ(count, bytes.empty() ? -1 : static_cast<long>(bytes.size()));
        return {false, attributes.getLastModified(), attributes.isWritable(), bytes};
    }
};

using Operation = std::function<void(IProvider&)>;

/// Lets the first allocation of `operation` fail, then the second, and so on until it succeeds;
/// `afterFailure` looks at what each failure left. Returns how many allocations failed.
std::size_t
sweep(const Operation& operation,
      const std::function<void(const SampleTree& tree, const SampleTree& untouched)>& afterFailure) {
    for (std::size_t allowed = 0;; ++allowed) {
        const SampleTree untouched;
        SampleTree tree;
        bool ranOut = false;
        {
            const FailingAllocation failure(allowed);
            try {
                operation(*tree.provider);
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
            EXPECT_EQ(ranOut, failure.happened());
        }
        if (!ranOut) {
            return allowed;
        }
        afterFailure(tree, untouched);
        operation(*tree.provider); // the provider goes on working
    }
}

/// Times before the change were all set to one value, so trees built one after the other are equal.
void expectUnchanged(const SampleTree& tree, const SampleTree& untouched) {
    EXPECT_EQ(tree.contents(), untouched.contents());
    tree.expectNoStrayFolders({newEntry.getPath(), emptyFolder.getPath()});
}

struct NamedOperation {
    const char* name;
    Operation operation;
};

void PrintTo(const NamedOperation& operation, std::ostream* out) {
    *out << operation.name;
}

const StorageIRI nestedFile(u"/a/s/deep/y");
const StorageIRI folderA(u"/a");
const boost::posix_time::ptime someTime(boost::gregorian::date(2002, 3, 4));

class UnchangedWhenMemoryRunsOut : public testing::TestWithParam<NamedOperation> {};

TEST_P(UnchangedWhenMemoryRunsOut, atAnyAllocation) {
    const auto failures = sweep(GetParam().operation, expectUnchanged);
    EXPECT_GT(failures, 0U);
    RecordProperty("failures", static_cast<int>(failures));
}

INSTANTIATE_TEST_SUITE_P(
    MemoryExhaustion, UnchangedWhenMemoryRunsOut,
    testing::Values(
        NamedOperation{"createFile", [](IProvider& p) { p.doCreateFile(newEntry); }},
        NamedOperation{"createFolder", [](IProvider& p) { p.doCreateFolder(newEntry); }},
        NamedOperation{"removeFile", [](IProvider& p) { p.doRemoveFile(nestedFile); }},
        NamedOperation{"removeFolder", [](IProvider& p) { p.doRemoveFolder(emptyFolder); }},
        NamedOperation{"fileExists", [](IProvider& p) { p.doFileExists(nestedFile); }},
        NamedOperation{"folderExists", [](IProvider& p) { p.doFolderExists(nestedFile); }},
        NamedOperation{"getFileAttributes", [](IProvider& p) { p.doGetFileAttributes(nestedFile); }},
        NamedOperation{"getFolderAttributes", [](IProvider& p) { p.doGetFolderAttributes(emptyFolder); }},
        NamedOperation{"setLastModified", [](IProvider& p) { p.doSetLastModified(nestedFile, someTime); }},
        NamedOperation{"setWritable", [](IProvider& p) { p.doSetWritable(nestedFile, true); }},
        NamedOperation{"openNew", [](IProvider& p) { p.doOpenStream(newEntry, {}); }},
        NamedOperation{"openAndEmpty",
                       [](IProvider& p) {
                           ByteStreamOpenOptions options;
                           options.content = ByteStreamContent::Empty;
                           p.doOpenStream(nestedFile, options);
                       }},
        NamedOperation{"openToRead", [](IProvider& p) { p.doOpenReadOnlyStream(nestedFile); }},
        NamedOperation{"listAll", [](IProvider& p) { p.doListAll(folderA); }},
        NamedOperation{"listFiles", [](IProvider& p) { p.doListFiles(folderA); }},
        NamedOperation{"listFolders", [](IProvider& p) { p.doListFolders(folderA); }}),
    [](const auto& test) { return std::string(test.param.name); });

struct NamedMove {
    const char* name;
    StorageIRI source;
    StorageIRI destination;
    bool folder;
};

void PrintTo(const NamedMove& move, std::ostream* out) {
    *out << move.name;
}

class SoundWhenMemoryRunsOut : public testing::TestWithParam<NamedMove> {};

/// The bytes of all files but the one a move was to replace.
std::multimap<std::string, std::string> bytesByName(const SampleTree& tree) {
    std::multimap<std::string, std::string> result;
    for (const auto& [path, state] : tree.contents()) {
        if (!state.folder) {
            const auto name = path.substr(path.rfind(u'/') + 1);
            result.emplace(std::string(name.begin(), name.end()), state.bytes);
        }
    }
    return result;
}

TEST_P(SoundWhenMemoryRunsOut, inTheMiddleOfAMove) {
    const NamedMove& move = GetParam();
    const auto policy = ReplacementPolicy::ReplaceExisting;
    for (std::size_t allowed = 0;; ++allowed) {
        SampleTree tree;
        const auto bytesBefore = bytesByName(tree);
        bool ranOut = false;
        {
            const FailingAllocation failure(allowed);
            try {
                move.folder ? tree.provider->doMoveFolder(move.source, move.destination, policy)
                            : tree.provider->doMoveFile(move.source, move.destination, policy);
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
        }
        tree.expectNoStrayFolders({u"/a", u"/a/s", u"/a/s/deep", u"/b", u"/empty", u"/new", u"/new/s",
                                   u"/new/s/deep", u"/empty/s", u"/empty/s/deep"});
        if (move.folder) {
            EXPECT_EQ(bytesByName(tree), bytesBefore);
        } else {
            EXPECT_NE(tree.provider->doFileExists(move.source),
                      tree.provider->doFileExists(move.destination) && !ranOut);
        }
        if (!ranOut) {
            EXPECT_GT(allowed, 0U);
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    MemoryExhaustion, SoundWhenMemoryRunsOut,
    testing::Values(NamedMove{"fileToANewName", StorageIRI(u"/f"), StorageIRI(u"/new"), false},
                    NamedMove{"fileOverAFile", StorageIRI(u"/f"), StorageIRI(u"/b/z"), false},
                    NamedMove{"folderToANewName", StorageIRI(u"/a"), StorageIRI(u"/new"), true},
                    NamedMove{"folderOverAnEmptyFolder", StorageIRI(u"/a"), StorageIRI(u"/empty"), true}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(MemoryExhaustion, aWriteKeepsWhatItOverwroteAndItsStream) {
    for (std::size_t allowed = 0;; ++allowed) {
        const SampleTree tree;
        const auto stream = tree.provider->doOpenStream(StorageIRI(u"/f"), {});
        stream->seek(5, std::ios_base::beg);
        bool ranOut = false;
        {
            const FailingAllocation failure(allowed);
            try {
                stream->write("0123456789", 10);
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
        }
        if (!ranOut) {
            EXPECT_EQ(tree.contents().at(u"/f").bytes, "some 0123456789");
            EXPECT_GT(allowed, 0U);
            return;
        }
        EXPECT_EQ(tree.contents().at(u"/f").bytes, "some 01234");
        EXPECT_EQ(stream->seek(0, std::ios_base::cur), std::streampos(10));
        stream->write("56789", 5);
        EXPECT_EQ(tree.contents().at(u"/f").bytes, "some 0123456789");
    }
}

TEST(MemoryExhaustion, aListingStaysWhereItIs) {
    const SampleTree tree;
    tree.provider->doCreateFile(newEntry);
    const auto listing = tree.provider->doListAll(folderA);
    listing->step();
    listing->step();
    const auto second = listing->getEntry();
    for (std::size_t allowed = 0;; ++allowed) {
        std::unique_ptr<IFolderEntryIterator> clone;
        {
            const FailingAllocation failure(allowed);
            try {
                clone = listing->clone();
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(failure.happened());
            }
        }
        EXPECT_EQ(listing->getEntry(), second);
        if (clone) {
            EXPECT_GT(allowed, 0U);
            break;
        }
    }
    bool ranOut = false;
    {
        const FailingAllocation failure(0);
        try {
            listing->step(); // to the long name
        } catch (const std::bad_alloc&) {
            ranOut = true;
        }
    }
    EXPECT_TRUE(ranOut);
    EXPECT_EQ(listing->getEntry(), second);
    EXPECT_TRUE(listing->hasNext());
    listing->step();
    EXPECT_EQ(u"/a/" + listing->getEntry().getName(), newEntry.getPath());
}

TEST(MemoryExhaustion, aProviderIsBuiltWholeOrTheCallersPointerStaysAsItIs) {
    for (std::size_t allowed = 0;; ++allowed) {
        const auto old = std::make_shared<SampleTree>()->provider;
        std::shared_ptr<IProvider> provider = old;
        bool ranOut = false;
        {
            const FailingAllocation failure(allowed);
            try {
                buildProvider_V1(&provider);
            } catch (const std::bad_alloc&) {
                ranOut = true;
            }
            EXPECT_EQ(ranOut, failure.happened());
        }
        if (!ranOut) {
            EXPECT_NE(provider, old);
            EXPECT_GT(allowed, 1U);
            return;
        }
        EXPECT_EQ(provider, old);
        EXPECT_TRUE(provider->doFileExists(nestedFile));
    }
}

TEST(MemoryExhaustionDeathTest, noExceptionIsThrownWithoutItsMessage) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const InMemoryEntryPath longPath(std::u16string(100, u'x'));
    EXPECT_DEATH(
        {
            const FailingAllocation failure(0);
            try {
                throw ReadOnlyException(longPath);
            } catch (const std::bad_alloc&) {
                std::_Exit(0);
            }
        },
        "");
}

} // namespace
} // namespace storage::inmemoryprovider
