#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <memory>
#include <rocksdb/env.h>
#include <string>
#include <vector>

namespace storage::benchmark {

/// The in-memory environment of RocksDB: an ordered map of paths with one mutex.
///
/// Not compared: kinds in listings, which it does not return, and moves of folders, which scan the whole map
/// for each descendant. Looking up a missing name and moving a file also scan the map.
class RocksDbStore final : public Store {
public:
    static Abilities abilities();
    static std::string version();

    RocksDbStore();

    void prepare(const std::vector<std::string>& paths) override;
    void createFolder(PathIndex path) override;
    void createFile(PathIndex path) override;
    std::uint64_t fileSize(PathIndex path) override;
    bool exists(PathIndex path) override;
    ListingSummary list(PathIndex folder) override;
    void moveFile(PathIndex from, PathIndex to) override;
    void removeFile(PathIndex path) override;
    void readFile(PathIndex path, char* buffer, std::size_t count) override;
    void overwriteFile(PathIndex path, const char* bytes, std::size_t count) override;
    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override;
    std::unique_ptr<Stream> openToOverwrite(PathIndex path) override;
    std::unique_ptr<Stream> openToRead(PathIndex path) override;

private:
    const rocksdb::EnvOptions options_;
    std::unique_ptr<rocksdb::Env> environment_;
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
