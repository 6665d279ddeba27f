#include "benchmarks/stores/Store.h"

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

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        std::memcpy(buffer, memory_ + offset, count);
    }

private:
    char* memory_;
    std::size_t position_ = 0; ///< of the next write
};

class MemcpyStore final : public Store {
public:
    explicit MemcpyStore(const Paths& paths) : files_(paths.size()) {}

    std::unique_ptr<Stream> open(PathIndex path, Use use, std::uint64_t size) override {
        if (use == Use::Create) {
            const std::size_t allocated = (size + hugePage - 1) / hugePage * hugePage;
            files_[path].reset(static_cast<char*>(std::aligned_alloc(hugePage, allocated)));
            if (!files_[path]) {
                throw std::bad_alloc();
            }
            madvise(files_[path].get(), allocated, MADV_HUGEPAGE);
        }
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
    return {"memcpy", "", {Ability::Write, Ability::OverwriteInPlace}, [](const Paths& paths) {
                return std::make_unique<MemcpyStore>(paths);
            }};
}

} // namespace storage::benchmark
