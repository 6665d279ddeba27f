#include "benchmarks/stores/LevelDbStore.h"

#include <leveldb/db.h>
#include <leveldb/helpers/memenv.h>
#include <stdexcept>
#include <utility>

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

} // namespace

Abilities LevelDbStore::abilities() {
    return {Ability::Create,       Ability::Attributes, Ability::Exists,   Ability::List,
            Ability::MoveFile,     Ability::Remove,     Ability::ReadFile, Ability::OverwriteFile,
            Ability::Append,       Ability::Write,      Ability::Read,     Ability::ChangeTreeInThreads,
            Ability::LiveInProcess};
}

std::string LevelDbStore::version() {
    return std::to_string(leveldb::kMajorVersion) + '.' + std::to_string(leveldb::kMinorVersion);
}

LevelDbStore::LevelDbStore() : environment_(leveldb::NewMemEnv(leveldb::Env::Default())) {}

void LevelDbStore::prepare(const std::vector<std::string>& paths) {
    paths_ = paths;
}

std::unique_ptr<leveldb::WritableFile> LevelDbStore::makeFile(PathIndex path) {
    leveldb::WritableFile* file = nullptr;
    check(environment_->NewWritableFile(paths_[path], &file));
    return std::unique_ptr<leveldb::WritableFile>(file);
}

void LevelDbStore::createFile(PathIndex path) {
    makeFile(path);
}

std::uint64_t LevelDbStore::fileSize(PathIndex path) {
    std::uint64_t size = 0;
    check(environment_->GetFileSize(paths_[path], &size));
    return size;
}

bool LevelDbStore::exists(PathIndex path) {
    return environment_->FileExists(paths_[path]);
}

ListingSummary LevelDbStore::list(PathIndex folder) {
    ListingSummary summary;
    std::vector<std::string> names;
    check(environment_->GetChildren(paths_[folder], &names));
    for (const std::string& name : names) {
        summary.add(name.data(), name.size(), EntryKind::File);
    }
    return summary;
}

void LevelDbStore::moveFile(PathIndex from, PathIndex to) {
    check(environment_->RenameFile(paths_[from], paths_[to]));
}

void LevelDbStore::removeFile(PathIndex path) {
    check(environment_->RemoveFile(paths_[path]));
}

void LevelDbStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    leveldb::SequentialFile* opened = nullptr;
    check(environment_->NewSequentialFile(paths_[path], &opened));
    const std::unique_ptr<leveldb::SequentialFile> file(opened);
    leveldb::Slice read;
    check(file->Read(count, &read, buffer));
    checkComplete(read, count);
}

void LevelDbStore::overwriteFile(PathIndex path, const char* bytes, std::size_t count) {
    check(makeFile(path)->Append(leveldb::Slice(bytes, count)));
}

std::unique_ptr<Stream> LevelDbStore::createStream(PathIndex path, std::uint64_t /*size*/) {
    return std::make_unique<LevelDbWriter>(makeFile(path));
}

std::unique_ptr<Stream> LevelDbStore::openToRead(PathIndex path) {
    leveldb::RandomAccessFile* file = nullptr;
    check(environment_->NewRandomAccessFile(paths_[path], &file));
    return std::make_unique<LevelDbReader>(file);
}

} // namespace storage::benchmark
