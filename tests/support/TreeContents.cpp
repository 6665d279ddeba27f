#include "tests/support/TreeContents.h"

#include "host/support/Utf.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>

namespace fs = std::filesystem;

TreeContents contentsOf(const TreeSnapshot& tree) {
    TreeContents contents;
    for (const auto& [path, entry] : tree) {
        if (path.size() > 1) {
            contents[storage::host::printable(path) + (entry.isFolder() ? "/" : "")] =
                entry.isFolder() ? "folder" : entry.bytes;
        }
    }
    return contents;
}

TreeContents contentsOf(const std::string& diskFolder) {
    TreeContents contents;
    if (!fs::exists(diskFolder)) {
        return contents;
    }
    for (const auto& entry : fs::recursive_directory_iterator(diskFolder)) {
        const std::string path = entry.path().string().substr(diskFolder.size());
        if (entry.is_directory() && !entry.is_symlink()) {
            contents[path + '/'] = "folder";
        } else if (entry.is_regular_file() && !entry.is_symlink()) {
            contents[path] = readFile(entry.path());
        }
    }
    return contents;
}
