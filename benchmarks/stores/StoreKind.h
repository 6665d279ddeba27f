#pragma once

#include "benchmarks/stores/Store.h"

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace storage::benchmark {

/// What a store supports; every store that can create also has look-ups and listings. A scenario names the
/// abilities that it requires.
enum class Ability {
    Create,              ///< empty files, one by one
    MoveFile,            ///< to another name, to another folder
    MoveFolder,          ///< with everything below it
    Remove,              ///< files, one by one
    ReadFile,            ///< open, read, close
    OverwriteFile,       ///< open, overwrite, close
    Append,              ///< small writes at the end of an open file
    Write,               ///< large writes to a new file
    OverwriteInPlace,    ///< large writes over the content of a file
    Read,                ///< sequential and random reads through an open file
    ChangeTreeInThreads, ///< look up and change the tree from several threads at once
    LiveInProcess        ///< stores its data in the memory of the process
};

using Abilities = std::set<Ability>;

/// Every ability except these.
Abilities allExcept(std::initializer_list<Ability> missing);

/// A kind of store with its factory. A value.
struct StoreKind {
    std::string id;
    std::string version;
    Abilities abilities;
    std::function<std::unique_ptr<Store>()> build;

    bool can(Ability ability) const { return abilities.contains(ability); }
};

/// The provider of a plug-in, used as a host uses it.
/// @param plugin  its path; empty for the plug-in that was built together with this program. Loaded when the
///     first store is built, and never unloaded.
StoreKind providerKind(const std::filesystem::path& plugin);

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
std::vector<StoreKind> storeKinds(const std::filesystem::path& plugin,
                                  const std::filesystem::path& tmpfsFolder);

} // namespace storage::benchmark
