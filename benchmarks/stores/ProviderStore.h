#pragma once

#include "benchmarks/stores/Ability.h"
#include "benchmarks/stores/Store.h"
#include "hostapi/storage/provider/IProvider.h"
#include "hostapi/storage/provider/ProviderEntryPoint.h"
#include "hostapi/storage/provider/StorageIRI.h"

#include <memory>
#include <vector>

namespace storage::benchmark {

/// A provider of a plug-in, used as a host uses it. The plug-in stays loaded until the process ends.
class ProviderStore final : public Store {
public:
    static Abilities abilities();

    /// The plug-in that was built together with this program.
    static std::string defaultPlugin();

    /// Loads a plug-in.
    /// @throws std::runtime_error
    static foundation::storage::provider::ProviderEntryPoint* load(const std::string& plugin);

    explicit ProviderStore(foundation::storage::provider::ProviderEntryPoint* buildProvider);

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
    std::shared_ptr<foundation::storage::provider::IProvider> provider_;
    std::vector<foundation::storage::provider::StorageIRI> paths_;
};

} // namespace storage::benchmark
