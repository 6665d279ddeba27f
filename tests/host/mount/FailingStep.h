#pragma once

#include "tests/support/HookedProvider.h"

#include <functional>

/// Makes one operation of a provider fail: the one with a given number, counted from 1.
///
/// Borrows the provider and sets its hook for the lifetime of this object. Not thread-safe.
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

    /// Returns whether the provider reached that operation.
    bool happened() const { return happened_; }

private:
    HookedProvider& provider_;
    int count_ = 0;
    bool happened_ = false;
};
