#pragma once

#include <mutex>
#include <vector>

namespace provider_template {

/// The content of a file. The tree and every open stream share one object, so a stream keeps working if its
/// file is removed, moved or replaced.
///
/// YOUR STORAGE: a handle of the file - a descriptor, a row, a session.
struct FileBytes {
    std::mutex mutex; ///< guards the bytes
    std::vector<char> bytes;
};

} // namespace provider_template
