#pragma once

#include "host/plugin/PluginLibrary.h"

#include <optional>
#include <string>
#include <string_view>

namespace storage::host {

/// A plug-in loaded a second time, out of a copy in memory: as if nobody else in the process had loaded it.
///
/// Owns the copy and the loaded library; what comes out of it must be gone before this object. One at a time. Thread safety:
/// one object is for one thread.
class CopiedPlugin {
public:
    /// What the copy is called in /proc/self/maps, as long as it is loaded.
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
