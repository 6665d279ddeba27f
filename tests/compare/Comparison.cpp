#include "tests/compare/Comparison.h"

#include "tests/compare/CallGenerator.h"
#include "tests/compare/Shrinking.h"

#include <algorithm>
#include <set>

namespace syscalls {

namespace {

constexpr std::uint64_t usualEpoch = 100; ///< in calls
constexpr std::uint64_t batchSize = 20;   ///< calls that are generated before the first of them is made

/// Short sequences get short epochs, so that removing calls while shrinking does not merge two epochs.
std::uint64_t epochFor(std::size_t calls) {
    constexpr std::size_t few = 20;
    constexpr std::size_t many = 400;
    return calls <= few ? 1 : calls <= many ? usualEpoch / 10 : usualEpoch;
}

} // namespace

std::string Difference::signature() const {
    std::set<std::string> names;
    std::string fields = differingFields(answers.reference, answers.tested);
    // Drops the path: the signature does not depend on the place in the tree.
    for (std::size_t begin = 0; begin < fields.size();) {
        const std::size_t end = std::min(fields.find(','), fields.size());
        std::string field = fields.substr(0, end);
        names.insert(field.substr(0, field.find(" of ")));
        fields.erase(0, end + 1);
    }
    std::string text = calls.back().kind + ':';
    for (const std::string& name : names) {
        text += ' ' + name;
    }
    return text;
}

std::optional<Difference> Comparison::tryRandomly(std::uint64_t seed, std::uint64_t calls) {
    Lockstep lockstep(roots_, exclusions_);
    CallGenerator generator(seed, exclusions_);
    Calls made;
    while (made.size() < calls) {
        Calls batch;
        for (std::uint64_t i = 0; i < batchSize && made.size() + batch.size() < calls; ++i) {
            batch.push_back(generator.next());
        }
        if (auto difference = make(batch, lockstep, made, &generator)) {
            return difference;
        }
        if (made.size() % usualEpoch < batchSize) {
            lockstep.beginEpoch();
        }
    }
    return make({Call{.kind = "tree"}}, lockstep, made, &generator);
}

/// Makes the calls of a batch and appends them to `made`.
std::optional<Difference> Comparison::make(const Calls& batch, Lockstep& lockstep, Calls& made,
                                           CallGenerator* generator) {
    const std::vector<Answers> answers = lockstep.make(batch);
    for (std::size_t i = 0; i < answers.size(); ++i) {
        made.push_back(batch[i]);
        if (!answers[i].agree()) {
            return Difference{std::move(made), answers[i]};
        }
        if (generator != nullptr) {
            note(batch[i], answers[i], *generator);
        }
    }
    return std::nullopt;
}

void Comparison::note(const Call& call, const Answers& answers, CallGenerator& generator) {
    ++totals_.calls;
    std::uint64_t& successes = totals_.successesOfKind[call.kind];
    if (answers.reference.succeeded()) {
        ++totals_.succeeded;
        ++successes;
        generator.noteSuccess(call);
    }
}

std::optional<Difference> Comparison::replay(const Calls& calls, std::uint64_t callsOfEpoch) {
    Lockstep lockstep(roots_, exclusions_);
    Calls made;
    while (made.size() < calls.size()) {
        const auto begin = calls.begin() + static_cast<std::ptrdiff_t>(made.size());
        const auto count = std::min<std::uint64_t>(callsOfEpoch, calls.size() - made.size());
        if (auto difference =
                make(Calls(begin, begin + static_cast<std::ptrdiff_t>(count)), lockstep, made, nullptr)) {
            return difference;
        }
        lockstep.beginEpoch();
    }
    return std::nullopt;
}

Difference Comparison::shrink(const Difference& difference) {
    constexpr int attempts = 300;
    const std::string signature = difference.signature();
    const bool isAboutTime = signature.find("time") != std::string::npos;
    Difference smallest = difference;
    shrunk(
        difference.calls,
        [&](const Calls& calls) {
            auto found = replay(calls, isAboutTime ? epochFor(calls.size()) : usualEpoch);
            const bool isSame =
                found && found->calls.size() == calls.size() && found->signature() == signature;
            if (isSame) {
                smallest = *std::move(found);
            }
            return isSame;
        },
        attempts);
    return smallest;
}

} // namespace syscalls
