#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

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

/// A tree to be built any number of times, always the same, and the locations in it that operations are tried on.
struct TreeShape {
    using Role = std::optional<foundation::storage::provider::StorageIRI>;

    /// What is too long to be kept inside a string object, so that every copy allocates.
    enum class Spelling { Short, LongPaths, LongNames };

    std::string name;
    Spelling spelling = Spelling::LongPaths;
    std::vector<EntryShape> entries; ///< folders before what they hold

    Role newAtTop;    ///< nothing is there, and below no other role
    Role newEntry;    ///< nothing is there, in a folder that can be written to
    Role newBelowNew; ///< below two folders that are missing too
    Role file = {};   ///< a full one
    Role otherFile = {};
    Role roomyFile = {};
    Role emptyFile = {};
    Role folder = {};      ///< holds two entries or more, and can be moved
    Role newInFolder = {}; ///< nothing is there, in `folder`
    Role removableFolder = {};
    Role emptyFolder = {};
    Role readOnlyFile = {};
    Role readOnlyFolder = {};
    Role fileInReadOnlyFolder = {};
    Role emptyFolderInReadOnlyFolder = {};
    Role newInReadOnlyFolder = {};
    Role guardedFolder = {}; ///< holds a read-only folder, which stops a move

    bool isLarge() const { return entries.size() > 20; }
};

/// All trees of the test.
const std::vector<TreeShape>& treeShapes();

/// A provider with the tree; when its entries were last modified is left open.
std::shared_ptr<foundation::storage::provider::IProvider> build(const TreeShape& shape);

/// What `age` sets. No clock gives it, so a stamp shows.
extern const boost::posix_time::ptime longAgo;

/// Sets the last-modified time of every entry that is still there to `longAgo`.
void age(const foundation::storage::provider::IProvider& provider, const TreeShape& shape);

} // namespace storage::tests
