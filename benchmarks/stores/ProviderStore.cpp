#include "benchmarks/stores/Store.h"

#include "hostapi/storage/provider/ByteStreamTransfer.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/ShortNamespace.h"

#include <dlfcn.h>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace storage::benchmark {

using namespace provider;

namespace {

constexpr auto toMake = ByteStreamOpenOptions::createOrEmpty();
constexpr auto toOverwrite = ByteStreamOpenOptions::readWriteExisting();
constexpr ByteStreamOpenOptions toAppend{.existence = ByteStreamExistence::MustExist,
                                         .append = ByteStreamAppend::AppendAtEnd};

class ProviderStream final : public Stream {
public:
    explicit ProviderStream(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {}

    void write(const char* bytes, std::size_t count) override { writeAll(*stream_, {bytes, count}); }
    void read(char* buffer, std::size_t count) override { readExactly(*stream_, buffer, count); }

    void readAt(std::uint64_t offset, char* buffer, std::size_t count) override {
        if (stream_->seek(static_cast<long>(offset), std::ios_base::beg) < 0) {
            throw std::runtime_error("the plug-in cannot seek within a file");
        }
        readExactly(*stream_, buffer, count);
    }

private:
    std::unique_ptr<ByteStream> stream_;
};

ProviderEntryPoint* load(const char* plugin) {
    void* const library = ::dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
    void* const entryPoint = library == nullptr ? nullptr : ::dlsym(library, providerEntryPointName);
    if (entryPoint == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    return reinterpret_cast<ProviderEntryPoint*>(entryPoint);
}

class ProviderStore final : public Store {
public:
    explicit ProviderStore(const Paths& paths) {
        static auto* const buildProvider = load(QZSTORAGE_PLUGIN_PATH);
        buildProvider(&provider_);
        paths_.reserve(paths.size());
        for (const std::string& path : paths) {
            paths_.emplace_back(std::u16string(path.begin(), path.end()));
        }
    }

    void createFolder(PathIndex path) override { provider_->doCreateFolder(paths_[path]); }

    void createFile(PathIndex path) override { provider_->doCreateFile(paths_[path]); }

    std::uint64_t fileSize(PathIndex path) override {
        return provider_->doGetFileAttributes(paths_[path]).getSize();
    }

    bool exists(PathIndex path) override { return provider_->doFileExists(paths_[path]); }

    ListingSummary list(PathIndex folder) override {
        ListingSummary summary;
        const auto listing = provider_->doListAll(paths_[folder]);
        while (listing->hasNext()) {
            listing->step();
            const FolderEntry entry = listing->getEntry();
            summary.add(entry.getName().data(), entry.getName().size(),
                        entry.getType() == FolderEntry::EntryType::Folder ? EntryKind::Folder
                                                                          : EntryKind::File);
        }
        return summary;
    }

    void moveFile(PathIndex from, PathIndex to) override {
        provider_->doMoveFile(paths_[from], paths_[to], ReplacementPolicy::RefuseExisting);
    }

    void moveFolder(PathIndex from, PathIndex to) override {
        provider_->doMoveFolder(paths_[from], paths_[to], ReplacementPolicy::RefuseExisting);
    }

    void removeFile(PathIndex path) override { provider_->doRemoveFile(paths_[path]); }

    void readFile(PathIndex path, char* buffer, std::size_t count) override {
        readExactly(*provider_->doOpenReadOnlyStream(paths_[path]), buffer, count);
    }

    void overwriteFile(PathIndex path, const char* bytes, std::size_t count) override {
        writeAll(*provider_->doOpenStream(paths_[path], toOverwrite), {bytes, count});
    }

    std::unique_ptr<Stream> open(PathIndex path, Use use, std::uint64_t /*size*/) override {
        if (use == Use::Read) {
            return std::make_unique<ProviderStream>(provider_->doOpenReadOnlyStream(paths_[path]));
        }
        const auto& options = use == Use::Create ? toMake : use == Use::Append ? toAppend : toOverwrite;
        return std::make_unique<ProviderStream>(provider_->doOpenStream(paths_[path], options));
    }

private:
    std::shared_ptr<IProvider> provider_;
    std::vector<StorageIRI> paths_;
};

} // namespace

StoreKind providerKind() {
    return {"provider",
            QZSTORAGE_VERSION,
            {Ability::Tree, Ability::ChangeFiles, Ability::MoveFolder, Ability::Write,
             Ability::OverwriteInPlace, Ability::LiveInProcess},
            [](const Paths& paths) { return std::make_unique<ProviderStore>(paths); }};
}

} // namespace storage::benchmark
