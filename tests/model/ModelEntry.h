#pragma once

#include "tests/model/ModelTime.h"

#include <memory>
#include <string>

namespace storage::inmemoryprovider::tests {

/// A file or folder of the model. A file has bytes, which streams share with it and which move along with it.
struct ModelEntry {
    std::shared_ptr<std::string> bytes; ///< null for a folder
    ModelTime lastModified;
    bool writable = true;

    bool isFolder() const { return bytes == nullptr; }
};

} // namespace storage::inmemoryprovider::tests
