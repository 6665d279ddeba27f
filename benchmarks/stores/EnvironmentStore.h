#pragma once

#include "benchmarks/stores/Store.h"

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

template <class Environment, class Slice, class WritableFile, class RandomAccessFile>
class EnvironmentStore : public StringPathStore {
public:
    void createFile(PathIndex index) override { openWith(&Environment::NewWritableFile, index); }

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

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        Slice read;
        requireOk(openWith(&Environment::NewSequentialFile, index)->Read(count, &read, buffer));
        requireComplete(read, count);
    }

    std::unique_ptr<Stream> open(PathIndex index, Use use, std::uint64_t /*size*/) override {
        switch (use) {
        case Use::Create:
            return std::make_unique<Writer>(openWith(&Environment::NewWritableFile, index));
        case Use::Read:
            return std::make_unique<Reader>(openWith(&Environment::NewRandomAccessFile, index));
        case Use::Append:
            return openToAppend(index);
        default:
            return openToOverwrite(index);
        }
    }

protected:
    class Writer final : public Stream {
    public:
        explicit Writer(std::unique_ptr<WritableFile> file) : file_(std::move(file)) {}

        void write(const char* bytes, std::size_t count) override {
            requireOk(file_->Append(Slice(bytes, count)));
        }

    private:
        std::unique_ptr<WritableFile> file_;
    };

    EnvironmentStore(Environment* environment, const Paths& paths)
        : StringPathStore(paths), environment_(environment) {}

    Environment& environment() const { return *environment_; }

    virtual std::unique_ptr<Stream> openToAppend(PathIndex index) = 0;
    virtual std::unique_ptr<Stream> openToOverwrite(PathIndex /*index*/) { throw unsupported(); }

    /// Opens a file with a function of LevelDB's interface.
    template <class Status, class File>
    std::unique_ptr<File> openWith(Status (Environment::*function)(const std::string&, File**),
                                   PathIndex index) {
        File* file = nullptr;
        requireOk((*environment_.*function)(path(index), &file));
        return std::unique_ptr<File>(file);
    }

    /// Opens a file with a function of RocksDB's interface.
    template <class Status, class File, class Options>
    std::unique_ptr<File> openWith(Status (Environment::*function)(const std::string&, std::unique_ptr<File>*,
                                                                   const Options&),
                                   PathIndex index) {
        static const Options options;
        std::unique_ptr<File> file;
        requireOk((*environment_.*function)(path(index), &file, options));
        return file;
    }

private:
    class Reader final : public Stream {
    public:
        explicit Reader(std::unique_ptr<RandomAccessFile> file) : file_(std::move(file)) {}

        void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
            Slice read;
            requireOk(file_->Read(offset, count, &read, buffer));
            requireComplete(read, count);
        }

    private:
        std::unique_ptr<RandomAccessFile> file_;
    };

    const std::unique_ptr<Environment> environment_;
};

} // namespace storage::benchmark
