#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"

#include <filesystem>
#include <string>
#include <vector>

namespace storage::benchmark {

/// A folder on a tmpfs, used with as few system calls as possible. The destructor empties it.
class TmpfsStore final : public Store {
public:
    static Abilities abilities();

    /// @param folder  empty, not used by others
    explicit TmpfsStore(std::filesystem::path folder);
    ~TmpfsStore() override;

    void prepare(const std::vector<std::string>& paths) override;
    void createFolder(PathIndex path) override;
    void createFile(PathIndex path) override;
    std::uint64_t fileSize(PathIndex path) override;
    bool exists(PathIndex path) override;
    ListingSummary list(PathIndex folder) override;
    void moveFile(PathIndex from, PathIndex to) override;
    void moveFolder(PathIndex from, PathIndex to) override;
    void removeFile(PathIndex path) override;
    void readFile(PathIndex path, char* buffer, std::size_t count) override;
    void overwriteFile(PathIndex path, const char* bytes, std::size_t count) override;
    std::unique_ptr<Stream> createStream(PathIndex path, std::uint64_t size) override;
    std::unique_ptr<Stream> openToOverwrite(PathIndex path) override;
    std::unique_ptr<Stream> openToRead(PathIndex path) override;

private:
    std::filesystem::path folder_;
    std::vector<std::string> paths_;
};

} // namespace storage::benchmark
