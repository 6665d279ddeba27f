#include "hostapi/storage/provider/ByteStream.h"
#include "hostapi/storage/provider/IClonableFolderEntryIterator.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/SystemError.h"

#include <boost/locale/encoding_utf.hpp>

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

// A plug-in that stores its files in a folder on disk, for tests with a second kind of provider. The
// environment variable QZSTORAGE_DISK_ROOT is the path of the folder. It is read when the provider is
// created.

using namespace foundation::storage::provider;

namespace {

using boost::posix_time::ptime;

ptime epoch() {
    return ptime(boost::gregorian::date(1970, 1, 1));
}

void check(int result, const StorageIRI& iri) {
    if (result < 0) {
        throwSystemError(errno, iri);
    }
}

/// An open file. Owns the descriptor.
class DiskStream final : public ByteStream {
public:
    DiskStream(int descriptor, StorageIRI iri) : descriptor_(descriptor), iri_(std::move(iri)) {}
    ~DiskStream() override { ::close(descriptor_); }

    long read(char* buffer, long count) override {
        const ssize_t done = ::read(descriptor_, buffer, static_cast<std::size_t>(count));
        check(done < 0 ? -1 : 0, iri_);
        return done;
    }
    long write(const char* buffer, long count) override {
        const ssize_t done = ::write(descriptor_, buffer, static_cast<std::size_t>(count));
        check(done < 0 ? -1 : 0, iri_);
        return done;
    }
    std::streampos seek(long offset, std::ios_base::seekdir direction) override {
        const int whence = direction == std::ios_base::beg   ? SEEK_SET
                           : direction == std::ios_base::cur ? SEEK_CUR
                                                             : SEEK_END;
        return ::lseek(descriptor_, offset, whence);
    }
    void flush() override {}

private:
    const int descriptor_;
    const StorageIRI iri_;
};

class DiskListing final : public IClonableFolderEntryIterator<DiskListing> {
public:
    explicit DiskListing(std::vector<FolderEntry> entries) : entries_(std::move(entries)) {}

    FolderEntry getEntry() const override { return entries_.at(steps_ - 1); }
    bool hasNext() const override { return steps_ < entries_.size(); }
    void step() override { ++steps_; }

private:
    std::vector<FolderEntry> entries_;
    std::size_t steps_ = 0;
};

class DiskProvider final : public IProvider {
public:
    explicit DiskProvider(std::string root) : root_(std::move(root)) {}

