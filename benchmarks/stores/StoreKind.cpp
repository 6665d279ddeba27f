#include "benchmarks/stores/StoreKind.h"

namespace storage::benchmark {

Abilities allExcept(std::initializer_list<Ability> missing) {
    Abilities abilities;
    for (int ability = 0; ability <= static_cast<int>(Ability::LiveInProcess); ++ability) {
        abilities.insert(static_cast<Ability>(ability));
    }
    for (const Ability ability : missing) {
        abilities.erase(ability);
    }
    return abilities;
}

std::vector<StoreKind> storeKinds(const std::filesystem::path& plugin,
                                  const std::filesystem::path& tmpfsFolder) {
    std::vector<StoreKind> kinds{providerKind(plugin)};
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
