#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <llvm/ADT/IntrusiveRefCntPtr.h>
#include <llvm/Support/VirtualFileSystem.h>
#include <string>
#include <vector>

namespace storage::benchmark {

/// LLVM's in-memory file system: nested maps of names. Not thread-safe. Files are added as a whole and are
/// then read-only.
class LlvmStore final : public Store {
public:
    static Abilities abilities();
    static std::string version();

    LlvmStore();

    void prepare(const std::vector<std::string>& paths) override;
    void createFolder(PathIndex path) override;
    void createFile(PathIndex path) override;
    std::uint64_t fileSize(PathIndex path) override;
    bool exists(PathIndex path) override;
    ListingSummary list(PathIndex folder) override;
    void readFile(PathIndex path, char* buffer, std::size_t count) override;
    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override;
    std::unique_ptr<Stream> openToRead(PathIndex path) override;

private:
    llvm::vfs::InMemoryFileSystem files_;
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
