#include "host/validate/CheckContext.h"

#include <unistd.h>

namespace storage::host {

namespace {

constexpr std::u16string_view ownFolder = u"/qzstorage-validate-";

std::u16string digits(long number) {
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

} // namespace

CheckContext::CheckContext(const std::string& plugin, Profile profile, std::uint64_t seed)
    : library_(plugin), profile_(profile), random_(seed) {}

CheckContext::~CheckContext() {
    try {
        if (!folder_.empty()) {
            provider_->doRemoveFolderRecursively(StorageIRI(folder_));
        }
    } catch (...) { // the check has its result, and a broken provider may not be able to remove
    }
}

const CheckContext::IProvider& CheckContext::provider() {
    if (!provider_) {
        makeFolder();
    }
    return *provider_;
}

CheckContext::StorageIRI CheckContext::at(std::u16string_view path) {
    if (!provider_) {
        makeFolder();
    }
    return StorageIRI(path.empty() ? folder_ : folder_ + u"/" + std::u16string(path));
}

void CheckContext::makeFolder() {
    provider_ = library_.buildProvider();
    std::u16string folder = std::u16string(ownFolder) + digits(::getpid());
    provider_->doCreateFolder(StorageIRI(folder));
    folder_ = std::move(folder);
}

} // namespace storage::host
