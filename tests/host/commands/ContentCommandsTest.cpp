#include "host/commands/CommandTable.h"
#include "host/storage/ByteStreamDevice.h"
#include "hostapi/storage/provider/Exception.h"
#include "hostapi/storage/provider/ProviderStorageInfo.h"
#include "hostapi/storage/provider/ShortNamespace.h"
#include "tests/support/SessionTest.h"

#include <csignal>
#include <gmock/gmock.h>

namespace storage::tests {

namespace {

using namespace host;
using provider::ErrorCode;
using provider::Exception;
using provider::ProviderStorageInfo;
using provider::StorageIRI;
using testing::HasSubstr;

/// head, tail, grep, sha256sum, diff, df.
class ContentCommandsTest : public SessionTest {
protected:
    void put(const std::u16string& path, const std::string& content) {
        provider_->doCreateFile(StorageIRI(path));
        ByteStreamDevice(provider_->doOpenStream(StorageIRI(path), {}))
            .write(content.data(), static_cast<std::streamsize>(content.size()));
    }

    /// Returns the numbers from `first` to `last`, one per line.
    static std::string numbers(int first, int last) {
        std::string text;
        for (int number = first; number <= last; ++number) {
            text += std::to_string(number) + '\n';
        }
        return text;
    }
};

TEST_F(ContentCommandsTest, HeadPrintsTheFirstLinesOrBytes) {
    put(u"/f", numbers(1, 100000));
    EXPECT_EQ(succeed("head /f"), numbers(1, 10));
    EXPECT_EQ(succeed("head -n 2 /f"), "1\n2\n");
    EXPECT_EQ(succeed("head -n 0 /f"), "");
    EXPECT_EQ(succeed("head -n 90000 /f"), numbers(1, 90000)) << "more than one block";
    EXPECT_EQ(succeed("head -n 100001 /f"), numbers(1, 100000));
    EXPECT_EQ(succeed("head -c 3 /f"), "1\n2");
    EXPECT_EQ(succeed("head -c 1000000 /f"), numbers(1, 100000));
}

TEST_F(ContentCommandsTest, TailPrintsTheLastLinesOrBytes) {
    put(u"/f", numbers(1, 100000));
    EXPECT_EQ(succeed("tail /f"), numbers(99991, 100000));
    EXPECT_EQ(succeed("tail -n 2 /f"), "99999\n100000\n");
    EXPECT_EQ(succeed("tail -n 0 /f"), "");
    EXPECT_EQ(succeed("tail -n 90000 /f"), numbers(10001, 100000)) << "more than one block";
    EXPECT_EQ(succeed("tail -n 100001 /f"), numbers(1, 100000));
    EXPECT_EQ(succeed("tail -c 3 /f"), "00\n");
    EXPECT_EQ(succeed("tail -c 1000000 /f"), numbers(1, 100000));
}

TEST_F(ContentCommandsTest, PrintsTheEndsOfUnusualFiles) {
    put(u"/empty", "");
    put(u"/open", "a\nb");
    for (const std::string command : {"head", "tail"}) {
        EXPECT_EQ(succeed(command + " /empty"), "");
        EXPECT_EQ(succeed(command + " -n 5 /open"), "a\nb");
        EXPECT_EQ(succeed(command + " -c 0 /open"), "");
    }
    EXPECT_EQ(succeed("tail -n 1 /open"), "b");
    EXPECT_EQ(succeed("head -n 1 /open"), "a\n");
}

TEST_F(ContentCommandsTest, PrintsHeadingsOfSeveralFiles) {
    succeed("write /a 1");
    succeed("write /b 2");
    EXPECT_EQ(succeed("head /a b"), "==> /a <==\n1\n\n==> b <==\n2\n");
    EXPECT_EQ(fail("tail /a /x /b"), "qzstorage: tail: /x: no such file or folder\n");
    EXPECT_EQ(output(), "==> /a <==\n1\n\n==> /b <==\n2\n");
}

TEST_F(ContentCommandsTest, RejectsInvalidOptionsOfHeadAndTail) {
    EXPECT_EQ(fail("head /"), "qzstorage: head: /: is a folder\n");
    EXPECT_EQ(run("head -n 1x /f"), ExitStatus::Usage);
    EXPECT_EQ(errors(), "qzstorage: head: -n: '1x' is not a number\n");
    EXPECT_EQ(run("tail -c -1 /f"), ExitStatus::Usage);
    EXPECT_EQ(run("tail -n 1 -c 1 /f"), ExitStatus::Usage);
}

TEST_F(ContentCommandsTest, GrepPrintsMatchingLines) {
    put(u"/f", "Apple\nbanana\napple pie\nlast apple");
    EXPECT_EQ(succeed("grep apple /f"), "apple pie\nlast apple\n");
    EXPECT_EQ(succeed("grep -i ^apple /f"), "Apple\napple pie\n");
    EXPECT_EQ(succeed("grep -n 'an|pie$' /f"), "2:banana\n3:apple pie\n");
    EXPECT_EQ(succeed("grep -v -i apple /f"), "banana\n");
    EXPECT_EQ(succeed("grep -c apple /f"), "2\n");
    EXPECT_EQ(succeed("grep cherry /f"), "") << "no match is no failure";
    EXPECT_EQ(succeed("grep -c cherry /f"), "0\n");
}

TEST_F(ContentCommandsTest, GrepNeverExpandsItsPattern) {
    succeed("mkdir /d");
    succeed("write /d/f a*");
    succeed("cd /d");
    EXPECT_EQ(succeed("grep a.* *"), "a*\n");
    EXPECT_EQ(succeed("grep -- -x f"), "");
}

TEST_F(ContentCommandsTest, GrepSearchesFolders) {
    succeed("mkdir -p /d/e");
    succeed("write /d/a one");
    succeed("write /d/e/b one two");
    EXPECT_EQ(succeed("grep -r one /d"), "/d/a:one\n/d/e/b:one two\n");
    EXPECT_EQ(succeed("grep -rnc two /d"), "/d/a:0\n/d/e/b:1\n");
    succeed("cd /d");
    EXPECT_EQ(succeed("grep -rn two"), "./e/b:1:one two\n");
    EXPECT_EQ(succeed("grep one a e/b"), "a:one\ne/b:one two\n");
    EXPECT_EQ(fail("grep one /d"), "qzstorage: grep: /d: is a folder; use grep -r\n");
    EXPECT_EQ(run("grep one"), ExitStatus::Usage);
    EXPECT_EQ(run("grep '(' a"), ExitStatus::Usage);
    EXPECT_THAT(errors(), HasSubstr("grep: invalid regular expression '(': "));
}

TEST_F(ContentCommandsTest, GrepReadsLinesLongerThanABlock) {
    put(u"/f", std::string(600000, 'x') + "y\n" + std::string(600000, 'x') + "\nz\n");
    EXPECT_EQ(succeed("grep -c y /f"), "1\n");
    EXPECT_EQ(succeed("grep -n z /f"), "3:z\n");
}

TEST_F(ContentCommandsTest, Sha256sumPrintsTheChecksumOfTheBytes) {
    put(u"/empty", "");
    put(u"/abc", "abc");
    put(u"/million", std::string(1000000, 'a'));
    EXPECT_EQ(succeed("sha256sum /empty abc /million"),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855  /empty\n"
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  abc\n"
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0  /million\n");
    EXPECT_EQ(fail("sha256sum /"), "qzstorage: sha256sum: /: is a folder\n");
}

TEST_F(ContentCommandsTest, DiffPrintsTheFirstDifference) {
    put(u"/a", std::string(300000, '\n') + "one");
    put(u"/b", std::string(300000, '\n') + "onE");
    put(u"/c", std::string(300000, '\n'));
    succeed("cp /a /d");
    EXPECT_EQ(succeed("diff /a /d"), "");
    EXPECT_EQ(fail("diff /a /b"), "qzstorage: diff: /a: differs from /b at byte 300003, line 300001\n");
    EXPECT_EQ(fail("diff /a /c"), "qzstorage: diff: /c: ends after byte 300000, /a is longer\n");
    EXPECT_EQ(fail("diff /c /a"), "qzstorage: diff: /c: ends after byte 300000, /a is longer\n");
    EXPECT_EQ(fail("diff /a /x"), "qzstorage: diff: /x: no such file or folder\n");
    EXPECT_EQ(fail("diff / /a"), "qzstorage: diff: /: is a folder\n");
}

TEST_F(ContentCommandsTest, StopsReadingWhenInterrupted) {
    put(u"/f", std::string(2000000, 'x'));
    for (const char* const line :
         {"head -n 1 /f", "tail -n 1 /f", "grep y /f", "sha256sum /f", "diff /f /f"}) {
        provider_->beforeRead = [] { std::raise(SIGINT); };
        EXPECT_EQ(run(line), ExitStatus::Interrupted) << line;
        interruption_.clear();
    }
}

/// A storage that reports its free space.
class RoomyProvider final : public HookedProvider {
public:
    using HookedProvider::HookedProvider;

    ProviderStorageInfo doGetProviderStorageInfo(const StorageIRI&) const override {
        if (isBroken) {
            throw Exception(ErrorCode::NotFound, StorageIRI(u"/"));
        }
        return {.capacity = 1 << 20, .available = 5000};
    }

    bool isBroken = false;
};

TEST_F(ContentCommandsTest, DfCountsTheContentOfTheStorage) {
    succeed("mkdir -p /a/b");
    succeed("truncate -s 2000 /a/f /g");
    EXPECT_EQ(succeed("df"), "        Size         Free      Content     Files   Folders\n"
                             "           -            -         4000         2         3\n");
    RoomyProvider roomy(provider_);
    Session session(roomy, console_);
    Shell shell(host::commandTable(), session, FailureHandling::Interactive);
    out_.str("");
    EXPECT_EQ(shell.execute("df -h"), ExitStatus::Success);
    EXPECT_EQ(output(), "        Size         Free      Content     Files   Folders\n"
                        "        1.0M         4.9K         4.0K         2         3\n");
    roomy.isBroken = true;
    EXPECT_EQ(shell.execute("df"), ExitStatus::Failure);
    EXPECT_THAT(errors(), HasSubstr("qzstorage: df: /: "));
}

} // namespace

} // namespace storage::tests
