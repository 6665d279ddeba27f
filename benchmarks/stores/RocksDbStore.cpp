#include "benchmarks/stores/RocksDbStore.h"

#include <rocksdb/version.h>
#include <stdexcept>
#include <utility>

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

} // namespace

Abilities RocksDbStore::abilities() {
    return {Ability::Create,
            Ability::Attributes,
            Ability::Exists,
            Ability::List,
            Ability::MoveFile,
            Ability::Remove,
            Ability::ReadFile,
            Ability::OverwriteFile,
            Ability::Append,
            Ability::Write,
            Ability::Read,
            Ability::OverwriteInPlace,
            Ability::ChangeTreeInThreads,
            Ability::LiveInProcess};
}

std::string RocksDbStore::version() {
    return std::to_string(ROCKSDB_MAJOR) + '.' + std::to_string(ROCKSDB_MINOR) + '.' +
           std::to_string(ROCKSDB_PATCH);
}

RocksDbStore::RocksDbStore() : environment_(rocksdb::NewMemEnv(rocksdb::Env::Default())) {}

void RocksDbStore::prepare(const std::vector<std::string>& paths) {
    paths_ = paths;
}

void RocksDbStore::createFolder(PathIndex path) {
    check(environment_->CreateDir(paths_[path]));
}

void RocksDbStore::createFile(PathIndex path) {
    std::unique_ptr<rocksdb::WritableFile> file;
    check(environment_->NewWritableFile(paths_[path], &file, options_));
}

std::uint64_t RocksDbStore::fileSize(PathIndex path) {
    std::uint64_t size = 0;
    check(environment_->GetFileSize(paths_[path], &size));
    return size;
}

bool RocksDbStore::exists(PathIndex path) {
    return environment_->FileExists(paths_[path]).ok();
}

ListingSummary RocksDbStore::list(PathIndex folder) {
    ListingSummary summary;
    std::vector<std::string> names;
    check(environment_->GetChildren(paths_[folder], &names));
    for (const std::string& name : names) {
        summary.add(name.data(), name.size(), EntryKind::File);
    }
    return summary;
}

void RocksDbStore::moveFile(PathIndex from, PathIndex to) {
    check(environment_->RenameFile(paths_[from], paths_[to]));
}

void RocksDbStore::removeFile(PathIndex path) {
    check(environment_->DeleteFile(paths_[path]));
}

void RocksDbStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    std::unique_ptr<rocksdb::SequentialFile> file;
    check(environment_->NewSequentialFile(paths_[path], &file, options_));
    rocksdb::Slice read;
    check(file->Read(count, &read, buffer));
    checkComplete(read, count);
}

void RocksDbStore::overwriteFile(PathIndex path, const char* bytes, std::size_t count) {
    std::unique_ptr<rocksdb::RandomRWFile> file;
    check(environment_->NewRandomRWFile(paths_[path], &file, options_));
    check(file->Write(0, rocksdb::Slice(bytes, count)));
}

std::unique_ptr<Stream> RocksDbStore::createStream(PathIndex path, std::uint64_t /*size*/) {
    std::unique_ptr<rocksdb::WritableFile> file;
    check(environment_->NewWritableFile(paths_[path], &file, options_));
    return std::make_unique<RocksDbWriter>(std::move(file));
}

std::unique_ptr<Stream> RocksDbStore::openToOverwrite(PathIndex path) {
    std::unique_ptr<rocksdb::RandomRWFile> file;
    check(environment_->NewRandomRWFile(paths_[path], &file, options_));
    return std::make_unique<RocksDbOverwriter>(std::move(file));
}

std::unique_ptr<Stream> RocksDbStore::openToRead(PathIndex path) {
    std::unique_ptr<rocksdb::RandomAccessFile> file;
    check(environment_->NewRandomAccessFile(paths_[path], &file, options_));
    return std::make_unique<RocksDbReader>(std::move(file));
}

} // namespace storage::benchmark
