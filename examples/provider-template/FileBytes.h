#pragma once

#include <mutex>
#include <vector>

namespace provider_template {

/// What is in a file. The tree and every stream that is open on the file share one object, so a stream goes on working
/// when its file is removed, moved or replaced.
///
/// YOUR STORAGE: a handle of the file - a descriptor, a row, a session.
struct FileBytes {
    std::mutex mutex; ///< guards the bytes
    std::vector<char> bytes;
};

} // namespace provider_template
