#include "benchmarks/stores/TmpfsStore.h"

#include "benchmarks/workload/FileStream.h"
#include "benchmarks/workload/FolderListing.h"
#include "benchmarks/workload/SystemCall.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace storage::benchmark {

namespace {

constexpr mode_t fileMode = 0600;

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
    std::error_code ignored; // the program cleans up what remains
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
    checked(::mkdir(paths_[path].c_str(), 0700), "tmpfs");
}

void TmpfsStore::createFile(PathIndex path) {
    checked(::mknod(paths_[path].c_str(), S_IFREG | fileMode, 0), "tmpfs");
}

std::uint64_t TmpfsStore::fileSize(PathIndex path) {
    struct stat attributes;
    checked(::stat(paths_[path].c_str(), &attributes), "tmpfs");
    return static_cast<std::uint64_t>(attributes.st_size);
}

bool TmpfsStore::exists(PathIndex path) {
    return ::access(paths_[path].c_str(), F_OK) == 0;
}

ListingSummary TmpfsStore::list(PathIndex folder) {
    return listFolder(paths_[folder].c_str());
}

void TmpfsStore::moveFile(PathIndex from, PathIndex to) {
    checked(std::rename(paths_[from].c_str(), paths_[to].c_str()), "tmpfs");
}

void TmpfsStore::moveFolder(PathIndex from, PathIndex to) {
    moveFile(from, to);
}

void TmpfsStore::removeFile(PathIndex path) {
    checked(::unlink(paths_[path].c_str()), "tmpfs");
}

void TmpfsStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    FileStream(paths_[path].c_str(), O_RDONLY).read(buffer, count);
}

void TmpfsStore::overwriteFile(PathIndex path, const char* bytes, std::size_t count) {
    FileStream(paths_[path].c_str(), O_WRONLY).write(bytes, count);
}

std::unique_ptr<Stream> TmpfsStore::createStream(PathIndex path, std::uint64_t /*size*/) {
    return std::make_unique<FileStream>(paths_[path].c_str(), O_RDWR | O_CREAT | O_TRUNC);
}

std::unique_ptr<Stream> TmpfsStore::openToOverwrite(PathIndex path) {
    return std::make_unique<FileStream>(paths_[path].c_str(), O_RDWR);
}

std::unique_ptr<Stream> TmpfsStore::openToRead(PathIndex path) {
    return std::make_unique<FileStream>(paths_[path].c_str(), O_RDONLY);
}

} // namespace storage::benchmark
