#include "benchmarks/stores/EnvironmentStore.h"

#include <memory>
#include <rocksdb/env.h>
#include <rocksdb/version.h>
#include <string>
#include <utility>

namespace storage::benchmark {

namespace {

using RocksDbWriter = EnvironmentWriter<rocksdb::WritableFile, rocksdb::Slice>;
class RocksDbOverwriter final : public Stream {
public:
    explicit RocksDbOverwriter(std::unique_ptr<rocksdb::RandomRWFile> file) : file_(std::move(file)) {}

    void write(const char* bytes, std::size_t count) override {
        requireOk(file_->Write(position_, rocksdb::Slice(bytes, count)));
        position_ += count;
    }

private:
    std::unique_ptr<rocksdb::RandomRWFile> file_;
    std::uint64_t position_ = 0;
};

using RocksDbReader = EnvironmentReader<rocksdb::RandomAccessFile, rocksdb::Slice>;

class RocksDbStore final : public EnvironmentStore<rocksdb::Env> {
public:
    RocksDbStore() : EnvironmentStore(rocksdb::NewMemEnv(rocksdb::Env::Default())) {}

    void createFolder(PathIndex index) override { requireOk(environment().CreateDir(path(index))); }

    void createFile(PathIndex index) override {
        std::unique_ptr<rocksdb::WritableFile> file;
        requireOk(environment().NewWritableFile(path(index), &file, options_));
    }

    bool exists(PathIndex index) override { return environment().FileExists(path(index)).ok(); }

    void removeFile(PathIndex index) override { requireOk(environment().DeleteFile(path(index))); }

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        std::unique_ptr<rocksdb::SequentialFile> file;
        requireOk(environment().NewSequentialFile(path(index), &file, options_));
        rocksdb::Slice read;
        requireOk(file->Read(count, &read, buffer));
        requireComplete(read, count);
    }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        std::unique_ptr<rocksdb::RandomRWFile> file;
        requireOk(environment().NewRandomRWFile(path(index), &file, options_));
        requireOk(file->Write(0, rocksdb::Slice(bytes, count)));
    }

    std::unique_ptr<Stream> createStream(PathIndex index, std::uint64_t /*size*/) override {
        std::unique_ptr<rocksdb::WritableFile> file;
        requireOk(environment().NewWritableFile(path(index), &file, options_));
        return std::make_unique<RocksDbWriter>(std::move(file));
    }

    std::unique_ptr<Stream> openToOverwrite(PathIndex index) override {
        std::unique_ptr<rocksdb::RandomRWFile> file;
        requireOk(environment().NewRandomRWFile(path(index), &file, options_));
        return std::make_unique<RocksDbOverwriter>(std::move(file));
    }

    std::unique_ptr<Stream> openToAppend(PathIndex index) override {
        std::unique_ptr<rocksdb::WritableFile> file;
        requireOk(environment().ReopenWritableFile(path(index), &file, options_));
        return std::make_unique<RocksDbWriter>(std::move(file));
    }

    std::unique_ptr<Stream> openToRead(PathIndex index) override {
        std::unique_ptr<rocksdb::RandomAccessFile> file;
        requireOk(environment().NewRandomAccessFile(path(index), &file, options_));
        return std::make_unique<RocksDbReader>(std::move(file));
    }

private:
    const rocksdb::EnvOptions options_;
};

} // namespace

StoreKind rocksDbKind() {
    return {"rocksdb",
            std::to_string(ROCKSDB_MAJOR) + '.' + std::to_string(ROCKSDB_MINOR) + '.' +
                std::to_string(ROCKSDB_PATCH),
            allExcept({Ability::MoveFolder}), [] { return std::make_unique<RocksDbStore>(); }};
}

} // namespace storage::benchmark
