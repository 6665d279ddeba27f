#include "hostapi/storage/provider/IProvider.h"

#include "hostapi/storage/provider/ProviderOperations.h"
#include "tests/support/VtableSlot.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cxxabi.h>
#include <dlfcn.h>
#include <type_traits>

namespace foundation::storage::provider {

namespace {

struct OperationSlot {
    const char* name;
    std::ptrdiff_t slot;
};

#define SLOT(name)                                                                                           \
    OperationSlot {                                                                                          \
#name, vtableSlot(&IProvider::name)                                                                  \
    }

/// In the order of the ABI.
const std::array<OperationSlot, 51> slots{
    SLOT(doCreateFile),
    SLOT(doCreateFolder),
    SLOT(doCreateFolderRecursive),
    SLOT(doFileExists),
    SLOT(doFolderExists),
    SLOT(doRemoveFile),
    SLOT(doMoveFile),
    SLOT(doRemoveFolder),
    SLOT(doRemoveFolderRecursively),
    SLOT(doMoveFolder),
    SLOT(doGetFileAttributes),
    SLOT(doGetFolderAttributes),
    SLOT(doOpenStream),
    SLOT(doOpenReadOnlyStream),
    SLOT(doOpenTransactionalStream),
    SLOT(doOpenTransactionalStreamAtScratchLocation),
    SLOT(doListAll),
    SLOT(doListAllWildcards),
    SLOT(doListFiles),
    SLOT(doListFilesWildcards),
    SLOT(doListFolders),
    SLOT(doListFoldersWildcards),
    SLOT(doListAllNamesOnly),
    SLOT(doListAllNamesOnlyWildcards),
    SLOT(doListFoldersNamesOnly),
    SLOT(doListFoldersNamesOnlyWildcards),
    SLOT(doListFilesNamesOnly),
    SLOT(doListFilesNamesOnlyWildcards),
    SLOT(doListAllRecursive),
    SLOT(doListAllRecursiveWildcards),
    SLOT(doListAllRecursiveNamesOnly),
    SLOT(doListAllRecursiveNamesOnlyWildcards),
    SLOT(doCopyFile),
    SLOT(doCopyFileAtomic),
    SLOT(doSetLastModified),
    SLOT(doSetWritable),
    SLOT(doPublishFolderEventsFor),
    SLOT(doPublishFileEventsFor),
    SLOT(doStopPublishingEventsFor),
    SLOT(doStartChangePollingMechanism),
    SLOT(doStopChangePollingMechanism),
    SLOT(doHasFeature),
    SLOT(doGetPathComparator),
    SLOT(doGetCanonicalLocation),
    SLOT(doGetFilenameSensitivity),
    SLOT(doShutdown),
    SLOT(doExists),
    SLOT(doExistsExtended),
    SLOT(doGetExtendedAttributes),
    SLOT(doGetProviderStorageInfo),
    SLOT(doTruncateToSize),
};

#undef SLOT

TEST(IProviderTest, HasItsOperationsAfterTheDestructorInTheOrderOfTheAbi) {
    static_assert(std::has_virtual_destructor_v<IProvider>);
    static_assert(providerOperations.size() == slots.size());
    for (std::size_t i = 0; i < slots.size(); ++i) {
        EXPECT_STREQ(slots[i].name, providerOperations[i].name);
        EXPECT_EQ(slots[i].slot, static_cast<std::ptrdiff_t>(firstOperationSlot + i)) << slots[i].name;
    }
}

TEST(IProviderTest, HasDefaultsOfTheOptionalOperationsOnly) {
    constexpr std::size_t beforeFunctions = 2; // the offset to top and the type information
    const auto* const vtable =
        static_cast<void* const*>(::dlsym(RTLD_DEFAULT, "_ZTVN10foundation7storage8provider9IProviderE"));
    ASSERT_NE(vtable, nullptr);
    for (std::size_t i = 0; i < providerOperations.size(); ++i) {
        const bool isPure = vtable[beforeFunctions + firstOperationSlot + i] ==
                            reinterpret_cast<void*>(&abi::__cxa_pure_virtual);
        EXPECT_EQ(isPure, providerOperations[i].kind == ProviderOperation::Kind::Required)
            << providerOperations[i].name;
    }
}

} // namespace

} // namespace foundation::storage::provider
