#include "benchmarks/stores/StoreKind.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <sys/mman.h>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr std::size_t hugePage = 2U << 20U;

class MemcpyStream final : public Stream {
public:
    explicit MemcpyStream(char* memory) : memory_(memory) {}

    void write(const char* bytes, std::size_t count) override {
        std::memcpy(memory_ + position_, bytes, count);
        position_ += count;
    }

    void read(char* buffer, std::size_t count) override {
        std::memcpy(buffer, memory_ + position_, count);
        position_ += count;
    }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        std::memcpy(buffer, memory_ + offset, count);
    }

private:
    char* memory_;
    std::size_t position_ = 0;
};

class MemcpyStore final : public Store {
public:
    void prepare(const std::vector<std::string>& paths) override { files_.resize(paths.size()); }

    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override {
        const std::size_t allocated = (static_cast<std::size_t>(size) + hugePage - 1) / hugePage * hugePage;
        files_[path].reset(static_cast<char*>(std::aligned_alloc(hugePage, allocated)));
        if (!files_[path]) {
            throw std::bad_alloc();
        }
        madvise(files_[path].get(), allocated, MADV_HUGEPAGE);
        return std::make_unique<MemcpyStream>(files_[path].get());
    }

    std::unique_ptr<Stream> openToOverwrite(PathIndex path) override { return openToRead(path); }

    std::unique_ptr<Stream> openToRead(PathIndex path) override {
        return std::make_unique<MemcpyStream>(files_[path].get());
    }

private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };

    std::vector<std::unique_ptr<char, Free>> files_;
};

} // namespace

StoreKind memcpyKind() {
    return {"memcpy", "", {Ability::Write, Ability::OverwriteInPlace, Ability::Read}, [] {
                return std::make_unique<MemcpyStore>();
            }};
}

} // namespace storage::benchmark
