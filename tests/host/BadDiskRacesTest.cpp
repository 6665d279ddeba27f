#include "host/process/ChildProcess.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/host/BadDiskTest.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace storage::tests {

namespace {

namespace fs = std::filesystem;
using provider::StorageIRI;

/// Tests trees on disk that other processes change during a command.
using BadDiskRacesTest = BadDiskTest;

// --- A tree that changes during an import ---

TEST_F(BadDiskRacesTest, ImportsATreeThatChangesMeanwhile) {
    disk_.write("src/a", "first");
    disk_.write("src/b", "x");
    disk_.write("src/c/f", "x");
    disk_.write("src/d", "x");
    disk_.write("src/e", "x");
    disk_.write("src/g", "x");
    once("write", [&] {
        for (const char* name : {"b", "c", "d", "e", "g"}) {
            fs::remove_all(disk_ / "src/" + name);
        }
        disk_.write("src/c", "a file now");
        disk_.write("src/d/f", "a folder now");
        makeFifo(disk_ / "src/e");
        fs::create_symlink("a", disk_ / "src/g");
        disk_.write("src/later", "x");
    });
    EXPECT_EQ(
        fail("import " + disk_ / "src" + " /n"),
        line("import: " + disk_ / "src/b" + ": No such file or directory") +
            line("import: 1 symbolic link and 1 special file are kept for exports; the storage cannot hold "
                 "them"));
    EXPECT_EQ(succeed("find /n"), "/n\n/n/a\n/n/c\n/n/d\n/n/d/f\n");
    EXPECT_EQ(succeed("cat /n/c"), "a file now");
}

TEST_F(BadDiskRacesTest, ReportsEachEntryOfAFolderRemovedDuringAnImport) {
    disk_.write("src/c/f", "x");
    disk_.write("src/c/g", "x");
    disk_.write("src/d", "x");
    provider_->before = [&](const std::string& operation, const StorageIRI& iri) {
        if (operation == "createFolder" && iri.getPath() == u"/n/c") {
            fs::remove_all(disk_ / "src/c");
        }
    };
    EXPECT_EQ(fail("import " + disk_ / "src" + " /n"),
              line("import: " + disk_ / "src/c/f" + ": No such file or directory") +
                  line("import: " + disk_ / "src/c/g" + ": No such file or directory"));
    EXPECT_EQ(succeed("find /n"), "/n\n/n/c\n/n/d\n");
}

TEST_F(BadDiskRacesTest, ImportsAFileThatGrowsMeanwhile) {
    const std::string path = disk_.write("f", "x");
    int writes = 0;
    provider_->beforeWrite = [&] {
        if (++writes <= 3) {
            std::ofstream(path, std::ios::app) << std::string(300000, 'y');
        }
    };
    EXPECT_EQ(succeed("import " + path + " /f"), "imported 0 folders, 1 file, 900001 bytes\n");
    EXPECT_EQ(succeed("check"), "check: 0 folders, 1 file, 900001 bytes: equal\n");
}

TEST_F(BadDiskRacesTest, ImportsAFileThatShrinksMeanwhile) {
    const std::string path = disk_.write("f", std::string(mebibyte, 'x'));
    once("write", [&] { fs::resize_file(path, 300000); });
    EXPECT_EQ(succeed("import " + path + " /f"), "imported 0 folders, 1 file, 300000 bytes\n");
    EXPECT_EQ(succeed("check"), "check: 0 folders, 1 file, 300000 bytes: equal\n");
}

TEST_F(BadDiskRacesTest, ReportsEntriesThatChangeDuringACheck) {
    for (const char* name : {"a", "b", "c/f", "d/f"}) {
        disk_.write(std::string("src/") + name, "x");
    }
    succeed("import " + disk_ / "src" + " /n");
    once("read", [&] {
        fs::remove(disk_ / "src/b");
        fs::remove_all(disk_ / "src/c");
        fs::remove_all(disk_ / "src/d");
        disk_.write("src/d", "a file now");
    });
    EXPECT_EQ(fail("check"), line("check: " + disk_ / "src/b" + ": No such file or directory") +
                                 line("check: " + disk_ / "src/c" + ": No such file or directory") +
                                 line("check: " + disk_ / "src/d" + ": Not a directory"));
    EXPECT_EQ(output(), "check: 1 folder, 1 file, 1 byte: 3 differences\n");
}

TEST_F(BadDiskRacesTest, ReportsAFolderRemovedDuringAnExport) {
    succeed("mkdir -p /a/s");
    succeed("write /a/f new");
    once("read", [&] { fs::remove_all(disk_ / "a"); });
    EXPECT_EQ(fail("export /a " + disk_.path()),
              line("export: " + disk_ / "a/f" + ": No such file or directory") +
                  line("export: " + disk_ / "a/s" + ": No such file or directory") +
                  line("export: " + disk_ / "a" + ": No such file or directory"));
    EXPECT_EQ(namesIn(disk_.path()), "");
}

TEST_F(BadDiskRacesTest, KeepsWhatReplacesATargetDuringAnExport) {
    succeed("mkdir /a");
    succeed("write /a/f new");
    once("read", [&] { disk_.write("a/f/precious", "x"); });
    EXPECT_EQ(fail("export /a " + disk_.path()),
              line("export: " + disk_ / "a/f" + ": a folder is in the way"));
    EXPECT_EQ(namesIn(disk_ / "a"), "f");
    EXPECT_EQ(namesIn(disk_ / "a/f"), "precious");

    fs::remove_all(disk_ / "a/f");
    const std::string precious = disk_.write("precious", "x");
    once("read", [&] { fs::create_symlink(precious, disk_ / "a/f"); });
    EXPECT_EQ(fail("export /a " + disk_.path()),
              line("export: " + disk_ / "a/f" + ": a symbolic link is in the way"));
    EXPECT_EQ(readFile(precious), "x");
    EXPECT_EQ(fs::read_symlink(disk_ / "a/f"), precious);
    EXPECT_EQ(namesIn(disk_ / "a"), "f") << "a temporary file stays";
}

TEST_F(BadDiskRacesTest, KeepsWhatAppearsInANewFolderDuringAnExport) {
    succeed("mkdir /a");
    succeed("write /a/f new");
    once("read", [&] { makeFifo(disk_ / "a/f"); });
    EXPECT_EQ(fail("export /a " + disk_.path()), line("export: " + disk_ / "a/f" + ": a fifo is in the way"));
    EXPECT_TRUE(fs::is_fifo(disk_ / "a/f"));
    EXPECT_EQ(namesIn(disk_ / "a"), "f") << "a temporary file stays";

    fs::remove_all(disk_ / "a");
    once("read",
         [&] { fs::permissions(disk_.write("a/f", "old"), fs::perms::owner_read | fs::perms::owner_write); });
    succeed("export /a " + disk_.path());
    EXPECT_EQ(readFile(disk_ / "a/f"), "new\n");
    EXPECT_EQ(fs::status(disk_ / "a/f").permissions(), fs::perms::owner_read | fs::perms::owner_write)
        << "a replaced file keeps its permissions";
}

// --- Folders exchanged with a symbolic link ---

void exchange(const std::string& one, const std::string& other) {
    if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) != 0) {
        throw std::runtime_error(one + " cannot be exchanged");
    }
}

