#include "hostapi/storage/provider/IProvider.h"

#include "tests/support/VtableSlot.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <type_traits>

using foundation::storage::provider::IProvider;

namespace {

struct SlotOperation {
    std::ptrdiff_t order;
    const char* name;
    std::ptrdiff_t slot;
};

#define OPERATION(order, name)                                                                               \
    SlotOperation {                                                                                          \
        order, #name, vtableSlot(&IProvider::name)                                                           \
    }

const std::array<SlotOperation, 51> operations{
    OPERATION(1, doCreateFile),
    OPERATION(2, doCreateFolder),
    OPERATION(3, doCreateFolderRecursive),
    OPERATION(4, doFileExists),
    OPERATION(5, doFolderExists),
    OPERATION(6, doRemoveFile),
    OPERATION(7, doMoveFile),
    OPERATION(8, doRemoveFolder),
    OPERATION(9, doRemoveFolderRecursively),
    OPERATION(10, doMoveFolder),
    OPERATION(11, doGetFileAttributes),
    OPERATION(12, doGetFolderAttributes),
    OPERATION(13, doOpenStream),
    OPERATION(14, doOpenReadOnlyStream),
    OPERATION(15, doOpenTransactionalStream),
    OPERATION(16, doOpenTransactionalStreamAtScratchLocation),
    OPERATION(17, doListAll),
    OPERATION(18, doListAllWildcards),
    OPERATION(19, doListFiles),
    OPERATION(20, doListFilesWildcards),
    OPERATION(21, doListFolders),
    OPERATION(22, doListFoldersWildcards),
    OPERATION(23, doListAllNamesOnly),
    OPERATION(24, doListAllNamesOnlyWildcards),
    OPERATION(25, doListFoldersNamesOnly),
    OPERATION(26, doListFoldersNamesOnlyWildcards),
    OPERATION(27, doListFilesNamesOnly),
    OPERATION(28, doListFilesNamesOnlyWildcards),
    OPERATION(29, doListAllRecursive),
    OPERATION(30, doListAllRecursiveWildcards),
    OPERATION(31, doListAllRecursiveNamesOnly),
    OPERATION(32, doListAllRecursiveNamesOnlyWildcards),
    OPERATION(33, doCopyFile),
    OPERATION(34, doCopyFileAtomic),
    OPERATION(35, doSetLastModified),
    OPERATION(36, doSetWritable),
    OPERATION(37, doPublishFolderEventsFor),
    OPERATION(38, doPublishFileEventsFor),
    OPERATION(39, doStopPublishingEventsFor),
    OPERATION(40, doStartChangePollingMechanism),
    OPERATION(41, doStopChangePollingMechanism),
    OPERATION(42, doHasFeature),
    OPERATION(43, doGetPathComparator),
    OPERATION(44, doGetCanonicalLocation),
    OPERATION(45, doGetFilenameSensitivity),
    OPERATION(46, doShutdown),
    OPERATION(47, doExists),
    OPERATION(48, doExistsExtended),
    OPERATION(49, doGetExtendedAttributes),
    OPERATION(50, doGetProviderStorageInfo),
    OPERATION(51, doTruncateToSize),
};

#undef OPERATION

TEST(IProvider, HasItsOperationsBehindTheDestructorInTheOrderOfTheBinaryInterface) {
    static_assert(std::has_virtual_destructor_v<IProvider>);
    for (const SlotOperation& operation : operations) {
        EXPECT_EQ(operation.slot, operation.order + 1) << operation.name;
    }
}

} // namespace
