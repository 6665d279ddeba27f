#include "benchmarks/mount/PlaceKinds.h"

#include "benchmarks/system/Machine.h"

#include <algorithm>
#include <stdexcept>

namespace storage::benchmark {

namespace {

std::vector<PlaceKind> allKinds(const MountBenchmarkOptions& options, const std::filesystem::path& backing) {
    std::vector<PlaceKind> kinds{{{"tmpfs", "tmpfs", kernelRelease(), StoreRole::Limit}, {}}};
    if (!options.passThrough.empty()) {
        kinds.push_back({{"pass-through", "pass-through", "passthrough_ll", StoreRole::Peer},
                         {options.passThrough, "-o", "source=" + backing.string()}});
    }
    if (!options.program.empty()) {
        kinds.push_back({{"mount", "this mount", QZSTORAGE_VERSION, StoreRole::Plugin},
                         {options.program, "mount", "--background"}});
    }
    return kinds;
}

} // namespace

std::vector<PlaceKind> placeKinds(const MountBenchmarkOptions& options,
                                  const std::filesystem::path& backing) {
    std::vector<PlaceKind> kinds = allKinds(options, backing);
    if (options.places.empty()) {
        return kinds;
    }
    std::vector<PlaceKind> chosen;
    for (const std::string& id : options.places) {
        const auto kind =
            std::find_if(kinds.begin(), kinds.end(), [&](const PlaceKind& each) { return each.id == id; });
        if (kind == kinds.end()) {
            throw std::runtime_error(id + ": no such place, or its program was not named");
        }
        chosen.push_back(*kind);
    }
    return chosen;
}

} // namespace storage::benchmark
