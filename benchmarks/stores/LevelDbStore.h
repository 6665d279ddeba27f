#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <leveldb/env.h>
#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// The in-memory environment of LevelDB: an ordered map of paths with one mutex; file contents in blocks.
///
/// It has no folders: creating one costs nothing, a listing scans the whole map and has no kinds, and a
/// folder cannot be moved. Bytes cannot be overwritten in place: overwriting a file truncates it first.
class LevelDbStore final : public Store {
public:
    static Abilities abilities();
    static std::string version();

    LevelDbStore();

    void prepare(const std::vector<std::string>& paths) override;
    void createFile(PathIndex path) override;
    std::uint64_t fileSize(PathIndex path) override;
    bool exists(PathIndex path) override;
    ListingSummary list(PathIndex folder) override;
    void moveFile(PathIndex from, PathIndex to) override;
    void removeFile(PathIndex path) override;
    void readFile(PathIndex path, char* buffer, std::size_t count) override;
    void overwriteFile(PathIndex path, const char* bytes, std::size_t count) override;
    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override;
    std::unique_ptr<Stream> openToRead(PathIndex path) override;

private:
    std::unique_ptr<leveldb::WritableFile> makeFile(PathIndex path);

    std::unique_ptr<leveldb::Env> environment_;
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
