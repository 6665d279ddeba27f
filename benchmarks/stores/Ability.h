#pragma once

#include <set>

namespace storage::benchmark {

/// What a store can be asked for. A scenario names the abilities that it takes.
enum class Ability {
    Create,              ///< empty files, one by one
    Attributes,          ///< the size of a file, by its path
    Exists,              ///< whether something stands at a path
    List,                ///< the names in a folder
    MoveFile,            ///< to another name, to another folder
    MoveFolder,          ///< with everything below it
    Remove,              ///< files, one by one
    ReadFile,            ///< open, read, release
    OverwriteFile,       ///< open, write over what is there, release
    Append,              ///< small writes at the end of one open file
    Write,               ///< large writes that make a new file
    OverwriteInPlace,    ///< large writes over the bytes of a file
    Read,                ///< reads through one open file, in order and at random
    ChangeTreeInThreads, ///< look up and change the tree from two threads at once
    LiveInProcess        ///< its memory is that of the process
};

using Abilities = std::set<Ability>;

} // namespace storage::benchmark
