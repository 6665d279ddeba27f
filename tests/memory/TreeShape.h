#pragma once

#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace storage::tests {

/// An entry of a tree to be built.
struct EntryShape {
    enum class Kind {
        Folder,
        EmptyFile,
        FullFile,  ///< without spare capacity
        RoomyFile, ///< with spare capacity
    };
    enum class Access { Writable, ReadOnly };

    std::u16string path;
    Kind kind;
    Access access = Access::Writable;
};

/// A tree that can be built repeatedly, and the locations in it that operations use.
struct TreeShape {
    using Role = std::optional<provider::StorageIRI>;

    /// Whether paths or names exceed the small-string buffer, so that each copy allocates.
    enum class Spelling { Short, LongPaths, LongNames };

    std::string name;
    Spelling spelling = Spelling::LongPaths;
    std::vector<EntryShape> entries; ///< parents before their entries

    Role newAtTop;    ///< missing; not below another role
    Role newEntry;    ///< missing, in a writable folder
    Role newBelowNew; ///< missing, below two missing folders
    Role file = {};   ///< without spare capacity
    Role otherFile = {};
    Role roomyFile = {};
    Role emptyFile = {};
    Role folder = {};      ///< movable, with at least two entries
    Role newInFolder = {}; ///< missing, in `folder`
    Role removableFolder = {};
    Role emptyFolder = {};
    Role readOnlyFile = {};
    Role readOnlyFolder = {};
    Role fileInReadOnlyFolder = {};
    Role emptyFolderInReadOnlyFolder = {};
    Role newInReadOnlyFolder = {};
    Role guardedFolder = {}; ///< contains a read-only folder, at which a move fails

    bool isLarge() const { return entries.size() > 20; }
};

/// All trees of the test.
const std::vector<TreeShape>& treeShapes();

/// Builds the tree in a new provider. The last-modified times of its entries are undefined.
std::shared_ptr<provider::IProvider> build(const TreeShape& shape);

/// The time that `age` sets. The clock never returns it, so a stamp is visible.
extern const boost::posix_time::ptime pastTime;

/// Sets the last-modified time of every existing entry to `pastTime`.
void age(const provider::IProvider& provider, const TreeShape& shape);

} // namespace storage::tests
