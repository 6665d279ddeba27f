#include "host/disk/FileDescriptor.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

namespace storage::tests {

namespace {

using provider::StorageIRI;
using testing::HasSubstr;

/// mkdir, rmdir, rm, touch, chmod, cat, write, append, truncate.
class FileCommandsTest : public SessionTest {
protected:
    boost::posix_time::ptime timeOf(const std::u16string& path) {
        return provider_->doGetExtendedAttributes(StorageIRI(path)).lastModified;
    }
};

TEST_F(FileCommandsTest, MkdirCreatesFolders) {
    succeed("mkdir /a /a/b c");
    EXPECT_EQ(succeed("find / -type d"), "/\n/a\n/a/b\n/c\n");
}

TEST_F(FileCommandsTest, MkdirRefusesExistingEntriesAndMissingParents) {
    succeed("mkdir /a");
    EXPECT_EQ(fail("mkdir /a /x/y /b"), "qzstorage: mkdir: /a: already exists\n"
                                        "qzstorage: mkdir: /x/y: folder /x does not exist\n");
    EXPECT_EQ(succeed("ls"), "a\nb\n");
}

TEST_F(FileCommandsTest, MkdirWithParentsCreatesMissingParents) {
    succeed("mkdir -p /a/b/c");
    succeed("mkdir -p /a/b/c /a/d/e");
    EXPECT_EQ(succeed("find / -type d"), "/\n/a\n/a/b\n/a/b/c\n/a/d\n/a/d/e\n");
    succeed("touch /f");
    EXPECT_EQ(fail("mkdir -p /f"), "qzstorage: mkdir: /f: already exists\n");
}

TEST_F(FileCommandsTest, FindsAndCreatesNothingBelowAFile) {
    succeed("mkdir /a");
    succeed("touch /a/f");
    disk_.write("f", "x");
    for (const std::string& command : std::vector<std::string>{
             "mkdir", "mkdir -p", "touch", "write", "append", "truncate -s 1", "chmod +w", "rm", "rmdir",
             "import " + disk_ / "f", "import " + disk_.path()}) {
        EXPECT_EQ(fail(command + " /a/f/x/y"),
                  "qzstorage: " + command.substr(0, command.find(' ')) + ": /a/f: not a folder\n");
    }
    EXPECT_EQ(succeed("find /"), "/\n/a\n/a/f\n");
    succeed("rm -f /a/f/x");
}

TEST_F(FileCommandsTest, RmdirRemovesEmptyFoldersOnly) {
    succeed("mkdir -p /a/b /c");
    succeed("touch /f");
    EXPECT_EQ(fail("rmdir /a /c /f /x /"), "qzstorage: rmdir: /a: folder is not empty\n"
                                           "qzstorage: rmdir: /f: not a folder\n"
                                           "qzstorage: rmdir: /x: no such file or folder\n"
                                           "qzstorage: rmdir: /: the root folder cannot be removed\n");
    EXPECT_EQ(succeed("ls"), "a\nf\n");
}

TEST_F(FileCommandsTest, RmContinuesAfterFailures) {
    succeed("touch /f /g");
    succeed("mkdir /a");
    EXPECT_EQ(fail("rm /f /x /a /g"), "qzstorage: rm: /x: no such file or folder\n"
                                      "qzstorage: rm: /a: is a folder; use rm -r\n");
    EXPECT_EQ(succeed("ls"), "a\n");
}

TEST_F(FileCommandsTest, RmRecursiveRemovesFolders) {
    succeed("mkdir -p /a/b/c");
    succeed("touch /a/f /a/b/g");
    succeed("rm -r /a");
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(FileCommandsTest, RmKeepsReadOnlyFilesUnlessForced) {
    succeed("mkdir /a");
    succeed("touch /f /a/g");
    succeed("chmod -w /f /a/g");
    EXPECT_EQ(fail("rm /f"), "qzstorage: rm: /f: the file is read-only\n");
    EXPECT_EQ(fail("rm -r /a"), "qzstorage: rm: /a/g: the file is read-only\n");
    EXPECT_EQ(succeed("find / -type f"), "/a/g\n/f\n");
    succeed("rm -r -f /f /a");
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(FileCommandsTest, RmForcedKeepsTheFlagOfAFileInAReadOnlyFolder) {
    succeed("mkdir /a");
    succeed("touch /a/g");
    succeed("chmod -w /a/g /a");
    EXPECT_EQ(fail("rm -f /a/g"), "qzstorage: rm: /a/g: the file and folder /a are read-only\n");
    EXPECT_THAT(succeed("stat /a/g"), HasSubstr("writable: no"));
}

TEST_F(FileCommandsTest, RmForcedIgnoresMissingEntries) {
    succeed("rm -f /nowhere /no/where");
}

TEST_F(FileCommandsTest, RmNeverRemovesTheRoot) {
    succeed("touch /f");
    EXPECT_EQ(fail("rm -rf /"), "qzstorage: rm: /: the root folder cannot be removed\n");
    EXPECT_EQ(fail("rm -rf .."), "qzstorage: rm: /: the root folder cannot be removed\n");
    EXPECT_EQ(succeed("ls"), "f\n");
}

TEST_F(FileCommandsTest, TouchCreatesFilesAndSetsTimes) {
    const boost::posix_time::ptime old(boost::gregorian::date(2000, 1, 1));
    succeed("touch /f");
    succeed("mkdir /a");
    for (const char16_t* path : {u"/f", u"/a"}) {
        provider_->doSetLastModified(StorageIRI(path), old);
    }
    succeed("touch /f /a /g");
    for (const char16_t* path : {u"/f", u"/a", u"/g"}) {
        EXPECT_GT(timeOf(path), old);
    }
    EXPECT_EQ(fail("touch /x/y"), "qzstorage: touch: /x/y: folder /x does not exist\n");
}

TEST_F(FileCommandsTest, ChmodSetsTheWritableFlag) {
    succeed("touch /f");
    succeed("mkdir /a");
    succeed("chmod -w /f /a");
    EXPECT_THAT(succeed("stat /f"), HasSubstr("writable: no"));
    EXPECT_EQ(fail("write /f x"), "qzstorage: write: /f: the file is read-only\n");
    EXPECT_EQ(fail("touch /a/g"), "qzstorage: touch: /a/g: folder /a is read-only\n");
    succeed("chmod +w /f /a");
    succeed("write /f x");
    succeed("touch /a/g");
}

TEST_F(FileCommandsTest, ChmodAcceptsTwoModesOnly) {
    EXPECT_EQ(run("chmod 644 /f"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: chmod: '644' is neither +w nor -w\n");
    EXPECT_EQ(run("chmod -x /f"), ExitStatus::Usage);
    EXPECT_EQ(run("chmod -w"), ExitStatus::Usage);
    EXPECT_EQ(fail("chmod -w /f"), "qzstorage: chmod: /f: no such file or folder\n");
}

TEST_F(FileCommandsTest, WriteReplacesContentWithALine) {
    succeed("write /f hello 'big  world'");
    EXPECT_EQ(succeed("cat /f"), "hello big  world\n");
    succeed("write /f");
    EXPECT_EQ(succeed("cat /f"), "\n");
}

TEST_F(FileCommandsTest, WriteAcceptsAnyWordsAsText) {
    succeed("write /f -n -- --help ++ [a,b] '*'");
    EXPECT_EQ(succeed("cat /f"), "-n -- --help ++ [a,b] *\n");
    succeed("write -- -f -x");
    EXPECT_EQ(succeed("cat ./-f"), "-x\n");
}

TEST_F(FileCommandsTest, AppendAddsALine) {
    succeed("append /f one");
    succeed("append /f two");
    EXPECT_EQ(succeed("cat /f"), "one\ntwo\n");
}

TEST_F(FileCommandsTest, WriteAndAppendRefuseFoldersAndMissingParents) {
    succeed("mkdir /a");
    for (const std::string command : {"write", "append"}) {
        EXPECT_EQ(fail(command + " /a x"), "qzstorage: " + command + ": /a: is a folder\n");
        EXPECT_EQ(fail(command + " /x/y x"), "qzstorage: " + command + ": /x/y: folder /x does not exist\n");
    }
}

TEST_F(FileCommandsTest, CatPrintsFilesInOrder) {
    succeed("write /f one");
    succeed("write /g two");
    succeed("mkdir /a");
    EXPECT_EQ(succeed("cat /f /g /f"), "one\ntwo\none\n");
    EXPECT_EQ(fail("cat /f /x /a /g"), "qzstorage: cat: /x: no such file or folder\n"
                                       "qzstorage: cat: /a: is a folder\n");
    EXPECT_EQ(output(), "one\ntwo\n");
}

TEST_F(FileCommandsTest, TruncateSetsTheSize) {
    succeed("write /f 123456789");
    succeed("truncate -s 4 /f /new");
    EXPECT_EQ(succeed("cat /f"), "1234");
    EXPECT_EQ(succeed("du /f /new"), "4\t/f\n4\t/new\n");
    succeed("truncate -s 3K /f");
    EXPECT_EQ(succeed("cat /f"), "1234" + std::string(3068, '\0'));
    succeed("truncate -s 1M /f");
    EXPECT_EQ(succeed("du /f"), "1048576\t/f\n");
}

TEST_F(FileCommandsTest, TruncateRejectsInvalidSizesAndFolders) {
    for (const std::string size :
         {"x", "1x", "1KK", "", "-1", "1.5", "17179869184G", "99999999999999999999"}) {
        EXPECT_EQ(run("truncate -s '" + size + "' /f"), ExitStatus::Usage) << size;
    }
    EXPECT_EQ(run("truncate /f"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: truncate: missing -s SIZE\n");
    EXPECT_EQ(fail("truncate -s 1 /"), "qzstorage: truncate: /: is a folder\n");
    EXPECT_EQ(succeed("ls"), "");
}

TEST_F(FileCommandsTest, RefusesToRemoveTheCurrentFolder) {
    succeed("mkdir -p /a/b/c");
    succeed("cd /a/b");
    for (const auto& [word, path] : {std::pair{".", "/a/b"}, {"..", "/a"}, {"c/..", "/a/b"}}) {
        for (const std::string command : {"rm -r", "rmdir"}) {
            EXPECT_EQ(fail(command + " " + word),
                      "qzstorage: " + command.substr(0, command.find(' ')) + ": " + path +
                          ": is or contains the current folder; leave it with cd\n");
        }
    }
    succeed("rm -r c");
    EXPECT_EQ(succeed("find /"), "/\n/a\n/a/b\n");
}

/// Commands that read standard input.
class StandardInputTest : public SessionTest {
protected:
    void setInput(const std::string& content) {
        file_.emplace(disk_.write("input", content), O_RDONLY);
        session_.setInput(file_->number());
    }

private:
    std::optional<host::FileDescriptor> file_;
};

TEST_F(StandardInputTest, IsWrittenUnchanged) {
    const std::string bytes = std::string(700000, 'x') + '\0' + "no newline";
    setInput(bytes);
    succeed("write /f -");
    EXPECT_EQ(succeed("cat /f"), bytes);
    setInput("second");
    succeed("write /f -");
    setInput(" third");
    succeed("append /f -");
    EXPECT_EQ(succeed("cat /f"), "second third");
    setInput("new");
    succeed("append /g -");
    EXPECT_EQ(succeed("cat /g"), "new");
    succeed("write /f - x");
    EXPECT_EQ(succeed("cat /f"), "- x\n") << "only alone it stands for the input";
}

TEST_F(StandardInputTest, IsRefusedWhenItProvidesTheLines) {
    EXPECT_EQ(fail("write /f -"),
              "qzstorage: write: -: the standard input provides the command lines of this session; use "
              "'qzstorage -c LINE' or a script\n");
    EXPECT_EQ(succeed("ls /"), "");
}

TEST_F(FileCommandsTest, ReportsWhyAReadOnlyFileCannotBeRemoved) {
    succeed("write /f old");
    succeed("chmod -w /f");
    bool isRefused = false;
    provider_->before = [&](const std::string& called, const StorageIRI&) {
        if (called == "removeFile") {
            isRefused = true;
            throw std::bad_alloc();
        }
        if (called == "setWritable" && isRefused) {
            throw std::runtime_error("cannot make it read-only again");
        }
    };
    EXPECT_EQ(fail("rm -f /f"), "qzstorage: rm: /f: out of memory\n");
}

TEST_F(StandardInputTest, ReplacesTheFileAtTheEndOfTheInput) {
    succeed("write /f old");
    int writes = 0;
    provider_->beforeWrite = [&] {
        if (++writes == 2) {
            throw std::bad_alloc();
        }
    };
    setInput(std::string(700000, 'x'));
    EXPECT_EQ(fail("write /f -"), "qzstorage: write: /f: out of memory\n");
    EXPECT_EQ(succeed("cat /f"), "old\n");
    writes = 0;
    setInput(std::string(700000, 'x'));
    EXPECT_EQ(fail("write /g -"), "qzstorage: write: /g: out of memory\n");
    EXPECT_EQ(succeed("ls /"), "f\n");
    succeed("chmod -w /f");
    EXPECT_EQ(fail("write /f -"), "qzstorage: write: /f: the file is read-only\n");
}

TEST_F(StandardInputTest, CanBeInterrupted) {
    setInput(std::string(700000, 'x'));
    provider_->beforeWrite = [] { std::raise(SIGINT); };
    EXPECT_EQ(run("write /f -"), ExitStatus::Interrupted);
    interruption_.clear();
    EXPECT_EQ(succeed("ls /"), "");
}

TEST_F(FileCommandsTest, TruncateRestoresTheSizeWhenGrowingFails) {
    succeed("write /f old");
    int writes = 0;
    provider_->beforeWrite = [&] {
        if (++writes == 50) {
            throw std::bad_alloc();
        }
    };
    EXPECT_EQ(fail("truncate -s 10M /f"), "qzstorage: truncate: /f: out of memory\n");
    EXPECT_EQ(succeed("cat /f"), "old\n");
}

TEST_F(FileCommandsTest, TruncateCanBeInterrupted) {
    succeed("write /f old");
    int writes = 0;
    provider_->beforeWrite = [&] {
        if (++writes == 1) {
            std::raise(SIGINT);
        }
    };
    EXPECT_EQ(run("truncate -s 200M /f"), ExitStatus::Interrupted);
    interruption_.clear();
    EXPECT_EQ(succeed("cat /f"), "old\n");
}

} // namespace

} // namespace storage::tests
