#pragma once

#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <vector>

/// Runs a shell command.
/// @return whether it succeeded
bool runs(const std::string& line);

/// Waits until a condition is met, for at most a minute.
/// @return whether it is met
bool comesTrue(const std::function<bool()>& condition);

/// Stops a child process, and waits until all its threads have stopped.
void stop(pid_t child);

/// Limits the run time of a program, as the preparation of a ProgramRun. A program that hangs would block
/// every process that uses its mount.
void limitTime();

/// The program's `mount` command, from its start to its end.
class MountProgramTest : public testing::Test {
protected:
    using Words = std::vector<std::string>;

    void TearDown() override; ///< removes mounts that a defective program leaves behind

    bool isMounted() const { return isMountedAt(mountPoint_); }
    bool isMountedAt(const std::string& folder) const;

    bool unmount() const { return runs("fusermount3 -u " + mountPoint_); }

    std::string inside(const std::string& name) const { return mountPoint_ + '/' + name; }

    static void write(const std::string& path, const std::string& content);

    TemporaryFolder disk_;
    const std::string mountPoint_ = disk_.makeFolder("mount");
};

/// A test that mounts. It is skipped on machines that do not permit mounting.
class MountingTest : public MountProgramTest {
protected:
    void SetUp() override;

    /// Runs the program in the foreground. Runs `whenMounted` as soon as the program has reported that it is
    /// mounted.
    ProgramRun runMounted(const Words& options, const ProgramRun::Companion& whenMounted) {
        return runMountedAt(mountPoint_, options, whenMounted);
    }
    ProgramRun runMountedAt(const std::string& mountPoint, const Words& options,
                            const ProgramRun::Companion& whenMounted);

    static void expectSuccess(const ProgramRun& run);

    std::string announcement_; ///< output of the last started program until it was mounted

private:
    void readAnnouncement(int descriptor);
};