/// Returns a process that exchanges two entries of the disk repeatedly until it is destroyed.
host::ChildProcess exchanging(const std::string& one, const std::string& other) {
    return host::ChildProcess([&] {
        for (;;) {
            exchange(one, other);
        }
    });
}

class BadDiskExchangeTest : public BadDiskTest {
protected:
    static constexpr int rounds = 300;

    BadDiskExchangeTest() {
        disk_.write("src/d/f", "inside");
        disk_.write("outside/f", "secret");
        fs::create_symlink(disk_ / "outside", disk_ / "link");
    }
};

TEST_F(BadDiskExchangeTest, KeepsAnImportInTheTree) {
    onceAt("createFolder", u"/n/d", [&] { exchange(disk_ / "src/d", disk_ / "link"); });
    succeed("import " + disk_ / "src" + " /n");
    EXPECT_EQ(succeed("cat /n/d/f"), "inside");
}

TEST_F(BadDiskExchangeTest, KeepsAnExportInTheTree) {
    succeed("mkdir -p /a/s");
    succeed("write /a/s/g new");
    onceAt("listAll", u"/a/s", [&] { exchange(disk_ / "a/s", disk_ / "link"); });
    succeed("export /a " + disk_.path());
    EXPECT_EQ(namesIn(disk_ / "outside"), "f");
    EXPECT_EQ(readFile(disk_ / "outside/f"), "secret");
    EXPECT_EQ(namesIn(disk_ / "link"), "g");
}

TEST_F(BadDiskExchangeTest, KeepsImportsInTheTreeDuringExchanges) {
    const auto exchanger = exchanging(disk_ / "src/d", disk_ / "link");
    int imported = 0;
    for (int round = 0; round < rounds; ++round) {
        run("import " + disk_ / "src" + " /n");
        if (run("cat /n/d/f") == ExitStatus::Success) {
            ASSERT_EQ(output(), "inside") << "round " << round;
            ++imported;
        }
        succeed("rm -rf /n");
    }
    EXPECT_GT(imported, 0);
}

TEST_F(BadDiskExchangeTest, KeepsExportsInTheTreeDuringExchanges) {
    succeed("mkdir -p /src/d");
    succeed("write /src/d/g new");
    const auto exchanger = exchanging(disk_ / "src/d", disk_ / "link");
    int exported = 0;
    for (int round = 0; round < rounds; ++round) {
        exported += run("export /src " + disk_.path()) == ExitStatus::Success ? 1 : 0;
        ASSERT_EQ(namesIn(disk_ / "outside"), "f") << "round " << round;
    }
    EXPECT_GT(exported, 0);
}

} // namespace

} // namespace storage::tests
