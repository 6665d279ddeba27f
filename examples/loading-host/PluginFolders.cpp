#include "PluginFolders.h"

#include "PluginError.h"

#include <utility>

PluginFolders::PluginFolders(std::vector<std::filesystem::path> folders) : folders_(std::move(folders)) {}

// [find]
std::filesystem::path PluginFolders::find(const std::string& name) const {
    const std::string file = "libqzstorage" + name + "provider.so";
    std::string lookedIn;
    for (const std::filesystem::path& folder : folders_) {
        if (std::filesystem::exists(folder / file)) {
            return std::filesystem::absolute(folder / file); // without a slash, dlopen would search for it
        }
        lookedIn.append(lookedIn.empty() ? "" : ", ").append(folder.string());
    }
    throw PluginError("cannot find provider '" + name + "': no " + file + " in " + lookedIn);
}
// [find]
