#include "tests/compare/Lockstep.h"

#include "tests/compare/ExtendedNames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace syscalls {

namespace {

void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void removeExtended(const std::string& path) {
    std::string names(1U << 16U, '\0');
    const ssize_t size = ::listxattr(path.c_str(), names.data(), names.size());
    for (const std::string& name :
         namesIn(names.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0))))) {
        ::removexattr(path.c_str(), name.c_str());
    }
}

/// Empties a folder and resets its attributes.
void reset(const std::string& root) {
    for (const auto& entry : std::filesystem::directory_iterator(root)) {
        std::filesystem::remove_all(entry);
    }
    removeExtended(root);
    constexpr mode_t forEverybody = 0777;
    constexpr std::array<timespec, 2> pastTime{timespec{1'000'000'000, 0}, timespec{1'000'000'000, 0}};
    // Some file systems do not support owners.
    require(::chown(root.c_str(), 0, 0) == 0 || errno == EPERM, root);
    require(::chmod(root.c_str(), forEverybody) == 0, root);
    require(::utimensat(-1, root.c_str(), pastTime.data(), 0) == 0, root);
}

bool isAfter(const timespec& left, const timespec& right, long margin) {
    constexpr long long second = 1'000'000'000;
    return (left.tv_sec - right.tv_sec) * second + left.tv_nsec - right.tv_nsec > margin;
}

/// Returns a single outcome with the reason if the process fails, which is a difference from the reference.
std::vector<Outcome> outcomesOrFailure(WorkerProcess& process) {
    try {
        return process.outcomes();
    } catch (const WorkerProcess::Failure& failure) {
        return {{{{"result", failure.what()}}}};
    }
}

} // namespace

Lockstep::Lockstep(const Roots& roots, const Exclusions& exclusions) {
    reset(roots.reference);
    reset(roots.tested);
    reference_.emplace(roots.reference, exclusions);
    tested_.emplace(roots.tested, exclusions);
    beginEpoch();
}

std::vector<Answers> Lockstep::make(const Calls& calls) {
    reference_->start(calls);
    tested_->start(calls);
    std::vector<Outcome> reference = reference_->outcomes();
    std::vector<Outcome> tested = outcomesOrFailure(*tested_);
    std::vector<Answers> answers;
    for (std::size_t i = 0; i < std::min(reference.size(), tested.size()); ++i) {
        answers.push_back({std::move(reference[i]), std::move(tested[i])});
    }
    return answers;
}

void Lockstep::beginEpoch() {
    constexpr long margin = 2000; // nanoseconds; the tested side may store microseconds
    constexpr timespec shortly{0, 200'000};
    timespec last{};
    ::clock_gettime(CLOCK_REALTIME, &last);
    timespec coarse{};
    while (::clock_gettime(CLOCK_REALTIME_COARSE, &coarse) == 0 && !isAfter(coarse, last, margin)) {
        ::nanosleep(&shortly, nullptr);
    }
    reference_->beginEpoch(last);
    tested_->beginEpoch(last);
}

} // namespace syscalls
