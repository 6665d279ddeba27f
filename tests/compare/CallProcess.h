#pragma once

#include "tests/compare/Exclusions.h"
#include "tests/compare/Outcome.h"
#include "tests/compare/TreeSketch.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace syscalls {

/// What a process that makes calls keeps between them: the descriptors in its slots, and the beginnings of the epochs by
/// which times are compared. Its slots are empty at first.
///
/// Owns the descriptors. Not thread-safe.
class CallProcess {
public:
    explicit CallProcess(const Exclusions& exclusions);
    CallProcess(const CallProcess&) = delete;
    CallProcess& operator=(const CallProcess&) = delete;

    /// Makes the calls that follow as this user, with all that belongs to it but the process.
    /// @throws std::system_error
    void become(unsigned user);

    const Exclusions& exclusions() const { return exclusions_; }

    /// The descriptor of a slot, which may be -1; of a negative slot, that of the current folder.
    int descriptor(std::int64_t slot) const;

    /// Puts a descriptor into a slot in place of another; a failed one, which is -1, changes nothing.
    void put(std::int64_t slot, int descriptor);

    /// Empties a slot. @return of close(2)
    int close(std::int64_t slot);

    /// Times from now on that are not set by a call belong to the next epoch.
    void beginEpoch(timespec begin) { epochs_.push_back(begin); }

    /// Adds all that stat(2) says.
    void addStatus(OutcomeBuilder& outcome, const struct stat& status, const std::string& place = {}) const;

    /// A time as it is if a call has set it, else the epoch that it belongs to.
    std::string shown(timespec time) const;

    /// The same for a time of access.
    std::string shownAccess(timespec time) const;

private:
    std::size_t index(std::int64_t slot) const;

    const Exclusions& exclusions_;
    unsigned user_ = 0;
    std::array<int, TreeSketch::slots * TreeSketch::users> slots_{}; ///< of each user
    std::vector<timespec> epochs_;
};

} // namespace syscalls
