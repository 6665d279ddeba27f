#include "benchmarks/stores/Store.h"

#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/FolderListing.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace storage::benchmark {

namespace {

constexpr mode_t fileMode = 0600;

class TmpfsStore final : public Store {
public:
    TmpfsStore(std::filesystem::path folder, const Paths& paths) : folder_(std::move(folder)) {
        for (const std::string& path : paths) {
            paths_.push_back(folder_.string() + path);
        }
    }

    /// Empties the folder. After an error, the caller removes the remaining entries.
    ~TmpfsStore() override {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(folder_, ignored)) {
            std::filesystem::remove_all(entry.path(), ignored);
        }
    }

    void createFolder(PathIndex path) override { checked(::mkdir(paths_[path].c_str(), 0700), "tmpfs"); }

    void createFile(PathIndex path) override {
        checked(::mknod(paths_[path].c_str(), S_IFREG | fileMode, 0), "tmpfs");
    }

    std::uint64_t fileSize(PathIndex path) override {
        struct stat attributes;
        checked(::stat(paths_[path].c_str(), &attributes), "tmpfs");
        return static_cast<std::uint64_t>(attributes.st_size);
    }

    bool exists(PathIndex path) override { return ::access(paths_[path].c_str(), F_OK) == 0; }

    ListingSummary list(PathIndex folder) override { return listFolder(paths_[folder].c_str()); }

    void moveFile(PathIndex from, PathIndex to) override {
        checked(std::rename(paths_[from].c_str(), paths_[to].c_str()), "tmpfs");
    }

    void moveFolder(PathIndex from, PathIndex to) override { moveFile(from, to); }

    void removeFile(PathIndex path) override { checked(::unlink(paths_[path].c_str()), "tmpfs"); }

    void readFile(PathIndex path, char* buffer, std::size_t count) override {
        FileStream(paths_[path].c_str(), O_RDONLY).read(buffer, count);
    }

    void overwriteFile(PathIndex path, const char* bytes, std::size_t count) override {
        FileStream(paths_[path].c_str(), O_WRONLY).write(bytes, count);
    }

    std::unique_ptr<Stream> open(PathIndex path, Use use, std::uint64_t /*size*/) override {
        return std::make_unique<FileStream>(paths_[path].c_str(), flagsOf(use));
    }

private:
    static int flagsOf(Use use) {
        switch (use) {
        case Use::Create:
            return O_RDWR | O_CREAT | O_TRUNC;
        case Use::Overwrite:
            return O_RDWR;
        case Use::Append:
            return O_WRONLY | O_APPEND;
        default:
            return O_RDONLY;
        }
    }

    std::filesystem::path folder_;
    Paths paths_;
};

} // namespace

StoreKind tmpfsKind(const std::filesystem::path& folder) {
    utsname names{};
    ::uname(&names);
    return {
        "tmpfs",
        std::string(names.sysname) + ' ' + names.release,
        {Ability::Tree, Ability::ChangeFiles, Ability::MoveFolder, Ability::Write, Ability::OverwriteInPlace},
        [folder](const Paths& paths) { return std::make_unique<TmpfsStore>(folder, paths); }};
}

} // namespace storage::benchmark
