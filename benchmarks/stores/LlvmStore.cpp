#include "benchmarks/stores/Store.h"

#include <cstring>
#include <ctime>
#include <llvm/Config/llvm-config.h>
#include <llvm/Support/MemoryBuffer.h>
#include <llvm/Support/VirtualFileSystem.h>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

/// Disables the normalization of paths, because they are normalized already.
constexpr bool normalizesPaths = false;

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
        throw std::runtime_error("LLVM: incomplete read");
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

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        copy(*buffer_, offset, buffer, count);
    }

private:
    std::unique_ptr<llvm::MemoryBuffer> buffer_;
};

class LlvmStore final : public StringPathStore {
public:
    using StringPathStore::StringPathStore;

    void createFolder(PathIndex index) override { add(index, FileType::directory_file); }

    void createFile(PathIndex index) override { add(index, FileType::regular_file); }

    std::uint64_t fileSize(PathIndex index) override { return checked(files_.status(path(index))).getSize(); }

    bool exists(PathIndex index) override { return files_.exists(path(index)); }

    ListingSummary list(PathIndex folder) override {
        ListingSummary summary;
        std::error_code error;
        const std::size_t prefix = path(folder).size() + 1;
        for (auto entry = files_.dir_begin(path(folder), error); entry != llvm::vfs::directory_iterator();
             entry.increment(error)) {
            const llvm::StringRef name = entry->path().drop_front(prefix);
            summary.add(name.data(), name.size(),
                        entry->type() == FileType::directory_file ? EntryKind::Folder : EntryKind::File);
        }
        if (error) {
            throw std::system_error(error, "LLVM");
        }
        return summary;
    }

    void readFile(PathIndex index, char* buffer, std::size_t count) override {
        copy(*bufferOf(files_, path(index)), 0, buffer, count);
    }

    std::unique_ptr<Stream> open(PathIndex index, Use use, std::uint64_t size) override {
        if (use == Use::Create) {
            return std::make_unique<LlvmWriter>(files_, path(index), size);
        }
        return std::make_unique<LlvmReader>(bufferOf(files_, path(index)));
    }

private:
    using FileType = llvm::sys::fs::file_type;

    void add(PathIndex index, FileType type) {
        if (!files_.addFile(path(index), std::time(nullptr), llvm::MemoryBuffer::getMemBuffer(""), llvm::None,
                            llvm::None, type)) {
            throw std::runtime_error("LLVM: " + path(index) + ": cannot be added");
        }
    }

    llvm::vfs::InMemoryFileSystem files_{normalizesPaths};
};

} // namespace

StoreKind llvmKind() {
    return {"llvm", LLVM_VERSION_STRING, {Ability::Tree, Ability::LiveInProcess}, [](const Paths& paths) {
                return std::make_unique<LlvmStore>(paths);
            }};
}

} // namespace storage::benchmark
