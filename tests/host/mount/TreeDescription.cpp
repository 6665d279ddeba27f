#include "tests/host/mount/TreeDescription.h"

#include "host/support/FileTime.h"
#include "host/support/Utf.h"
#include "tests/support/TreeSnapshot.h"

#include <ostream>

using foundation::storage::provider::IProvider;
using foundation::storage::provider::StorageIRI;

void PrintTo(const EntryDescription& entry, std::ostream* out) {
    constexpr std::size_t shown = 100;
    *out << (entry.isWritable ? "writable " : "read-only ") << entry.modified << ' ' << entry.content.size()
         << " bytes \"" << storage::host::printable(entry.content.substr(0, shown)) << '"';
}

TreeDescription describe(const IProvider& provider) {
    TreeDescription tree;
    TreeSnapshot snapshot = snapshotOf(provider);
    snapshot["/"] = "folder";
    for (const auto& [path, content] : snapshot) {
        const bool isBelow = path.size() > 1;
        const std::string name =
            path.substr(0, isBelow && path.ends_with('/') ? path.size() - 1 : path.size());
        const auto attributes =
            provider.doGetExtendedAttributes(StorageIRI(storage::host::toUtf16(name).value()));
        tree[path] = {content, storage::host::formatMicroseconds(attributes.lastModified),
                      attributes.writable};
    }
    return tree;
}

TreeDescription withoutTimes(TreeDescription tree) {
    for (auto& [path, entry] : tree) {
        entry.modified.clear();
    }
    return tree;
}
