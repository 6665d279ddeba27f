#pragma once

#include "tests/host/mount/MountingTest.h"

#include <string>

/// Runs the same shell scripts in a mount and in a tmpfs, as root and as other users, and compares their
/// output.
class ComparedWithTmpfs : public MountingTest {
protected:
    void SetUp() override; ///< skips the test unless a tmpfs can be mounted
    void TearDown() override;

    /// Runs a script with a folder of each file system as its working directory. In the script, `as USER
    /// COMMAND` runs a command as one of two ordinary users and prints its status. The users are `as 1001`
    /// and `as 1002`, each in a group with the same number and in group 2000. `show NAME...` prints
    /// permissions and owners.
    /// @param options  of the mount
    void expectSameOutput(const std::string& script, const Words& options = {"--allow-other"});

    const std::string& tmpfs() const { return tmpfs_; }

private:
    static std::string outputOf(const std::string& script, const std::string& folder);

    const std::string tmpfs_ = disk_.makeFolder("tmpfs");
    bool isTmpfsMounted_ = false;
};
