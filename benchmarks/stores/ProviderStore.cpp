#include "benchmarks/stores/ProviderStore.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"

#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace storage::benchmark {

using namespace foundation::storage::provider;

namespace {

constexpr ByteStreamOpenOptions toMake{0, ByteStreamExistence::CreateIfMissing, ByteStreamContent::Empty,
                                       ByteStreamAppend::WriteAtPosition};
constexpr ByteStreamOpenOptions toOverwrite{0, ByteStreamExistence::MustExist, ByteStreamContent::Keep,
                                            ByteStreamAppend::WriteAtPosition};

class ProviderStream final : public Stream {
public:
    explicit ProviderStream(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {}

    void write(const char* bytes, std::size_t count) override { writeAll(*stream_, {bytes, count}); }
    void read(char* buffer, std::size_t count) override { readExactly(*stream_, buffer, count); }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        if (stream_->seek(static_cast<long>(offset), std::ios_base::beg) < 0) {
            throw std::runtime_error("the plug-in cannot seek to where bytes are");
        }
        readExactly(*stream_, buffer, count);
    }

private:
    std::unique_ptr<ByteStream> stream_;
};

} // namespace

Abilities ProviderStore::abilities() {
    return {Ability::Create,        Ability::Attributes,
            Ability::Exists,        Ability::List,
            Ability::MoveFile,      Ability::MoveFolder,
            Ability::Remove,        Ability::ReadFile,
            Ability::OverwriteFile, Ability::Append,
            Ability::Write,         Ability::OverwriteInPlace,
            Ability::Read,          Ability::ChangeTreeInThreads,
            Ability::LiveInProcess};
}

std::string ProviderStore::defaultPlugin() {
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return (folder / QZSTORAGE_DEFAULT_PLUGIN).lexically_normal();
}

ProviderEntryPoint* ProviderStore::load(const std::string& plugin) {
    void* const library = ::dlopen(std::filesystem::absolute(plugin).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entryPoint = library == nullptr ? nullptr : ::dlsym(library, providerEntryPointName);
    if (entryPoint == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    return reinterpret_cast<ProviderEntryPoint*>(entryPoint);
}

ProviderStore::ProviderStore(ProviderEntryPoint* buildProvider) {
    buildProvider(&provider_);
}

void ProviderStore::prepare(const std::vector<std::string>& paths) {
    paths_.clear();
    paths_.reserve(paths.size());
    for (const std::string& path : paths) {
        paths_.emplace_back(std::u16string(path.begin(), path.end()));
    }
}

void ProviderStore::createFolder(PathIndex path) {
    provider_->doCreateFolder(paths_[path]);
}

void ProviderStore::createFile(PathIndex path) {
    provider_->doCreateFile(paths_[path]);
}

std::uint64_t ProviderStore::fileSize(PathIndex path) {
    return provider_->doGetFileAttributes(paths_[path]).getSize();
}

bool ProviderStore::exists(PathIndex path) {
    return provider_->doFileExists(paths_[path]);
}

ListingSummary ProviderStore::list(PathIndex folder) {
    ListingSummary summary;
    const auto listing = provider_->doListAll(paths_[folder]);
    while (listing->hasNext()) {
        listing->step();
        const FolderEntry entry = listing->getEntry();
        summary.add(entry.getName().data(), entry.getName().size(),
                    entry.getType() == FolderEntry::EntryType::Folder ? EntryKind::Folder : EntryKind::File);
    }
    return summary;
}

void ProviderStore::moveFile(PathIndex from, PathIndex to) {
    provider_->doMoveFile(paths_[from], paths_[to], ReplacementPolicy::RefuseExisting);
}

void ProviderStore::moveFolder(PathIndex from, PathIndex to) {
    provider_->doMoveFolder(paths_[from], paths_[to], ReplacementPolicy::RefuseExisting);
}

void ProviderStore::removeFile(PathIndex path) {
    provider_->doRemoveFile(paths_[path]);
}

void ProviderStore::readFile(PathIndex path, char* buffer, std::size_t count) {
    readExactly(*provider_->doOpenReadOnlyStream(paths_[path]), buffer, count);
}

void ProviderStore::overwriteFile(PathIndex path, const char* bytes, std::size_t count) {
    writeAll(*provider_->doOpenStream(paths_[path], toOverwrite), {bytes, count});
}

std::unique_ptr<Stream> ProviderStore::createStream(PathIndex path, std::uint64_t /*size*/) {
    return std::make_unique<ProviderStream>(provider_->doOpenStream(paths_[path], toMake));
}

std::unique_ptr<Stream> ProviderStore::openToOverwrite(PathIndex path) {
    return std::make_unique<ProviderStream>(provider_->doOpenStream(paths_[path], toOverwrite));
}

std::unique_ptr<Stream> ProviderStore::openToRead(PathIndex path) {
    return std::make_unique<ProviderStream>(provider_->doOpenReadOnlyStream(paths_[path]));
}

} // namespace storage::benchmark
