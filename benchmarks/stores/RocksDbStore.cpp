#include "benchmarks/stores/EnvironmentStore.h"

#include <memory>
#include <rocksdb/env.h>
#include <rocksdb/version.h>
#include <string>
#include <utility>

namespace storage::benchmark {

namespace {

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

class RocksDbStore final : public EnvironmentStore<rocksdb::Env, rocksdb::Slice, rocksdb::WritableFile,
                                                   rocksdb::RandomAccessFile> {
public:
    explicit RocksDbStore(const Paths& paths)
        : EnvironmentStore(rocksdb::NewMemEnv(rocksdb::Env::Default()), paths) {}

    void createFolder(PathIndex index) override { requireOk(environment().CreateDir(path(index))); }

    bool exists(PathIndex index) override { return environment().FileExists(path(index)).ok(); }

    void removeFile(PathIndex index) override { requireOk(environment().DeleteFile(path(index))); }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        requireOk(openWith(&rocksdb::Env::NewRandomRWFile, index)->Write(0, rocksdb::Slice(bytes, count)));
    }

private:
    std::unique_ptr<Stream> openToOverwrite(PathIndex index) override {
        return std::make_unique<RocksDbOverwriter>(openWith(&rocksdb::Env::NewRandomRWFile, index));
    }

    std::unique_ptr<Stream> openToAppend(PathIndex index) override {
        return std::make_unique<Writer>(openWith(&rocksdb::Env::ReopenWritableFile, index));
    }
};

} // namespace

StoreKind rocksDbKind() {
    return {"rocksdb",
            std::to_string(ROCKSDB_MAJOR) + '.' + std::to_string(ROCKSDB_MINOR) + '.' +
                std::to_string(ROCKSDB_PATCH),
            {Ability::Tree, Ability::ChangeFiles, Ability::Write, Ability::OverwriteInPlace,
             Ability::LiveInProcess},
            [](const Paths& paths) { return std::make_unique<RocksDbStore>(paths); }};
}

} // namespace storage::benchmark
