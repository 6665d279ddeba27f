#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <leveldb/env.h>
#include <memory>
#include <string>
#include <vector>

namespace storage::benchmark {

/// The memory environment of LevelDB: an ordered map of paths behind one mutex, the bytes of a file in blocks.
///
/// It has no folders: making one costs nothing, a listing walks through the whole map and tells no kinds, and
/// there is nothing to move. Nor can bytes be replaced in place: overwriting a file empties it first.
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
