#include "tests/stress/unload/PluginRound.h"

#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/stress/Violation.h"
#include "tests/support/LoadedPlugin.h"

#include <limits>

namespace storage::stress {

using provider::ByteStreamAppend;
using provider::ByteStreamContent;
using provider::ByteStreamExistence;
using provider::ByteStreamOpenOptions;
using provider::ReplacementPolicy;
using provider::StorageIRI;

namespace {

const StorageIRI folder(u"/a");
const StorageIRI file(u"/a/f");
const StorageIRI lockedFile(u"/a/locked");
const std::string bytes(10'000, 'x');
constexpr ByteStreamOpenOptions toAppend{0, ByteStreamExistence::MustExist, ByteStreamContent::Keep,
                                         ByteStreamAppend::AppendAtEnd};

} // namespace

void PluginRound::run() {
    loadUseAndUnload();
    expectKeptFailures();
}

void PluginRound::loadUseAndUnload() {
    const tests::LoadedPlugin plugin(plugin_.c_str());
    auto provider = plugin.build();
    buildTree(*provider);
    useDefaultOperations(*provider);
    holdStreamsAndListings(*provider);
    collectFailures(*provider);
    provider.reset();
    useStreamsAndListings();
    streams_.clear();
    listings_.clear();
}

void PluginRound::buildTree(const IProvider& provider) {
    provider.doCreateFolder(folder);
    provider.doOpenStream(file, {})->write(bytes.data(), static_cast<long>(bytes.size()));
    provider.doCreateFile(lockedFile);
    provider.doSetWritable(lockedFile, false);
    provider.doCreateFolderRecursive(StorageIRI(u"/b/c/d/e"));
    for (char16_t name = u'a'; name <= u'z'; ++name) {
        provider.doCreateFile(StorageIRI(std::u16string(u"/b/c/") + u"file " + name));
    }
    provider.doMoveFolder(StorageIRI(u"/b"), StorageIRI(u"/moved"), ReplacementPolicy::RefuseExisting);
    provider.doMoveFile(StorageIRI(u"/moved/c/file a"), StorageIRI(u"/a/g"),
                        ReplacementPolicy::ReplaceExisting);
    requireThat(provider.doFolderExists(StorageIRI(u"/moved/c/d/e")), "a moved folder is missing");
    requireThat(provider.doFileExists(StorageIRI(u"/a/g")), "a moved file is missing");
}

/// Calls the host's default operations. Each makes many calls of the plug-in.
void PluginRound::useDefaultOperations(const IProvider& provider) {
    const StorageIRI copy(u"/moved/copy");
    provider.doCopyFile(file, copy, ReplacementPolicy::RefuseExisting);
    provider.doTruncateToSize(copy, 100);
    requireThat(provider.doGetFileAttributes(copy).getSize() == 100, "wrong size of a copied file");
    requireThat(provider.doListAllRecursiveNamesOnly(StorageIRI(u"/moved")).size() == 29,
                "wrong number of names in a recursive listing");
    requireThat(provider.doListFilesWildcards(StorageIRI(u"/moved/c"), u"file ?")->hasNext(),
                "a listing by a pattern is empty");
    provider.doRemoveFolderRecursively(StorageIRI(u"/moved/c"));
    requireThat(!provider.doExists(StorageIRI(u"/moved/c/d/e")), "a removed folder still exists");
}

void PluginRound::holdStreamsAndListings(const IProvider& provider) {
    streams_.push_back(provider.doOpenStream(file, toAppend));
    streams_.push_back(provider.doOpenReadOnlyStream(file));
    streams_.push_back(provider.doOpenStream(StorageIRI(u"/a/new"), {}));
    provider.doRemoveFile(StorageIRI(u"/a/new"));
    listings_.push_back(provider.doListAll(folder));
    listings_.push_back(provider.doListFiles(folder));
    listings_.push_back(provider.doListFolders(StorageIRI(u"/")));
    listings_.front()->step();
    listings_.push_back(listings_.front()->clone());
}

void PluginRound::collectFailures(const IProvider& provider) {
    keepFailure("/missing: not found: an entry of the required kind, or the folder that would hold it",
                [&] { provider.doRemoveFile(StorageIRI(u"/missing")); });
    keepFailure("/a/f: not found: an entry of the required kind, or the folder that would hold it",
                [&] { provider.doListAll(file); });
    keepFailure("/a: already exists, or is in the folder that is to be moved",
                [&] { provider.doCreateFolder(folder); });
    keepFailure("/a/f: already exists, or is in the folder that is to be moved",
                [&] { provider.doMoveFile(StorageIRI(u"/a/g"), file, ReplacementPolicy::RefuseExisting); });
    keepFailure("/a/locked: read-only: this entry, or another one that the operation changes",
                [&] { provider.doRemoveFile(lockedFile); });
    keepFailure("/a: folder is not empty", [&] { provider.doRemoveFolder(folder); });
    keepFailure("/a: this provider does not offer the operation",
                [&] { provider.doGetProviderStorageInfo(folder); });
    keepFailure("vector::reserve", [&] {
        streams_.front()->write(bytes.data(),
                                std::numeric_limits<long>::max()); // fails before it reads a byte
    });
}

void PluginRound::keepFailure(const char* text, const std::function<void()>& operation) {
    try {
        operation();
    } catch (...) {
        failures_.push_back({std::current_exception(), text});
        return;
    }
    throw Violation(std::string("the expected failure did not occur: ") + text);
}

/// Runs after the provider was destroyed.
void PluginRound::useStreamsAndListings() {
    streams_[0]->write("tail", 4);
    std::string read(bytes.size() + 4, ' ');
    requireThat(streams_[1]->read(read.data(), static_cast<long>(read.size())) ==
                        static_cast<long>(read.size()) &&
                    read == bytes + "tail",
                "a stream reads wrong bytes");
    requireThat(streams_[2]->write("removed", 7) == 7, "a stream on a removed file cannot be written");
    std::vector<std::size_t> counts;
    for (const auto& listing : listings_) {
        counts.push_back(0);
        for (; listing->hasNext(); listing->step()) {
            ++counts.back();
        }
    }
    requireThat(counts == std::vector<std::size_t>{2, 3, 2, 2}, "wrong number of entries in a listing");
}

/// Runs after the plug-in may have been unloaded.
void PluginRound::expectKeptFailures() const {
    for (const auto& [exception, text] : failures_) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            requireThat(error.what() == text, "a failure has the text '", error.what(), "' instead of '",
                        text, "'");
        }
    }
}

} // namespace storage::stress
