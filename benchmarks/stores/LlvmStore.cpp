#include "benchmarks/stores/LlvmStore.h"

#include <cstring>
#include <ctime>
#include <llvm/Config/llvm-config.h>
#include <llvm/Support/MemoryBuffer.h>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace storage::benchmark {

namespace {

/// Paths are already normalized, so the file system does not search them for dots.
constexpr bool normalizedPaths = false;

std::runtime_error failure(const std::string& path) {
    return std::runtime_error("LLVM: " + path);
}

template <typename Value>
Value checked(llvm::ErrorOr<Value> value) {
    if (!value) {
        throw std::system_error(value.getError(), "LLVM");
    }
    return std::move(*value);
}

/// The content of a file, without a copy.
std::unique_ptr<llvm::MemoryBuffer> bufferOf(llvm::vfs::FileSystem& files, const std::string& path) {
    const std::unique_ptr<llvm::vfs::File> file = checked(files.openFileForRead(path));
    return checked(file->getBuffer(path));
}

void copy(const llvm::MemoryBuffer& from, std::uint64_t offset, char* buffer, std::size_t count) {
    if (offset + count > from.getBufferSize()) {
        throw std::runtime_error("LLVM has less than was to be read");
    }
    std::memcpy(buffer, from.getBufferStart() + offset, count);
}

/// Buffers the bytes of a file. The destructor adds the file.
class LlvmWriter final : public Stream {
public:
    LlvmWriter(llvm::vfs::InMemoryFileSystem& files, const std::string& path, std::uint64_t size)
        : files_(files),
          path_(path),
          buffer_(llvm::WritableMemoryBuffer::getNewUninitMemBuffer(static_cast<std::size_t>(size))) {}
    ~LlvmWriter() override { files_.addFile(path_, std::time(nullptr), std::move(buffer_)); }

    void write(const char* bytes, std::size_t count) override {
        std::memcpy(buffer_->getBufferStart() + position_, bytes, count);
        position_ += count;
    }

private:
    llvm::vfs::InMemoryFileSystem& files_;
    const std::string& path_;
    std::unique_ptr<llvm::WritableMemoryBuffer> buffer_;
    std::size_t position_ = 0;
};

class LlvmReader final : public Stream {
public:
    explicit LlvmReader(std::unique_ptr<llvm::MemoryBuffer> buffer) : buffer_(std::move(buffer)) {}

    void read(char* buffer, std::size_t count) override {
        copy(*buffer_, position_, buffer, count);
        position_ += count;
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        copy(*buffer_, offset, buffer, count);
    }

private:
    std::unique_ptr<llvm::MemoryBuffer> buffer_;
    std::uint64_t position_ = 0;
};

} // namespace

Abilities LlvmStore::abilities() {
    return {Ability::Create,   Ability::Attributes, Ability::Exists,       Ability::List,
            Ability::ReadFile, Ability::Read,       Ability::LiveInProcess};
}

std::string LlvmStore::version() {
    return LLVM_VERSION_STRING;
}

LlvmStore::LlvmStore() : files_(normalizedPaths) {}

void LlvmStore::prepare(const std::vector<std::string>& paths) {
    paths_ = paths;
}

void LlvmStore::createFolder(PathIndex path) {
    if (!files_.addFile(paths_[path], std::time(nullptr), llvm::MemoryBuffer::getMemBuffer(""), llvm::None,
                        llvm::None, llvm::sys::fs::file_type::directory_file)) {
        throw failure(paths_[path]);
    }
}

void LlvmStore::createFile(PathIndex path) {
    if (!files_.addFile(paths_[path], std::time(nullptr), llvm::MemoryBuffer::getMemBuffer(""))) {
        throw failure(paths_[path]);
    }
}

std::uint64_t LlvmStore::fileSize(PathIndex path) {
    return checked(files_.status(paths_[path])).getSize();
}

bool LlvmStore::exists(PathIndex path) {
    return files_.exists(paths_[path]);
}

ListingSummary LlvmStore::list(PathIndex folder) {
    ListingSummary summary;
    std::error_code error;
    const std::size_t prefix = paths_[folder].size() + 1;
    for (auto entry = files_.dir_begin(paths_[folder], error); entry != llvm::vfs::directory_iterator();
         entry.increment(error)) {
        const llvm::StringRef name = entry->path().drop_front(prefix);
        summary.add(name.data(), name.size(),
                    entry->type() == llvm::sys::fs::file_type::directory_file ? EntryKind::Folder
                                                                              : EntryKind::File);
    }
    if (error) {
        throw std::system_error(error, "LLVM");
    }
    return summary;
}

void LlvmStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    copy(*bufferOf(files_, paths_[path]), 0, buffer, count);
}

std::unique_ptr<Stream> LlvmStore::createStream(PathIndex path, std::uint64_t size) {
    return std::make_unique<LlvmWriter>(files_, paths_[path], size);
}

std::unique_ptr<Stream> LlvmStore::openToRead(PathIndex path) {
    return std::make_unique<LlvmReader>(bufferOf(files_, paths_[path]));
}

} // namespace storage::benchmark
