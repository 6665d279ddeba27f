#include "host/session/Session.h"

#include "host/console/DiagnosisScope.h"
#include "host/support/CommandError.h"
#include "host/support/Utf.h"

#include <algorithm>
#include <fmt/format.h>

namespace storage::host {

Session::Storages Session::makeStorages(const std::vector<NamedProvider>& providers) {
    Storages storages;
    storages.reserve(providers.size());
    for (const auto& [name, provider] : providers) {
        StoragePath::StorageName displayName;
        if (providers.size() > 1) {
            displayName = std::make_shared<const std::u16string>(toUtf16(name));
        }
        storages.push_back(std::make_unique<SessionStorage>(name, provider, StoragePath(displayName)));
    }
    return storages;
}

Session::Session(const std::vector<NamedProvider>& providers, Console& console)
    : storages_(makeStorages(providers)), console_(console), currentFolder_(storages_.front()->root()) {}

SessionStorage& Session::storageOf(const StoragePath& path) const {
    const auto found = std::find_if(storages_.begin(), storages_.end(), [&](const auto& storage) {
        return storage->root().storage() == path.storage();
    });
    return **found;
}

std::size_t Session::prefixLength(std::string_view word) const noexcept {
    const std::size_t end = word.find_first_of(":/");
    const bool isPrefix =
        !storages_.front()->name().empty() && end != std::string_view::npos && word[end] == ':';
    return isPrefix ? end + 1 : 0;
}

StoragePath Session::resolve(std::string_view word) const {
    if (word.empty()) {
        throw CommandError("''", "empty path");
    }
    const std::size_t prefix = prefixLength(word);
    if (prefix == 0) {
        return StoragePath::resolve(currentFolder_, toUtf16(word));
    }
    return StoragePath::resolve(selected(word, word.substr(0, prefix - 1)).root(),
                                toUtf16(word.substr(prefix)));
}

const SessionStorage& Session::selected(std::string_view word, std::string_view name) const {
    std::string known;
    for (const auto& storage : storages_) {
        if (storage->name() == name) {
            return *storage;
        }
        known += (known.empty() ? "" : ", ") + storage->name();
    }
    throw CommandError(
        std::string(word),
        fmt::format("no storage named '{}'; storages are {}; give a path that contains a colon as ./{}", name,
                    known, word));
}

void Session::attempt(const std::string& word, const std::function<void(const StoragePath& path)>& step) {
    const DiagnosisScope outer(console_, storageOf(currentFolder_).diagnosis());
    console_.attempt(word, [&] {
        const StoragePath path = resolve(word);
        console_.setDiagnosis(storageOf(path).diagnosis());
        step(path);
    });
}

} // namespace storage::host
