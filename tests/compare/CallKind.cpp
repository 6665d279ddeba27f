#include "tests/compare/CallKind.h"

#include <algorithm>
#include <stdexcept>

namespace syscalls {

const std::vector<CallKind>& allKinds() {
    static const std::vector<CallKind> kinds = [] {
        std::vector<CallKind> all;
        for (const auto group : {openingCalls(), contentCalls(), spaceCalls(), entryCalls(), attributeCalls(),
                                 extendedCalls(), lockCalls(), treeCalls()}) {
            all.insert(all.end(), group.begin(), group.end());
        }
        return all;
    }();
    return kinds;
}

const CallKind& kindNamed(std::string_view name) {
    const auto kind = std::ranges::find(allKinds(), name, &CallKind::name);
    if (kind == allKinds().end()) {
        throw std::runtime_error("no kind of call is named " + std::string(name));
    }
    return *kind;
}

} // namespace syscalls
