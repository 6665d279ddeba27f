#pragma once

#include "benchmarks/workload/ListingSummary.h"
#include "benchmarks/workload/Stream.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

/// The paths of a scenario: absolute, ASCII, parents before their entries.
using Paths = std::vector<std::string>;

/// Index into the paths with which a store was built.
using PathIndex = std::uint32_t;

/// What an open file is used for.
enum class Use {
    Create,    ///< to write a new file
    Overwrite, ///< to write from the beginning
    Append,    ///< to write at the end
    Read
};

/// An empty tree of folders and files under test. The virtual calls cost the same for every store.
///
/// The constructor converts the paths of a scenario to the store's own type, so that no operation has to
/// convert one. Each store overrides the operations of its abilities. Operations throw on failure. As
/// thread-safe as the underlying store.
class Store {
public:
    Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    virtual ~Store() = default;

    virtual void createFolder(PathIndex /*path*/) {}
    virtual void createFile(PathIndex /*path*/) { throw unsupported(); }
    virtual std::uint64_t fileSize(PathIndex /*path*/) { throw unsupported(); }
    virtual bool exists(PathIndex /*path*/) { throw unsupported(); }

    /// Iterates a folder as a caller would, reading every name, and its kind if the store provides it.
    virtual ListingSummary list(PathIndex /*folder*/) { throw unsupported(); }

    virtual void moveFile(PathIndex /*from*/, PathIndex /*to*/) { throw unsupported(); }
    virtual void moveFolder(PathIndex /*from*/, PathIndex /*to*/) { throw unsupported(); }
    virtual void removeFile(PathIndex /*path*/) { throw unsupported(); }

    /// Opens a file, reads its first `count` bytes and closes it.
    virtual void readFile(PathIndex /*path*/, char* /*buffer*/, std::size_t /*count*/) {
        throw unsupported();
    }

    /// Opens an existing file of at most `count` bytes, overwrites it with `count` bytes and closes it.
    virtual void overwriteFile(PathIndex /*path*/, const char* /*bytes*/, std::size_t /*count*/) {
        throw unsupported();
    }

    /// Opens a file. Every store can create and read, because scenarios fill files even if they do not report
    /// the time.
    /// @param size  final size of a new file, for stores that require it in advance
    virtual std::unique_ptr<Stream> open(PathIndex path, Use use, std::uint64_t size = 0) = 0;

protected:
    static std::logic_error unsupported() { return std::logic_error("not supported by this store"); }
};

/// Base of stores that use strings as paths.
class StringPathStore : public Store {
public:
    explicit StringPathStore(Paths paths) : paths_(std::move(paths)) {}

protected:
    const std::string& path(PathIndex index) const { return paths_[index]; }

private:
    const Paths paths_;
};

/// What a store supports besides filling a file and reading it. A scenario names the abilities that it
/// requires.
enum class Ability {
    Tree,             ///< create empty files, look them up and list them; read small files
    ChangeFiles,      ///< move, overwrite and remove files, and append to them; several threads at once
    MoveFolder,       ///< with everything below it
    Write,            ///< in pieces; other stores add a file as a whole
    OverwriteInPlace, ///< large writes over the content of a file
    LiveInProcess     ///< stores its data in the memory of the process
};

using Abilities = std::set<Ability>;

/// A kind of store with its factory. A value.
struct StoreKind {
    std::string id;
    std::string version;
    Abilities abilities;
    std::function<std::unique_ptr<Store>(const Paths& paths)> build;

    bool can(Ability ability) const { return abilities.contains(ability); }
};

/// The provider of the plug-in, used as a host uses it. The plug-in is loaded when the first store is built,
/// and never unloaded.
StoreKind providerKind();

/// A folder on a tmpfs, used with as few system calls as possible.
/// @param folder  empty, not used by others; emptied by the store's destructor
StoreKind tmpfsKind(const std::filesystem::path& folder);

/// The in-memory environment of RocksDB: an ordered map of paths with one mutex.
///
/// Not compared: kinds in listings, which it does not return, and moves of folders, which scan the whole map
/// for each descendant. Looking up a missing name and moving a file also scan the map.
StoreKind rocksDbKind();

/// The in-memory environment of LevelDB: an ordered map of paths with one mutex; file contents in blocks.
///
/// It has no folders: creating one costs nothing, a listing scans the whole map and has no kinds, and a
/// folder cannot be moved. Bytes cannot be overwritten in place: overwriting a file truncates it first.
StoreKind levelDbKind();

/// LLVM's in-memory file system: nested maps of names. Not thread-safe. Files are added as a whole and are
/// then read-only.
StoreKind llvmKind();

/// The floor: the minimum cost of a tree. One hash map of paths with one mutex.
StoreKind hashMapKind();

/// The upper bound of the bandwidth: each file is new memory in huge pages, and memcpy copies its bytes.
StoreKind memcpyKind();

/// Every kind of store that was built and is supported on this machine, the plug-in first.
/// @param tmpfsFolder  a folder on a tmpfs; empty if there is none
std::vector<StoreKind> storeKinds(const std::filesystem::path& tmpfsFolder);

} // namespace storage::benchmark
