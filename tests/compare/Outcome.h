#pragma once

#include "tests/compare/Exclusions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace syscalls {

/// The result of a call that is left out, as it would show nothing.
inline constexpr std::string_view notMade = "EXCLUDED";

/// What a call returned: fields with a name and a value each. A value.
struct Outcome {
    struct Field {
        std::string name;
        std::string value;

        bool operator==(const Field&) const = default;
    };

    std::vector<Field> fields;

    bool operator==(const Outcome&) const = default;

    /// Whether the call succeeded.
    bool succeeded() const;
};

/// Collects what is compared of an outcome.
class OutcomeBuilder {
public:
    explicit OutcomeBuilder(const Exclusions& exclusions) : exclusions_(exclusions) {}

    /// The result of a system call, with the error number when it is -1.
    /// @return whether it succeeded
    bool result(std::int64_t value);

    void add(std::string_view name, std::string_view value);
    void add(std::string_view name, std::uint64_t value);
    void addAt(std::string_view place, std::string_view name,
               std::string_view value); ///< of one of several places

    /// Bytes that were read: their count, a hash, and the first ones.
    void addBytes(std::string_view name, std::string_view bytes);

    bool excludes(std::string_view name) const { return exclusions_.has(name); }

    Outcome take() { return std::move(outcome_); }

private:
    const Exclusions& exclusions_;
    Outcome outcome_;
};

std::string toText(const Outcome& outcome);
Outcome outcomeOf(std::string_view text);

/// The names of the fields in which two outcomes differ, separated by commas; empty when they agree.
std::string differingFields(const Outcome& left, const Outcome& right);

} // namespace syscalls
