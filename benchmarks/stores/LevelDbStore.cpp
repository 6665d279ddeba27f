#include "benchmarks/stores/StoreKind.h"

#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/helpers/memenv.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

void check(const leveldb::Status& status) {
    if (!status.ok()) {
        throw std::runtime_error("LevelDB: " + status.ToString());
    }
}

void checkComplete(const leveldb::Slice& read, std::size_t wanted) {
    if (read.size() != wanted) {
        throw std::runtime_error("LevelDB read less than there is");
    }
}

class LevelDbWriter final : public Stream {
public:
    explicit LevelDbWriter(std::unique_ptr<leveldb::WritableFile> file) : file_(std::move(file)) {}

    void write(const char* bytes, std::size_t count) override {
        check(file_->Append(leveldb::Slice(bytes, count)));
    }

private:
    std::unique_ptr<leveldb::WritableFile> file_;
};

class LevelDbReader final : public Stream {
public:
    explicit LevelDbReader(leveldb::RandomAccessFile* file) : file_(file) {}

    void read(char* buffer, std::size_t count) override {
        readAt(position_, buffer, count);
        position_ += count;
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        leveldb::Slice read;
        check(file_->Read(offset, count, &read, buffer));
        checkComplete(read, count);
    }

private:
    std::unique_ptr<leveldb::RandomAccessFile> file_;
    std::uint64_t position_ = 0;
};

class LevelDbStore final : public StringPathStore {
public:
    void createFile(PathIndex index) override { makeFile(index); }

    std::uint64_t fileSize(PathIndex index) override {
        std::uint64_t size = 0;
        check(environment_->GetFileSize(path(index), &size));
        return size;
    }

    bool exists(PathIndex index) override { return environment_->FileExists(path(index)); }

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

    void removeFile(PathIndex index) override { check(environment_->RemoveFile(path(index))); }

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        leveldb::SequentialFile* opened = nullptr;
        check(environment_->NewSequentialFile(path(index), &opened));
        const std::unique_ptr<leveldb::SequentialFile> file(opened);
        leveldb::Slice read;
        check(file->Read(count, &read, buffer));
        checkComplete(read, count);
    }

    void overwriteFile(PathIndex index, const char* bytes, std::size_t count) override {
        check(makeFile(index)->Append(leveldb::Slice(bytes, count)));
    }

    std::unique_ptr<Stream> createStream(PathIndex index, std::uint64_t /*size*/) override {
        return std::make_unique<LevelDbWriter>(makeFile(index));
    }

    std::unique_ptr<Stream> openToAppend(PathIndex index) override {
        leveldb::WritableFile* file = nullptr;
        check(environment_->NewAppendableFile(path(index), &file));
        return std::make_unique<LevelDbWriter>(std::unique_ptr<leveldb::WritableFile>(file));
    }

    std::unique_ptr<Stream> openToRead(PathIndex index) override {
        leveldb::RandomAccessFile* file = nullptr;
        check(environment_->NewRandomAccessFile(path(index), &file));
        return std::make_unique<LevelDbReader>(file);
    }

private:
    const std::unique_ptr<leveldb::Env> environment_{leveldb::NewMemEnv(leveldb::Env::Default())};

    std::unique_ptr<leveldb::WritableFile> makeFile(PathIndex index) {
        leveldb::WritableFile* file = nullptr;
        check(environment_->NewWritableFile(path(index), &file));
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
