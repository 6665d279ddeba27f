#include "tests/compare/Shrinking.h"

#include <algorithm>

namespace syscalls {

Calls shrunk(Calls calls, const std::function<bool(const Calls&)>& stillFails, int attempts) {
    std::size_t part = std::max<std::size_t>(calls.size() / 2, 1);
    bool isSmaller = false;
    // Removes the calls before the last one first. Keeps the last call, which is the failing one.
    for (std::size_t end = calls.size(); attempts > 0;) {
        if (end <= 1) {
            if (part == 1 && !isSmaller) {
                break;
            }
            part = std::max<std::size_t>(part / 2, 1);
            end = calls.size();
            isSmaller = false;
            continue;
        }
        const std::size_t last = std::min(end, calls.size()) - 1;
        const std::size_t first = last > part ? last - part : 0;
        Calls fewer(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(first));
        fewer.insert(fewer.end(), calls.begin() + static_cast<std::ptrdiff_t>(last), calls.end());
        --attempts;
        end = first + 1;
        if (stillFails(fewer)) {
            calls = std::move(fewer);
            isSmaller = true;
        }
    }
    return calls;
}

} // namespace syscalls
