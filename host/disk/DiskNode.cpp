#include "host/disk/DiskNode.h"

#include "host/disk/DiskPath.h"
#include "host/disk/TemporaryDiskName.h"
#include "host/support/CommandError.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace storage::host {

namespace {

/// An entry with a temporary name. The destructor removes the name: rename(2) keeps it if both names are
/// links of the same file.
class TemporaryNode {
public:
    TemporaryNode(WritableFolder& folder, std::string name) : folder_(folder), name_(std::move(name)) {}
    ~TemporaryNode() {
        try {
            folder_.change([this](int in) { return ::unlinkat(in, name_.c_str(), 0); });
        } catch (...) { // interrupted: the next export removes the entry
        }
    }
    TemporaryNode(const TemporaryNode&) = delete;
    TemporaryNode& operator=(const TemporaryNode&) = delete;

    const std::string& name() const noexcept { return name_; }

private:
    WritableFolder& folder_;
    const std::string name_;
};

/// @return the temporary name; empty with errno set if `make` failed
std::string makeTemporary(WritableFolder& folder, const std::string& target, const MakeDiskNode& make) {
    for (unsigned number = 0;; ++number) {
        std::string name = temporaryDiskName(target, number);
        if (folder.change([&](int in) { return make(in, name.c_str()); }) >= 0) {
            return name;
        }
        if (errno != EEXIST) {
            return {};
        }
    }
}

} // namespace

int makeDiskNode(WritableFolder& folder, const std::string& name, const MakeDiskNode& make,
                 const FinishDiskNode& finish) {
    for (;;) {
        std::string temporary = makeTemporary(folder, name, make);
        if (temporary.empty()) {
            return errno;
        }
        const TemporaryNode node(folder, std::move(temporary));
        finish(folder.descriptor(), node.name());
        const int moved =
            folder.change([&](int in) { return ::renameat(in, node.name().c_str(), in, name.c_str()); });
        if (moved == 0) {
            return 0;
        }
        if (errno != ENOENT) {
            throw diskError(diskChild(folder.descriptor().path(), name), errno);
        }
    }
}

} // namespace storage::host
