#include "benchmarks/stores/StoreKind.h"

#include <memory>
#include <rocksdb/env.h>
#include <rocksdb/version.h>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

void check(const rocksdb::Status& status) {
    if (!status.ok()) {
        throw std::runtime_error("RocksDB: " + status.ToString());
    }
}

void checkComplete(const rocksdb::Slice& read, std::size_t wanted) {
    if (read.size() != wanted) {
        throw std::runtime_error("RocksDB read less than there is");
    }
}

class RocksDbWriter final : public Stream {
public:
    explicit RocksDbWriter(std::unique_ptr<rocksdb::WritableFile> file) : file_(std::move(file)) {}

    void write(const char* bytes, std::size_t count) override {
        check(file_->Append(rocksdb::Slice(bytes, count)));
    }

private:
    std::unique_ptr<rocksdb::WritableFile> file_;
};

class RocksDbOverwriter final : public Stream {
public:
    explicit RocksDbOverwriter(std::unique_ptr<rocksdb::RandomRWFile> file) : file_(std::move(file)) {}

    void write(const char* bytes, std::size_t count) override {
        check(file_->Write(position_, rocksdb::Slice(bytes, count)));
        position_ += count;
    }

private:
    std::unique_ptr<rocksdb::RandomRWFile> file_;
    std::uint64_t position_ = 0;
};

class RocksDbReader final : public Stream {
public:
    explicit RocksDbReader(std::unique_ptr<rocksdb::RandomAccessFile> file) : file_(std::move(file)) {}

    void read(char* buffer, std::size_t count) override {
        readAt(position_, buffer, count);
        position_ += count;
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        rocksdb::Slice read;
        check(file_->Read(offset, count, &read, buffer));
        checkComplete(read, count);
    }

private:
    std::unique_ptr<rocksdb::RandomAccessFile> file_;
    std::uint64_t position_ = 0;
};

class RocksDbStore final : public StringPathStore {
public:
    void createFolder(PathIndex index) override { check(environment_->CreateDir(path(index))); }

    void createFile(PathIndex index) override {
        std::unique_ptr<rocksdb::WritableFile> file;
        check(environment_->NewWritableFile(path(index), &file, options_));
    }

    std::uint64_t fileSize(PathIndex index) override {
        std::uint64_t size = 0;
        check(environment_->GetFileSize(path(index), &size));
        return size;
    }

    bool exists(PathIndex index) override { return environment_->FileExists(path(index)).ok(); }

    ListingSummary list(PathIndex folder) override {
        ListingSummary summary;
        std::vector<std::string> names;
        check(environment_->GetChildren(path(folder), &names));
        for (const std::string& name : names) {
            summary.add(name.data(), name.size(), EntryKind::File);
        }
        return summary;
    }

    void moveFile(PathIndex from, PathIndex to) override {
        check(environment_->RenameFile(path(from), path(to)));
    }

    void removeFile(PathIndex index) override { check(environment_->DeleteFile(path(index))); }

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        std::unique_ptr<rocksdb::SequentialFile> file;
        check(environment_->NewSequentialFile(path(index), &file, options_));
        rocksdb::Slice read;
        check(file->Read(count, &read, buffer));
        checkComplete(read, count);
    }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        std::unique_ptr<rocksdb::RandomRWFile> file;
        check(environment_->NewRandomRWFile(path(index), &file, options_));
        check(file->Write(0, rocksdb::Slice(bytes, count)));
    }

    std::unique_ptr<Stream> createStream(PathIndex index, std::uint64_t /*size*/) override {
        std::unique_ptr<rocksdb::WritableFile> file;
        check(environment_->NewWritableFile(path(index), &file, options_));
        return std::make_unique<RocksDbWriter>(std::move(file));
    }

    std::unique_ptr<Stream> openToOverwrite(PathIndex index) override {
        std::unique_ptr<rocksdb::RandomRWFile> file;
        check(environment_->NewRandomRWFile(path(index), &file, options_));
        return std::make_unique<RocksDbOverwriter>(std::move(file));
    }

    std::unique_ptr<Stream> openToAppend(PathIndex index) override {
        std::unique_ptr<rocksdb::WritableFile> file;
        check(environment_->ReopenWritableFile(path(index), &file, options_));
        return std::make_unique<RocksDbWriter>(std::move(file));
    }

    std::unique_ptr<Stream> openToRead(PathIndex index) override {
        std::unique_ptr<rocksdb::RandomAccessFile> file;
        check(environment_->NewRandomAccessFile(path(index), &file, options_));
        return std::make_unique<RocksDbReader>(std::move(file));
    }

private:
    const rocksdb::EnvOptions options_;
    const std::unique_ptr<rocksdb::Env> environment_{rocksdb::NewMemEnv(rocksdb::Env::Default())};
};

} // namespace

StoreKind rocksDbKind() {
    return {"rocksdb",
            std::to_string(ROCKSDB_MAJOR) + '.' + std::to_string(ROCKSDB_MINOR) + '.' +
                std::to_string(ROCKSDB_PATCH),
            allExcept({Ability::MoveFolder}), [] { return std::make_unique<RocksDbStore>(); }};
}

} // namespace storage::benchmark
