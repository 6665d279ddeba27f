#include "host/disk/DiskPath.h"

#include "host/support/CommandError.h"

namespace storage::host {

std::string diskChild(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

std::string diskOperand(const std::string& word) {
    if (word.empty()) {
        throw CommandError("''", "empty path");
    }
    if (word.find('\0') != std::string::npos) {
        throw CommandError(word, "a path on disk cannot contain NUL");
    }
    const std::size_t end = word.find_last_not_of('/');
    return end == std::string::npos ? "/" : word.substr(0, end + 1);
}

std::string diskName(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return name == "." || name == ".." ? std::string() : name;
}

std::string diskParent(const std::string& path) {
    const std::size_t end = path.rfind('/');
    return end == std::string::npos ? "." : end == 0 ? "/" : path.substr(0, end);
}

} // namespace storage::host
