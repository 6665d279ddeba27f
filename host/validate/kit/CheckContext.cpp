#include "host/validate/kit/CheckContext.h"

#include <fmt/format.h>

namespace storage::host {

namespace {

constexpr std::u16string_view ownFolder = u"/qzstorage-validate-";

/// No two checks have the same, on whichever machines: one that ended early leaves its folder in a storage that keeps
/// its content.
std::u16string folderOfItsOwn() {
    std::random_device random;
    const std::string number = fmt::format("{:08x}{:08x}", random(), random());
    return std::u16string(ownFolder).append(number.begin(), number.end());
}

} // namespace

CheckContext::CheckContext(const std::string& plugin, Profile profile, std::uint64_t seed)
    : library_(plugin), profile_(profile), random_(seed) {}

CheckContext::~CheckContext() {
    try {
        if (!folder_.empty()) {
            (*provider_)->doRemoveFolderRecursively(StorageIRI(folder_));
        }
    } catch (...) { // the check has its result, and a broken provider may not be able to remove
    }
}

const CheckContext::IProvider& CheckContext::provider() {
    if (!provider_) {
        makeFolder();
    }
    return **provider_;
}

CheckContext::StorageIRI CheckContext::at(std::u16string_view path) {
    if (!provider_) {
        makeFolder();
    }
    return StorageIRI(path.empty() ? folder_ : folder_ + u"/" + std::u16string(path));
}

void CheckContext::makeFolder() {
    provider_.emplace(library_.buildProvider());
    std::u16string folder = folderOfItsOwn();
    (*provider_)->doCreateFolder(StorageIRI(folder));
    folder_ = std::move(folder);
}

} // namespace storage::host
