#pragma once

#include "inmemoryprovider/filesystem/InMemoryEntryPath.h"

#include <gtest/gtest.h>

#include <string>

namespace storage::inmemoryprovider {

/// Checks that `call` throws exactly an `Expected` that names the path `named`.
template <class Expected, class Call>
testing::AssertionResult throwsNaming(const std::u16string& named, const Call& call) {
    try {
        call();
    } catch (const foundation::core::except::IInternalException& caught) {
        const Expected expected{InMemoryEntryPath(named)};
        if (dynamic_cast<const Expected*>(&caught) != nullptr &&
            caught.getMessage() == expected.getMessage()) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << "threw: " << caught.what() << ", not: " << expected.what();
    }
    return testing::AssertionFailure() << "threw nothing";
}

} // namespace storage::inmemoryprovider
