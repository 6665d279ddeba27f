#pragma once

#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <vector>

/// Runs a line of the shell. @return whether it succeeded
bool runs(const std::string& line);

/// Waits until a condition is met; after a minute, in vain.
/// @return whether it is met
bool comesTrue(const std::function<bool()>& condition);

/// For the preparation of a ProgramRun: a program that does not end by itself when it should, and holds up everybody who
/// uses its mount, is ended all the same.
void limitTime();

/// The program as it mounts, from its start to its end.
class MountProgramTest : public testing::Test {
protected:
    using Words = std::vector<std::string>;

    void TearDown() override; ///< what a broken program leaves behind would hinder the tidying up

    bool isMounted() const { return isMountedAt(mountPoint_); }
    bool isMountedAt(const std::string& folder) const;

    bool unmount() const { return runs("fusermount3 -u " + mountPoint_); }

    std::string inside(const std::string& name) const { return mountPoint_ + '/' + name; }

    static void write(const std::string& path, const std::string& content);

    TemporaryFolder disk_;
    const std::string mountPoint_ = disk_.makeFolder("mount");
};

/// The same where the machine lets it come so far.
class MountingTest : public MountProgramTest {
protected:
    void SetUp() override;

    /// Runs the program in the foreground, and something else as soon as it has said that it is mounted.
    ProgramRun runMounted(const Words& options, const ProgramRun::Company& whenMounted) {
        return runMountedAt(mountPoint_, options, whenMounted);
    }
    ProgramRun runMountedAt(const std::string& mountPoint, const Words& options,
                            const ProgramRun::Company& whenMounted);

    static void expectSuccess(const ProgramRun& run);

    std::string said_; ///< by the program that was started last, until it had mounted

private:
    void readAnnouncement(int descriptor);
};