    void doCreateFile(const StorageIRI& iri) const override {
        requireWritableParent(iri);
        const int file = ::open(pathOf(iri).c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        check(file, iri);
        ::close(file);
    }
    void doCreateFolder(const StorageIRI& iri) const override {
        requireWritableParent(iri);
        check(::mkdir(pathOf(iri).c_str(), 0777), iri);
    }
    bool doFileExists(const StorageIRI& iri) const override { return isOfType(iri, S_IFREG); }
    bool doFolderExists(const StorageIRI& iri) const override { return isOfType(iri, S_IFDIR); }
    void doRemoveFile(const StorageIRI& iri) const override {
        requireWritable(iri, S_IFREG);
        requireWritableParent(iri);
        check(::unlink(pathOf(iri).c_str()), iri);
    }
    void doRemoveFolder(const StorageIRI& iri) const override {
        requireWritable(iri, S_IFDIR);
        requireWritableParent(iri);
        check(::rmdir(pathOf(iri).c_str()), iri);
    }
    void doMoveFile(const StorageIRI& from, const StorageIRI& to,
                    const ReplacementPolicy& policy) const override {
        move(from, to, S_IFREG, policy);
    }
    void doMoveFolder(const StorageIRI& from, const StorageIRI& to,
                      const ReplacementPolicy& policy) const override {
        move(from, to, S_IFDIR, policy);
    }
    FileAttributes doGetFileAttributes(const StorageIRI& iri) const override {
        const struct stat status = statusOf(iri, S_IFREG);
        return FileAttributes(static_cast<unsigned long>(status.st_size), timeOf(status), isWritable(status));
    }
    FolderAttributes doGetFolderAttributes(const StorageIRI& iri) const override {
        const struct stat status = statusOf(iri, S_IFDIR);
        return FolderAttributes(timeOf(status), isWritable(status));
    }
    std::unique_ptr<ByteStream> doOpenStream(const StorageIRI& iri,
                                             const ByteStreamOpenOptions& options) const override {
        if (doFileExists(iri)) {
            requireWritable(iri, S_IFREG);
        } else if (options.existence == ByteStreamExistence::MustExist) {
            throw Exception(ErrorCode::NotFound, iri);
        } else {
            requireWritableParent(iri);
        }
        const int append = options.append == ByteStreamAppend::AppendAtEnd ? O_APPEND : 0;
        const int empty = options.content == ByteStreamContent::Empty ? O_TRUNC : 0;
        return open(iri, O_RDWR | O_CREAT | append | empty);
    }
    std::unique_ptr<ByteStream> doOpenReadOnlyStream(const StorageIRI& iri) const override {
        statusOf(iri, S_IFREG);
        return open(iri, O_RDONLY);
    }
    std::unique_ptr<IFolderEntryIterator> doListAll(const StorageIRI& iri) const override {
        return list(iri, [](FolderEntry::EntryType) { return true; });
    }
    std::unique_ptr<IFolderEntryIterator> doListFiles(const StorageIRI& iri) const override {
        return list(iri, [](FolderEntry::EntryType type) { return type == FolderEntry::EntryType::File; });
    }
    std::unique_ptr<IFolderEntryIterator> doListFolders(const StorageIRI& iri) const override {
        return list(iri, [](FolderEntry::EntryType type) { return type == FolderEntry::EntryType::Folder; });
    }
    void doSetLastModified(const StorageIRI& iri, const ptime& time) const override {
        const long micros = (time - epoch()).total_microseconds();
        const timespec times[2] = {{0, UTIME_OMIT}, {micros / 1000000, micros % 1000000 * 1000}};
        check(::utimensat(AT_FDCWD, pathOf(iri).c_str(), times, 0), iri);
    }
    void doSetWritable(const StorageIRI& iri, bool writable) const override {
        struct stat status {};
        check(::stat(pathOf(iri).c_str(), &status), iri);
        const mode_t mode = writable ? status.st_mode | S_IWUSR : status.st_mode & ~0222U;
        check(::chmod(pathOf(iri).c_str(), mode & 07777U), iri);
    }
    bool doHasFeature(const ExtendedFeature&) const override { return false; }

private:
    std::string pathOf(const StorageIRI& iri) const {
        const std::u16string& path = iri.getResolvedPath();
        return root_ + '/' + boost::locale::conv::utf_to_utf<char>(path.data(), path.data() + path.size());
    }

    bool isOfType(const StorageIRI& iri, mode_t type) const {
        struct stat status {};
        return ::stat(pathOf(iri).c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type;
    }

    struct stat statusOf(const StorageIRI& iri, mode_t type) const {
        struct stat status {};
        check(::stat(pathOf(iri).c_str(), &status), iri);
        if ((status.st_mode & S_IFMT) != type) {
            throw Exception(ErrorCode::NotFound, iri);
        }
        return status;
    }

    static bool isWritable(const struct stat& status) { return (status.st_mode & S_IWUSR) != 0; }

    static ptime timeOf(const struct stat& status) {
        return epoch() + boost::posix_time::seconds(status.st_mtim.tv_sec) +
               boost::posix_time::microseconds(status.st_mtim.tv_nsec / 1000);
    }

    void requireWritable(const StorageIRI& iri, mode_t type) const {
        if (!isWritable(statusOf(iri, type))) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
    }

    void requireWritableParent(const StorageIRI& iri) const {
        std::string path = pathOf(iri);
        path.resize(path.rfind('/') + 1);
        struct stat status {};
        check(::stat(path.c_str(), &status), iri);
        if (!isWritable(status)) {
            throw Exception(ErrorCode::ReadOnly, iri);
        }
    }

    void move(const StorageIRI& from, const StorageIRI& to, mode_t type,
              const ReplacementPolicy& policy) const {
        statusOf(from, type);
        requireWritableParent(from);
        requireWritableParent(to);
        if (policy == ReplacementPolicy::RefuseExisting && ::access(pathOf(to).c_str(), F_OK) == 0) {
            throw Exception(ErrorCode::AlreadyExists, to);
        }
        check(::rename(pathOf(from).c_str(), pathOf(to).c_str()), to);
    }

    std::unique_ptr<ByteStream> open(const StorageIRI& iri, int flags) const {
        const int file = ::open(pathOf(iri).c_str(), flags | O_CLOEXEC, 0666);
        check(file, iri);
        return std::make_unique<DiskStream>(file, iri);
    }

    template <typename Wanted>
    std::unique_ptr<IFolderEntryIterator> list(const StorageIRI& iri, Wanted wanted) const {
        DIR* const folder = ::opendir(pathOf(iri).c_str());
        check(folder == nullptr ? -1 : 0, iri);
        std::vector<FolderEntry> entries;
        while (const dirent* const entry =
                   ::readdir(folder)) { // NOLINT(concurrency-mt-unsafe): its own stream
            const std::string name = entry->d_name;
            const auto type =
                entry->d_type == DT_DIR ? FolderEntry::EntryType::Folder : FolderEntry::EntryType::File;
            if (name != "." && name != ".." && wanted(type)) {
                entries.emplace_back(boost::locale::conv::utf_to_utf<char16_t>(name), type);
            }
        }
        ::closedir(folder);
        return std::make_unique<DiskListing>(std::move(entries));
    }

    const std::string root_;
};

} // namespace

extern "C" __attribute__((visibility("default"))) void
buildProvider_V1(std::shared_ptr<IProvider>* provider) {
    const char* const root =
        std::getenv("QZSTORAGE_DISK_ROOT"); // NOLINT(concurrency-mt-unsafe): hosts promise it
    if (root == nullptr) {
        throw std::runtime_error("QZSTORAGE_DISK_ROOT is not set");
    }
    *provider = std::make_shared<DiskProvider>(root);
}
