#pragma once

#include "host/console/Console.h"
#include "host/session/Session.h"
#include "host/shell/Shell.h"
#include "host/support/ExitStatus.h"
#include "tests/fuzz/SmallProvider.h"

#include <memory>
#include <sstream>
#include <string>
#include <string_view>

/// Runs the lines of a script in a session over small in-memory storage. Fails on wrong behaviour that the
/// user can see: an unreported failure, a malformed message, output that is not text, an inconsistent tree.
///
/// Skips commands that read or write the disk.
class ScriptRun {
public:
    /// @param outKind  kind of the output stream
    explicit ScriptRun(storage::host::OutputKind outKind);

    /// Runs the lines up to the end of the session, and then checks the tree for consistency.
    /// @return the number of lines that were run
    unsigned long long run(std::string_view script);

private:
    using ExitStatus = storage::host::ExitStatus;

    void runLine(const std::string& line);
    void checkOutput(const std::string& command) const;
    void checkErrors(ExitStatus status) const;
    void checkTree() const;
    void checkFolder(const storage::host::StoragePath& path) const;
    void checkFile(const storage::host::StoragePath& path) const;

    storage::host::OutputKind outKind_;
    std::ostringstream out_;
    std::ostringstream err_;
    std::shared_ptr<SmallProvider> provider_;
    storage::host::Console console_;
    storage::host::Session session_;
    storage::host::Shell shell_;
};
