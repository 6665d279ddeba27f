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

/// State of a process between its calls: the descriptors in its slots, which are empty at first, and the
/// start times of the epochs.
///
/// Owns the descriptors. Not thread-safe.
class CallProcess {
public:
    explicit CallProcess(const Exclusions& exclusions);
    CallProcess(const CallProcess&) = delete;
    CallProcess& operator=(const CallProcess&) = delete;

    /// Switches to this user for later calls, with its groups and its slots.
    /// @throws std::system_error
    void become(unsigned user);

    const Exclusions& exclusions() const { return exclusions_; }

    /// The descriptor of a slot, -1 if it is empty; AT_FDCWD for a negative slot.
    int descriptor(std::int64_t slot) const;

    /// Replaces the descriptor of a slot. Does nothing if `descriptor` is -1.
    void put(std::int64_t slot, int descriptor);

    /// Empties a slot.
    /// @return the result of close(2)
    int close(std::int64_t slot);

    /// Starts an epoch, to which later timestamps belong unless a call sets them.
    void beginEpoch(timespec begin) { epochs_.push_back(begin); }

    /// Adds the fields of stat(2).
    void addStatus(OutcomeBuilder& outcome, const struct stat& status, const std::string& place = {}) const;

    /// The time itself if a call has set it, else its epoch.
    std::string formatTime(timespec time) const;

    /// The same for an access time.
    std::string formatAccessTime(timespec time) const;

private:
    std::size_t index(std::int64_t slot) const;

    const Exclusions& exclusions_;
    unsigned user_ = 0;
    std::array<int, TreeSketch::slots * TreeSketch::users> slots_{}; ///< of all users
    std::vector<timespec> epochs_;
};

} // namespace syscalls
