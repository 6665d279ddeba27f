#include "benchmarks/stores/Store.h"

namespace storage::benchmark {

std::vector<StoreKind> storeKinds(const std::filesystem::path& tmpfsFolder) {
    std::vector<StoreKind> kinds{providerKind()};
    if (!tmpfsFolder.empty()) {
        kinds.push_back(tmpfsKind(tmpfsFolder));
    }
#ifdef QZSTORAGE_WITH_ROCKSDB
    kinds.push_back(rocksDbKind());
#endif
#ifdef QZSTORAGE_WITH_LEVELDB
    kinds.push_back(levelDbKind());
#endif
#ifdef QZSTORAGE_WITH_LLVM
    kinds.push_back(llvmKind());
#endif
    kinds.push_back(hashMapKind());
    kinds.push_back(memcpyKind());
    return kinds;
}

} // namespace storage::benchmark
