#include "benchmarks/stores/StoreKinds.h"

#include "benchmarks/stores/HashMapStore.h"
#include "benchmarks/stores/MemcpyStore.h"
#include "benchmarks/stores/ProviderStore.h"
#include "benchmarks/stores/TmpfsStore.h"
#include "benchmarks/system/Machine.h"
#ifdef QZSTORAGE_WITH_ROCKSDB
#include "benchmarks/stores/RocksDbStore.h"
#endif
#ifdef QZSTORAGE_WITH_LEVELDB
#include "benchmarks/stores/LevelDbStore.h"
#endif
#ifdef QZSTORAGE_WITH_LLVM
#include "benchmarks/stores/LlvmStore.h"
#endif

namespace storage::benchmark {

namespace {

StoreKind pluginKind(const std::string& plugin) {
    return {{"provider", "plug-in", QZSTORAGE_VERSION, StoreRole::Plugin},
            ProviderStore::abilities(),
            [plugin]() -> std::unique_ptr<Store> {
                static auto* const buildProvider = ProviderStore::load(plugin);
                return std::make_unique<ProviderStore>(buildProvider);
            }};
}

template <typename StoreType>
StoreKind plainKind(std::string id, std::string title, std::string version, StoreRole role) {
    return {{std::move(id), std::move(title), std::move(version), role}, StoreType::abilities(), [] {
                return std::make_unique<StoreType>();
            }};
}

} // namespace

std::vector<StoreKind> storeKinds(const std::string& plugin, const std::filesystem::path& tmpfsFolder) {
    std::vector<StoreKind> kinds{pluginKind(plugin)};
    if (!tmpfsFolder.empty()) {
        kinds.push_back({{"tmpfs", "tmpfs", kernelRelease(), StoreRole::Peer},
                         TmpfsStore::abilities(),
                         [tmpfsFolder] { return std::make_unique<TmpfsStore>(tmpfsFolder); }});
    }
#ifdef QZSTORAGE_WITH_ROCKSDB
    kinds.push_back(plainKind<RocksDbStore>("rocksdb", "RocksDB", RocksDbStore::version(), StoreRole::Peer));
#endif
#ifdef QZSTORAGE_WITH_LEVELDB
    kinds.push_back(plainKind<LevelDbStore>("leveldb", "LevelDB", LevelDbStore::version(), StoreRole::Peer));
#endif
#ifdef QZSTORAGE_WITH_LLVM
    kinds.push_back(plainKind<LlvmStore>("llvm", "LLVM", LlvmStore::version(), StoreRole::Peer));
#endif
    kinds.push_back(plainKind<HashMapStore>("floor", "hash map", "", StoreRole::Floor));
    kinds.push_back(plainKind<MemcpyStore>("memcpy", "memcpy", "", StoreRole::Limit));
    return kinds;
}

} // namespace storage::benchmark
