#pragma once

#include "tests/support/HookedProvider.h"

#include <functional>

/// Lets one operation of a provider fail: the one with a given number, counted from 1.
///
/// Borrows the provider, whose hook it is as long as it lives. For one thread.
class FailingStep {
public:
    /// @param fail  throws
    FailingStep(HookedProvider& provider, int number, std::function<void()> fail) : provider_(provider) {
        provider_.before = [this, number, fail = std::move(fail)](const char*, const auto&) {
            if (++count_ == number) {
                happened_ = true;
                fail();
            }
        };
    }
    ~FailingStep() {
        provider_.before = [](const char*, const auto&) {};
    }
    FailingStep(const FailingStep&) = delete;
    FailingStep& operator=(const FailingStep&) = delete;

    /// Whether there were so many operations.
    bool happened() const { return happened_; }

private:
    HookedProvider& provider_;
    int count_ = 0;
    bool happened_ = false;
};
