#include "benchmarks/stores/TmpfsStore.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

namespace {

constexpr mode_t fileMode = 0600;

/// Passes on the result of a system call.
template <typename Result>
Result checked(Result result) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), "tmpfs");
    }
    return result;
}

void checkComplete(ssize_t transferred, std::size_t wanted) {
    if (checked(transferred) != static_cast<ssize_t>(wanted)) {
        throw std::runtime_error("tmpfs transferred less than it was asked to");
    }
}

class TmpfsStream final : public Stream {
public:
    explicit TmpfsStream(int descriptor) : descriptor_(checked(descriptor)) {}
    ~TmpfsStream() override { ::close(descriptor_); }

    void write(const char* bytes, std::size_t count) override {
        checkComplete(::write(descriptor_, bytes, count), count);
    }
    void read(char* buffer, std::size_t count) override {
        checkComplete(::read(descriptor_, buffer, count), count);
    }
    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        checkComplete(::pread(descriptor_, buffer, count, static_cast<off_t>(offset)), count);
    }

private:
    int descriptor_;
};

} // namespace

Abilities TmpfsStore::abilities() {
    return {Ability::Create,        Ability::Attributes,
            Ability::Exists,        Ability::List,
            Ability::MoveFile,      Ability::MoveFolder,
            Ability::Remove,        Ability::ReadFile,
            Ability::OverwriteFile, Ability::Append,
            Ability::Write,         Ability::OverwriteInPlace,
            Ability::Read,          Ability::ChangeTreeInThreads};
}

TmpfsStore::TmpfsStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

TmpfsStore::~TmpfsStore() {
    std::error_code ignored; // the program looks after what is left
    for (const auto& entry : std::filesystem::directory_iterator(folder_, ignored)) {
        std::filesystem::remove_all(entry.path(), ignored);
    }
}

void TmpfsStore::prepare(const std::vector<std::string>& paths) {
    paths_.clear();
    paths_.reserve(paths.size());
    for (const std::string& path : paths) {
        paths_.push_back(folder_.string() + path);
    }
}

void TmpfsStore::createFolder(PathIndex path) {
    checked(::mkdir(paths_[path].c_str(), 0700));
}

void TmpfsStore::createFile(PathIndex path) {
    checked(::mknod(paths_[path].c_str(), S_IFREG | fileMode, 0));
}

std::uint64_t TmpfsStore::fileSize(PathIndex path) {
    struct stat attributes;
    checked(::stat(paths_[path].c_str(), &attributes));
    return static_cast<std::uint64_t>(attributes.st_size);
}

bool TmpfsStore::exists(PathIndex path) {
    return ::access(paths_[path].c_str(), F_OK) == 0;
}

ListingSummary TmpfsStore::list(PathIndex folder) {
    ListingSummary summary;
    DIR* const listing = ::opendir(paths_[folder].c_str());
    if (listing == nullptr) {
        throw std::system_error(errno, std::generic_category(), "tmpfs");
    }
    while (const dirent* const entry = ::readdir(listing)) {
        const std::size_t length = std::strlen(entry->d_name);
        if (entry->d_name[0] == '.' && length <= 2) {
            continue;
        }
        summary.add(entry->d_name, length, entry->d_type == DT_DIR ? EntryKind::Folder : EntryKind::File);
    }
    ::closedir(listing);
    return summary;
}

void TmpfsStore::moveFile(PathIndex from, PathIndex to) {
    checked(std::rename(paths_[from].c_str(), paths_[to].c_str()));
}

void TmpfsStore::moveFolder(PathIndex from, PathIndex to) {
    moveFile(from, to);
}

void TmpfsStore::removeFile(PathIndex path) {
    checked(::unlink(paths_[path].c_str()));
}

void TmpfsStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    const int descriptor = checked(::open(paths_[path].c_str(), O_RDONLY));
    const ssize_t transferred = ::read(descriptor, buffer, count);
    ::close(descriptor);
    checkComplete(transferred, count);
}

void TmpfsStore::overwriteFile(PathIndex path, const char* bytes, std::size_t count) {
    const int descriptor = checked(::open(paths_[path].c_str(), O_WRONLY));
    const ssize_t transferred = ::write(descriptor, bytes, count);
    ::close(descriptor);
    checkComplete(transferred, count);
}

std::unique_ptr<Stream> TmpfsStore::createStream(PathIndex path, std::uint64_t /*size*/) {
    return std::make_unique<TmpfsStream>(::open(paths_[path].c_str(), O_RDWR | O_CREAT | O_TRUNC, fileMode));
}

std::unique_ptr<Stream> TmpfsStore::openToOverwrite(PathIndex path) {
    return std::make_unique<TmpfsStream>(::open(paths_[path].c_str(), O_RDWR));
}

std::unique_ptr<Stream> TmpfsStore::openToRead(PathIndex path) {
    return std::make_unique<TmpfsStream>(::open(paths_[path].c_str(), O_RDONLY));
}

} // namespace storage::benchmark
