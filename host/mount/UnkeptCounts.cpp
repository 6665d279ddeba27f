#include "host/mount/UnkeptCounts.h"

#include "host/support/Counted.h"

#include <utility>
#include <vector>

namespace storage::host {

std::string UnkeptCounts::summary() const {
    std::vector<std::string> parts;
    std::size_t all = 0;
    for (const auto& [count, noun] : {std::pair<std::size_t, const char*>(links, "link"),
                                      {specialFiles, "special file"},
                                      {modes, "mode"},
                                      {owners, "owner"},
                                      {xattrs, "extended attribute"}}) {
        all += count;
        if (count > 0) {
            parts.push_back(counted(count, noun));
        }
    }
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    }
    return text.empty() ? text : text + (all == 1 ? " was" : " were") + " not kept by the storage";
}

} // namespace storage::host
