#pragma once

#include <string>

namespace storage::tests {

/// One entry of a tree to be built.
struct EntryShape {
    enum class Kind {
        Folder,
        EmptyFile,
        FullFile,  ///< its bytes fill the memory that it has
        RoomyFile, ///< it has memory for some more bytes
    };
    enum class Access { Writable, ReadOnly };

    std::u16string path;
    Kind kind;
    Access access = Access::Writable;
};

} // namespace storage::tests
