#pragma once

#include "benchmarks/stores/StoreKind.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// RocksDB is derived from LevelDB, so their file system interfaces are nearly equal. This header contains the
// common part of their stores.
namespace storage::benchmark {

template <class Status>
void requireOk(const Status& status) {
    if (!status.ok()) {
        throw std::runtime_error(status.ToString());
    }
}

template <class Slice>
void requireComplete(const Slice& read, std::size_t wanted) {
    if (read.size() != wanted) {
        throw std::runtime_error("read " + std::to_string(read.size()) + " of " + std::to_string(wanted) +
                                 " bytes");
    }
}

template <class WritableFile, class Slice>
class EnvironmentWriter final : public Stream {
public:
    explicit EnvironmentWriter(std::unique_ptr<WritableFile> file) : file_(std::move(file)) {}

    void write(const char* bytes, std::size_t count) override {
        requireOk(file_->Append(Slice(bytes, count)));
    }

private:
    std::unique_ptr<WritableFile> file_;
};

template <class RandomAccessFile, class Slice>
class EnvironmentReader final : public Stream {
public:
    explicit EnvironmentReader(std::unique_ptr<RandomAccessFile> file) : file_(std::move(file)) {}

    void read(char* buffer, std::size_t count) override {
        readAt(position_, buffer, count);
        position_ += count;
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        Slice read;
        requireOk(file_->Read(offset, count, &read, buffer));
        requireComplete(read, count);
    }

private:
    std::unique_ptr<RandomAccessFile> file_;
    std::uint64_t position_ = 0;
};

template <class Environment>
class EnvironmentStore : public StringPathStore {
public:
    std::uint64_t fileSize(PathIndex index) override {
        std::uint64_t size = 0;
        requireOk(environment_->GetFileSize(path(index), &size));
        return size;
    }

    ListingSummary list(PathIndex folder) override {
        ListingSummary summary;
        std::vector<std::string> names;
        requireOk(environment_->GetChildren(path(folder), &names));
        for (const std::string& name : names) {
            summary.add(name.data(), name.size(), EntryKind::File);
        }
        return summary;
    }

    void moveFile(PathIndex from, PathIndex to) override {
        requireOk(environment_->RenameFile(path(from), path(to)));
    }

protected:
    explicit EnvironmentStore(Environment* environment) : environment_(environment) {}

    Environment& environment() const { return *environment_; }

private:
    const std::unique_ptr<Environment> environment_;
};

} // namespace storage::benchmark
