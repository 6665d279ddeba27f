#pragma once

#include "host/console/Console.h"
#include "host/session/Session.h"
#include "host/shell/Shell.h"
#include "host/support/ExitStatus.h"
#include "host/support/Interruption.h"
#include "tests/support/DefaultSignals.h"
#include "tests/support/HookedProvider.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

/// Fixture with a session over in-memory storages. Output is captured per line.
class SessionTest : public testing::Test {
protected:
    using ExitStatus = storage::host::ExitStatus;

    /// One storage without a name.
    SessionTest() : SessionTest({""}) {}

    /// A storage for each name.
    explicit SessionTest(const std::vector<std::string>& names);

    /// Runs a line. output() and errors() then return the output of this line only.
    ExitStatus run(const std::string& line);

    /// Runs a line that must succeed. Returns its output.
    std::string succeed(const std::string& line);

    /// Runs a line that must fail. Returns its error output.
    std::string fail(const std::string& line);

    std::string output() const { return out_.str(); }
    std::string errors() const { return err_.str(); }

    TemporaryFolder disk_;
    std::ostringstream out_;
    std::ostringstream err_;
    DefaultSignals defaultSignals_;
    storage::host::Interruption interruption_;
    std::vector<std::shared_ptr<HookedProvider>> providers_;
    std::shared_ptr<HookedProvider> provider_; ///< the first one
    storage::host::Console console_;
    storage::host::Session session_;
    storage::host::Shell shell_;
};
