#include "host/validate/kit/CheckContext.h"

#include "host/validate/kit/TracedProvider.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::u16string_view folderPrefix = u"/qzstorage-validate-";

/// Unique across machines, because a check that is killed leaves its folder in a persistent storage.
std::u16string uniqueFolder() {
    std::random_device random;
    const std::string number = fmt::format("{:08x}{:08x}", random(), random());
    return std::u16string(folderPrefix).append(number.begin(), number.end());
}

} // namespace

CheckContext::CheckContext(const std::string& plugin, Profile profile, std::uint64_t seed,
                           const OperationTrace& trace)
    : library_(plugin), profile_(profile), random_(seed), trace_(trace) {}

CheckContext::~CheckContext() {
    try {
        if (!folder_.empty()) {
            provider_->doRemoveFolderRecursively(StorageIRI(folder_));
        }
    } catch (...) { // the check has its result, and a broken provider may be unable to remove the folder
    }
}

void CheckContext::close() {
    provider_->doRemoveFolderRecursively(StorageIRI(folder_));
    folder_.clear();
    provider_->doShutdown();
    provider_.reset();
    loaded_.reset();
}

const CheckContext::IProvider& CheckContext::provider() {
    if (!provider_) {
        makeFolder();
    }
    return *provider_;
}

CheckContext::StorageIRI CheckContext::at(std::u16string_view path) {
    provider();
    return StorageIRI(path.empty() ? folder_ : folder_ + u"/" + std::u16string(path));
}

void CheckContext::makeFolder() {
    {
        const OperationTrace::Call call(trace_, "buildProvider_V1", {});
        loaded_.emplace(library_.buildProvider());
    }
    provider_ = tracedProvider(**loaded_, trace_);
    std::u16string folder = uniqueFolder();
    provider_->doCreateFolder(StorageIRI(folder));
    folder_ = std::move(folder);
}

} // namespace storage::host
