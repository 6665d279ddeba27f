#pragma once

#include "host/plugin/PluginLibrary.h"

#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

/// A plug-in loaded a second time, from a copy in memory, so that it has its own state.
///
/// Owns the copy and the loaded library. Objects of the library must be destroyed before this object. At most
/// one object may exist at a time. Not thread-safe.
class CopiedPlugin {
public:
    /// The name of the copy in /proc/self/maps while it is loaded.
    static constexpr std::string_view mappedName = "memfd:copied-plug-in";

    /// @param path  the shared library on disk
    /// @throws PluginError, CommandError
    explicit CopiedPlugin(const std::string& path);
    CopiedPlugin(const CopiedPlugin&) = delete;
    CopiedPlugin& operator=(const CopiedPlugin&) = delete;
    ~CopiedPlugin();

    const PluginLibrary& library() const { return *library_; }

private:
    int copy_;
    std::optional<PluginLibrary> library_;
};

} // namespace storage::host
