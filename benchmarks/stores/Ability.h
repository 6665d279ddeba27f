#pragma once

#include <set>

namespace storage::benchmark {

/// The operations of a store. A scenario names the abilities that it requires.
enum class Ability {
    Create,              ///< empty files, one by one
    Attributes,          ///< the size of a file, by its path
    Exists,              ///< whether an entry exists at a path
    List,                ///< the names in a folder
    MoveFile,            ///< to another name, to another folder
    MoveFolder,          ///< with everything below it
    Remove,              ///< files, one by one
    ReadFile,            ///< open, read, close
    OverwriteFile,       ///< open, overwrite, close
    Append,              ///< small writes at the end of an open file
    Write,               ///< large writes to a new file
    OverwriteInPlace,    ///< large writes over the content of a file
    Read,                ///< sequential and random reads through an open file
    ChangeTreeInThreads, ///< look up and change the tree from two threads at once
    LiveInProcess        ///< stores its data in the memory of the process
};

using Abilities = std::set<Ability>;

} // namespace storage::benchmark
