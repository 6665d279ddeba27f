#pragma once

#include <string>
#include <utility>

namespace storage::host {

/// Slows an export down when the control group has little memory left: the kernel can reclaim the memory of
/// new files only after it has written them to the disk.
///
/// Not thread-safe.
class ExportPace {
public:
    /// @param target  the folder that the export extends
    explicit ExportPace(std::string target) : target_(std::move(target)) {}

    /// Called after each exported entry. May wait until all are on the disk.
    void countEntry();

private:
    const std::string target_;
    unsigned entries_ = 0; ///< since the last check
};

} // namespace storage::host
