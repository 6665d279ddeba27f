#include "benchmarks/stores/EnvironmentStore.h"

#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/helpers/memenv.h>
#include <memory>
#include <string>
#include <utility>

namespace storage::benchmark {

namespace {

using LevelDbWriter = EnvironmentWriter<leveldb::WritableFile, leveldb::Slice>;
using LevelDbReader = EnvironmentReader<leveldb::RandomAccessFile, leveldb::Slice>;

class LevelDbStore final : public EnvironmentStore<leveldb::Env> {
public:
    LevelDbStore() : EnvironmentStore(leveldb::NewMemEnv(leveldb::Env::Default())) {}

    void createFile(PathIndex index) override { makeFile(index); }

    bool exists(PathIndex index) override { return environment().FileExists(path(index)); }

    void removeFile(PathIndex index) override { requireOk(environment().RemoveFile(path(index))); }

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        leveldb::SequentialFile* opened = nullptr;
        requireOk(environment().NewSequentialFile(path(index), &opened));
        const std::unique_ptr<leveldb::SequentialFile> file(opened);
        leveldb::Slice read;
        requireOk(file->Read(count, &read, buffer));
        requireComplete(read, count);
    }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        requireOk(makeFile(index)->Append(leveldb::Slice(bytes, count)));
    }

    std::unique_ptr<Stream> createStream(PathIndex index, std::uint64_t /*size*/) override {
        return std::make_unique<LevelDbWriter>(makeFile(index));
    }

    std::unique_ptr<Stream> openToAppend(PathIndex index) override {
        leveldb::WritableFile* file = nullptr;
        requireOk(environment().NewAppendableFile(path(index), &file));
        return std::make_unique<LevelDbWriter>(std::unique_ptr<leveldb::WritableFile>(file));
    }

    std::unique_ptr<Stream> openToRead(PathIndex index) override {
        leveldb::RandomAccessFile* file = nullptr;
        requireOk(environment().NewRandomAccessFile(path(index), &file));
        return std::make_unique<LevelDbReader>(std::unique_ptr<leveldb::RandomAccessFile>(file));
    }

private:
    std::unique_ptr<leveldb::WritableFile> makeFile(PathIndex index) {
        leveldb::WritableFile* file = nullptr;
        requireOk(environment().NewWritableFile(path(index), &file));
        return std::unique_ptr<leveldb::WritableFile>(file);
    }
};

} // namespace

StoreKind levelDbKind() {
    return {"leveldb", std::to_string(leveldb::kMajorVersion) + '.' + std::to_string(leveldb::kMinorVersion),
            allExcept({Ability::MoveFolder, Ability::OverwriteInPlace}),
            [] { return std::make_unique<LevelDbStore>(); }};
}

} // namespace storage::benchmark
