#include "tests/host/BadDiskTest.h"
#include "tests/support/Unprivileged.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;

/// Tests entries on disk or in the storage that cannot be read or written.
using BadDiskAccessTest = BadDiskTest;

TEST_F(BadDiskAccessTest, ReportsUnreadableEntriesAndImportsTheRest) {
    disk_.write("src/closed", "x");
    disk_.write("src/folder/f", "x");
    disk_.write("src/open", "x");
    fs::permissions(disk_ / "src/closed", fs::perms::none);
    fs::permissions(disk_ / "src/folder", fs::perms::none);
    const ProgramRun run = runLines("import " + disk_ / "src" +
                                        " /n\nfind /n\nmkdir /n/folder\ntouch /n/closed\ncheck\nimport " +
                                        disk_ / "src/closed" + " /top\n",
                                    dropFilePrivileges);
    EXPECT_EQ(run.errors(), line("import: " + disk_ / "src/closed" + ": Permission denied") +
                                line("import: " + disk_ / "src/folder" + ": Permission denied") +
                                line("check: " + disk_ / "src/closed" + ": Permission denied") +
                                line("check: " + disk_ / "src/folder" + ": Permission denied") +
                                line("import: " + disk_ / "src/closed" + ": Permission denied"));
    EXPECT_EQ(run.output(), "imported 1 folder, 1 file, 1 byte\n/n\n/n/open\n"
                            "check: 1 folder, 1 file, 1 byte: 2 differences\n"
                            "imported 0 folders, 0 files, 0 bytes\n");
    EXPECT_EQ(run.status(), 1);
}

TEST_F(BadDiskAccessTest, ReportsEachEntryForAnUnwritableFolder) {
    const std::string closed = disk_.makeFolder("closed");
    fs::permissions(closed, fs::perms::owner_read | fs::perms::owner_exec);
    const ProgramRun run = runLines("mkdir -p /a/s\nwrite /a/f x\nexport /a /a/f " + closed + "\nexport / " +
                                        closed + "\nexport /a " + closed + "/new\n",
                                    dropFilePrivileges);
    EXPECT_EQ(run.errors(), line("export: " + closed + "/a: Permission denied") +
                                line("export: " + closed + "/f: Permission denied") +
                                line("export: " + closed + "/a: Permission denied") +
                                line("export: " + closed + "/new: Permission denied"));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(namesIn(closed), "");
    EXPECT_EQ(fs::status(closed).permissions(), fs::perms::owner_read | fs::perms::owner_exec);
}

TEST_F(BadDiskAccessTest, RepeatsAnExportIntoReadOnlyFolders) {
    const auto modeOf = [&](const std::string& name) { return fs::status(disk_ / name).permissions(); };
    const std::string to = "\nexport /a " + disk_.path() + "\n";
    const ProgramRun first =
        runLines("mkdir -p /a/s\nwrite /a/s/g one\nchmod -w /a/s /a" + to, dropFilePrivileges);
    EXPECT_EQ(first.errors(), "");
    const fs::perms readOnly = modeOf("a");
    EXPECT_EQ(readOnly & fs::perms::owner_write, fs::perms::none);

    const ProgramRun second =
        runLines("mkdir -p /a/s\nwrite /a/s/g two\nwrite /a/s/h new" + to, dropFilePrivileges);
    EXPECT_EQ(second.errors(), "");
    EXPECT_EQ(readFile(disk_ / "a/s/g"), "two\n");
    EXPECT_EQ(namesIn(disk_ / "a/s"), "g h");
    EXPECT_EQ(modeOf("a"), readOnly);
    EXPECT_EQ(modeOf("a/s"), readOnly);

    const ProgramRun interrupted({"--plugin", badPlugin, "shell"}, "mkdir -p /a/s\nwrite /a/s/bad new" + to,
                                 [] {
                                     ::setenv("BAD_PLUGIN", "read signal2", /*replace*/ 1);
                                     dropFilePrivileges();
                                 });
    EXPECT_EQ(interrupted.errors(), line("export: interrupted"));
    EXPECT_EQ(namesIn(disk_ / "a/s"), "g h");
    EXPECT_EQ(modeOf("a"), readOnly);
    EXPECT_EQ(modeOf("a/s"), readOnly);
}

TEST_F(BadDiskAccessTest, StoresNoFileAfterAReadError) {
    EXPECT_EQ(fail("import /proc/self/mem /m"), line("import: /proc/self/mem: Input/output error"));
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(BadDiskAccessTest, KeepsTheFileOnDiskIfTheStorageCannotBeRead) {
    succeed("mkdir /a");
    succeed("truncate -s 1M /a/f");
    succeed("write /a/g x");
    disk_.write("a/f", "old");
    provider_->beforeRead = [reads = 0]() mutable {
        if (++reads == 2) {
            throw std::runtime_error("torn");
        }
    };
    EXPECT_EQ(fail("export /a " + disk_.path()), line("export: /a/f: torn"));
    EXPECT_EQ(readFile(disk_ / "a/f"), "old");
    EXPECT_EQ(namesIn(disk_ / "a"), "f g");
}

} // namespace

} // namespace storage::tests
